// Automatic crop beside one full decode of the same frame, in turns, so that the machine's mood is
// the same for both. Time is the clock's, as cutting uses two cores; the decoder uses one.

#include "library/imaging/crop.h"
#include "library/device/builtin_pages.h"
#include "library/imaging/jpeg.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <map>
#include <string>
#include <utility>

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

void crop(benchmark::State &state)
{
    const Bytes frame = frameOf(static_cast<int>(state.range(0)));
    double decode = 0;
    double find = 0;
    double cut = 0;
    for (auto _ : state) {
        const double start = nowMs();
        Result<Image> image = jpeg::decode(frame);
        const double decoded = nowMs();
        const std::optional<Quadrilateral> sheet = findSheet(image.value());
        const double found = nowMs();
        if (!sheet) {
            state.SkipWithError("the sheet was not found");
            break;
        }
        benchmark::DoNotOptimize(cutSheet(image.value(), *sheet));
        cut += nowMs() - found;
        find += found - decoded;
        decode += decoded - start;
    }
    const auto rounds = static_cast<double>(state.iterations());
    state.counters["decode_ms"] = decode / rounds;
    state.counters["find_ms"] = find / rounds;
    state.counters["cut_ms"] = cut / rounds;
    state.counters["find_by_decode"] = find / decode;
    state.counters["crop_by_decode"] = (find + cut) / decode;
}
BENCHMARK(crop)
    ->ArgName("megapixels")
    ->Arg(2)
    ->Arg(5)
    ->Arg(8)
    ->Arg(13)
    ->Iterations(25)
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
