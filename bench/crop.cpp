// Automatic crop beside one full decode of the same frame, in turns, so that the machine's mood is
// the same for both. Time is the clock's, as cropping uses two cores; the decoder uses one. Figures
// are medians.

#include "deskframe.h"

#include "library/crop/crop.h"
#include "library/jpeg/jpeg.h"

#include <benchmark/benchmark.h>

#include <optional>
#include <vector>

namespace {

using namespace korv;

using deskframe::median;
using deskframe::nowMs;

void crop(benchmark::State &state)
{
    const Bytes frame = deskframe::frameOf(static_cast<int>(state.range(0)));
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
    return deskframe::runBenchmarks(argc, argv, "Bar at every size: crop_by_decode <= 1.");
}
