#include "util/trace.h"

#include "tests/support/stdout_capture.h"

#include <gmock/gmock.h>
#include <set>
#include <sstream>
#include <string>
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

    std::multiset<std::string> expected;
    for (const char *name : {"one", "two", "three"}) {
        for (int line = 0; line < kLines; ++line) {
            const std::string number = std::to_string(line);
            expected.insert(std::string("[") + name + "][" + number + "]" + name + "-" + number);
        }
    }
    std::multiset<std::string> printed;
    std::istringstream lines{capture.take()};
    for (std::string line; std::getline(lines, line);)
        printed.insert(line);
    EXPECT_EQ(printed, expected);
}
