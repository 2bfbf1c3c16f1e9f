#include "library/device/v4l2/v4l2_modes.h"

#include "library/image/image.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <linux/videodev2.h>
#include <utility>

namespace korv {
namespace {

/// Best first.
constexpr std::array<std::uint32_t, 8> kUsableFormats{
    V4L2_PIX_FMT_MJPEG, V4L2_PIX_FMT_JPEG,   V4L2_PIX_FMT_YUYV,  V4L2_PIX_FMT_UYVY,
    V4L2_PIX_FMT_NV12,  V4L2_PIX_FMT_YUV420, V4L2_PIX_FMT_RGB24, V4L2_PIX_FMT_GREY,
};

using Size = std::pair<std::uint32_t, std::uint32_t>;

/// Offered where a driver takes any size between two.
constexpr std::array<Size, 12> kUsualSizes{{{3264, 2448},
                                            {2592, 1944},
                                            {2048, 1536},
                                            {1920, 1080},
                                            {1600, 1200},
                                            {1280, 1024},
                                            {1280, 960},
                                            {1280, 720},
                                            {1024, 768},
                                            {800, 600},
                                            {640, 480},
                                            {320, 240}}};

/// More would take a frame longer to read and to look at than it is worth.
constexpr std::int64_t kMaxFramePixels = 50'000'000;

/// Drivers that answer for ever are cut short.
constexpr std::uint32_t kMaxEntries = 256;

constexpr double kFluentSeconds = 0.1;

bool isUsableSize(std::uint32_t width, std::uint32_t height)
{
    return isSupportedSize(width, height) && std::int64_t{width} * height <= kMaxFramePixels;
}

/// Whether a stepped range (V4L2_FRMSIZE_TYPE_STEPWISE) holds a value.
bool holds(std::uint32_t low, std::uint32_t high, std::uint32_t step, std::uint32_t value)
{
    return value >= low && value <= high && (value - low) % std::max(step, 1U) == 0;
}

std::vector<Size> sizesIn(const v4l2_frmsize_stepwise &range)
{
    std::vector<Size> sizes;
    for (const auto &[width, height] : kUsualSizes) {
        if (holds(range.min_width, range.max_width, range.step_width, width)
            && holds(range.min_height, range.max_height, range.step_height, height))
            sizes.emplace_back(width, height);
    }
    if (isUsableSize(range.max_width, range.max_height))
        sizes.emplace_back(range.max_width, range.max_height);
    return sizes;
}

/// Calls `read(index)` until it says that there are no more: -ENODEV, or success.
template <typename Read> int readAll(Read read)
{
    for (std::uint32_t index = 0; index < kMaxEntries; ++index) {
        const int result = read(index);
        if (result == -ENODEV)
            return result;
        if (result < 0)
            return 0; // -EINVAL at the end; a driver that does not know the question: -ENOTTY
    }
    return 0;
}

/// Collects the modes of one node.
class Lister
{
public:
    explicit Lister(const V4l2Node &node)
        : m_node(node)
    {
    }

    Result<std::vector<V4l2Mode>> list();

private:
    int listSizes(std::uint32_t format);
    int add(std::uint32_t format, Size size);
    int shortestInterval(std::uint32_t format, Size size, FrameInterval &shortest) const;
    int addSizeInUse(std::uint32_t format);

