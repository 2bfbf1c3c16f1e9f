// What a frame costs between the driver and the application: the check of its structure, beside the
// decode that it takes the place of. Both are measured in turns on the same frames.

#include "library/device/v4l2/v4l2_frames.h"
#include "library/image/image.h"
#include "library/jpeg/jpeg.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <linux/videodev2.h>

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

/// A frame may cost this share of a decode at most.
constexpr double kMaxShare = 0.02;

/// A page of writing with sensor grain.
korv::Image page(int width, int height)
{
    korv::Image image(width, height, korv::PixelFormat::Rgb24);
    std::uint32_t noise = 12345;
    for (int y = 0; y < height; ++y) {
        std::uint8_t *row = image.row(y);
        const bool written = y % 50 > 20 && y % 50 < 44;
        for (int x = 0; x < width; ++x) {
            noise = noise * 1664525U + 1013904223U;
            const int grain = static_cast<int>(noise >> 29U);
            const bool ink = written && std::sin(x * 0.31) * std::sin(x * 0.047 + y * 0.4) > 0.35;
            for (int channel = 0; channel < 3; ++channel)
                row[3 * x + channel] = static_cast<std::uint8_t>((ink ? 50 : 210) + grain * 3);
        }
    }
    return image;
}

/// As USB cameras encode: 4:2:2, quality 85.
korv::Bytes cameraFrame(int width, int height)
{
    return korv::jpeg::encode(page(width, height), {85, korv::jpeg::Subsampling::S422}).value();
}

korv::Bytes withoutHuffmanTables(const korv::Bytes &jpeg)
{
    const auto at = [&](std::size_t offset) {
        return jpeg.begin() + static_cast<std::ptrdiff_t>(offset);
    };
    korv::Bytes bare(at(0), at(2));
    std::size_t segment = 2;
    while (jpeg[segment + 1] != 0xDA) {
        const std::size_t end =
            segment + 2 + (std::size_t{jpeg[segment + 2]} << 8 | jpeg[segment + 3]);
        if (jpeg[segment + 1] != 0xC4)
            bare.insert(bare.end(), at(segment), at(end));
        segment = end;
    }
    bare.insert(bare.end(), at(segment), jpeg.end());
    return bare;
}

korv::V4l2Format formatOf(std::uint32_t pixelFormat, int width, int height)
{
    korv::V4l2Format format;
    format.pixelFormat = pixelFormat;
    format.width = width;
    format.height = height;
    return format;
}

/// Times making an application's frame of `raw`, and decoding `whole`, in turns.
void measure(benchmark::State &state, const korv::Bytes &raw, const korv::Bytes &whole,
             bool isBounded)
{
    korv::V4l2Frames frames(formatOf(V4L2_PIX_FMT_MJPEG, static_cast<int>(state.range(0)),
                                     static_cast<int>(state.range(1))));
    Seconds making{};
    Seconds decoding{};
    for (auto iteration : state) {
        const auto start = Clock::now();
        const auto frame = frames.make(raw);
        const auto made = Clock::now();
        const auto picture = korv::jpeg::decode(whole);
        const auto decoded = Clock::now();
        if (!frame || !picture)
            return state.SkipWithError("not a picture");
        state.SetIterationTime(Seconds(made - start).count());
        making += made - start;
        decoding += decoded - made;
    }
    const double share = making / decoding;
    state.counters["share_of_decode_%"] = share * 100;
    state.counters["frame_kB"] = static_cast<double>(raw.size()) / 1000;
    if (isBounded && share > kMaxShare)
        state.SkipWithError("the check takes more than 2 % of a decode");
}

void check(benchmark::State &state)
{
    const korv::Bytes frame =
        cameraFrame(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    measure(state, frame, frame, true);
}

/// The tables are put in by a copy of the frame; cameras of this kind are the smaller ones.
void checkAndMend(benchmark::State &state)
{
    const korv::Bytes whole =
        cameraFrame(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    measure(state, withoutHuffmanTables(whole), whole, false);
}

/// Raw pictures are encoded from their planes, large ones on two cores: "Time" is by the clock, "CPU"
/// that of all threads. documents.py compares them with the way by RGB.
void encodeYuyv(benchmark::State &state)
{
    const int width = static_cast<int>(state.range(0));
    const int height = static_cast<int>(state.range(1));
    const korv::Image image = page(width, height);
    korv::Bytes raw;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            raw.push_back(image.row(y)[3 * x]);
            raw.push_back(static_cast<std::uint8_t>(128 + (image.row(y)[3 * x] & 3)));
        }
    }
    korv::V4l2Frames frames(formatOf(V4L2_PIX_FMT_YUYV, width, height));
    for (auto iteration : state) {
        const auto start = Clock::now();
        const auto frame = frames.make(raw);
        if (!frame)
            return state.SkipWithError("not encoded");
        state.SetIterationTime(Seconds(Clock::now() - start).count());
    }
}

void sizes(benchmark::internal::Benchmark *each)
{
    each->Args({3264, 2448})->Args({1920, 1080})->Args({640, 480});
    // a number of rounds, not a time: the time measured is a small part of a round
    each->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(30);
}

BENCHMARK(check)->Apply(sizes);
BENCHMARK(checkAndMend)->Apply(sizes);
BENCHMARK(encodeYuyv)->Apply(sizes)->MeasureProcessCPUTime();

} // namespace

BENCHMARK_MAIN();
