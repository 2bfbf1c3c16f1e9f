#include "library/video/video_levels.h"

#include <algorithm>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace korv {
namespace {

// The widened values are the exact ones, rounded to the nearest (halves away from the middle). The
// products are fixed-point parts of them with 16 fractional bits, so small that 16-bit lanes do:
// 255/219 = 1 + 36/219, and 36/219 * 65536 is 10773; 255/224 = 1 + 31/224, and 31/224 * 8192 is
// 1134. The summands 3 and 29 put the rounding where the exact one has it for every sample.
constexpr int kLumaFactor = 10775;
constexpr int kLumaSummand = 3;
constexpr int kChromaFactor = 1134;
constexpr int kChromaSummand = 29;
constexpr int kChromaShift = 3;

template <Levels levels> std::uint8_t changed(std::uint8_t sample)
{
    int value = sample;
    if constexpr (levels == Levels::WideLuma) {
        value = std::max(value - 16, 0);
        value += (value + kLumaSummand) * kLumaFactor >> 16;
    } else if constexpr (levels == Levels::WideChroma) {
        const int scaled = (value - 128) * (1 << kChromaShift) + kChromaSummand;
        value += scaled * kChromaFactor >> 16;
    }
    return static_cast<std::uint8_t>(std::clamp(value, 0, 255));
}

#ifdef __SSE2__

/// Number of samples processed at once.
constexpr std::size_t kLanes = 16;

/// The same for eight samples, not yet clamped.
template <Levels levels> __m128i changedLanes(__m128i samples)
{
    if constexpr (levels == Levels::WideLuma) {
        const __m128i value = _mm_subs_epu16(samples, _mm_set1_epi16(16));
        const __m128i raised = _mm_add_epi16(value, _mm_set1_epi16(kLumaSummand));
        return _mm_add_epi16(value, _mm_mulhi_epu16(raised, _mm_set1_epi16(kLumaFactor)));
    } else if constexpr (levels == Levels::WideChroma) {
        const __m128i scaled =
            _mm_add_epi16(_mm_slli_epi16(samples, kChromaShift),
                          _mm_set1_epi16(kChromaSummand - 128 * (1 << kChromaShift)));
        return _mm_add_epi16(samples, _mm_mulhi_epi16(scaled, _mm_set1_epi16(kChromaFactor)));
    } else {
        return samples;
    }
}

__m128i loaded(const std::uint8_t *source)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(source));
}

/// Of sixteen bytes the chosen eight, or of eight all, as 16-bit numbers.
template <Bytewise which> __m128i chosen(const std::uint8_t *source)
{
    if constexpr (which == Bytewise::Each)
        return _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(source)),
                                 _mm_setzero_si128());
    else if constexpr (which == Bytewise::Even)
        return _mm_and_si128(loaded(source), _mm_set1_epi16(0xFF));
    else
        return _mm_srli_epi16(loaded(source), 8);
}

/// Returns how many samples are done.
template <Bytewise which, Levels levels>
std::size_t copyLanes(const std::uint8_t *source, std::size_t count, std::uint8_t *target)
{
    constexpr std::size_t half = kLanes / 2 * (which == Bytewise::Each ? 1 : 2);
    std::size_t at = 0;
    for (; at + kLanes <= count; at += kLanes, source += 2 * half) {
        const __m128i low = changedLanes<levels>(chosen<which>(source));
        const __m128i high = changedLanes<levels>(chosen<which>(source + half));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(target + at), _mm_packus_epi16(low, high));
    }
    return at;
}

#else

template <Bytewise, Levels> std::size_t copyLanes(const std::uint8_t *, std::size_t, std::uint8_t *)
{
    return 0;
}

#endif

template <Bytewise which, Levels levels>
void copyRow(const std::uint8_t *source, std::size_t count, std::uint8_t *target)
{
    constexpr std::size_t step = which == Bytewise::Each ? 1 : 2;
    constexpr std::size_t first = which == Bytewise::Odd ? 1 : 0;
    for (std::size_t at = copyLanes<which, levels>(source, count, target); at < count; ++at)
        target[at] = changed<levels>(source[at * step + first]);
}

template <Bytewise which>
void copyRow(const std::uint8_t *source, Levels levels, std::size_t count, std::uint8_t *target)
{
    switch (levels) {
    case Levels::Same:
        return copyRow<which, Levels::Same>(source, count, target);
    case Levels::WideLuma:
        return copyRow<which, Levels::WideLuma>(source, count, target);
    case Levels::WideChroma:
        return copyRow<which, Levels::WideChroma>(source, count, target);
    }
}

} // namespace

void copyLevels(const std::uint8_t *source, Bytewise which, Levels levels, std::size_t count,
                std::uint8_t *target)
{
    switch (which) {
    case Bytewise::Each:
        return copyRow<Bytewise::Each>(source, levels, count, target);
    case Bytewise::Even:
        return copyRow<Bytewise::Even>(source, levels, count, target);
    case Bytewise::Odd:
        return copyRow<Bytewise::Odd>(source, levels, count, target);
    }
}

} // namespace korv
