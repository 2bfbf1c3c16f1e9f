#pragma once

#include "library/base/result.h"
#include "library/device/camera_device.h"
#include "library/device/v4l2/v4l2_calls.h"
#include "library/video/video_picture.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace korv {

/// The seconds from a frame to the next, as a fraction; 0 of 0 is not known.
struct FrameInterval
{
    std::uint32_t numerator = 0;
    std::uint32_t denominator = 0;

    bool isKnown() const { return numerator != 0 && denominator != 0; }
    double seconds() const { return isKnown() ? static_cast<double>(numerator) / denominator : 0; }
};

/// A picture size of a node, with the pixel format that the node offers it in.
struct V4l2Mode
{
    CaptureMode mode;
    std::uint32_t pixelFormat = 0; ///< V4L2_PIX_FMT_...
    FrameInterval interval; ///< the shortest
};

/// What a node says of itself (VIDIOC_QUERYCAP).
struct V4l2Identity
{
    std::string card; ///< as the driver gives it: cut to 31 bytes
    std::string bus; ///< where it is plugged in
    std::uint32_t capabilities = 0; ///< of this node: device_caps

    bool capturesVideo() const;
    bool isSameAs(const V4l2Identity &other) const
    {
        return card == other.card && bus == other.bus;
    }
};

/// The memory layout of a pixel format that is not JPEG; nothing for an unsupported one.
std::optional<VideoLayout> layoutOf(std::uint32_t pixelFormat);
bool isJpegFormat(std::uint32_t pixelFormat);

/// -ENODEV gone, or what the driver answers.
Result<V4l2Identity> queryIdentity(const V4l2Node &node);

/// The sizes a node offers in formats that we can use, one entry each, largest first, numbered from
/// 0: the same for every camera of a model. Of the formats of a size JPEG comes first, then the one
/// that takes the least work. Where a driver takes any size of a range, the usual ones are
/// listed. Empty when there is none; -ENODEV gone.
Result<std::vector<V4l2Mode>> listModes(const V4l2Node &node);

/// The number of the mode to begin with: the largest that runs at ten frames a second or more, else
/// the fastest. Precondition: not empty.
int modeToBeginWith(const std::vector<V4l2Mode> &modes);

} // namespace korv
