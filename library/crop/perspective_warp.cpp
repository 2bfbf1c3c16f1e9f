#include "library/crop/perspective_warp.h"

#include "library/crop/edges/colour_lanes.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <opencv2/core/hal/intrin.hpp>

namespace korv::crop {

namespace {

// OpenCV's warp takes twice the processor time (41 against 19 ms for a frame of 8 megapixels, 6.6
// against 3.8 ms for one of 2): shared by two cores, too, finding and cutting a sheet would take 1.1
// times as long as decoding a frame of 2 megapixels, and the limit is 1.0. It also knows 32 places
// between two pixels, and this one 256.

constexpr int kFractionBits = 8; ///< of a mixing weight
constexpr int kOne = 1 << kFractionBits;
constexpr int kHalf = kOne / 2;
constexpr int kPositionBits = 14; ///< kMaxSide and some still fit
constexpr double kPositionScale = 1 << kPositionBits;
constexpr double kMaxPosition = 2.0 * (1 << 15); ///< of a position: more than kMaxSide
constexpr int kWeightShift = kPositionBits - kFractionBits;

constexpr int kMaxPieceLength = 32;
constexpr double kMaxError = 1.0 / 64; ///< of a position, in pixels
constexpr double kNoDepth = 1e-9;
constexpr std::int64_t kWorthAThread = 300'000; ///< pixels

/// A place in the source picture, in 1 / kPositionScale of a pixel.
struct Position
{
    int x = 0;
    int y = 0;
};

/// Places of the pixels of a row: exact at the ends of short pieces, evenly spaced within them.
class Path
{
public:
    Path(const Homography &map, const Image &target)
        : m_map(map)
        , m_piece(pieceFor(map, target.width(), target.height()))
    {
    }

    int piece() const { return m_piece; }

    Position at(int x, int y) const
    {
        const double w = m_map[6] * x + m_map[7] * y + m_map[8];
        const double inverse = std::abs(w) < kNoDepth ? 0 : 1 / w;
        return {fixed((m_map[0] * x + m_map[1] * y + m_map[2]) * inverse),
                fixed((m_map[3] * x + m_map[4] * y + m_map[5]) * inverse)};
    }

private:
    /// What lies still farther out, or nowhere, is the border's colour all the same.
    static int fixed(double place)
    {
        const double kept = place > -kMaxPosition ? std::min(place, kMaxPosition) : -kMaxPosition;
        // rounds by cutting off what is positive now: half the time of lround()
        constexpr double kPositive = kMaxPosition * kPositionScale;
        return static_cast<int>(static_cast<std::int64_t>(kept * kPositionScale + (kPositive + 0.5))
                                - static_cast<std::int64_t>(kPositive));
    }

    /// The most pixels over which the largest curvature of a row stays below the error. Along a row a
    /// coordinate is (a x + b) / w with w = c x + d; its second derivative is -2 c / w times the first.
    static int pieceFor(const Homography &map, int width, int height)
    {
        double leastDepth = 1e300;
        double mostDepth = -1e300;
        double mostNumerator = 0;
        for (const int y : {0, height}) {
            for (const int x : {0, width + kMaxPieceLength}) {
                const double w = map[6] * x + map[7] * y + map[8];
                leastDepth = std::min(leastDepth, w);
                mostDepth = std::max(mostDepth, w);
            }
            for (std::size_t i = 0; i < 2; ++i) {
                const double numerator = map[3 * i] * (map[7] * y + map[8])
                    - map[6] * (map[3 * i + 1] * y + map[3 * i + 2]);
                mostNumerator = std::max(mostNumerator, std::abs(numerator));
            }
        }
        const double nearest = std::min(std::abs(leastDepth), std::abs(mostDepth));
        if (leastDepth * mostDepth <= 0 || nearest < kNoDepth)
            return 1;
        const double curvature = 2 * std::abs(map[6]) * mostNumerator / std::pow(nearest, 3);
        int piece = kMaxPieceLength;
        while (piece > 1 && curvature * piece * piece / 8 > kMaxError)
            piece /= 2;
        return piece;
    }

