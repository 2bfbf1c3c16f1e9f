#include "library/formats/jbig2/arithmetic_coder.h"

#include "library/formats/jbig2/integer_coder.h"

#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <vector>

using namespace korv;
using namespace korv::jbig2;

namespace {

// ITU-T T.88, annex H.2: bits, all in one context, and what becomes of them
const Bytes kPlain = {0x00, 0x02, 0x00, 0x51, 0x00, 0x00, 0x00, 0xC0, 0x03, 0x52, 0x87,
                      0x2A, 0xAA, 0xAA, 0xAA, 0xAA, 0x82, 0xC0, 0x20, 0x00, 0xFC, 0xD7,
                      0x9E, 0xF6, 0xBF, 0x7F, 0xED, 0x90, 0x4F, 0x46, 0xA3, 0xBF};
const Bytes kCoded = {0x84, 0xC7, 0x3B, 0xFC, 0xE1, 0xA1, 0x43, 0x04, 0x02, 0x20,
                      0x00, 0x00, 0x41, 0x0D, 0xBB, 0x86, 0xF4, 0x31, 0x7F, 0xFF,
                      0x88, 0xFF, 0x37, 0x47, 0x1A, 0xDB, 0x6A, 0xDF, 0xFF, 0xAC};

} // namespace

TEST(ArithmeticCoder, writesTheStandardsExample)
{
    ArithmeticEncoder coder;
    Context context = 0;
    for (const std::uint8_t byte : kPlain) {
        for (int bit = 7; bit >= 0; --bit)
            coder.code(context, byte >> bit & 1U);
    }
    EXPECT_EQ(coder.finish(), kCoded);
}

TEST(ArithmeticCoder, readsTheStandardsExample)
{
    ArithmeticDecoder coder(kCoded);
    Context context = 0;
    Bytes plain;
    for (std::size_t i = 0; i < kPlain.size(); ++i) {
        unsigned byte = 0;
        for (int bit = 0; bit < 8; ++bit)
            byte = byte << 1 | coder.code(context);
        plain.push_back(static_cast<std::uint8_t>(byte));
    }
    EXPECT_EQ(plain, kPlain);
}

TEST(IntegerCoder, numbersOfAllRangesComeBack)
{
    std::vector<std::optional<std::int32_t>> numbers = {std::nullopt};
    for (const std::int32_t number : {0, 3, 4, 19, 20, 83, 84, 339, 340, 4435, 4436, 70'000,
                                      std::numeric_limits<std::int32_t>::max()}) {
        numbers.emplace_back(number);
        if (number != 0)
            numbers.emplace_back(-number);
        numbers.emplace_back(std::nullopt);
    }
    ArithmeticEncoder coder;
    IntegerCoder encoding;
    for (const auto &number : numbers)
        encoding.code(coder, number);
    const Bytes coded = coder.finish();
    ArithmeticDecoder decoder(coded);
    IntegerCoder decoding;
    for (const auto &number : numbers)
        EXPECT_EQ(decoding.code(decoder), number);
}

TEST(IntegerCoder, noNumberOverflows)
{
    const Bytes rubbish(64, 0xA5);
    for (std::size_t start = 0; start < rubbish.size(); ++start) {
        ArithmeticDecoder decoder({rubbish.data() + start, rubbish.size() - start});
        IntegerCoder decoding;
        for (int i = 0; i < 100; ++i)
            EXPECT_GE(decoding.code(decoder).value_or(0),
                      -std::numeric_limits<std::int32_t>::max());
    }
}

TEST(IdentifierCoder, identifiersComeBack)
{
    for (const std::uint32_t count : {2U, 3U, 256U, 257U, 65'536U}) {
        ArithmeticEncoder coder;
        IdentifierCoder encoding(count);
        const std::vector<std::uint32_t> identifiers = {0, count - 1, count / 2, 0, 1};
        for (const std::uint32_t identifier : identifiers)
            encoding.code(coder, identifier);
        const Bytes coded = coder.finish();
        ArithmeticDecoder decoder(coded);
        IdentifierCoder decoding(count);
        for (const std::uint32_t identifier : identifiers)
            EXPECT_EQ(decoding.code(decoder), identifier) << count;
    }
}
