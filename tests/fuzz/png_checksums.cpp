#include "tests/fuzz/png_checksums.h"

namespace fuzz {

namespace {

constexpr std::size_t kSignature = 8;
constexpr std::size_t kAroundData = 12; ///< length, type, checksum

/// PNG, annex D; a bit at a time is fast enough for files of some kilobytes.
std::uint32_t checksum(const std::uint8_t *data, std::size_t size)
{
    std::uint32_t sum = 0xFFFFFFFF;
    for (std::size_t i = 0; i < size; ++i) {
        sum ^= data[i];
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum & 1) != 0 ? 0xEDB88320 ^ (sum >> 1) : sum >> 1;
    }
    return ~sum;
}

} // namespace

korv::Bytes withRightChecksums(korv::ByteView png)
{
    korv::Bytes result(png.begin(), png.end());
    std::size_t at = kSignature;
    while (at + kAroundData <= result.size()) {
        const std::size_t length = std::size_t{result[at]} << 24 | std::size_t{result[at + 1]} << 16
            | std::size_t{result[at + 2]} << 8 | result[at + 3];
        if (length > result.size() - at - kAroundData)
            break;
        const std::uint32_t sum = checksum(result.data() + at + 4, length + 4);
        const std::size_t sumAt = at + 8 + length;
        for (std::size_t i = 0; i < 4; ++i)
            result[sumAt + i] = static_cast<std::uint8_t>(sum >> (24 - 8 * i));
        at = sumAt + 4;
    }
    return result;
}

} // namespace fuzz