    Homography m_map;
    int m_piece;
};

/// Mixes any number of channels anywhere in the picture.
template <int kChannels> void mixSafely(const Image &source, Position place, std::uint8_t *out)
{
    const auto clampedTo = [](int value, int end) { return std::clamp(value, 0, end - 1); };
    const int x = place.x >> kPositionBits;
    const int y = place.y >> kPositionBits;
    const int right = (place.x >> kWeightShift) & (kOne - 1);
    const int below = (place.y >> kWeightShift) & (kOne - 1);
    const std::uint8_t *upper = source.row(clampedTo(y, source.height()));
    const std::uint8_t *lower = source.row(clampedTo(y + 1, source.height()));
    const std::ptrdiff_t first = std::ptrdiff_t{clampedTo(x, source.width())} * kChannels;
    const std::ptrdiff_t second = std::ptrdiff_t{clampedTo(x + 1, source.width())} * kChannels;
    for (int i = 0; i < kChannels; ++i) {
        const auto column = [&](std::ptrdiff_t at) {
            return (upper[at + i] * (kOne - below) + lower[at + i] * below + kHalf)
                >> kFractionBits;
        };
        out[i] = static_cast<std::uint8_t>(
            (column(first) * (kOne - right) + column(second) * right + kHalf) >> kFractionBits);
    }
}

/// Every mixing weight, in all lanes of a vector.
class WeightTable
{
public:
    WeightTable()
    {
        for (std::size_t i = 0; i < kOne * kLanes; ++i)
            m_weights[i] = static_cast<std::uint16_t>(i / kLanes);
    }

    cv::v_uint16x8 of(std::ptrdiff_t place) const
    {
        constexpr std::ptrdiff_t kEntries = (kOne - 1) * kLanes;
        static_assert(kWeightShift >= kLaneBits, "one shift does for both");
        return cv::v_load(
            &m_weights[static_cast<std::size_t>((place >> (kWeightShift - kLaneBits)) & kEntries)]);
    }

private:
    static constexpr int kLaneBits = 3;
    static constexpr int kLanes = 1 << kLaneBits;

    std::array<std::uint16_t, std::size_t{kOne} * kLanes> m_weights{};
};

/// Mixes three channels at once. Reads eight bytes where six are meant.
class ColourMixer
{
public:
    ColourMixer(const Image &source, const WeightTable &weights)
        : m_pixels(source.pixels())
        , m_stride(static_cast<std::ptrdiff_t>(source.stride()))
        , m_weights(weights)
    {
    }

    /// Writes a byte more than the three of the pixel.
    void mix(std::ptrdiff_t x, std::ptrdiff_t y, std::uint8_t *out) const
    {
        const std::uint8_t *upper =
            m_pixels + (y >> kPositionBits) * m_stride + (x >> kPositionBits) * 3;
        // a + (b - a) * weight: one product less than weighing both, and what overflows on the way
        // comes back
        const cv::v_uint8x16 above = cv::v_load_low(upper);
        const cv::v_uint16x8 difference =
            cv::v_sub_wrap(cv::v_load_expand(upper + m_stride), cv::v_expand_low(above));
        const cv::v_uint16x8 columns =
            cv::v_add_wrap(wholeAndHalf(above), cv::v_mul_wrap(difference, m_weights.of(y)))
            >> kFractionBits;
        const cv::v_uint16x8 step = cv::v_sub_wrap(cv::v_rotate_right<3>(columns), columns);
        const cv::v_uint16x8 mixed =
            cv::v_add_wrap(cv::v_add_wrap(columns << kFractionBits, cv::v_setall_u16(kHalf)),
                           cv::v_mul_wrap(step, m_weights.of(x)))
            >> kFractionBits;
        storePixel(mixed, out);
    }

