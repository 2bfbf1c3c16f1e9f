#include "library/crop/outlines/false_ends.h"

#include "library/crop/outlines/side_refiner.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace korv::crop {

namespace {

// along a side and beyond it, in pixels of the search picture
constexpr double kKnownShare = 0.3; ///< of the side, next to its end, shows what its rim is like
constexpr double kKnownLeast = 8;
constexpr double kRimOffLine = 2; ///< that a rim may lie beside its line
constexpr double kHalf = 0.5; ///< step across
constexpr int kBlock = 3; ///< places of which the mean counts
constexpr double kPastCorner = 2; ///< where the side that ends here is an edge itself
constexpr double kFurthest = 1.5; ///< of the side, that is followed
constexpr float kFaintest = 1; ///< levels
constexpr float kAlike = 0.45F; ///< of the rim's change, that it has where it goes on
constexpr double kSeen = 0.85; ///< share of the blocks that show the rim where it goes on
constexpr double kSeenAlong = 0.7; ///< the same along the side; else it is not known well enough

// how far rims have to go on
constexpr double kLeast = 4; ///< pixels, of both
constexpr double kLeastShare = 0.008; ///< of their sides
constexpr double kLongShare = 0.06; ///< from which on the new rim has to be a line
constexpr double kLeastAlone = 8; ///< pixels, when the other one does not
constexpr double kLeastShareAlone = 0.02;

// of a panel of another colour: any rim that goes on, if it is clear enough
constexpr float kClearChange = 8; ///< levels
constexpr float kAboveRoughness = 3; ///< times what changes in the desk beside it
constexpr float kClearStep = 10; ///< levels between panel and desk
constexpr double kSeenOfPanel = 0.9; ///< share of the blocks
constexpr double kFollows = 0.3; ///< of the way to where the rim was seen, as it may bend
constexpr double kMostOff = 3; ///< pixels off the line
constexpr double kLeastPanel = 12; ///< pixels
constexpr double kLeastPanelShare = 0.06; ///< of the sides

// agreement that the rim at the new side must have with a line
constexpr double kAlmost = 0.1; ///< below that of the old one
constexpr double kClearly = 0.15; ///< above it, when only one rim goes on
constexpr double kLeastAgreement = 0.6; ///< then, too
constexpr double kAgreementFarOut = 0.85;
constexpr double kAgreementOfPanel = 0.66;

/// The rim along one side of an outline, and beyond the side's end.
class Rim
{
public:
    Rim(const SearchPicture &picture, cv::Point2d from, cv::Point2d end, cv::Point2d centre)
        : m_picture(picture)
        , m_end(end)
        , m_length(length(end - from))
        , m_along((end - from) * (1 / std::max(1e-9, m_length)))
        , m_outwards(lineThrough(from, end).normalAwayFrom(centre))
        , m_first(-std::max(kKnownLeast, kKnownShare * m_length))
    {
        findAlong();
    }

    double sideLength() const { return m_length; }
    cv::Point2d pointBeyond(double pixels) const { return m_end + m_along * pixels; }

    /// How far the same rim goes on beyond the end; 0 when it does not.
    double runOn() const
    {
        return isKnown() ? followed(kSeen, [this](double from) { return isSeen(from); }) : 0;
    }

    /// The same of the rim of whatever is not the desk.
    double runOnOfAny() const
    {
        double offset = 0;
        return followed(kSeenOfPanel, [&](double from) { return isClear(from, offset); });
    }

private:
    cv::Vec3f colourAt(double along, double outwards) const
    {
        const cv::Point2d at = pointBeyond(along) + m_outwards * outwards;
        const cv::Size size = m_picture.size();
        const double x = std::clamp(at.x, 0.0, size.width - 1.001);
        const double y = std::clamp(at.y, 0.0, size.height - 1.001);
        const int left = static_cast<int>(x);
        const int top = static_cast<int>(y);
        const auto right = static_cast<float>(x - left);
        const auto below = static_cast<float>(y - top);
        const auto level = [&](const cv::Mat &plane) {
            const auto *upper = plane.ptr<std::uint8_t>(top) + left;
            const auto *lower = plane.ptr<std::uint8_t>(top + 1) + left;
            const float up = static_cast<float>(upper[0]) * (1 - right) + upper[1] * right;
            const float low = static_cast<float>(lower[0]) * (1 - right) + lower[1] * right;
            return up * (1 - below) + low * below;
        };
        return {level(m_picture.plainLuma), level(m_picture.closed[1]), level(m_picture.closed[2])};
    }

