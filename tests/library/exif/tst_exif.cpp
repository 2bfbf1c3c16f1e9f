#include "library/exif/exif.h"

#include "library/exif/exif_writer.h"
#include "tests/library/support/guarded_buffer.h"

#include <algorithm>
#include <gtest/gtest.h>

using namespace korv;

namespace {

Bytes block(bool little, unsigned orientation)
{
    Bytes data = {'E', 'x', 'i', 'f', 0, 0};
    const auto put16 = [&](unsigned value) {
        const auto low = static_cast<std::uint8_t>(value);
        const auto high = static_cast<std::uint8_t>(value >> 8);
        data.push_back(little ? low : high);
        data.push_back(little ? high : low);
    };
    const auto put32 = [&](unsigned value) {
        put16(little ? value & 0xFFFF : value >> 16);
        put16(little ? value >> 16 : value & 0xFFFF);
    };
    data.insert(data.end(), 2, little ? 'I' : 'M');
    put16(42);
    put32(8);
    put16(2);
    put16(0x010F);
    put16(2);
    put32(4);
    put32(0);
    put16(0x0112);
    put16(3);
    put32(1);
    put16(orientation);
    put16(0);
    put32(0);
    return data;
}

} // namespace

TEST(Exif, orientationIsReadInBothByteOrders)
{
    for (unsigned orientation = 1; orientation <= 8; ++orientation) {
        EXPECT_EQ(exifOrientation(block(true, orientation), 1), static_cast<int>(orientation));
        EXPECT_EQ(exifOrientation(block(false, orientation), 1), static_cast<int>(orientation));
    }
}

TEST(Exif, orientationAsAWideNumberIsReadInBothByteOrders)
{
    for (unsigned orientation = 1; orientation <= 8; ++orientation) {
        for (const bool little : {true, false}) {
            Bytes wide = block(little, orientation);
            const std::size_t entry = wide.size() - 4 - 12;
            wide[entry + 2 + (little ? 0 : 1)] = 4; // LONG
            const auto value = static_cast<std::uint8_t>(orientation);
            const Bytes number = little ? Bytes{value, 0, 0, 0} : Bytes{0, 0, 0, value};
            std::copy(number.begin(), number.end(),
                      wide.begin() + static_cast<std::ptrdiff_t>(entry) + 8);
            EXPECT_EQ(exifOrientation(wide, 0), static_cast<int>(orientation)) << little;
        }
    }
}

TEST(Exif, nonsenseLeavesTheOtherAnswer)
{
    EXPECT_EQ(exifOrientation(block(true, 0), 1), 1);
    EXPECT_EQ(exifOrientation(block(true, 9), 6), 6);
    EXPECT_EQ(exifOrientation(Bytes{'J', 'F', 'I', 'F'}, 1), 1);
    Bytes farAway = block(true, 6);
    farAway[10] = farAway[11] = farAway[12] = farAway[13] = 0xFF;
    EXPECT_EQ(exifOrientation(farAway, 1), 1);
}

TEST(Exif, damagedBlocksAreNotReadPastTheirEnd)
{
    const Bytes whole = block(false, 6);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const GuardedBuffer cut(ByteView(whole).first(size));
        const int orientation = exifOrientation(cut.view(), 1);
        EXPECT_TRUE(orientation == 1 || orientation == 6) << size;
    }
}

TEST(ExifResolution, damagedBlocksStateNone)
{
    const Bytes whole = exifPayload({1'700'000'000, "Desk"}, 640, 480, {282.9, 150.25});
    const Resolution stated = exifResolution(whole);
    EXPECT_NEAR(stated.x, 282.9, 1e-4);
    EXPECT_NEAR(stated.y, 150.25, 1e-4);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const GuardedBuffer cut(ByteView(whole).first(size));
        const Resolution some = exifResolution(cut.view());
        EXPECT_TRUE(some.x == 0 || some.x == stated.x) << size;
    }
    for (std::size_t at = 0; at < whole.size(); ++at) {
        Bytes damaged = whole;
        damaged[at] = 0xFF;
        static_cast<void>(exifResolution(damaged));
    }
}

TEST(ExifResolution, numbersFarBehindTheBlockAreNone)
{
    const Bytes whole = exifPayload({1'700'000'000, "Desk"}, 640, 480, {282.9, 150.25});
    const Bytes start = whole[6] == 'I' ? Bytes{0x1A, 0x01, 5, 0} : Bytes{0x01, 0x1A, 0, 5};
    const auto entry = std::search(whole.begin(), whole.end(), start.begin(), start.end());
    ASSERT_NE(entry, whole.end());
    // the last ones are before the block where addresses have 32 bits, and sums go around
    for (unsigned last = 0; last < 256; ++last) {
        Bytes far = whole;
        const auto low = static_cast<std::uint8_t>(last);
        const Bytes at =
            whole[6] == 'I' ? Bytes{low, 0xFF, 0xFF, 0xFF} : Bytes{0xFF, 0xFF, 0xFF, low};
        std::copy(at.begin(), at.end(), far.begin() + (entry - whole.begin()) + 8);
        EXPECT_EQ(exifResolution(far).x, 0) << last;
    }
}
