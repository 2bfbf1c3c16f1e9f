#include "library/lineart/stroke_network.h"

#include "library/lineart/stroke_weights.h"

#include <opencv2/core/hal/intrin.hpp>

namespace korv {

namespace {

using Shorts = cv::v_int16x8;
using Longs = cv::v_int32x4;

// Levels are read eight at a time from a row, four pairs, of which a narrow row needs fewer.
constexpr int kReadFrom = -StrokeNetwork::kReach;
constexpr std::size_t kRowPairs = 4;
constexpr int kFarthest = 10; ///< square of the distance of the farthest levels

constexpr bool isLookedAt(int x, int y)
{
    return x * x + y * y <= kFarthest;
}

constexpr bool isPairLookedAt(std::size_t pair, int y)
{
    const int x = kReadFrom + 2 * static_cast<int>(pair);
    return isLookedAt(x, y) || isLookedAt(x + 1, y);
}

constexpr std::size_t levelPairs()
{
    std::size_t count = 0;
    for (int y = -StrokeNetwork::kReach; y <= StrokeNetwork::kReach; ++y) {
        for (std::size_t pair = 0; pair < kRowPairs; ++pair)
            count += isPairLookedAt(pair, y) ? 1 : 0;
    }
    return count;
}

constexpr std::size_t kLevelPairs = levelPairs();
constexpr std::size_t kInputPairs = kLevelPairs + 1; ///< the last one is the depth and the noise
constexpr std::size_t kUnitPairs = StrokeWeights::kUnits / 2;
constexpr std::size_t kPairLanes = 2 * StrokeNetwork::kPixels; ///< a pair for every pixel
constexpr std::size_t kWeightLanes = 8; ///< a pair for every one of four pixels

static_assert(StrokeWeights::kUnits % 4 == 0 && StrokeNetwork::kQuarters == 4);
static_assert(StrokeNetwork::kSure == 1 << (StrokeWeights::kUnitBits + StrokeWeights::kOutputBits));

void addPair(std::int16_t first, std::int16_t second, std::vector<std::int16_t> &weights)
{
    for (int lane = 0; lane < 4; ++lane) {
        weights.push_back(first);
        weights.push_back(second);
    }
}

/// Weights as they are multiplied: of two inputs at a time, each pair once for four pixels. Levels that
/// are read but not looked at have none.
std::vector<std::int16_t> spreadUnits()
{
    std::vector<std::int16_t> result;
    for (const auto &unit : kStrokeWeights.units) {
        std::size_t next = 0;
        for (int y = -StrokeNetwork::kReach; y <= StrokeNetwork::kReach; ++y) {
            for (std::size_t pair = 0; pair < kRowPairs; ++pair) {
                if (!isPairLookedAt(pair, y))
                    continue;
                const int x = kReadFrom + 2 * static_cast<int>(pair);
                const std::int16_t first = isLookedAt(x, y) ? unit.at(next++) : std::int16_t{0};
                const std::int16_t second =
                    isLookedAt(x + 1, y) ? unit.at(next++) : std::int16_t{0};
                addPair(first, second, result);
            }
        }
        addPair(unit.at(next), unit.at(next + 1), result);
    }
    return result;
}

std::vector<std::int16_t> spreadOutputs()
{
    std::vector<std::int16_t> result;
    for (const auto &output : kStrokeWeights.outputs) {
        for (std::size_t i = 0; i < output.size(); i += 2)
            addPair(output[i], output[i + 1], result);
    }
    return result;
}

/// The levels of a row around four pixels: of each pair, one for every pixel.
std::array<Shorts, kRowPairs> pairsOf(const StrokeNetwork::Place *places, std::ptrdiff_t away)
{
    const auto row = [&](std::size_t pixel) {
        const Shorts levels =
            cv::v_reinterpret_as_s16(cv::v_load_expand(places[pixel].levels + away));
        return cv::v_reinterpret_as_s32(levels - cv::v_setall_s16(StrokeNetwork::kPaper));
    };
    std::array<Longs, kRowPairs> pairs;
    cv::v_transpose4x4(row(0), row(1), row(2), row(3), pairs[0], pairs[1], pairs[2], pairs[3]);
    std::array<Shorts, kRowPairs> result;
    for (std::size_t i = 0; i < kRowPairs; ++i)
        result[i] = cv::v_reinterpret_as_s16(pairs[i]);
    return result;
}

/// For all pixels, a sum.
struct PixelSums
{
    explicit PixelSums(std::int32_t bias)
        : first(cv::v_setall_s32(bias))
        , second(first)
    {
    }

