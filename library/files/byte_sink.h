#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"

#include <cstdint>
#include <string>

namespace korv {

/// Where a format's writer puts its bytes. Writers know no path.
class ByteSink
{
public:
    virtual ~ByteSink() = default;

    /// Appends. Errors: what the system answered.
    virtual Result<void> write(ByteView bytes) = 0;

    /// Puts bytes over ones written before, or behind the end; the position of write() stays.
    virtual Result<void> writeAt(std::uint64_t offset, ByteView bytes) = 0;

    /// Bytes that were written before. Short only at the end of what was written.
    virtual Result<std::size_t> readAt(std::uint64_t offset, std::uint8_t *to,
                                       std::size_t size) = 0;

    /// How far write() and writeAt() have reached.
    virtual std::uint64_t size() const = 0;

    Result<void> write(const std::string &text)
    {
        return write(ByteView(text.data(), text.size()));
    }
};

} // namespace korv
