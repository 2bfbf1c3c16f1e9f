#pragma once

#include "library/base/bytes.h"

#include <cstddef>
#include <cstdint>

namespace korv {

/// Which byte of a number comes first in a file; the machine's own order does not matter here.
enum class ByteOrder { Big, Little };

/// The unsigned number that stands in `size` bytes, 8 at most.
inline std::uint64_t numberAt(const std::uint8_t *bytes, std::size_t size, ByteOrder order)
{
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < size; ++i)
        number = number << 8 | bytes[order == ByteOrder::Little ? size - 1 - i : i];
    return number;
}

/// Appends the last `size` bytes of a number, 8 at most.
inline void putNumber(Bytes &to, std::uint64_t number, std::size_t size, ByteOrder order)
{
    for (std::size_t i = 0; i < size; ++i)
        to.push_back(static_cast<std::uint8_t>(
            number >> 8 * (order == ByteOrder::Little ? i : size - 1 - i)));
}

/// Numbers of 16 and 32 bits. Larger ones that are put lose their upper bits.
namespace bigendian {

inline std::uint32_t u16(const std::uint8_t *bytes)
{
    return static_cast<std::uint32_t>(numberAt(bytes, 2, ByteOrder::Big));
}
inline std::uint32_t u32(const std::uint8_t *bytes)
{
    return static_cast<std::uint32_t>(numberAt(bytes, 4, ByteOrder::Big));
}
inline void put16(Bytes &to, std::uint32_t number)
{
    putNumber(to, number, 2, ByteOrder::Big);
}
inline void put32(Bytes &to, std::uint32_t number)
{
    putNumber(to, number, 4, ByteOrder::Big);
}

} // namespace bigendian

/// The same, and numbers of 64 bits.
namespace littleendian {

inline std::uint32_t u16(const std::uint8_t *bytes)
{
    return static_cast<std::uint32_t>(numberAt(bytes, 2, ByteOrder::Little));
}
inline std::uint32_t u32(const std::uint8_t *bytes)
{
    return static_cast<std::uint32_t>(numberAt(bytes, 4, ByteOrder::Little));
}
inline void put16(Bytes &to, std::uint32_t number)
{
    putNumber(to, number, 2, ByteOrder::Little);
}
inline void put32(Bytes &to, std::uint32_t number)
{
    putNumber(to, number, 4, ByteOrder::Little);
}
inline void put64(Bytes &to, std::uint64_t number)
{
    putNumber(to, number, 8, ByteOrder::Little);
}

} // namespace littleendian

} // namespace korv
