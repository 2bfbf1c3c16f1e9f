#include "library/device/simulated/hands/hand_frames.h"

#include "library/image/mat_view.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <utility>

namespace korv {
namespace {

constexpr int kQuality = 90;
constexpr double kFramesPerSecond = 15;
constexpr std::size_t kLengthAt = 4; ///< of the first segment, behind SOI and its marker
constexpr std::uint8_t kComment = 0xFE; // ITU-T T.81, table B.1

/// The pixels of row `y` that the sheet covers: from the first up to, but not including, the second.
std::pair<int, int> coveredBy(const LaidSheet &sheet, int y)
{
    const double cosine = std::cos(sheet.place.degrees * M_PI / 180);
    const double sine = std::sin(sheet.place.degrees * M_PI / 180);
    constexpr std::array<std::pair<int, int>, 4> kCorners{{{-1, -1}, {1, -1}, {1, 1}, {-1, 1}}};
    std::array<std::pair<double, double>, 4> corners{};
    std::transform(kCorners.begin(), kCorners.end(), corners.begin(), [&](const auto &corner) {
        const double x = corner.first * sheet.width / 2;
        const double y0 = corner.second * sheet.height / 2;
        return std::pair(sheet.place.centreX + x * cosine - y0 * sine,
                         sheet.place.centreY + x * sine + y0 * cosine);
    });
    double left = sheet.picture.width();
    double right = 0;
    for (std::size_t at = 0; at < corners.size(); ++at) {
        const auto &[x1, y1] = corners[at];
        const auto &[x2, y2] = corners[(at + 1) % corners.size()];
        if ((y1 > y) == (y2 > y))
            continue;
        const double x = x1 + (y - y1) / (y2 - y1) * (x2 - x1);
        left = std::min(left, x);
        right = std::max(right, x);
    }
    return {std::max(0, static_cast<int>(left)),
            std::min(sheet.picture.width(), static_cast<int>(right))};
}

/// Copies the sheet alone out of its picture, moved by that many pixels.
void overlay(const LaidSheet &sheet, int dx, int dy, Image &scene)
{
    for (int y = std::max(0, dy); y < std::min(scene.height(), scene.height() + dy); ++y) {
        const auto [first, end] = coveredBy(sheet, y - dy);
        const int from = std::max(first, -dx);
        const int count = std::min(end, scene.width() - dx) - from;
        if (count > 0)
            std::memcpy(scene.row(y) + std::ptrdiff_t{from + dx} * 3,
                        sheet.picture.row(y - dy) + std::ptrdiff_t{from} * 3,
                        static_cast<std::size_t>(count) * 3);
    }
}

/// Puts a comment behind the first segment, which JFIF wants to be its own.
void comment(ByteView jpeg, const std::string &text, Bytes &frame)
{
    const std::size_t head = kLengthAt + jpeg[kLengthAt] * 256U + jpeg[kLengthAt + 1];
    const std::size_t length = text.size() + 2;
    frame.assign(jpeg.begin(), jpeg.begin() + head);
    frame.insert(frame.end(),
                 {0xFF, kComment, static_cast<std::uint8_t>(length >> 8),
                  static_cast<std::uint8_t>(length & 0xFF)});
    frame.insert(frame.end(), text.begin(), text.end());
    frame.insert(frame.end(), jpeg.begin() + head, jpeg.end());
}

} // namespace

HandFrames::HandFrames(const HandDeskOptions &options, int width, int height)
    : m_script(options.seed, options.speed, options.turns)
    , m_sensor(options, static_cast<std::size_t>(width) * 3)
    , m_scene(Image::unset(width, height, PixelFormat::Rgb24))
    , m_focused(Image::unset(width, height, PixelFormat::Rgb24))
    , m_picture(Image::unset(width, height, PixelFormat::Rgb24))
    , m_encoder(kQuality)
    , m_pile(options, width, height)
{
}

/// Draws the desk before the lens; false after stop().
bool HandFrames::compose(const DeskMoment &moment)
{
    const auto lying = m_pile.sheet(moment.page);
    if (!lying)
        return false;
    std::memcpy(m_scene.pixels(), lying->picture.pixels(),
                m_scene.stride() * static_cast<std::size_t>(m_scene.height()));
    if (moment.moving) {
        const auto moving = m_pile.sheet(moment.moving->page);
        if (!moving)
            return false;
        const auto pixels = [&](double part) {
            return static_cast<int>(std::lround(part * m_scene.width()));
        };
        overlay(*moving, pixels(moment.moving->x), pixels(moment.moving->y), m_scene);
    }
    if (moment.hand)
        drawHand(m_scene, *moment.hand);
    return true;
}

void HandFrames::focus(const DeskMoment &moment)
{
    const cv::Mat scene = matView(m_scene);
    cv::Mat focused = matView(m_focused);
    const double x = (1 - moment.zoom) * m_scene.width() / 2;
    const double y = (1 - moment.zoom) * m_scene.height() / 2;
    const cv::Matx23d move(moment.zoom, 0, x, 0, moment.zoom, y);
    cv::warpAffine(scene, focused, move, focused.size(), cv::INTER_LINEAR, cv::BORDER_REPLICATE);
    constexpr double kLeastSeen = 0.2; ///< pixels
    if (const double radius = moment.blur * m_scene.width(); radius > kLeastSeen)
        cv::GaussianBlur(focused, focused, {}, radius);
}

Result<ByteView> HandFrames::frame(std::int64_t number)
{
    const double seconds = static_cast<double>(number) / kFramesPerSecond;
    const DeskMoment moment = m_script.at(seconds);
    if (!compose(moment))
        return ByteView();
    const bool isFocused = moment.zoom == 1 && moment.blur == 0;
    if (!isFocused)
        focus(moment);
    m_sensor.expose(isFocused ? m_scene : m_focused, number, seconds, m_picture);

    VideoPicture picture;
    picture.layout = VideoLayout::Rgb24;
    picture.width = m_picture.width();
    picture.height = m_picture.height();
    picture.stride = m_picture.stride();
    picture.bytes = {m_picture.pixels(),
                     m_picture.stride() * static_cast<std::size_t>(m_picture.height())};
    if (Result<void> done =
            m_encoder.encode(picture, {0, picture.height, 0}, picture.bytes.size / 4);
        !done)
        return done.error();
    const bool hasHand =
        moment.hand && isHandInside(*moment.hand, m_picture.width(), m_picture.height());
    std::array<char, 96> text{};
    std::snprintf(text.data(), text.size(), "korv-desk frame=%lld page=%d hand=%d still=%.3f",
                  static_cast<long long>(number), moment.page, hasHand ? 1 : 0,
                  moment.stillFor.value_or(-1));
    const Bytes coded = m_encoder.output().take();
    comment(coded, text.data(), m_frame);
    return ByteView(m_frame);
}

} // namespace korv