    cv::Vec3f changeAt(double along, double outwards) const
    {
        return colourAt(along, outwards + 1) - colourAt(along, outwards - 1);
    }

    /// The furthest place up to which that share of the blocks is as asked for.
    template <typename Asked> double followed(double share, const Asked &isAsAsked) const
    {
        const cv::Rect2d frame(1, 1, m_picture.size().width - 3, m_picture.size().height - 3);
        int blocks = 0;
        int seen = 0;
        double result = 0;
        for (double from = kPastCorner; from + kBlock <= kFurthest * m_length; from += kBlock) {
            if (!frame.contains(pointBeyond(from + kBlock)))
                break;
            ++blocks;
            if (isAsAsked(from) && ++seen >= share * blocks)
                result = from + kBlock;
            if (blocks - seen > 1 + (1 - share) * blocks)
                break;
        }
        return result;
    }

    /// Mean change across a line in a block.
    cv::Vec3f blockChange(double from, double outwards) const
    {
        cv::Vec3f sum;
        for (int i = 0; i < kBlock; ++i)
            sum += changeAt(from + i, outwards);
        return sum * (1.0F / kBlock);
    }

    /// Whether there is a rim near the offset, which then follows it, clearer than the desk's pattern.
    bool isClear(double from, double &offset) const
    {
        double strongest = 0;
        double at = offset;
        for (double outwards = offset - 1; outwards <= offset + 1; outwards += kHalf) {
            const double strength = cv::norm(blockChange(from, outwards));
            if (strength > strongest) {
                strongest = strength;
                at = outwards;
            }
        }
        double roughness = 0;
        for (int k = 3; k <= 6; ++k)
            roughness += cv::norm(blockChange(from, at + k)) / 4;
        if (strongest < kClearChange || strongest < kAboveRoughness * roughness)
            return false;
        cv::Vec3f step;
        for (int k = 2; k <= 4; ++k) {
            for (int i = 0; i < kBlock; ++i)
                step += colourAt(from + i, at - k) - colourAt(from + i, at + k);
        }
        if (cv::norm(step) < kClearStep * 3 * kBlock)
            return false;
        offset = std::clamp(offset + kFollows * (at - offset), -kMostOff, kMostOff);
        return true;
    }

    void findAlong()
    {
        float strongest = 0;
        for (double outwards = -kRimOffLine; outwards <= kRimOffLine; outwards += kHalf) {
            cv::Vec3f sum;
            int count = 0;
            for (double along = m_first; along <= -kPastCorner; along += 2, ++count)
                sum += changeAt(along, outwards);
            const cv::Vec3f mean = sum * (1.0F / static_cast<float>(count));
            const auto strength = static_cast<float>(cv::norm(mean));
            if (strength > strongest) {
                strongest = strength;
                m_offset = outwards;
                m_change = mean;
            }
        }
    }

    /// Whether the rim can be told from what else is there.
    bool isKnown() const
    {
        if (m_change.dot(m_change) < kFaintest * kFaintest)
            return false;
        int blocks = 0;
        int seen = 0;
        for (double from = m_first; from + kBlock <= -kPastCorner; from += kBlock, ++blocks)
            seen += isSeen(from) ? 1 : 0;
        return seen >= kSeenAlong * blocks;
    }

    bool isSeen(double from) const
    {
        const float enough = kAlike * m_change.dot(m_change);
        for (double outwards = m_offset - kHalf; outwards <= m_offset + kHalf; outwards += kHalf) {
            if (blockChange(from, outwards).dot(m_change) >= enough)
                return true;
        }
        return false;
    }

