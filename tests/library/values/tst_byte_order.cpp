#include "library/values/byte_order.h"

#include <gtest/gtest.h>

using namespace korv;

TEST(ByteOrder, numbersAreReadInEitherOrder)
{
    const std::uint8_t bytes[] = {0x81, 2, 3, 4, 5, 6, 7, 0x88};
    EXPECT_EQ(numberAt(bytes, 8, ByteOrder::Big), 0x8102030405060788U);
    EXPECT_EQ(numberAt(bytes, 8, ByteOrder::Little), 0x8807060504030281U);
    EXPECT_EQ(bigendian::u16(bytes), 0x8102U);
    EXPECT_EQ(bigendian::u32(bytes), 0x81020304U);
    EXPECT_EQ(littleendian::u16(bytes), 0x0281U);
    EXPECT_EQ(littleendian::u32(bytes), 0x04030281U);
}

TEST(ByteOrder, numbersArePutInEitherOrder)
{
    Bytes big;
    bigendian::put16(big, 0x18182);
    bigendian::put32(big, 0x83848586);
    EXPECT_EQ(big, (Bytes{0x81, 0x82, 0x83, 0x84, 0x85, 0x86}));
    Bytes little;
    littleendian::put16(little, 0x18182);
    littleendian::put32(little, 0x83848586);
    littleendian::put64(little, 0x8102030405060788U);
    EXPECT_EQ(little, (Bytes{0x82, 0x81, 0x86, 0x85, 0x84, 0x83, 0x88, 7, 6, 5, 4, 3, 2, 0x81}));
}
