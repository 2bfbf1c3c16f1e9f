#include "util/trace.h"

#include "tests/support/stdout_capture.h"

#include <gmock/gmock.h>
#include <regex>
#include <sstream>
#include <thread>
#include <vector>

TEST(Trace, lineNamesFunctionAndNumber)
{
    support::StdoutCapture capture;
    constexpr trace::Origin log{"OpenCamera"};
    log.at(1067, "KorvCamera_Open %d\n", -19);
    EXPECT_EQ(capture.take(), "[OpenCamera][1067]KorvCamera_Open -19\n");
}

TEST(Trace, lineEndIsTheCallersChoice)
{
    support::StdoutCapture capture;
    const trace::Origin log{"f"};
    log.at(1, "a");
    log.at(2, "b\n");
    EXPECT_EQ(capture.take(), "[f][1]a[f][2]b\n");
}

TEST(Trace, linesOfThreadsStayWhole)
{
    constexpr int kLines = 300;
    support::StdoutCapture capture;
    std::vector<std::thread> threads;
    for (const char *name : {"one", "two", "three"}) {
        threads.emplace_back([name] {
            const trace::Origin log{name};
            for (int line = 0; line < kLines; ++line)
                log.at(line, "%s-%d\n", name, line);
        });
    }
    for (std::thread &thread : threads)
        thread.join();

    std::istringstream lines{capture.take()};
    const std::regex whole{R"(\[(one|two|three)\]\[(\d+)\]\1-\2)"};
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count)
        ASSERT_TRUE(std::regex_match(line, whole)) << line;
    EXPECT_EQ(count, 3 * kLines);
}
