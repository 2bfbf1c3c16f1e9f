#include "library/video/jpeg_halves.h"

#include "library/jpeg/jpeg_structure.h"

namespace korv::jpeg {

namespace {

constexpr std::uint8_t kFirstRestart = 0xD0;

} // namespace

Result<void> joinHalves(ByteDestination &upper, ByteView lower, int height)
{
    const Result<Structure> head = readHeaders(upper.written());
    if (!head)
        return head.error();
    const Result<Structure> rest = readHeaders(lower);
    if (!rest)
        return rest.error();
    const std::size_t heightBytes = head.value().heightBytes;
    upper.at(heightBytes) = static_cast<std::uint8_t>(height >> 8);
    upper.at(heightBytes + 1) = static_cast<std::uint8_t>(height);
    // in place of the end marker's code
    upper.at(upper.written().size - 1) = kFirstRestart;
    const std::size_t begin = rest.value().scanData;
    upper.append({lower.data + begin, lower.size - begin});
    return {};
}

} // namespace korv::jpeg
