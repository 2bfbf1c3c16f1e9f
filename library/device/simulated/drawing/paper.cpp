#include "library/device/simulated/drawing/paper.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>

namespace korv {
namespace {

constexpr double kCapitalHeight = 21; ///< of OpenCV's letters at scale 1, in pixels

cv::Mat matOf(Image &image)
{
    return cv::Mat(image.height(), image.width(), CV_8UC3, image.pixels(), image.stride());
}

cv::Scalar scalar(const Paper::Colour &colour)
{
    return cv::Scalar(colour[0], colour[1], colour[2]);
}

std::uint8_t between(std::uint8_t from, std::uint8_t to, double part)
{
    return static_cast<std::uint8_t>(std::lround(from + (to - from) * part));
}

} // namespace

Paper::Paper(int width, int height, Colour ground)
    : m_image(width, height, PixelFormat::Rgb24)
{
    matOf(m_image).setTo(scalar(ground));
}

int Paper::pixels(double units) const
{
    return static_cast<int>(std::lround(units * m_image.width() / 1000));
}

double Paper::text(double x, double y, double size, const std::string &text, Colour colour,
                   Face face)
{
    cv::Mat mat = matOf(m_image);
    const int font = face == Face::Serif ? cv::FONT_HERSHEY_COMPLEX : cv::FONT_HERSHEY_SIMPLEX;
    const double scale = size * m_image.width() / 1000 / kCapitalHeight;
    const int thickness = std::max(1, pixels(size / 14));
    cv::putText(mat, text, cv::Point(pixels(x), pixels(y)), font, scale, scalar(colour), thickness,
                cv::LINE_AA);
    int below = 0;
    const cv::Size area = cv::getTextSize(text, font, scale, thickness, &below);
    return x + area.width * 1000.0 / m_image.width();
}

void Paper::line(double x1, double y1, double x2, double y2, double thickness, Colour colour)
{
    cv::Mat mat = matOf(m_image);
    cv::line(mat, cv::Point(pixels(x1), pixels(y1)), cv::Point(pixels(x2), pixels(y2)),
             scalar(colour), std::max(1, pixels(thickness)), cv::LINE_AA);
}

void Paper::fill(const Box &box, Colour colour)
{
    cv::Mat mat = matOf(m_image);
    cv::rectangle(mat, cv::Point(pixels(box.x), pixels(box.y)),
                  cv::Point(pixels(box.x + box.width), pixels(box.y + box.height)), scalar(colour),
                  cv::FILLED);
}

void Paper::ring(double x, double y, double radius, double thickness, Colour colour)
{
    cv::Mat mat = matOf(m_image);
    cv::circle(mat, cv::Point(pixels(x), pixels(y)), pixels(radius), scalar(colour),
               std::max(1, pixels(thickness)), cv::LINE_AA);
}

void Paper::disc(double x, double y, double radius, Colour colour)
{
    cv::Mat mat = matOf(m_image);
    cv::circle(mat, cv::Point(pixels(x), pixels(y)), pixels(radius), scalar(colour), cv::FILLED,
               cv::LINE_AA);
}

void Paper::shade(const Box &box, Colour top, Colour bottom)
{
    constexpr int kBands = 200;
    for (int band = 0; band < kBands; ++band) {
        const double part = static_cast<double>(band) / (kBands - 1);
        fill({box.x, box.y + box.height * band / kBands, box.width, box.height / kBands},
             {between(top[0], bottom[0], part), between(top[1], bottom[1], part),
              between(top[2], bottom[2], part)});
    }
}

void Paper::hill(const Box &box, const std::vector<double> &heights, Colour colour)
{
    const double step = box.width / static_cast<double>(heights.size() - 1);
    const double floor = box.y + box.height;
    std::vector<cv::Point> outline{cv::Point(pixels(box.x), pixels(floor))};
    double x = box.x;
    for (const double height : heights) {
        outline.emplace_back(pixels(x), pixels(floor - height));
        x += step;
    }
    outline.emplace_back(pixels(box.x + box.width), pixels(floor));
    cv::Mat mat = matOf(m_image);
    cv::fillPoly(mat, std::vector<std::vector<cv::Point>>{outline}, scalar(colour), cv::LINE_AA);
}

} // namespace korv
