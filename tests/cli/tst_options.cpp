#include "cli/base/filenames.h"
#include "cli/commandline/commandline.h"

#include "tests/support/stdout_capture.h"

#include <gtest/gtest.h>
#include <iostream>
#include <sstream>

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
    EXPECT_EQ(options->device, "2");
    EXPECT_EQ(options->count, 3);
}

TEST(Options, cameraStandsBeforeOrAfterTheCommand)
{
    for (const std::vector<const char *> &arguments : std::vector<std::vector<const char *>>{
             {"-d", "My Camera", "modes"}, {"modes", "--device", "My Camera"}}) {
        const auto options = parse(arguments).options;
        ASSERT_TRUE(options);
        EXPECT_EQ(options->command, cli::Command::Modes);
        EXPECT_EQ(options->device, "My Camera");
    }
}

TEST(Options, controlsKeepTheirOrder)
{
    const auto options = parse({"controls", "-c", "auto_exposure=Manual Mode,brightness=-5", "-c",
                                "gain=3", "--save"})
                             .options;
    ASSERT_TRUE(options);
    EXPECT_EQ(options->command, cli::Command::Controls);
    ASSERT_EQ(options->changes.size(), 3U);
    EXPECT_EQ(options->changes[0].name, "auto_exposure");
    EXPECT_EQ(options->changes[0].value, "Manual Mode");
    EXPECT_EQ(options->changes[1].value, "-5");
    EXPECT_EQ(options->changes[2].name, "gain");
    EXPECT_TRUE(options->save && !options->reset);
}

TEST(Options, focusAndSettling)
{
    const auto focus = parse({"focus", "--lock", "-d", "1b17:0211"}).options;
    ASSERT_TRUE(focus);
    EXPECT_TRUE(focus->lock);
    EXPECT_EQ(focus->device, "1b17:0211");
    EXPECT_TRUE(parse({"snap", "-o", "a.jpg"}).options->settle);
    EXPECT_FALSE(parse({"snap", "--no-settle", "-o", "a.jpg"}).options->settle);
}

TEST(Options, cleanIsOffUnlessAskedFor)
{
    EXPECT_FALSE(parse({"snap", "-o", "a.jpg"}).options->clean);
    EXPECT_TRUE(parse({"snap", "--clean", "-o", "a.jpg"}).options->clean);
    EXPECT_TRUE(parse({"convert", "--clean", "a.jpg", "b.png"}).options->clean);
    EXPECT_FALSE(parse({"combine", "--clean", "a.jpg", "-o", "b.pdf"}).options);
}

TEST(Options, uprightPagesAreAskedForByTheCommandsThatMakeDocuments)
{
    EXPECT_FALSE(parse({"combine", "a.jpg", "-o", "b.pdf"}).options->upright);
    EXPECT_TRUE(parse({"combine", "--upright", "a.jpg", "-o", "b.pdf"}).options->upright);
    EXPECT_TRUE(parse({"convert", "--upright", "a.jpg", "b.pdf"}).options->upright);
    EXPECT_TRUE(parse({"scan", "--upright", "-o", "b.pdf"}).options->upright);
    EXPECT_FALSE(parse({"snap", "--upright", "-o", "b.jpg"}).options);
    EXPECT_FALSE(parse({"text", "--upright", "b.pdf"}).options);
}

TEST(Options, compactIsOffUnlessAskedFor)
{
    EXPECT_FALSE(parse({"combine", "a.jpg", "-o", "b.pdf"}).options->compact);
    EXPECT_TRUE(parse({"combine", "--compact", "a.jpg", "-o", "b.pdf"}).options->compact);
    EXPECT_TRUE(parse({"convert", "--compact", "a.jpg", "b.pdf"}).options->compact);
    EXPECT_TRUE(parse({"scan", "--compact", "-o", "b.pdf"}).options->compact);
    EXPECT_FALSE(parse({"snap", "--compact", "-o", "b.jpg"}).options);
}

TEST(Options, defaultsOfScan)
{
    const auto options = parse({"scan", "-o", "a.pdf"}).options;
    ASSERT_TRUE(options);
    EXPECT_EQ(options->command, cli::Command::Scan);
    EXPECT_EQ(options->scanOn, cli::ScanOn::Turn);
    EXPECT_EQ(options->pages, 0);
    EXPECT_FALSE(options->resume || options->quiet || options->json || options->force);
}

