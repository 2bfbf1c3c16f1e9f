#include "library/device/simulated/row_jpeg.h"

#include "library/jpeg/jpeg_structure.h"
#include "library/video/strip_encoder.h"

#include <cassert>
#include <cstring>
#include <utility>

namespace korv {
namespace {

constexpr std::uint8_t kMarker = 0xFF;
constexpr std::uint8_t kFirstRestart = 0xD0;
constexpr std::uint8_t kEndOfImage = 0xD9;
constexpr std::size_t kRestartCycle = 8; // RST0 to RST7, T.81, B.1.1.3

} // namespace

Result<RowJpeg> RowJpeg::encode(const Image &image, int quality)
{
    assert(image.format() == PixelFormat::Rgb24 && !image.empty());
    VideoPicture picture;
    picture.bytes = {image.pixels(), image.stride() * static_cast<std::size_t>(image.height())};
    picture.layout = VideoLayout::Rgb24;
    picture.width = image.width();
    picture.height = image.height();
    picture.stride = image.stride();
    const int mcusInRow = mcuOf(picture.layout).across(picture.width);
    const Strip all{0, picture.height, static_cast<unsigned>(mcusInRow)};
    StripEncoder encoder(quality);
    if (Result<void> done = encoder.encode(picture, all, picture.bytes.size / 8); !done)
        return done.error();
    Bytes bytes = encoder.output().take();
    const Result<jpeg::Structure> head = jpeg::readHeaders(bytes);
    if (!head)
        return head.error();
    return RowJpeg(std::move(bytes), head.value().scanData);
}

RowJpeg::RowJpeg(Bytes bytes, std::size_t firstRow)
    : m_bytes(std::move(bytes))
{
    std::size_t rowStart = firstRow;
    std::size_t at = rowStart;
    while (true) {
        // data bytes of 0xFF are followed by 0x00 (T.81, F.1.2.3), so markers are found by looking
        const void *found = std::memchr(&m_bytes[at], kMarker, m_bytes.size() - at);
        at = static_cast<std::size_t>(static_cast<const std::uint8_t *>(found) - m_bytes.data());
        const std::uint8_t code = m_bytes[at + 1];
        if (code == kEndOfImage || (code & 0xF8) == kFirstRestart) {
            m_rows.push_back({rowStart, at});
            rowStart = at + 2;
        }
        if (code == kEndOfImage)
            return;
        at += 2;
    }
}

ByteView RowJpeg::before(std::size_t row) const
{
    return ByteView(m_bytes).first(m_rows.at(row).start);
}

void RowJpeg::appendRows(Bytes &frame, std::size_t firstRow) const
{
    for (std::size_t row = 0; row < m_rows.size(); ++row) {
        const auto start = m_bytes.begin() + static_cast<std::ptrdiff_t>(m_rows[row].start);
        const auto end = m_bytes.begin() + static_cast<std::ptrdiff_t>(m_rows[row].end);
        frame.insert(frame.end(), start, end);
        frame.push_back(kMarker);
        const bool isLast = row + 1 == m_rows.size();
        const std::size_t restart = (firstRow + row) % kRestartCycle;
        frame.push_back(isLast ? kEndOfImage : static_cast<std::uint8_t>(kFirstRestart + restart));
    }
}

} // namespace korv
