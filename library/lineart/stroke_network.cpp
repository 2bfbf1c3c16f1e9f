#include "library/lineart/stroke_network.h"

#include "library/lineart/stroke_weights.h"

#include <opencv2/core/hal/intrin.hpp>

namespace korv {

namespace {

using Shorts = cv::v_int16x8;
using Longs = cv::v_int32x4;

constexpr std::size_t kInputPairs = (StrokeWeights::kInputs + 1) / 2;
constexpr std::size_t kUnitPairs = StrokeWeights::kUnits / 2;
constexpr std::size_t kPairLanes = 2 * StrokeNetwork::kPixels; ///< a pair for every pixel
constexpr std::size_t kWeightLanes = 8; ///< a pair for every one of four pixels
constexpr int kFarthest = 10; ///< square of the distance of the farthest levels

static_assert(2 * kInputPairs == StrokeWeights::kInputs + 1 && StrokeWeights::kUnits % 2 == 0);
static_assert(StrokeNetwork::kSure == 1 << (StrokeWeights::kUnitBits + StrokeWeights::kOutputBits));

/// Weights as they are multiplied: of two inputs at a time, each pair once for four pixels.
template <std::size_t kInputs, std::size_t kOutputs>
std::vector<std::int16_t>
spread(const std::array<std::array<std::int16_t, kInputs>, kOutputs> &weights)
{
    std::vector<std::int16_t> result;
    for (const auto &row : weights) {
        for (std::size_t i = 0; i < kInputs; i += 2) {
            for (int lane = 0; lane < 4; ++lane) {
                result.push_back(row[i]);
                result.push_back(i + 1 < kInputs ? row[i + 1] : std::int16_t{0});
            }
        }
    }
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

/// Adds the inputs, pair by pair, to two sums with the weights of each.
template <std::size_t kPairs>
void addPairs(const std::int16_t *inputs, const std::int16_t *weights, PixelSums &one,
              PixelSums &other)
{
    for (std::size_t i = 0; i < kPairs; ++i) {
        const Shorts first = cv::v_load(inputs + kPairLanes * i);
        const Shorts second = cv::v_load(inputs + kPairLanes * i + kWeightLanes);
        one.add(first, second, weights + kWeightLanes * i);
        other.add(first, second, weights + kWeightLanes * (kPairs + i));
    }
}

/// What a unit gives: nothing below 0.
Shorts given(const PixelSums &sums)
{
    constexpr int kShift = StrokeWeights::kInputBits - StrokeWeights::kUnitBits;
    return cv::v_max(cv::v_rshr_pack<kShift>(sums.first, sums.second), cv::v_setzero_s16());
}

} // namespace

StrokeNetwork::StrokeNetwork(std::ptrdiff_t stride)
    : m_hidden(spread(kStrokeWeights.units))
    , m_output(spread(kStrokeWeights.outputs))
{
    std::size_t count = 0;
    for (int y = -kReach; y <= kReach; ++y) {
        for (int x = -kReach; x <= kReach; ++x) {
            if (x * x + y * y <= kFarthest)
                m_taps.at(count++) = y * stride + x;
        }
    }
}

std::array<StrokeNetwork::Quarters, StrokeNetwork::kPixels>
StrokeNetwork::operator()(const std::array<Place, kPixels> &places) const
{
    std::array<std::int16_t, kInputPairs * kPairLanes> inputs{};
    for (std::size_t pixel = 0; pixel < places.size(); ++pixel) {
        const Place &place = places[pixel];
        const auto set = [&](std::size_t input, int value) {
            inputs[input / 2 * kPairLanes + 2 * pixel + input % 2] =
                static_cast<std::int16_t>(value);
        };
        for (std::size_t i = 0; i < kLevels; ++i)
            set(i, place.levels[m_taps[i]] - kPaper);
        set(kLevels, place.depth);
        set(kLevels + 1, place.noise);
    }
    std::array<std::int16_t, kUnitPairs * kPairLanes> units{};
    for (std::size_t i = 0; i < kUnitPairs; ++i) {
        PixelSums one(kStrokeWeights.unitBiases[2 * i]);
        PixelSums other(kStrokeWeights.unitBiases[2 * i + 1]);
        addPairs<kInputPairs>(inputs.data(), &m_hidden[2 * i * kInputPairs * kWeightLanes], one,
                              other);
        Shorts low;
        Shorts high;
        cv::v_zip(given(one), given(other), low, high);
        cv::v_store(units.data() + i * kPairLanes, low);
        cv::v_store(units.data() + i * kPairLanes + kWeightLanes, high);
    }
    std::array<Quarters, kPixels> result{};
    for (std::size_t k = 0; k < kQuarters; k += 2) {
        PixelSums one(kStrokeWeights.outputBiases[k]);
        PixelSums other(kStrokeWeights.outputBiases[k + 1]);
        addPairs<kUnitPairs>(units.data(), &m_output[k * kUnitPairs * kWeightLanes], one, other);
        std::array<std::array<std::int32_t, kPixels>, 2> values{};
        cv::v_store(values[0].data(), one.first);
        cv::v_store(values[0].data() + 4, one.second);
        cv::v_store(values[1].data(), other.first);
        cv::v_store(values[1].data() + 4, other.second);
        for (std::size_t pixel = 0; pixel < kPixels; ++pixel) {
            result[pixel][k] = values[0][pixel];
            result[pixel][k + 1] = values[1][pixel];
        }
    }
    return result;
}

} // namespace korv
