#pragma once

#include "library/base/result.h"
#include "library/jpeg/jpeg_destination.h"
#include "library/jpeg/jpeg_trap.h"
#include "library/video/video_picture.h"
#include "library/video/video_rows.h"

namespace korv {

/// The least unit of a JPEG: a few blocks of each component (ITU-T T.81, A.2).
struct McuSize
{
    int width = 0;
    int height = 0;

    // how many a picture takes
    int across(int pictureWidth) const { return (pictureWidth + width - 1) / width; }
    int down(int pictureHeight) const { return (pictureHeight + height - 1) / height; }
};

/// The kind of JPEG that pictures of a layout become. All keep the chroma's sampling, and RGB becomes
/// 4:2:0.
McuSize mcuOf(VideoLayout layout);

/// Rows of a picture, from whole MCU to whole MCU or to the picture's end.
struct Strip
{
    int first = 0;
    int end = 0;
    unsigned restartInterval = 0; ///< MCUs, at most 65535; 0: no restarts
};

/// Codes strips of video pictures, each as a JPEG of its own. Memory is kept from one to the next.
class StripEncoder
{
public:
    explicit StripEncoder(int quality);
    ~StripEncoder();
    StripEncoder(const StripEncoder &) = delete;
    StripEncoder &operator=(const StripEncoder &) = delete;

    /// The JPEG is in output() until the next call. `expected` bytes are taken for it at once.
    /// The picture's bytes are all there. -ENOMEM. Throws std::bad_alloc.
    Result<void> encode(const VideoPicture &picture, const Strip &strip, std::size_t expected);

    jpeg::ByteDestination &output() { return m_output; }

private:
    void configure(const VideoPicture &picture, const Strip &strip);
    void writePlanes(const VideoPicture &picture, const Strip &strip);
    void writeRgb(const VideoPicture &picture, const Strip &strip);

    const int m_quality;
    jpeg::ErrorTrap m_trap;
    jpeg_compress_struct m_state{};
    bool m_created = false;
    jpeg::ByteDestination m_output;
    VideoRows m_rows;
};

} // namespace korv