    /// Whether all that mix() reads lies in the picture.
    static bool canMix(const Image &source, Position place)
    {
        return place.x >= 0 && place.y >= 0 && (place.x >> kPositionBits) + 2 < source.width()
            && (place.y >> kPositionBits) + 1 < source.height();
    }

private:
    /// The lower eight levels, in units of a weight, and half a level for the rounding.
    static cv::v_uint16x8 wholeAndHalf(const cv::v_uint8x16 &levels)
    {
        static_assert(kFractionBits == 8 && kHalf == 128, "bytes side by side");
        cv::v_uint8x16 lower;
        cv::v_uint8x16 upper;
        if constexpr (__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__)
            cv::v_zip(cv::v_setall_u8(kHalf), levels, lower, upper);
        else
            cv::v_zip(levels, cv::v_setall_u8(kHalf), lower, upper);
        return cv::v_reinterpret_as_u16(lower);
    }

    const std::uint8_t *m_pixels;
    std::ptrdiff_t m_stride;
    const WeightTable &m_weights;
};

class Warp
{
public:
    Warp(const Image &source, const Homography &map, Image &target)
        : m_source(source)
        , m_target(target)
        , m_path(map, target)
    {
    }

    void rows(int first, int end)
    {
        for (int y = first; y < end; ++y) {
            Position from = m_path.at(0, y);
            for (int x = 0; x < m_target.width(); x += m_path.piece()) {
                const Position to = m_path.at(x + m_path.piece(), y);
                const int count = std::min(m_path.piece(), m_target.width() - x);
                if (m_target.format() == PixelFormat::Rgb24)
                    colourPiece(from, to, x, y, count);
                else
                    safePiece<1>(from, to, m_target.row(y) + x, count);
                from = to;
            }
        }
    }

private:
    Position step(Position from, Position to, int index) const
    {
        return {from.x + static_cast<int>((std::int64_t{to.x} - from.x) * index / m_path.piece()),
                from.y + static_cast<int>((std::int64_t{to.y} - from.y) * index / m_path.piece())};
    }

    template <int kChannels>
    void safePiece(Position from, Position to, std::uint8_t *out, int count) const
    {
        for (int i = 0; i < count; ++i)
            mixSafely<kChannels>(m_source, step(from, to, i), out + std::ptrdiff_t{i} * kChannels);
    }

    void colourPiece(Position from, Position to, int x, int y, int count) const
    {
        std::uint8_t *out = m_target.row(y) + std::ptrdiff_t{x} * 3;
        // a straight piece lies inside when its ends do
        if (!ColourMixer::canMix(m_source, from) || !ColourMixer::canMix(m_source, to))
            return safePiece<3>(from, to, out, count);
        // the pixel that ends the row must not write into the next, which may be another thread's
        const bool endsRow = x + count == m_target.width();
        const int most = endsRow ? count - 1 : count;
        const int stepX = (to.x - from.x) / m_path.piece();
        const int stepY = (to.y - from.y) / m_path.piece();
        const ColourMixer mixer(m_source, m_weights); // here, so that it is kept in registers
        std::ptrdiff_t atX = from.x;
        std::ptrdiff_t atY = from.y;
        for (int i = 0; i < most; ++i, out += 3) {
            mixer.mix(atX, atY, out);
            atX += stepX;
            atY += stepY;
        }
        if (endsRow)
            mixSafely<3>(m_source, {static_cast<int>(atX), static_cast<int>(atY)}, out);
    }

    const Image &m_source;
    Image &m_target;
    Path m_path;
    WeightTable m_weights;
};

} // namespace

void warpPerspective(const Image &source, const Homography &toSource, Image &target,
                     HelperThread &core)
{
    Warp warp(source, toSource, target);
    if (std::int64_t{target.width()} * target.height() < kWorthAThread)
        return warp.rows(0, target.height());
    core.shareRange(0, target.height(), [&](int first, int end) { warp.rows(first, end); });
}

} // namespace korv::crop
