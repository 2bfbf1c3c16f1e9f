#include "library/formats/jbig2/integer_coder.h"

#include <cstdlib>

namespace korv::jbig2 {

namespace {

/// Numbers from `first` on have so many bits; the last range ends with what 32 bits hold.
struct Range
{
    std::uint32_t first;
    int bits;
};

constexpr Range kRanges[] = {{0, 2}, {4, 4}, {20, 6}, {84, 8}, {340, 12}, {4436, 32}};
constexpr std::size_t kRangeCount = sizeof(kRanges) / sizeof(kRanges[0]);

} // namespace

/// The highest bit comes first. Nine bits, the first of them a one, are the most that is remembered.
template <typename Coder>
std::uint32_t IntegerCoder::codeBits(Coder &coder, int count, std::uint32_t value)
{
    std::uint32_t coded = 0;
    for (int i = count - 1; i >= 0; --i) {
        const unsigned bit = coder.code(m_contexts[m_before], value >> i & 1U);
        m_before = m_before < 256 ? m_before << 1 | bit : ((m_before << 1 | bit) & 511U) | 256U;
        coded = coded << 1 | bit;
    }
    return coded;
}

template <typename Coder>
std::optional<std::int32_t> IntegerCoder::code(Coder &coder, std::optional<std::int32_t> value)
{
    m_before = 1;
    // a zero with a minus is "none"
    const bool isMinus = codeBits(coder, 1, !value || *value < 0 ? 1 : 0) == 1;
    const std::uint32_t size =
        static_cast<std::uint32_t>(std::abs(std::int64_t{value.value_or(0)}));
    std::size_t range = 0;
    while (range + 1 < kRangeCount
           && codeBits(coder, 1, size >= kRanges[range + 1].first ? 1 : 0) == 1)
        ++range;
    const std::uint32_t first = kRanges[range].first;
    const std::uint32_t coded = codeBits(coder, kRanges[range].bits, size - first);
    if (isMinus && first + coded == 0)
        return {};
    const std::int64_t number = std::int64_t{coded} + first;
    // no picture has so large a number in it: to whoever decodes it is as good as any wrong one
    if (number > INT32_MAX)
        return INT32_MAX;
    return static_cast<std::int32_t>(isMinus ? -number : number);
}

template std::optional<std::int32_t> IntegerCoder::code(ArithmeticEncoder &,
                                                        std::optional<std::int32_t>);
template std::optional<std::int32_t> IntegerCoder::code(ArithmeticDecoder &,
                                                        std::optional<std::int32_t>);

IdentifierCoder::IdentifierCoder(std::uint32_t count)
{
    while (1U << m_bits < count)
        ++m_bits;
    m_contexts.resize(std::size_t{1} << m_bits);
}

template <typename Coder>
std::uint32_t IdentifierCoder::code(Coder &coder, std::uint32_t identifier)
{
    std::uint32_t before = 1;
    for (int i = m_bits - 1; i >= 0; --i)
        before = before << 1 | coder.code(m_contexts[before], identifier >> i & 1U);
    return before - (1U << m_bits);
}

template std::uint32_t IdentifierCoder::code(ArithmeticEncoder &, std::uint32_t);
template std::uint32_t IdentifierCoder::code(ArithmeticDecoder &, std::uint32_t);

} // namespace korv::jbig2