    const V4l2Node &m_node;
    std::vector<V4l2Mode> m_modes;
};

int Lister::shortestInterval(std::uint32_t format, Size size, FrameInterval &shortest) const
{
    return readAll([&](std::uint32_t index) {
        v4l2_frmivalenum entry{};
        entry.index = index;
        entry.pixel_format = format;
        entry.width = size.first;
        entry.height = size.second;
        const int result = m_node.control(VIDIOC_ENUM_FRAMEINTERVALS, &entry);
        if (result < 0)
            return result;
        const bool discrete = entry.type == V4L2_FRMIVAL_TYPE_DISCRETE;
        const v4l2_fract &fraction = discrete ? entry.discrete : entry.stepwise.min;
        const FrameInterval interval{fraction.numerator, fraction.denominator};
        if (interval.isKnown() && (!shortest.isKnown() || interval.seconds() < shortest.seconds()))
            shortest = interval;
        return discrete ? 0 : -EINVAL; // a range is a single entry
    });
}

int Lister::add(std::uint32_t format, Size size)
{
    const auto same = [&](const V4l2Mode &mode) {
        return mode.mode.width == static_cast<int>(size.first)
            && mode.mode.height == static_cast<int>(size.second);
    };
    if (!isUsableSize(size.first, size.second) || std::any_of(m_modes.begin(), m_modes.end(), same))
        return 0;
    V4l2Mode mode;
    mode.mode.width = static_cast<int>(size.first);
    mode.mode.height = static_cast<int>(size.second);
    mode.pixelFormat = format;
    const int result = shortestInterval(format, size, mode.interval);
    if (result == 0)
        m_modes.push_back(mode);
    return result;
}

/// For drivers that do not tell their sizes: what they are set to.
int Lister::addSizeInUse(std::uint32_t format)
{
    v4l2_format current{};
    current.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    const int result = m_node.control(VIDIOC_G_FMT, &current);
    if (result < 0)
        return result == -ENODEV ? result : 0;
    return add(format, {current.fmt.pix.width, current.fmt.pix.height});
}

int Lister::listSizes(std::uint32_t format)
{
    bool any = false;
    int added = 0;
    const int result = readAll([&](std::uint32_t index) {
        v4l2_frmsizeenum entry{};
        entry.index = index;
        entry.pixel_format = format;
        const int answer = m_node.control(VIDIOC_ENUM_FRAMESIZES, &entry);
        if (answer < 0)
            return answer;
        any = true;
        if (entry.type == V4L2_FRMSIZE_TYPE_DISCRETE) {
            added = add(format, {entry.discrete.width, entry.discrete.height});
            return added;
        }
        for (const Size &size : sizesIn(entry.stepwise))
            added = added == 0 ? add(format, size) : added;
        return added == 0 ? -EINVAL : added; // a range is a single entry
    });
    return result == 0 && !any ? addSizeInUse(format) : result;
}

Result<std::vector<V4l2Mode>> Lister::list()
{
    std::vector<std::uint32_t> offered;
    int result = readAll([&](std::uint32_t index) {
        v4l2_fmtdesc entry{};
        entry.index = index;
        entry.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        const int answer = m_node.control(VIDIOC_ENUM_FMT, &entry);
        // emulated formats are made from another one by a library that we do not use
        if (answer == 0 && (entry.flags & V4L2_FMT_FLAG_EMULATED) == 0)
            offered.push_back(entry.pixelformat);
        return answer;
    });
    for (const std::uint32_t format : kUsableFormats) {
        if (result == 0 && std::count(offered.begin(), offered.end(), format) != 0)
            result = listSizes(format);
    }
    if (result < 0)
        return systemError(-result, "the camera is gone");
    const auto larger = [](const V4l2Mode &one, const V4l2Mode &other) {
        const auto pixels = [](const V4l2Mode &mode) {
            return std::int64_t{mode.mode.width} * mode.mode.height;
        };
        return std::make_pair(pixels(one), one.mode.width)
            > std::make_pair(pixels(other), other.mode.width);
    };
    std::sort(m_modes.begin(), m_modes.end(), larger);
    for (std::size_t at = 0; at < m_modes.size(); ++at)
        m_modes[at].mode.number = static_cast<int>(at);
    return m_modes;
}

template <std::size_t size> std::string fieldText(const std::uint8_t (&field)[size])
{
    const void *end = std::memchr(field, 0, size);
    const std::size_t length =
        end ? static_cast<std::size_t>(static_cast<const std::uint8_t *>(end) - field) : size;
    return std::string(reinterpret_cast<const char *>(field), length);
}

} // namespace

bool V4l2Identity::capturesVideo() const
{
    constexpr std::uint32_t kNeeded = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
    return (capabilities & kNeeded) == kNeeded;
}

std::optional<VideoLayout> layoutOf(std::uint32_t pixelFormat)
{
    switch (pixelFormat) {
    case V4L2_PIX_FMT_YUYV:
        return VideoLayout::Yuyv;
    case V4L2_PIX_FMT_UYVY:
        return VideoLayout::Uyvy;
    case V4L2_PIX_FMT_NV12:
        return VideoLayout::Nv12;
    case V4L2_PIX_FMT_YUV420:
        return VideoLayout::Yu12;
    case V4L2_PIX_FMT_RGB24:
        return VideoLayout::Rgb24;
    case V4L2_PIX_FMT_GREY:
        return VideoLayout::Gray;
    default:
        return std::nullopt;
    }
}

bool isJpegFormat(std::uint32_t pixelFormat)
{
    return pixelFormat == V4L2_PIX_FMT_MJPEG || pixelFormat == V4L2_PIX_FMT_JPEG;
}

Result<V4l2Identity> queryIdentity(const V4l2Node &node)
{
    v4l2_capability answer{};
    if (const int result = node.control(VIDIOC_QUERYCAP, &answer); result < 0)
        return systemError(-result, "VIDIOC_QUERYCAP");
    V4l2Identity identity;
    identity.card = fieldText(answer.card);
    identity.bus = fieldText(answer.bus_info);
    // capabilities describes all nodes of the device together; only device_caps is about this one
    identity.capabilities = (answer.capabilities & V4L2_CAP_DEVICE_CAPS) != 0 ? answer.device_caps
                                                                              : answer.capabilities;
    return identity;
}

Result<std::vector<V4l2Mode>> listModes(const V4l2Node &node)
{
    return Lister(node).list();
}

int modeToBeginWith(const std::vector<V4l2Mode> &modes)
{
    // a driver that does not tell its intervals is taken at its best
    const auto isFluent = [](const V4l2Mode &mode) {
        return mode.interval.seconds() <= kFluentSeconds + 1e-9;
    };
    const auto fluent = std::find_if(modes.begin(), modes.end(), isFluent);
    if (fluent != modes.end())
        return fluent->mode.number;
    const auto faster = [](const V4l2Mode &one, const V4l2Mode &other) {
        return one.interval.seconds() < other.interval.seconds();
    };
    return std::min_element(modes.begin(), modes.end(), faster)->mode.number;
}

} // namespace korv
