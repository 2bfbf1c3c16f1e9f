#include "library/lineart/stroke_network.h"

#include "library/lineart/stroke_weights.h"

#include <opencv2/core/hal/intrin.hpp>

namespace korv {

namespace {

using Lanes = cv::v_int16x8;
using Sums = cv::v_int32x4;

constexpr std::size_t kInputPairs = (StrokeWeights::kInputs + 1) / 2;
constexpr std::size_t kUnitPairs = StrokeWeights::kUnits / 2;
constexpr std::size_t kPairLanes = 2 * StrokeNetwork::kPixels; ///< a pair for every pixel
constexpr int kFarthest = 10; ///< square of the distance of the farthest levels

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

/// For all pixels, the sums of `pairs` pairs of inputs with weights, and of the bias.
struct PixelSums
{
    PixelSums(const std::int16_t *inputs, const std::int16_t *weights, std::size_t pairs,
              std::int32_t bias)
        : first(cv::v_setall_s32(bias))
        , second(first)
    {
        for (std::size_t i = 0; i < pairs; ++i) {
            const Lanes weight = cv::v_load(weights + 8 * i);
            first = cv::v_dotprod(cv::v_load(inputs + kPairLanes * i), weight, first);
            second = cv::v_dotprod(cv::v_load(inputs + kPairLanes * i + 8), weight, second);
        }
    }

    Sums first;
    Sums second;
};

/// What a unit gives: nothing below 0.
Lanes given(const PixelSums &sums)
{
    constexpr int kShift = StrokeWeights::kInputBits - StrokeWeights::kUnitBits;
    return cv::v_max(cv::v_rshr_pack<kShift>(sums.first, sums.second), cv::v_setzero_s16());
}

} // namespace

StrokeNetwork::StrokeNetwork(std::ptrdiff_t stride)
    : m_hidden(spread(kStrokeWeights.units))
    , m_output(spread(kStrokeWeights.outputs))
{
    for (int y = -kReach; y <= kReach; ++y) {
        for (int x = -kReach; x <= kReach; ++x) {
            if (x * x + y * y <= kFarthest)
                m_taps.push_back(y * stride + x);
        }
    }
}

std::array<StrokeNetwork::Quarters, StrokeNetwork::kPixels>
StrokeNetwork::operator()(const std::array<Place, kPixels> &places) const
{
    std::array<std::int16_t, kInputPairs * kPairLanes> inputs;
    for (std::size_t pixel = 0; pixel < places.size(); ++pixel) {
        const Place &place = places[pixel];
        const auto set = [&](std::size_t input, int value) {
            inputs[input / 2 * kPairLanes + 2 * pixel + input % 2] =
                static_cast<std::int16_t>(value);
        };
        const std::size_t count = m_taps.size();
        for (std::size_t i = 0; i < count; ++i)
            set(i, place.levels[m_taps[i]] - kPaper);
        set(count, place.depth);
        set(count + 1, place.noise);
        set(count + 2, 0);
    }
    std::array<std::int16_t, kUnitPairs * kPairLanes> units;
    for (std::size_t i = 0; i < kUnitPairs; ++i) {
        const auto unit = [&](std::size_t k) {
            return given({inputs.data(), m_hidden.data() + k * kInputPairs * 8, kInputPairs,
                          kStrokeWeights.unitBiases[k]});
        };
        Lanes low;
        Lanes high;
        cv::v_zip(unit(2 * i), unit(2 * i + 1), low, high);
        cv::v_store(units.data() + i * kPairLanes, low);
        cv::v_store(units.data() + i * kPairLanes + 8, high);
    }
    std::array<Quarters, kPixels> result;
    for (std::size_t k = 0; k < kQuarters; ++k) {
        const PixelSums sums(units.data(), m_output.data() + k * kUnitPairs * 8, kUnitPairs,
                             kStrokeWeights.outputBiases[k]);
        std::array<std::int32_t, kPixels> values;
        cv::v_store(values.data(), sums.first);
        cv::v_store(values.data() + 4, sums.second);
        for (std::size_t pixel = 0; pixel < values.size(); ++pixel)
            result[pixel][k] = values[pixel];
    }
    return result;
}

} // namespace korv
