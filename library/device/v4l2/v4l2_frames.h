#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/device/camera_device.h"
#include "library/video/planar_jpeg.h"

#include <cstdint>
#include <optional>

namespace korv {

/// The format a driver agreed to (VIDIOC_S_FMT), which need not be the one it was asked for.
struct V4l2Format
{
    std::uint32_t pixelFormat = 0;
    int width = 0;
    int height = 0;
    std::size_t stride = 0; ///< 0: rows without padding
    bool fullRange = false;
};

/// Makes the complete JPEGs that applications get from what a driver delivers. Cameras and cables
/// deliver incomplete pictures without saying so.
class V4l2Frames
{
public:
    explicit V4l2Frames(const V4l2Format &format);

    const V4l2Format &format() const { return m_format; }

    /// The frame's bytes are the given ones where nothing had to change, else this object's until
    /// the next call. -EBADMSG not a complete picture.
    Result<Frame> make(ByteView bytes);

private:
    Result<Frame> checked(ByteView bytes);
    Result<Frame> encoded(ByteView bytes);

    const V4l2Format m_format;
    const std::optional<VideoLayout> m_layout; ///< nothing: JPEG
    Bytes m_mended;
    PlanarJpegEncoder m_encoder;
};

} // namespace korv
