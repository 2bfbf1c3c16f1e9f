#include "library/formats/bmp_runs.h"

#include <algorithm>
#include <cerrno>

namespace korv {

namespace {

/// What stands in place of a colour behind a run length of 0; from 3 on it is the number of pixels
/// that follow as they are.
enum Escape : std::uint8_t { EndOfRow = 0, EndOfPicture = 1, Move = 2 };

class RunDecoder
{
public:
    RunDecoder(ByteView runs, unsigned bits, std::size_t width, Bytes &indices)
        : m_runs(runs)
        , m_bits(bits)
        , m_width(width)
        , m_height(indices.size() / width)
        , m_indices(indices)
    {
    }

    bool decode();

private:
    bool has(std::size_t count) const { return m_runs.size - m_at >= count; }
    /// Of so many pixels those that have their places in this row. Some programs code the padding of
    /// uncoded rows as well.
    std::size_t fitting(std::size_t count) const { return std::min(count, m_width - m_x); }
    bool repeat(std::size_t count, std::uint8_t colours);
    bool copy(std::size_t count);
    bool move();
    std::uint8_t indexOf(std::uint8_t colours, std::size_t pixel) const
    {
        if (m_bits == 8)
            return colours;
        return pixel % 2 == 0 ? colours >> 4 : colours & 15;
    }

    ByteView m_runs;
    const unsigned m_bits;
    const std::size_t m_width;
    const std::size_t m_height;
    Bytes &m_indices;
    std::size_t m_at = 0;
    std::size_t m_x = 0;
    std::size_t m_y = 0;
};

bool RunDecoder::repeat(std::size_t count, std::uint8_t colours)
{
    if (m_y >= m_height)
        return false;
    const std::size_t kept = fitting(count);
    std::uint8_t *to = m_indices.data() + m_y * m_width + m_x;
    for (std::size_t i = 0; i < kept; ++i)
        to[i] = indexOf(colours, i);
    m_x += kept;
    return true;
}

bool RunDecoder::copy(std::size_t count)
{
    const std::size_t bytes = m_bits == 8 ? count : (count + 1) / 2;
    if (m_y >= m_height || !has(bytes))
        return false;
    const std::size_t kept = fitting(count);
    std::uint8_t *to = m_indices.data() + m_y * m_width + m_x;
    for (std::size_t i = 0; i < kept; ++i)
        to[i] = indexOf(m_runs[m_at + (m_bits == 8 ? i : i / 2)], i);
    m_x += kept;
    // the next run begins at an even place; behind the last one the padding may be missing
    m_at = std::min(m_at + (bytes + 1) / 2 * 2, m_runs.size);
    return true;
}

bool RunDecoder::move()
{
    if (!has(2))
        return false;
    m_x += m_runs[m_at];
    m_y += m_runs[m_at + 1];
    m_at += 2;
    return m_x <= m_width && m_y < m_height;
}

bool RunDecoder::decode()
{
    for (;;) {
        // some programs leave out the mark of the end
        if (!has(2))
            return m_y >= m_height || (m_y + 1 == m_height && m_x == m_width);
        const std::uint8_t count = m_runs[m_at];
        const std::uint8_t second = m_runs[m_at + 1];
        m_at += 2;
        bool good = true;
        if (count > 0) {
            good = repeat(count, second);
        } else if (second == EndOfPicture) {
            return true;
        } else if (second == EndOfRow) {
            m_x = 0;
            ++m_y;
        } else if (second == Move) {
            good = move();
        } else {
            good = copy(second);
        }
        if (!good)
            return false;
    }
}

} // namespace

Result<void> decodeBmpRuns(ByteView runs, unsigned bits, std::size_t width, Bytes &indices)
{
    if (!RunDecoder(runs, bits, width, indices).decode())
        return Error{-EBADMSG, "BMP: runs that do not fit the picture"};
    return {};
}

} // namespace korv
