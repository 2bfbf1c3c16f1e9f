#include "library/device/simulated/frame_composer.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace korv {
namespace {

constexpr int kQuality = 90;
constexpr int kStripFraction = 32; ///< of the picture's height
constexpr int kStepFraction = 150; ///< of its width, a frame
constexpr int kFramesPerTurn = 30; ///< of the coin's hand

using Colour = std::array<std::uint8_t, 3>;
constexpr Colour kFace{236, 190, 72};
constexpr Colour kRim{120, 84, 20};

int mcuRows(int height)
{
    return (height + RowJpeg::kRowHeight - 1) / RowJpeg::kRowHeight;
}

struct Coin
{
    double x = 0;
    double y = 0;
    double radius = 0;
    double handX = 0; ///< unit vector along the hand
    double handY = 0;

    /// False outside the coin.
    bool colourAt(double px, double py, Colour &colour) const
    {
        const double dx = px - x;
        const double dy = py - y;
        const double distance = std::hypot(dx, dy);
        if (distance > radius)
            return false;
        const double along = dx * handX + dy * handY;
        const double beside = std::abs(dx * handY - dy * handX);
        const bool isHand = along > 0 && beside < radius / 6;
        colour = distance > radius * 0.85 || isHand ? kRim : kFace;
        return true;
    }
};

Coin coinAt(const Image &strip, std::int64_t number)
{
    Coin coin;
    coin.radius = std::min(strip.width(), strip.height()) * 0.45;
    const double way = strip.width() - 2 * coin.radius;
    const double step = std::max(2.0, static_cast<double>(strip.width()) / kStepFraction);
    coin.x = coin.radius + std::fmod(static_cast<double>(number) * step, way);
    coin.y = strip.height() / 2.0;
    const double angle = 2 * M_PI * static_cast<double>(number % kFramesPerTurn) / kFramesPerTurn;
    coin.handX = std::cos(angle);
    coin.handY = std::sin(angle);
    return coin;
}

void draw(Image &strip, const Coin &coin)
{
    const int left = std::max(0, static_cast<int>(coin.x - coin.radius));
    const int right = std::min(strip.width() - 1, static_cast<int>(coin.x + coin.radius) + 1);
    for (int y = 0; y < strip.height(); ++y) {
        for (int x = left; x <= right; ++x) {
            Colour colour{};
            if (coin.colourAt(x, y, colour))
                std::copy(colour.begin(), colour.end(), strip.row(y) + std::ptrdiff_t{x} * 3);
        }
    }
}

} // namespace

Result<PreparedPage> PreparedPage::make(const Image &picture)
{
    const int rows = mcuRows(picture.height());
    const int stripRows = std::min(rows, mcuRows(picture.height() / kStripFraction + 1));
    const int top = (rows - stripRows) * RowJpeg::kRowHeight;
    Result<RowJpeg> still = RowJpeg::encode(picture, kQuality);
    if (!still)
        return still.error();
    Image strip(picture.width(), picture.height() - top, PixelFormat::Rgb24);
    std::copy(picture.row(top),
              picture.row(top) + picture.stride() * static_cast<std::size_t>(strip.height()),
              strip.pixels());
    return PreparedPage{std::move(still).value(), static_cast<std::size_t>(rows - stripRows),
                        std::move(strip)};
}

Result<ByteView> FrameComposer::compose(const std::shared_ptr<const PreparedPage> &page,
                                        std::int64_t number)
{
    if (page != m_page) {
        const ByteView upper = page->still.before(page->stripRow);
        m_frame.assign(upper.begin(), upper.end());
        m_upperSize = upper.size;
        m_page = page;
    }
    m_strip = page->strip;
    draw(m_strip, coinAt(m_strip, number));
    const Result<RowJpeg> lower = RowJpeg::encode(m_strip, kQuality);
    if (!lower)
        return lower.error();
    m_frame.resize(m_upperSize);
    lower.value().appendRows(m_frame, page->stripRow);
    return ByteView(m_frame);
}

} // namespace korv
