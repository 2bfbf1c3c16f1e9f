#include "library/imaging/video_rows.h"

#include <algorithm>

namespace korv {
namespace {

/// Copies every `step`-th byte through a table and repeats the last one up to `padded`.
template <std::size_t step>
void copyThrough(const std::array<std::uint8_t, 256> &levels, const std::uint8_t *source,
                 std::size_t count, std::uint8_t *target, std::size_t padded)
{
    for (std::size_t at = 0; at < count; ++at)
        target[at] = levels[source[at * step]];
    std::fill(target + count, target + padded, target[count - 1]);
}

/// `value` of the range `low`..`high` in the range 0..255, around `middle`.
std::uint8_t widened(int value, int low, int high, int middle)
{
    const int target = middle == low ? 0 : 128;
    const int scaled = (value - middle) * 255;
    const int span = high - low;
    const int rounded = (scaled + (scaled < 0 ? -span : span) / 2) / span;
    return static_cast<std::uint8_t>(std::clamp(target + rounded, 0, 255));
}

} // namespace

VideoRows::VideoRows()
{
    for (int value = 0; value < 256; ++value) {
        const auto at = static_cast<std::size_t>(value);
        // ITU-R BT.601: luma 16..235, colour differences 16..240 around 128
        m_wideLuma[at] = widened(value, 16, 235, 16);
        m_wideChroma[at] = widened(value, 16, 240, 128);
        m_same[at] = static_cast<std::uint8_t>(value);
    }
}

void VideoRows::prepare(const VideoPicture &picture)
{
    // the widest MCU has two blocks of luma and one of chroma
    m_chromaWidth = (static_cast<std::size_t>(picture.width) + 15) / 16 * 8;
    m_lumaWidth = m_chromaWidth * 2;
    m_memory.resize((m_lumaWidth + 2 * m_chromaWidth) * kMostRows);
    for (std::size_t row = 0; row < kMostRows; ++row) {
        m_lumaRows[row] = m_memory.data() + row * (m_lumaWidth + 2 * m_chromaWidth);
        m_blueRows[row] = m_lumaRows[row] + m_lumaWidth;
        m_redRows[row] = m_blueRows[row] + m_chromaWidth;
    }
}

void VideoRows::fillPacked(const VideoPicture &picture, const std::uint8_t *source, int row)
{
    const auto at = static_cast<std::size_t>(row);
    const auto width = static_cast<std::size_t>(picture.width);
    const std::size_t pairs = (width + 1) / 2;
    const Levels &luma = picture.fullRange ? m_same : m_wideLuma;
    const Levels &chroma = picture.fullRange ? m_same : m_wideChroma;
    const std::size_t lumaAt = picture.layout == VideoLayout::Yuyv ? 0 : 1;
    const std::size_t chromaAt = 1 - lumaAt;
    copyThrough<2>(luma, source + lumaAt, width, m_lumaRows[at], m_lumaWidth);
    copyThrough<4>(chroma, source + chromaAt, pairs, m_blueRows[at], m_chromaWidth);
    copyThrough<4>(chroma, source + chromaAt + 2, pairs, m_redRows[at], m_chromaWidth);
}

void VideoRows::fillChroma(const VideoPicture &picture, int chromaRow, int row)
{
    const auto at = static_cast<std::size_t>(row);
    const auto rows = static_cast<std::size_t>(picture.height);
    const auto line = static_cast<std::size_t>(chromaRow);
    const std::size_t columns = (static_cast<std::size_t>(picture.width) + 1) / 2;
    const Levels &levels = picture.fullRange ? m_same : m_wideChroma;
    const std::uint8_t *planes = picture.bytes.data + picture.stride * rows;
    if (picture.layout == VideoLayout::Nv12) {
        const std::uint8_t *source = planes + picture.stride * line;
        copyThrough<2>(levels, source, columns, m_blueRows[at], m_chromaWidth);
        copyThrough<2>(levels, source + 1, columns, m_redRows[at], m_chromaWidth);
        return;
    }
    const std::size_t stride = picture.stride / 2;
    const std::uint8_t *blue = planes + stride * line;
    const std::uint8_t *red = blue + stride * ((rows + 1) / 2);
    copyThrough<1>(levels, blue, columns, m_blueRows[at], m_chromaWidth);
    copyThrough<1>(levels, red, columns, m_redRows[at], m_chromaWidth);
}

void VideoRows::fill(const VideoPicture &picture, int first, int count)
{
    const bool packed = picture.layout == VideoLayout::Yuyv || picture.layout == VideoLayout::Uyvy;
    const Levels &luma = picture.fullRange ? m_same : m_wideLuma;
    for (int row = 0; row < count; ++row) {
        const int line = std::min(first + row, picture.height - 1);
        const std::uint8_t *source =
            picture.bytes.data + picture.stride * static_cast<std::size_t>(line);
        if (packed)
            fillPacked(picture, source, row);
        else
            copyThrough<1>(luma, source, static_cast<std::size_t>(picture.width),
                           m_lumaRows[static_cast<std::size_t>(row)], m_lumaWidth);
    }
    if (packed || picture.layout == VideoLayout::Gray)
        return;
    const int lastChromaRow = (picture.height - 1) / 2;
    for (int row = 0; row < count / 2; ++row)
        fillChroma(picture, std::min(first / 2 + row, lastChromaRow), row);
}

} // namespace korv
