#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace korv {

using Bytes = std::vector<std::uint8_t>;

/// Bytes that somebody else owns. Valid as long as the owner says.
struct ByteView
{
    const std::uint8_t *data = nullptr;
    std::size_t size = 0;

    ByteView() = default;
    ByteView(const void *start, std::size_t length)
        : data(static_cast<const std::uint8_t *>(start))
        , size(length)
    {
    }
    // not explicit: a view is what a reader of bytes wants
    ByteView(const Bytes &bytes) // NOLINT(google-explicit-constructor)
        : data(bytes.data())
        , size(bytes.size())
    {
    }

    bool empty() const { return size == 0; }
    const std::uint8_t *begin() const { return data; }
    const std::uint8_t *end() const { return data + size; }
    std::uint8_t operator[](std::size_t at) const { return data[at]; }
    ByteView first(std::size_t count) const { return {data, count < size ? count : size}; }
};

} // namespace korv
