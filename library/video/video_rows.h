#pragma once

#include "library/base/bytes.h"
#include "library/video/video_levels.h"
#include "library/video/video_picture.h"

#include <array>
#include <cstdint>

namespace korv {

/// A strip of rows of a video picture as three planes that an encoder can take: range widened to
/// 0..255, and padded to whole blocks by repeating the last column and row.
class VideoRows
{
public:
    using RowPointer = std::uint8_t *;

    /// Makes room for the picture's strips. Throws std::bad_alloc.
    void prepare(const VideoPicture &picture);

    /// Reads `count` rows from `first` on; rows below the picture repeat its last one. Does not
    /// throw. The layout is not RGB.
    void fill(const VideoPicture &picture, int first, int count);

    RowPointer *luma() { return m_lumaRows.data(); }
    RowPointer *blue() { return m_blueRows.data(); }
    RowPointer *red() { return m_redRows.data(); }

private:
    static constexpr int kMaxRows = 16;

    void fillPacked(const VideoPicture &picture, const std::uint8_t *source, int row);
    void splitChroma(const std::uint8_t *source, Levels levels, std::size_t columns, int row);
    void fillChroma(const VideoPicture &picture, int chromaRow, int row);

    Bytes m_memory;
    Bytes m_mixed; ///< a row's colour differences, both in turns
    std::size_t m_lumaWidth = 0; ///< padded
    std::size_t m_chromaWidth = 0;
    std::array<RowPointer, kMaxRows> m_lumaRows{};
    std::array<RowPointer, kMaxRows> m_blueRows{};
    std::array<RowPointer, kMaxRows> m_redRows{};
};

} // namespace korv
