#include "library/imaging/edge_map.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <opencv2/imgproc.hpp>

namespace korv::crop {

namespace {

constexpr int kNeighbourhood = 41;
constexpr float kAboveNeighbourhood = 1.25F;
constexpr int kFaintest = 5; ///< half of a Sobel response: a step of about three levels
constexpr float kHeaviest = 3;
constexpr int kChromaGain = 2; ///< half as noisy as luma and seldom disturbed by shadows

/// Change of colour in the plane where it is largest.
struct Gradient
{
    cv::Mat x; ///< CV_16SC1
    cv::Mat y;
    cv::Mat strength; ///< CV_8UC1
};

void keepLarger(Gradient &gradient, const cv::Mat &x, const cv::Mat &y, int gain)
{
    for (int row = 0; row < x.rows; ++row) {
        const auto *xs = x.ptr<std::int16_t>(row);
        const auto *ys = y.ptr<std::int16_t>(row);
        auto *outX = gradient.x.ptr<std::int16_t>(row);
        auto *outY = gradient.y.ptr<std::int16_t>(row);
        auto *strength = gradient.strength.ptr<std::uint8_t>(row);
        for (int i = 0; i < x.cols; ++i) {
            const auto square = static_cast<float>(xs[i] * xs[i] + ys[i] * ys[i]);
            const float length = std::sqrt(square) * (0.5F * static_cast<float>(gain));
            const auto limited = static_cast<std::uint8_t>(std::min(length, 255.0F));
            const bool larger = limited > strength[i];
            outX[i] = larger ? xs[i] : outX[i];
            outY[i] = larger ? ys[i] : outY[i];
            strength[i] = larger ? limited : strength[i];
        }
    }
}

Gradient gradientOf(const Planes &planes)
{
    Gradient gradient;
    gradient.x = cv::Mat::zeros(planes[0].size(), CV_16SC1);
    gradient.y = cv::Mat::zeros(planes[0].size(), CV_16SC1);
    gradient.strength = cv::Mat::zeros(planes[0].size(), CV_8UC1);
    cv::Mat x;
    cv::Mat y;
    for (std::size_t i = 0; i < planes.size(); ++i) {
        cv::spatialGradient(planes[i], x, y, 3, cv::BORDER_REPLICATE);
        keepLarger(gradient, x, y, i == 0 ? 1 : kChromaGain);
    }
    return gradient;
}

/// Whether the strength has its ridge here, looking along the change.
bool isRidge(const cv::Mat &strength, int x, int y, int changeX, int changeY)
{
    const int ax = std::abs(changeX);
    const int ay = std::abs(changeY);
    int dx = 0;
    int dy = 0;
    if (ax * 2 > ay)
        dx = 1;
    if (ay * 2 > ax)
        dy = (changeX >= 0) == (changeY >= 0) ? 1 : -1;
    if (dx == 0)
        dy = 1;
    const int here = strength.at<std::uint8_t>(y, x);
    return here >= strength.at<std::uint8_t>(y + dy, x + dx)
        && here > strength.at<std::uint8_t>(y - dy, x - dx);
}

} // namespace

std::vector<Edge> findEdges(const Planes &planes)
{
    const Gradient gradient = gradientOf(planes);
    cv::Mat around;
    cv::boxFilter(gradient.strength, around, CV_8U, cv::Size(kNeighbourhood, kNeighbourhood));
    std::vector<Edge> edges;
    edges.reserve(gradient.strength.total() / 8);
    for (int y = 1; y + 1 < gradient.strength.rows; ++y) {
        const auto *strength = gradient.strength.ptr<std::uint8_t>(y);
        const auto *mean = around.ptr<std::uint8_t>(y);
        for (int x = 1; x + 1 < gradient.strength.cols; ++x) {
            if (strength[x] < kFaintest)
                continue;
            const float limit = std::max(kAboveNeighbourhood * static_cast<float>(mean[x]),
                                         static_cast<float>(kFaintest));
            const float ratio = static_cast<float>(strength[x]) / limit;
            if (ratio < 1)
                continue;
            const int changeX = gradient.x.at<std::int16_t>(y, x);
            const int changeY = gradient.y.at<std::int16_t>(y, x);
            if (!isRidge(gradient.strength, x, y, changeX, changeY))
                continue;
            auto angle = static_cast<float>(std::atan2(changeY, changeX));
            if (angle < 0)
                angle += static_cast<float>(CV_PI);
            edges.push_back({x, y, angle, std::min(ratio, kHeaviest)});
        }
    }
    return edges;
}

std::uint16_t directionBit(double angle)
{
    const double turns = angle / CV_PI * kDirections;
    const int index = static_cast<int>(std::floor(turns)) % kDirections;
    return static_cast<std::uint16_t>(1U << ((index + kDirections) % kDirections));
}

cv::Mat directionMap(cv::Size size, const std::vector<Edge> &first, const std::vector<Edge> &second)
{
    cv::Mat map = cv::Mat::zeros(size, CV_16UC1);
    constexpr double kBin = CV_PI / kDirections;
    for (const std::vector<Edge> *edges : {&first, &second}) {
        for (const Edge &edge : *edges) {
            const auto bits = static_cast<std::uint16_t>(directionBit(edge.angle - kBin * 0.8)
                                                         | directionBit(edge.angle)
                                                         | directionBit(edge.angle + kBin * 0.8));
            for (int y = edge.y - 1; y <= edge.y + 1; ++y) {
                auto *row = map.ptr<std::uint16_t>(y);
                for (int x = edge.x - 1; x <= edge.x + 1; ++x)
                    row[x] = static_cast<std::uint16_t>(row[x] | bits);
            }
        }
    }
    return map;
}

} // namespace korv::crop
