#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/video/video_picture.h"

#include <memory>

namespace korv {

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
    static constexpr int kMinSharedPixels = 300'000;

    /// `quality` is libjpeg's; pictures of `leastShared` pixels and more are coded in two halves.
    explicit PlanarJpegEncoder(int quality, int leastShared = kMinSharedPixels);
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
