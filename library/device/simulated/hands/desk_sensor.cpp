#include "library/device/simulated/hands/desk_sensor.h"

#include "library/device/simulated/hands/scatter.h"
#include "library/image/opencv_threads.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>

namespace korv {
namespace {

constexpr std::size_t kNoisePeriod = 1U << 18;
constexpr std::uint64_t kNoiseStream = 1U << 30; ///< apart from the other chances
constexpr double kReadoutTime = 0.03; ///< seconds from the first row to the last
constexpr double kLampFrequency = 100; ///< Hz: twice the mains'
constexpr double kLampSwing = 0.04;

/// Standard deviation, in levels.
double noiseOf(DeskLight light)
{
    switch (light) {
    case DeskLight::Lamp:
        return 3;
    case DeskLight::Dim:
        return 6;
    case DeskLight::Day:
    case DeskLight::Window:
        break;
    }
    return 2;
}

double wave(double seconds, double period)
{
    return std::sin(2 * M_PI * seconds / period);
}

} // namespace

DeskSensor::DeskSensor(const HandDeskOptions &options, std::size_t rowBytes)
    : m_options(options)
    , m_lighter(kNoisePeriod + rowBytes)
    , m_darker(kNoisePeriod + rowBytes)
{
    keepOpenCvInThisThread();
    Scatter chance(options.seed, kNoiseStream);
    const double deviation = noiseOf(options.light);
    for (std::size_t at = 0; at < m_lighter.size(); ++at) {
        // the sum of four even chances is nearly normal, with a deviation of 1/sqrt(3)
        double sum = 0;
        for (int part = 0; part < 4; ++part)
            sum += chance.between(-0.5, 0.5);
        const auto noise = static_cast<int>(std::lround(sum * deviation * std::sqrt(3.0)));
        m_lighter[at] = static_cast<std::uint8_t>(std::max(0, noise));
        m_darker[at] = static_cast<std::uint8_t>(std::max(0, -noise));
    }
}

double DeskSensor::gainOf(double seconds, double down) const
{
    switch (m_options.light) {
    case DeskLight::Lamp:
        return 1
            + kLampSwing * std::sin(2 * M_PI * kLampFrequency * (seconds + down * kReadoutTime));
    case DeskLight::Window:
        return (1 + 0.12 * wave(seconds, 17) + 0.04 * wave(seconds, 5.3))
            * (1 + 0.12 * wave(seconds, 29) * (down - 0.5));
    case DeskLight::Dim:
        return 1 + 0.03 * wave(seconds, 31);
    case DeskLight::Day:
        break;
    }
    return 1 + 0.09 * wave(seconds, 23) + 0.04 * wave(seconds, 7.3);
}

void DeskSensor::expose(const Image &scene, std::int64_t number, double seconds,
                        Image &picture) const
{
    if (picture.width() != scene.width() || picture.height() != scene.height())
        picture = Image::unset(scene.width(), scene.height(), PixelFormat::Rgb24);
    const auto bytes = static_cast<int>(scene.stride());
    const auto rowOf = [bytes](const std::uint8_t *row) {
        return cv::Mat(1, bytes, CV_8UC1, const_cast<std::uint8_t *>(row));
    };
    Scatter chance(m_options.seed, kNoiseStream + 1 + static_cast<std::uint64_t>(number));
    for (int y = 0; y < scene.height(); ++y) {
        const std::size_t noise = chance.next() % kNoisePeriod;
        cv::Mat to = rowOf(picture.row(y));
        rowOf(scene.row(y))
            .convertTo(to, CV_8U, gainOf(seconds, static_cast<double>(y) / scene.height()));
        cv::add(to, rowOf(&m_lighter[noise]), to);
        cv::subtract(to, rowOf(&m_darker[noise]), to);
    }
}

} // namespace korv