TEST(Options, intervalOfScanIsInSecondsAndMeansIntervals)
{
    const auto options = parse({"scan", "-o", "a.ofd", "--interval", "0.25"}).options;
    ASSERT_TRUE(options);
    EXPECT_EQ(options->scanOn, cli::ScanOn::Interval);
    EXPECT_EQ(options->intervalMs, 250);
    EXPECT_EQ(parse({"scan", "-o", "a.ofd", "--on", "interval"}).options->intervalMs, 5000);
    EXPECT_EQ(parse({"scan", "-o", "a.ofd", "--on", "key"}).options->scanOn, cli::ScanOn::Key);
    for (const auto &wrong : std::vector<std::vector<const char *>>{
             {"--on", "key", "--interval", "3"}, {"--interval", "0"}, {"--interval", "x"}}) {
        std::vector<const char *> arguments{"scan", "-o", "a.pdf"};
        arguments.insert(arguments.end(), wrong.begin(), wrong.end());
        EXPECT_EQ(parse(arguments).code, ExitCode::Usage) << wrong.back();
    }
}

TEST(Options, scanMakesDocumentsAndNumberedPictures)
{
    for (const char *name : {"a.pdf", "a.ofd", "a.TIFF", "a%d.jpg", "100%%%03d.png", "50%.pdf"})
        EXPECT_TRUE(parse({"scan", "-o", name}).options) << name;
    for (const char *name : {"a.jpg", "a%d%d.jpg", "a%d", "a.txt", "a%d.txt", "a"})
        EXPECT_EQ(parse({"scan", "-o", name}).code, ExitCode::Usage) << name;
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

TEST(Options, pagesOfCombine)
{
    const auto plain = parse({"combine", "a.jpg", "-o", "c.PDF"}).options;
    ASSERT_TRUE(plain);
    EXPECT_FALSE(plain->title || plain->force || plain->strict);
    EXPECT_EQ(plain->pageSize, "");
    const auto options = parse({"combine", "--from-file", "-", "-o", "c.tiff", "--title", "T",
                                "--page-size", "LETTER", "--strict", "-f"})
                             .options;
    ASSERT_TRUE(options);
    EXPECT_EQ(options->fromFile, "-");
    EXPECT_EQ(options->title, "T");
    EXPECT_EQ(options->pageSize, "letter");
    EXPECT_TRUE(options->strict && options->force);
    const auto custom =
        parse({"combine", "a.jpg", "-o", "c.ofd", "--page-size", "85.6X53.98"}).options;
    ASSERT_TRUE(custom);
    EXPECT_EQ(custom->pageSize, "85.6x53.98");
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
        {"snap", "-o", "a.txt"},
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
        {"modes", "-d", ""},
        {"list", "-d", "0"},
        {"-d", "0", "convert", "a.jpg", "b.png"},
        {"controls", "-c", "brightness"},
        {"controls", "-c", "=5"},
        {"controls", "-c", "brightness="},
        {"convert", "a.jpg"},
        {"combine", "a.jpg"},
        {"combine", "-o", "a.pdf"},
        {"combine", "a.jpg", "-o", "a.png"},
        {"combine", "a.jpg", "-o", "a"},
        {"combine", "a.jpg", "-o", "a.pdf", "--page-size", "A6"},
        {"combine", "a.jpg", "-o", "a.pdf", "--page-size", "210x"},
        {"combine", "a.jpg", "-o", "a.pdf", "--page-size", "210x2e2"},
        {"combine", "a.jpg", "-o", "a.pdf", "--page-size", "nanx297"},
        {"combine", "a.jpg", "-o", "a.pdf", "--page-size", "1.9x297"},
        {"combine", "a.jpg", "-o", "a.pdf", "--page-size", "210x5001"},
        {"combine", "a.jpg", "-o", "a.pdf", "--page-size", "-210x297"},
        {"convert", "a.jpg", "b.xyz"},
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

TEST(Options, everyOptionOfACommandHasItsDefaultInTheHelp)
{
    for (const char *command : {"modes", "snap", "convert", "combine", "doctor", "watch"}) {
        support::StdoutCapture output;
        parse({command, "--help"});
        std::istringstream help(output.take());
        std::string option;
        int options = 0;
        const auto check = [&] {
            const bool isHelp = option.find("--help") != std::string::npos;
            const bool isComplete = option.find("(default: ") != std::string::npos
                || option.find("REQUIRED") != std::string::npos;
            EXPECT_TRUE(option.empty() || isHelp || isComplete) << command << ": " << option;
        };
        for (std::string line; std::getline(help, line);) {
            const bool continues = line.compare(0, 4, "    ") == 0;
            if (!continues) {
                check();
                option.clear();
            }
            if (line.compare(0, 3, "  -") == 0)
                ++options;
            if (continues || line.compare(0, 3, "  -") == 0)
                option += line;
        }
        EXPECT_GE(options, 2) << command;
    }
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
