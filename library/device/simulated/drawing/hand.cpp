#include "library/device/simulated/drawing/hand.h"

#include "library/image/mat_view.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>

namespace korv {
namespace {

// lengths in parts of the picture's width, in which an upright A4 sheet is about 0.46 wide
constexpr double kFingerLength = 0.16;
constexpr double kFingerWidth = 0.036;
constexpr double kPalmWidth = 0.15;
constexpr double kArmWidth = 0.12;
constexpr double kSleeveWidth = 0.16;
constexpr double kCuffAt = 0.3;
constexpr double kArmLength = 2.0;
constexpr double kRim = 0.006; ///< the darker edge of something round

struct Look
{
    std::array<int, 3> skin;
    std::array<int, 3> sleeve;
};

constexpr std::array<Look, HandPose::kLooks> kLookTable{{
    {{224, 180, 150}, {40, 52, 92}},
    {{198, 145, 110}, {120, 124, 130}},
    {{120, 80, 58}, {206, 204, 198}},
    {{236, 196, 170}, {130, 36, 44}},
}};

cv::Scalar scalar(const std::array<int, 3> &colour, double light)
{
    return {colour[0] * light, colour[1] * light, colour[2] * light};
}

class Pen
{
public:
    Pen(Image &picture, const HandPose &pose)
        : m_mat(matView(picture))
        , m_pose(pose)
        , m_scale(picture.width())
    {
    }

    /// A bar from one place to another: along the arm from the palm, and to its side.
    void bar(double along1, double aside1, double along2, double aside2, double width,
             const cv::Scalar &colour)
    {
        const int thickness = std::max(1, static_cast<int>(std::lround(width * m_scale)));
        cv::line(m_mat, place(along1, aside1), place(along2, aside2), colour, thickness,
                 cv::LINE_AA);
    }

private:
    cv::Point place(double along, double aside) const
    {
        const double x = m_pose.x + m_pose.armX * along - m_pose.armY * aside;
        const double y = m_pose.y + m_pose.armY * along + m_pose.armX * aside;
        return {static_cast<int>(std::lround(x * m_scale)),
                static_cast<int>(std::lround(y * m_scale))};
    }

    cv::Mat m_mat;
    const HandPose &m_pose;
    double m_scale;
};

void drawSkin(Pen &pen, double grow, const cv::Scalar &colour)
{
    for (const double aside : {-0.054, -0.018, 0.018, 0.054})
        pen.bar(0, aside, -kFingerLength + std::abs(aside), aside * 1.3, kFingerWidth + grow,
                colour);
    pen.bar(0.03, -0.06, -0.06, -0.13, kFingerWidth + grow, colour);
    pen.bar(0, 0, 0.06, 0, kPalmWidth + grow, colour);
    pen.bar(0.06, 0, kCuffAt + 0.05, 0, kArmWidth + grow, colour);
}

} // namespace

void drawHand(Image &picture, const HandPose &pose)
{
    const Look &look = kLookTable.at(static_cast<std::size_t>(pose.look));
    Pen pen(picture, pose);
    drawSkin(pen, kRim, scalar(look.skin, 0.66));
    drawSkin(pen, 0, scalar(look.skin, 0.92));
    drawSkin(pen, -2 * kRim, scalar(look.skin, 1));
    pen.bar(kCuffAt, 0, kArmLength, 0, kSleeveWidth, scalar(look.sleeve, 0.75));
    pen.bar(kCuffAt, 0, kArmLength, 0, kSleeveWidth - 4 * kRim, scalar(look.sleeve, 1));
}

bool isHandInside(const HandPose &pose, int width, int height)
{
    constexpr double kReach = kSleeveWidth / 2 + kRim;
    const double bottom = static_cast<double>(height) / width;
    for (double along = -kFingerLength; along < kArmLength; along += kReach / 2) {
        const double x = pose.x + pose.armX * along;
        const double y = pose.y + pose.armY * along;
        if (x > -kReach && y > -kReach && x < 1 + kReach && y < bottom + kReach)
            return true;
    }
    return false;
}

} // namespace korv
