#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/image/image.h"

#include <vector>

namespace korv {

/// A baseline JPEG with a restart marker after every row of MCUs (ITU-T T.81, E.1.4). Such rows do
/// not depend on each other, so rows of one picture can be continued with rows of another of the
/// same width, quality and tables: a moving strip costs the encoding of the strip only.
class RowJpeg
{
public:
    /// Height of a row of MCUs with 4:2:0 sampling.
    static constexpr int kRowHeight = 16;

    /// Rgb24 only. -ENOMEM. Throws std::bad_alloc.
    static Result<RowJpeg> encode(const Image &image, int quality);

    std::size_t rowCount() const { return m_rows.size(); }

    /// Everything in front of row `row`: headers, and the rows above with their restart markers.
    ByteView before(std::size_t row) const;

    /// Appends all rows to `frame` as the rows from `firstRow` on, with restart markers between
    /// them, and the end marker.
    void appendRows(Bytes &frame, std::size_t firstRow) const;

private:
    struct Row
    {
        std::size_t start = 0;
        std::size_t end = 0; ///< without the marker that follows
    };

    /// `firstRow`: where the coded data begin.
    RowJpeg(Bytes bytes, std::size_t firstRow);

    Bytes m_bytes;
    std::vector<Row> m_rows;
};

} // namespace korv
