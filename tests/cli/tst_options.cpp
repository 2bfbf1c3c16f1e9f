#include "cli/options.h"

#include "tests/support/stdout_capture.h"

#include <gtest/gtest.h>

namespace {

using cli::ExitCode;

cli::ParseResult parse(std::vector<const char *> arguments)
{
    arguments.insert(arguments.begin(), "korvcam");
    testing::internal::CaptureStderr();
    cli::ParseResult result =
        cli::parseCommandLine(static_cast<int>(arguments.size()), arguments.data());
    testing::internal::GetCapturedStderr();
    return result;
}

TEST(Options, defaultsOfSnap)
{
    const auto options = parse({"snap", "-o", "a.jpg"}).options;
    ASSERT_TRUE(options);
    EXPECT_EQ(options->command, cli::Command::Snap);
    EXPECT_FALSE(options->device || options->resolution || options->quality);
    EXPECT_EQ(options->color, 0);
    EXPECT_EQ(options->crop, -1);
    EXPECT_EQ(options->rotation, 0);
    EXPECT_EQ(options->count, 1);
    EXPECT_EQ(options->timeoutMs, 10'000);
}

TEST(Options, choicesBecomeTheLibrarysCodes)
{
    const auto options = parse({"snap", "-o", "a.JPEG", "--color", "lineart", "--rotate", "180",
                                "--crop", "-r", "1600x1200", "-q", "70", "-d", "2", "-n", "3"})
                             .options;
    ASSERT_TRUE(options);
    EXPECT_EQ(options->color, 2);
    EXPECT_EQ(options->rotation, 3);
    EXPECT_EQ(options->crop, 0);
    ASSERT_TRUE(options->resolution);
    EXPECT_EQ(options->resolution->width, 1600);
    EXPECT_EQ(options->resolution->height, 1200);
    EXPECT_EQ(options->quality, 70);
    EXPECT_EQ(options->device, 2);
    EXPECT_EQ(options->count, 3);
}

TEST(Options, filesOfConvertAndCombine)
{
    const auto convert = parse({"convert", "a.jpg", "b.png"}).options;
    ASSERT_TRUE(convert);
    EXPECT_EQ(convert->sources, std::vector<std::string>{"a.jpg"});
    EXPECT_EQ(convert->destination, "b.png");

    const auto combine = parse({"combine", "a.jpg", "b.jpg", "-o", "c.pdf"}).options;
    ASSERT_TRUE(combine);
    EXPECT_EQ(combine->sources, (std::vector<std::string>{"a.jpg", "b.jpg"}));
    EXPECT_EQ(combine->destination, "c.pdf");
}

TEST(Options, globalOptionsMayFollowTheCommand)
{
    const auto options = parse({"list", "--desk", "builtin", "--library", "/x.so"}).options;
    ASSERT_TRUE(options);
    EXPECT_EQ(options->desk, "builtin");
    EXPECT_EQ(options->library, "/x.so");
}

TEST(Options, nonsenseIsWrongUsage)
{
    const std::vector<std::vector<const char *>> commandLines = {
        {},
        {"photograph"},
        {"list", "extra"},
        {"snap"},
        {"snap", "-o", "a.png"},
        {"snap", "-o", "a.jpg", "-r", "1600"},
        {"snap", "-o", "a.jpg", "-r", "0x10"},
        {"snap", "-o", "a.jpg", "-r", "10x10x"},
        {"snap", "-o", "a.jpg", "-r", "999999x1"},
        {"snap", "-o", "a.jpg", "-q", "0"},
        {"snap", "-o", "a.jpg", "-q", "101"},
        {"snap", "-o", "a.jpg", "-q", "best"},
        {"snap", "-o", "a.jpg", "-n", "0"},
        {"snap", "-o", "a.jpg", "--rotate", "4"},
        {"snap", "-o", "a.jpg", "--color", "red"},
        {"modes", "-d", "-1"},
        {"convert", "a.jpg"},
        {"combine", "a.jpg"},
        {"combine", "-o", "a.pdf"},
        {"watch", "--seconds", "0"},
    };
    for (const auto &commandLine : commandLines) {
        const cli::ParseResult result = parse(commandLine);
        EXPECT_FALSE(result.options) << testing::PrintToString(commandLine);
        EXPECT_EQ(result.code, ExitCode::Usage) << testing::PrintToString(commandLine);
    }
}

TEST(Options, helpSucceedsAndTellsTheExitCodes)
{
    support::StdoutCapture output;
    const cli::ParseResult result = parse({"--help"});
    std::cout.flush();
    const std::string text = output.take();
    EXPECT_FALSE(result.options);
    EXPECT_EQ(result.code, ExitCode::Success);
    for (const char *word : {"list", "modes", "snap", "convert", "combine", "watch", "Exit status"})
        EXPECT_NE(text.find(word), std::string::npos) << word;
}

TEST(NumberedPath, onePhotographKeepsItsName)
{
    EXPECT_EQ(cli::numberedPath("dir/page.jpg", 1, 1), "dir/page.jpg");
}

TEST(NumberedPath, severalGetTheNumberBeforeTheExtension)
{
    EXPECT_EQ(cli::numberedPath("page.jpg", 1, 2), "page-0001.jpg");
    EXPECT_EQ(cli::numberedPath("/a b/c.d.jpeg", 12, 9999), "/a b/c.d-0012.jpeg");
}

} // namespace
