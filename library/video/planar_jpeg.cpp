#include "library/video/planar_jpeg.h"

#include "library/image/image.h"
#include "library/threads/helper_thread.h"
#include "library/video/jpeg_halves.h"
#include "library/video/strip_encoder.h"

#include <cerrno>
#include <new>
#include <optional>

namespace korv {
namespace {

constexpr unsigned kMaxRestartInterval = 0xFFFF; // two bytes, T.81, B.2.4.4

/// The upper half in whole rows of MCUs, never fewer of them than the lower half has. Nothing when
/// there are no two such rows or the file cannot state how many MCUs they have.
std::optional<Strip> upperHalf(const VideoPicture &picture)
{
    const McuSize mcu = mcuOf(picture.layout);
    const int rows = mcu.down(picture.height);
    const int upperRows = (rows + 1) / 2;
    const auto inRow = static_cast<unsigned>(mcu.across(picture.width));
    const unsigned interval = inRow * static_cast<unsigned>(upperRows);
    if (rows < 2 || interval > kMaxRestartInterval)
        return std::nullopt;
    return Strip{0, upperRows * mcu.height, interval};
}

} // namespace

class PlanarJpegEncoder::Work
{
public:
    Work(int quality, int leastShared)
        : m_leastShared(leastShared)
        , m_upper(quality)
        , m_lower(quality)
    {
    }

    Result<ByteView> encode(const VideoPicture &picture);

private:
    Result<ByteView> encodeShared(const VideoPicture &picture, const Strip &upper,
                                  std::size_t expected);

    const int m_leastShared;
    StripEncoder m_upper; ///< or the whole picture
    StripEncoder m_lower;
    HelperThread m_helper;
};

Result<ByteView> PlanarJpegEncoder::Work::encode(const VideoPicture &picture)
{
    const std::size_t expected = picture.bytes.size / 4 + 4096;
    if (picture.width * picture.height >= m_leastShared) {
        if (const std::optional<Strip> upper = upperHalf(picture))
            return encodeShared(picture, *upper, expected);
    }
    if (Result<void> done = m_upper.encode(picture, {0, picture.height, 0}, expected); !done)
        return done.error();
    return m_upper.output().written();
}

Result<ByteView> PlanarJpegEncoder::Work::encodeShared(const VideoPicture &picture,
                                                       const Strip &upper, std::size_t expected)
{
    Result<void> upperDone;
    Result<void> lowerDone;
    m_helper.runBoth(
        [&] {
            lowerDone = m_lower.encode(picture, {upper.end, picture.height, 0}, expected / 2);
        },
        [&] { upperDone = m_upper.encode(picture, upper, expected); });
    if (!upperDone)
        return upperDone.error();
    if (!lowerDone)
        return lowerDone.error();
    const ByteView lower = m_lower.output().written();
    if (Result<void> joined = jpeg::joinHalves(m_upper.output(), lower, picture.height); !joined)
        return joined.error();
    return m_upper.output().written();
}

PlanarJpegEncoder::PlanarJpegEncoder(int quality, int leastShared)
    : m_work(std::make_unique<Work>(quality, leastShared))
{
}

PlanarJpegEncoder::~PlanarJpegEncoder() = default;

Result<ByteView> PlanarJpegEncoder::encode(const VideoPicture &picture)
{
    if (!isSupportedSize(picture.width, picture.height)
        || picture.stride < leastStride(picture.layout, picture.width))
        return Error{-EINVAL, "the video picture's size is not possible"};
    if (picture.bytes.size < videoPictureSize(picture))
        return Error{-EBADMSG, "the video picture is incomplete"};
    try {
        return m_work->encode(picture);
    } catch (const std::bad_alloc &) {
        return Error{-ENOMEM, "JPEG: no memory for the encoded picture"};
    }
}

} // namespace korv
