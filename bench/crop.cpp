// Automatic crop beside one full decode of the same frame, in turns, so that the machine's mood is
// the same for both. Time is the clock's, as cropping uses two cores; the decoder uses one. Figures
// are medians.

#include "library/crop/crop.h"
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
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace korv;

constexpr int kCameraQuality = 85;

double nowMs()
{
    timespec now = {};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

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

/// A sheet on a wooden desk, coded as USB cameras do.
Bytes frameOf(int megapixels)
{
    static const std::map<int, std::pair<int, int>> kSizes{
        {2, {1600, 1200}}, {5, {2592, 1944}}, {8, {3264, 2448}}, {13, {4208, 3120}}};
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

/// Takes the noise of a shared machine better than a mean.
double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

void crop(benchmark::State &state)
{
    const Bytes frame = frameOf(static_cast<int>(state.range(0)));
    std::vector<double> decode;
    std::vector<double> find;
    std::vector<double> cut;
    std::vector<double> ratio;
    for (auto _ : state) {
        const double start = nowMs();
        Result<Image> image = jpeg::decode(frame);
        const double decoded = nowMs();
        HelperThread core;
        const std::optional<Quadrilateral> sheet = findSheet(image.value(), core);
        const double found = nowMs();
        if (!sheet) {
            state.SkipWithError("the sheet was not found");
            return;
        }
        benchmark::DoNotOptimize(cutSheet(image.value(), *sheet, core));
        const double done = nowMs();
        decode.push_back(decoded - start);
        find.push_back(found - decoded);
        cut.push_back(done - found);
        ratio.push_back((done - decoded) / (decoded - start));
    }
    state.counters["decode_ms"] = median(decode);
    state.counters["find_ms"] = median(find);
    state.counters["cut_ms"] = median(cut);
    state.counters["crop_by_decode"] = median(ratio);
}
BENCHMARK(crop)
    ->ArgName("megapixels")
    ->Arg(2)
    ->Arg(5)
    ->Arg(8)
    ->Arg(13)
    ->Iterations(41)
    ->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    std::cout << "\nBar at every size: crop_by_decode <= 1.\n";
    return 0;
}
