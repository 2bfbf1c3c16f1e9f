#pragma once

#include <cstddef>
#include <cstdint>

namespace fuzz {

/// Takes choices from fuzzed bytes, first to last. Behind the end everything is 0.
class Input
{
public:
    Input(const std::uint8_t *data, std::size_t size)
        : m_data(data)
        , m_left(size)
    {
    }

    std::size_t left() const { return m_left; }
    std::uint8_t byte();
    /// `first` to `last`, both possible; one byte when that suffices, two otherwise.
    int between(int first, int last);

private:
    const std::uint8_t *m_data;
    std::size_t m_left;
};

} // namespace fuzz
