#include "cli/calls/libraryline.h"

#include <gtest/gtest.h>

using cli::textOfLibraryLine;

TEST(LibraryLine, isReadWithEveryLevelAndWithNone)
{
    for (const char *level : {"", "error: ", "warning: ", "info: ", "debug: "})
        EXPECT_EQ(textOfLibraryLine(std::string("korvcamera: ") + level + "a: text"), "a: text");
}

TEST(LibraryLine, losesOneLevelOnly)
{
    EXPECT_EQ(textOfLibraryLine("korvcamera: info: error: text"), "error: text");
    EXPECT_EQ(textOfLibraryLine("korvcamera: informal: text"), "informal: text");
}

TEST(LibraryLine, ofSomebodyElseIsNone)
{
    for (const char *line : {"", "korvcam: text", "korvcamera:", "text korvcamera: text"})
        EXPECT_EQ(textOfLibraryLine(line), std::nullopt) << line;
}
