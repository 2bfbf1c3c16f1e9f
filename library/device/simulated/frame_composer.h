#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/device/simulated/row_jpeg.h"
#include "library/image/image.h"

#include <cstdint>
#include <memory>

namespace korv {

/// A page ready to become frames: encoded once, with the pixels of the strip at its lower edge in
/// which frames differ.
struct PreparedPage
{
    RowJpeg still;
    std::size_t stripRow = 0; ///< first row of MCUs of the strip
    Image strip;

    /// `picture`: Rgb24. -ENOMEM.
    static Result<PreparedPage> make(const Image &picture);
};

/// Makes the frames of a page: a coin rolls along the lower edge, its hand turning. Only the coin's
/// strip is encoded for each frame; at 8 megapixels that is a thirtieth of the work.
class FrameComposer
{
public:
    /// Frame `number` of the page; the bytes are valid until the next call. -ENOMEM.
    Result<ByteView> compose(const std::shared_ptr<const PreparedPage> &page, std::int64_t number);

private:
    std::shared_ptr<const PreparedPage> m_page; ///< whose upper part stands in m_frame
    std::size_t m_upperSize = 0;
    Image m_strip;
    Bytes m_frame;
};

} // namespace korv
