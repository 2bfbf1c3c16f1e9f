#include "library/recognition/content_key.h"

#include <gmock/gmock.h>
#include <set>

using namespace korv;

TEST(ContentKey, isTheSameForTheSameBytes)
{
    const Bytes bytes(1001, 7);
    EXPECT_EQ(contentKeyOf(bytes), contentKeyOf(Bytes(bytes)));
    EXPECT_EQ(hexadecimal(contentKeyOf(bytes)).size(), 32U);
}

TEST(ContentKey, everyBitTheLengthAndThePartCount)
{
    std::set<ContentKey> keys;
    Bytes bytes(37);
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        for (int bit = 0; bit < 8; ++bit) {
            Bytes changed = bytes;
            changed[at] = static_cast<std::uint8_t>(1 << bit);
            EXPECT_TRUE(keys.insert(contentKeyOf(changed)).second) << at << "." << bit;
        }
    }
    for (std::size_t size = 0; size < 100; ++size)
        EXPECT_TRUE(keys.insert(contentKeyOf(Bytes(size))).second) << size;
    for (std::uint64_t part = 1; part < 100; ++part)
        EXPECT_TRUE(keys.insert(contentKeyOf(bytes, part)).second) << part;
}