    void add(const Shorts &firstInputs, const Shorts &secondInputs, const std::int16_t *weights)
    {
        const Shorts weight = cv::v_load(weights);
        first = cv::v_dotprod(firstInputs, weight, first);
        second = cv::v_dotprod(secondInputs, weight, second);
    }

    Longs first;
    Longs second;
};

/// The sums of four units or outputs, side by side as their inputs are the same.
struct FourSums
{
    template <typename Biases>
    FourSums(const Biases &biases, std::size_t from)
        : sums{PixelSums(biases[from]), PixelSums(biases[from + 1]), PixelSums(biases[from + 2]),
               PixelSums(biases[from + 3])}
    {
    }

    /// Adds the inputs, pair by pair, with the weights of each.
    template <std::size_t kPairs> void add(const std::int16_t *inputs, const std::int16_t *weights)
    {
        for (std::size_t i = 0; i < kPairs; ++i) {
            const Shorts first = cv::v_load(inputs + kPairLanes * i);
            const Shorts second = cv::v_load(inputs + kPairLanes * i + kWeightLanes);
            const std::int16_t *weight = weights + kWeightLanes * i;
            sums[0].add(first, second, weight);
            sums[1].add(first, second, weight + kWeightLanes * kPairs);
            sums[2].add(first, second, weight + kWeightLanes * kPairs * 2);
            sums[3].add(first, second, weight + kWeightLanes * kPairs * 3);
        }
    }

    std::array<PixelSums, 4> sums;
};

/// What a unit gives: nothing below 0.
Shorts given(const PixelSums &sums)
{
    constexpr int kShift = StrokeWeights::kInputBits - StrokeWeights::kUnitBits;
    return cv::v_max(cv::v_rshr_pack<kShift>(sums.first, sums.second), cv::v_setzero_s16());
}

} // namespace

StrokeNetwork::StrokeNetwork(std::ptrdiff_t stride)
    : m_stride(stride)
    , m_hidden(spreadUnits())
    , m_output(spreadOutputs())
{
}

std::array<StrokeNetwork::Quarters, StrokeNetwork::kPixels>
StrokeNetwork::operator()(const std::array<Place, kPixels> &places) const
{
    std::array<std::int16_t, kInputPairs * kPairLanes> inputs{};
    std::int16_t *next = inputs.data();
    for (int y = -kReach; y <= kReach; ++y) {
        const auto first = pairsOf(&places[0], y * m_stride + kReadFrom);
        const auto second = pairsOf(&places[kPixels / 2], y * m_stride + kReadFrom);
        for (std::size_t pair = 0; pair < kRowPairs; ++pair) {
            if (!isPairLookedAt(pair, y))
                continue;
            cv::v_store(next, first[pair]);
            cv::v_store(next + kWeightLanes, second[pair]);
            next += kPairLanes;
        }
    }
    for (const Place &place : places) {
        *next++ = static_cast<std::int16_t>(place.depth);
        *next++ = static_cast<std::int16_t>(place.noise);
    }
    std::array<std::int16_t, kUnitPairs * kPairLanes> units{};
    std::int16_t *unit = units.data();
    for (std::size_t i = 0; i < StrokeWeights::kUnits; i += 4) {
        FourSums four(kStrokeWeights.unitBiases, i);
        four.add<kInputPairs>(inputs.data(), &m_hidden[i * kInputPairs * kWeightLanes]);
        for (std::size_t k = 0; k < 4; k += 2) {
            Shorts low;
            Shorts high;
            cv::v_zip(given(four.sums[k]), given(four.sums[k + 1]), low, high);
            cv::v_store(unit, low);
            cv::v_store(unit + kWeightLanes, high);
            unit += kPairLanes;
        }
    }
    FourSums four(kStrokeWeights.outputBiases, 0);
    four.add<kUnitPairs>(units.data(), m_output.data());
    std::array<Quarters, kPixels> result{};
    const auto store = [&](std::size_t from, Longs PixelSums::*part) {
        std::array<Longs, kQuarters> pixels;
        cv::v_transpose4x4(four.sums[0].*part, four.sums[1].*part, four.sums[2].*part,
                           four.sums[3].*part, pixels[0], pixels[1], pixels[2], pixels[3]);
        for (std::size_t i = 0; i < pixels.size(); ++i)
            cv::v_store(result[from + i].data(), pixels[i]);
    };
    store(0, &PixelSums::first);
    store(kPixels / 2, &PixelSums::second);
    return result;
}

} // namespace korv
