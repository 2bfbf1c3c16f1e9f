#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"

#include <cstddef>
#include <memory>

namespace korv {

/// How an uncompressed video picture lies in memory (the kernel's names: YUYV, UYVY, NV12, YU12,
/// RGB3, GREY).
enum class VideoLayout { Yuyv, Uyvy, Nv12, Yu12, Rgb24, Gray };

/// An uncompressed video picture; the bytes are borrowed.
struct VideoPicture
{
    ByteView bytes;
    VideoLayout layout = VideoLayout::Yuyv;
    int width = 0;
    int height = 0;
    std::size_t stride = 0; ///< bytes from a row of the first plane to the next
    bool fullRange = false; ///< luma 0..255 instead of 16..235 (ITU-R BT.601); not for RGB
};

/// The least bytes a row of the first plane takes.
std::size_t leastStride(VideoLayout layout, int width);

/// The bytes that a picture of this shape takes, whatever lies in `bytes`.
std::size_t videoPictureSize(const VideoPicture &picture);

/// Makes JPEGs of the pictures of one stream. Luma and chroma go into the encoder as they are,
/// without a way round through RGB; only their range is widened to JPEG's. Memory is kept from
/// picture to picture.
///
/// A picture that is large enough is coded in two halves, one of them on a second core; a restart
/// marker stands between them (ITU-T T.81, E.1.4), and its pixels are those of one piece. The
/// thread there starts with the first such picture and ends with the encoder.
class PlanarJpegEncoder
{
public:
    /// Below, the second core brings little.
    static constexpr int kLeastShared = 300'000;

    /// `quality` is libjpeg's; pictures of `leastShared` pixels and more are coded in two halves.
    explicit PlanarJpegEncoder(int quality, int leastShared = kLeastShared);
    ~PlanarJpegEncoder();
    PlanarJpegEncoder(const PlanarJpegEncoder &) = delete;
    PlanarJpegEncoder &operator=(const PlanarJpegEncoder &) = delete;

    /// The view is valid until the next call. -EINVAL a size or stride that is not possible,
    /// -EBADMSG fewer bytes than the picture takes, -ENOMEM.
    Result<ByteView> encode(const VideoPicture &picture);

private:
    class Work;
    std::unique_ptr<Work> m_work;
};

} // namespace korv