    const SearchPicture &m_picture;
    cv::Point2d m_end;
    double m_length;
    cv::Point2d m_along;
    cv::Point2d m_outwards;
    double m_first; ///< where the known part of the side begins
    double m_offset = 0; ///< of the rim, out of the line
    cv::Vec3f m_change; ///< of colour across the rim
};

/// A side and its neighbours, each followed beyond the corner at which it meets the side.
class End
{
public:
    End(const SearchPicture &picture, const Corners &corners, std::size_t side)
        : m_side(side)
        , m_before(picture, corners[(side + 3) % 4], corners[side], centreOf(corners))
        , m_behind(picture, corners[(side + 2) % 4], corners[(side + 1) % 4], centreOf(corners))
        , m_atFirst(m_before.runOn())
        , m_atLast(m_behind.runOn())
    {
        if (!bothRunOn(kLeast, kLeastShare))
            findPanel();
    }

    bool mayBeFalse() const { return bothRunOn(kLeast, kLeastShare) || oneRunsOn(); }

    /// The corners with this side where the neighbours end.
    Corners movedOut(Corners corners) const
    {
        corners[m_side] = m_before.pointBeyond(m_atFirst);
        corners[(m_side + 1) % 4] = m_behind.pointBeyond(m_atLast);
        return corners;
    }

    /// Whether the new side is the true one, by how far their rims agree with a line.
    bool isFalse(double agreement, double agreementOutside) const
    {
        if (m_isPanel)
            return agreementOutside >= kAgreementOfPanel;
        if (bothRunOn(kLeast, kLongShare))
            return agreementOutside >= kAgreementFarOut;
        if (bothRunOn(kLeast, kLeastShare))
            return agreementOutside >= agreement - kAlmost;
        return agreementOutside >= std::max(kLeastAgreement, agreement + kClearly);
    }

private:
    /// Looks whether a panel of another colour goes on beyond the side.
    void findPanel()
    {
        const double first = m_before.runOnOfAny();
        const double last = m_behind.runOnOfAny();
        m_isPanel = first >= std::max(kLeastPanel, kLeastPanelShare * m_before.sideLength())
            && last >= std::max(kLeastPanel, kLeastPanelShare * m_behind.sideLength());
        if (m_isPanel) {
            m_atFirst = first;
            m_atLast = last;
        }
    }

    bool bothRunOn(double pixels, double share) const
    {
        return m_atFirst >= std::max(pixels, share * m_before.sideLength())
            && m_atLast >= std::max(pixels, share * m_behind.sideLength());
    }

    bool oneRunsOn() const
    {
        return m_atFirst >= std::max(kLeastAlone, kLeastShareAlone * m_before.sideLength())
            || m_atLast >= std::max(kLeastAlone, kLeastShareAlone * m_behind.sideLength());
    }

    std::size_t m_side;
    Rim m_before;
    Rim m_behind;
    double m_atFirst;
    double m_atLast;
    bool m_isPanel = false;
};

} // namespace

Corners withoutFalseEnds(const Image &image, const SearchPicture &picture, const Corners &corners,
                         double reach, HelperThread &core)
{
    Corners result = corners;
    for (std::size_t side = 0; side < 4; ++side) {
        const Corners small = picture.fromFrame(result);
        const End end(picture, small, side);
        if (!end.mayBeFalse())
            continue;
        const Corners moved = picture.toFrame(end.movedOut(small));
        if (!isConvex(moved)) // the neighbours may meet on the way
            continue;
        const Refined outside = refineCorners(image, moved, reach, core);
        const Refined here = refineCorners(image, result, reach, core);
        if (!end.isFalse(here.agreements[side], outside.agreements[side]))
            continue;
        std::array<bool, 4> isMoved{};
        isMoved[side] = true;
        result = withSidesOf(outside, isMoved, {result, here.agreements}).corners;
    }
    return result;
}

} // namespace korv::crop
