#include "deskframe.h"

#include "library/device/simulated/builtin_pages.h"
#include "library/jpeg/jpeg.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <map>
#include <utility>

namespace deskframe {

using namespace korv;

namespace {

constexpr int kCameraQuality = 85;

/// Sensor grain: without it a drawn page decodes faster than any photograph.
void addGrain(Image &image)
{
    std::uint32_t state = 1;
    const std::size_t count = image.stride() * static_cast<std::size_t>(image.height());
    for (std::size_t i = 0; i < count; ++i) {
        state = state * 1664525U + 1013904223U;
        const int grain = static_cast<int>(state >> 29) - 4;
        const int level = image.pixels()[i] + grain;
        image.pixels()[i] = static_cast<std::uint8_t>(level < 0 ? 0 : (level > 255 ? 255 : level));
    }
}

} // namespace

Bytes frameOf(int megapixels)
{
    static const std::map<int, std::pair<int, int>> kSizes{{2, {1600, 1200}},
                                                           {5, {2592, 1944}},
                                                           {8, {3264, 2448}},
                                                           {13, {4208, 3120}},
                                                           {20, {5216, 3912}}};
    const auto [width, height] = kSizes.at(megapixels);
    const BuiltinPages pages;
    Result<Image> page = pages.render(pages.pages().front(), width, height);
    if (!page)
        std::abort();
    addGrain(page.value());
    Result<Bytes> coded = jpeg::encode(page.value(), {kCameraQuality, jpeg::Subsampling::S422});
    if (!coded)
        std::abort();
    return std::move(coded).value();
}

double nowMs()
{
    timespec now = {};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

int runBenchmarks(int argc, char **argv, const char *bars)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    std::cout << '\n' << bars << '\n';
    return 0;
}

} // namespace deskframe
