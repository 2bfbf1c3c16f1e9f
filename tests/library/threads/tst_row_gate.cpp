#include "library/threads/row_gate.h"

#include "library/export/convert.h"
#include "library/export/image_loader.h"
#include "library/files/source_file.h"
#include "tests/library/support/pictures.h"
#include "tests/library/support/temporary_folder.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace korv;

TEST(RowGate, rowsAreSeenOnceTheyArePublished)
{
    constexpr int kRows = 1000;
    RowGate gate;
    std::vector<int> rows(kRows); // plain memory: the gate alone orders writing and reading
    std::thread filler([&] {
        for (int row = 0; row < kRows; ++row) {
            rows[static_cast<std::size_t>(row)] = row + 1;
            gate.publish(row + 1);
        }
    });
    for (int row = 0; row < kRows; ++row) {
        EXPECT_TRUE(gate.waitFor(row + 1));
        EXPECT_EQ(rows[static_cast<std::size_t>(row)], row + 1);
    }
    filler.join();
}

TEST(RowGate, endTellsThatTheRestNeverComes)
{
    RowGate gate;
    std::thread filler([&] {
        gate.publish(10);
        gate.end();
    });
    EXPECT_FALSE(gate.waitFor(11));
    EXPECT_TRUE(gate.waitFor(10));
    filler.join();
}

TEST(RowGate, pictureIsPackedWhileItIsDecoded)
{
    const testing_support::TemporaryFolder folder;
    const Bytes jpeg = testing_support::jpegOf(testing_support::wavyImage(300, 700));
    testing_support::writeFile(folder.path() + "/a.jpg", jpeg);
    ASSERT_TRUE(convertImage(folder.path() + "/a.jpg", folder.path() + "/a.png", 95));
    Bytes png;
    ASSERT_TRUE(readSourceFile(folder.path() + "/a.png", png));
    const Image made = loadImage(png).value();
    const Image expected = jpeg::decode(jpeg).value();
    ASSERT_EQ(made.height(), expected.height());
    for (int y = 0; y < made.height(); ++y)
        ASSERT_TRUE(std::equal(made.row(y), made.row(y) + made.stride(), expected.row(y))) << y;
}
