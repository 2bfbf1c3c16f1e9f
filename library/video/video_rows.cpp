#include "library/video/video_rows.h"

#include <algorithm>

namespace korv {
namespace {

/// Copies a row and repeats its last sample up to `padded`.
void copyPadded(const std::uint8_t *source, Bytewise which, Levels levels, std::size_t count,
                std::uint8_t *target, std::size_t padded)
{
    copyLevels(source, which, levels, count, target);
    std::fill(target + count, target + padded, target[count - 1]);
}

Levels lumaLevels(const VideoPicture &picture)
{
    return picture.fullRange ? Levels::Same : Levels::WideLuma;
}

Levels chromaLevels(const VideoPicture &picture)
{
    return picture.fullRange ? Levels::Same : Levels::WideChroma;
}

} // namespace

void VideoRows::prepare(const VideoPicture &picture)
{
    // the widest MCU has two blocks of luma and one of chroma
    m_chromaWidth = (static_cast<std::size_t>(picture.width) + 15) / 16 * 8;
    m_lumaWidth = m_chromaWidth * 2;
    m_memory.resize((m_lumaWidth + 2 * m_chromaWidth) * kMaxRows);
    m_mixed.resize(m_lumaWidth);
    for (std::size_t row = 0; row < kMaxRows; ++row) {
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
    const bool lumaFirst = picture.layout == VideoLayout::Yuyv;
    const Bytewise luma = lumaFirst ? Bytewise::Even : Bytewise::Odd;
    const Bytewise chroma = lumaFirst ? Bytewise::Odd : Bytewise::Even;
    copyPadded(source, luma, lumaLevels(picture), width, m_lumaRows[at], m_lumaWidth);
    copyLevels(source, chroma, chromaLevels(picture), 2 * pairs, m_mixed.data());
    splitChroma(m_mixed.data(), Levels::Same, pairs, row);
}

void VideoRows::splitChroma(const std::uint8_t *source, Levels levels, std::size_t columns, int row)
{
    const auto at = static_cast<std::size_t>(row);
    copyPadded(source, Bytewise::Even, levels, columns, m_blueRows[at], m_chromaWidth);
    copyPadded(source, Bytewise::Odd, levels, columns, m_redRows[at], m_chromaWidth);
}

void VideoRows::fillChroma(const VideoPicture &picture, int chromaRow, int row)
{
    const auto at = static_cast<std::size_t>(row);
    const auto rows = static_cast<std::size_t>(picture.height);
    const auto line = static_cast<std::size_t>(chromaRow);
    const std::size_t columns = (static_cast<std::size_t>(picture.width) + 1) / 2;
    const Levels levels = chromaLevels(picture);
    const std::uint8_t *planes = picture.bytes.data + picture.stride * rows;
    if (picture.layout == VideoLayout::Nv12)
        return splitChroma(planes + picture.stride * line, levels, columns, row);
    const std::size_t stride = picture.stride / 2;
    const std::uint8_t *blue = planes + stride * line;
    const std::uint8_t *red = blue + stride * ((rows + 1) / 2);
    copyPadded(blue, Bytewise::Each, levels, columns, m_blueRows[at], m_chromaWidth);
    copyPadded(red, Bytewise::Each, levels, columns, m_redRows[at], m_chromaWidth);
}

void VideoRows::fill(const VideoPicture &picture, int first, int count)
{
    const bool packed = picture.layout == VideoLayout::Yuyv || picture.layout == VideoLayout::Uyvy;
    for (int row = 0; row < count; ++row) {
        const int line = std::min(first + row, picture.height - 1);
        const std::uint8_t *source =
            picture.bytes.data + picture.stride * static_cast<std::size_t>(line);
        if (packed)
            fillPacked(picture, source, row);
        else
            copyPadded(source, Bytewise::Each, lumaLevels(picture),
                       static_cast<std::size_t>(picture.width),
                       m_lumaRows[static_cast<std::size_t>(row)], m_lumaWidth);
    }
    if (packed || picture.layout == VideoLayout::Gray)
        return;
    const int lastChromaRow = (picture.height - 1) / 2;
    for (int row = 0; row < count / 2; ++row)
        fillChroma(picture, std::min(first / 2 + row, lastChromaRow), row);
}

} // namespace korv
