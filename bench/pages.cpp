// What evens out, blackens or takes apart a page, beside one full decode of a JPEG of that page, in
// turns. `work_ms` and `by_decode` are by the clock, as two cores share the work where it pays, those
// with `cpu` by the processor time of both. Figures are medians.

#include "deskframe.h"

#include "library/clean/clean_paper.h"
#include "library/compact/compact_page.h"
#include "library/compact/dark_ink.h"
#include "library/crop/crop.h"
#include "library/jpeg/jpeg.h"
#include "library/lineart/lineart.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <ctime>
#include <functional>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace {

using namespace korv;
using deskframe::median;
using deskframe::nowMs;

constexpr int kPageQuality = 85;
constexpr int kLayerQuality = 75;

double processorMs()
{
    timespec now = {};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

/// A sheet of 2, 5 or 8 megapixels, cut out of a frame of which it is two fifths.
Bytes pageOf(int megapixels)
{
    static const std::map<int, int> kFrames{{2, 5}, {5, 13}, {8, 20}};
    HelperThread core;
    Result<Image> image = jpeg::decode(deskframe::frameOf(kFrames.at(megapixels)));
    if (!image)
        std::abort();
    const std::optional<Quadrilateral> sheet = findSheet(image.value(), core);
    if (!sheet)
        std::abort();
    Result<Bytes> page = jpeg::encode(cutSheet(image.value(), *sheet, core),
                                      {kPageQuality, jpeg::Subsampling::S422});
    if (!page)
        std::abort();
    return std::move(page).value();
}

/// Both clocks' milliseconds of some work, round by round.
struct Times
{
    std::vector<double> clock;
    std::vector<double> processor;

    void measure(const std::function<void()> &work)
    {
        const double processorBefore = processorMs();
        const double before = nowMs();
        work();
        clock.push_back(nowMs() - before);
        processor.push_back(processorMs() - processorBefore);
    }
};

using PageWork = void (*)(Image page, HelperThread &core);

/// `peer` is another way of doing it, if there is one.
void measure(benchmark::State &state, PageWork work, PageWork peer = nullptr)
{
    const Bytes jpeg = pageOf(static_cast<int>(state.range(0)));
    Times decode;
    Times worked;
    Times others;
    HelperThread core;
    for (auto _ : state) {
        std::optional<Image> page;
        decode.measure([&] { page = std::move(jpeg::decode(jpeg)).value(); });
        if (peer != nullptr)
            others.measure([&] { peer(*page, core); });
        worked.measure([&] { work(std::move(*page), core); });
    }
    state.counters["decode_ms"] = median(decode.clock);
    state.counters["work_ms"] = median(worked.clock);
    state.counters["work_cpu"] = median(worked.processor);
    state.counters["by_decode"] = median(worked.clock) / median(decode.clock);
    state.counters["cpu_by_decode"] = median(worked.processor) / median(decode.processor);
    if (peer != nullptr)
        state.counters["cpu_by_peer"] = median(worked.processor) / median(others.processor);
}

void clean(benchmark::State &state)
{
    measure(state, [](Image page, HelperThread &core) {
        cleanPaper(page, core);
        benchmark::DoNotOptimize(page.pixels());
    });
}

void plainThreshold(Image page, HelperThread &)
{
    benchmark::DoNotOptimize(compact::darkInk(page).pixels());
}

/// Beside the plain threshold by mean and deviation.
void lineart(benchmark::State &state)
{
    measure(
        state,
        [](Image page, HelperThread &) {
            benchmark::DoNotOptimize(toLineart(std::move(page)).pixels());
        },
        plainThreshold);
}

/// At twice the resolution.
void doubledLineart(benchmark::State &state)
{
    measure(
        state,
        [](Image page, HelperThread &) {
            benchmark::DoNotOptimize(toLineart(std::move(page), 2).pixels());
        },
        plainThreshold);
}

void layers(benchmark::State &state)
{
    measure(state, [](Image page, HelperThread &core) {
        const Result<std::optional<PageLayers>> parts = takeApart(page, kLayerQuality, core);
        if (!parts || !parts.value())
            std::abort();
    });
}

constexpr int kRounds = 21;

BENCHMARK(clean)->ArgName("megapixels")->Arg(2)->Arg(5)->Arg(8)->Iterations(kRounds);
BENCHMARK(lineart)->ArgName("megapixels")->Arg(2)->Arg(5)->Arg(8)->Iterations(kRounds);
BENCHMARK(doubledLineart)->ArgName("megapixels")->Arg(2)->Arg(5)->Iterations(kRounds);
BENCHMARK(layers)->ArgName("megapixels")->Arg(2)->Arg(5)->Arg(8)->Iterations(kRounds);

} // namespace

int main(int argc, char **argv)
{
    return deskframe::runBenchmarks(argc, argv,
                                    "Bars: clean by_decode at 8 megapixels <= 1; lineart "
                                    "cpu_by_peer <= 1.2; layers work_ms <= 300.");
}
