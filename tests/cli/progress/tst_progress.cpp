#include "cli/progress/columns.h"
#include "cli/progress/progress.h"
#include "cli/progress/readsources.h"
#include "tests/cli/progress/pseudo_terminal.h"
#include "tests/support/temp_home.h"

#include <array>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;
using cli::Count;
using cli::cutToColumns;
using cli::describe;
using cli::Progress;
using cli::ReadSources;
using cli::TerminalLine;
using support::kErase;
using support::PseudoTerminal;

TEST(ProgressText, saysWhatIsDoneOfAllHowFastAndHowLongItTakes)
{
    EXPECT_EQ(describe({"%1 of %2 pages", 12, 80}, 4s), "12 of 80 pages, 3.0/s, 0:23 left");
    EXPECT_EQ(describe({"%1 of %2 pages", 3, 20}, 15s), "3 of 20 pages, 12/min, 1:25 left");
    EXPECT_EQ(describe({"%1 of %2 pages", 1, 100}, 90s), "1 of 100 pages, 0.7/min, 2:28:30 left");
}

TEST(ProgressText, countsWhatWasDoneBeforeForNoRate)
{
    EXPECT_EQ(describe({"%1 of %2 pages", 12, 20, 10}, 4s), "12 of 20 pages, 30/min, 0:16 left");
    EXPECT_EQ(describe({"%1 of %2 pages", 10, 20, 10}, 4s), "10 of 20 pages, 0:04");
}

TEST(ProgressText, promisesNothingAtTheBeginningAndAtTheEnd)
{
    EXPECT_EQ(describe({"%1 of %2 pages", 0, 80}, 61s), "0 of 80 pages, 1:01");
    EXPECT_EQ(describe({"%1 of %2 pages", 80, 80}, 3999ms), "80 of 80 pages, 0:03");
    EXPECT_EQ(describe({"%1 of %2 pages", 5, 80}, 0s), "5 of 80 pages, 0:00");
}

TEST(Columns, cutsWholeCharactersByTheirWidth)
{
    EXPECT_EQ(cutToColumns("12 of 80", 80), "12 of 80");
    EXPECT_EQ(cutToColumns("12 of 80", 8), "12 of 80");
    EXPECT_EQ(cutToColumns("12 of 80", 5), "12 of");
    EXPECT_EQ(cutToColumns("12 of 80", 0), "");
    EXPECT_EQ(cutToColumns("页面é1", 6), "页面é1");
    EXPECT_EQ(cutToColumns("页面é1", 5), "页面é");
    EXPECT_EQ(cutToColumns("页面é1", 3), "页");
    // what is no UTF-8 is not read behind its end
    EXPECT_EQ(cutToColumns("a\xE9", 80), "a\xE9");
    EXPECT_EQ(cutToColumns("a\xE9", 2), "a");
}

class ProgressLine : public testing::Test
{
protected:
    void SetUp() override { unsetenv("COLUMNS"); }
    void TearDown() override { unsetenv("COLUMNS"); }

    Progress::Now clock()
    {
        return [this] { return m_now; };
    }

    Progress::Clock::time_point m_now;
};

TEST_F(ProgressLine, appearsAfterASecondAndFiveTimesASecondFromThenOn)
{
    const PseudoTerminal terminal(80);
    Progress progress(terminal.program(), clock());
    m_now += 999ms;
    progress.update({"%1 of %2 pages", 1, 80});
    EXPECT_EQ(terminal.take(), "");
    m_now += 1ms;
    progress.update({"%1 of %2 pages", 2, 80});
    EXPECT_EQ(terminal.take(), kErase + "2 of 80 pages, 2.0/s, 0:39 left\r");
    m_now += 199ms;
    progress.update({"%1 of %2 pages", 3, 80});
    EXPECT_EQ(terminal.take(), "");
    m_now += 1ms;
    progress.update({"%1 of %2 pages", 4, 80});
    EXPECT_EQ(terminal.take(), kErase + "4 of 80 pages, 3.3/s, 0:23 left\r");
}

TEST_F(ProgressLine, goesBeforeOtherMessagesAndComesBackAtOnce)
{
    const PseudoTerminal terminal(80);
    Progress progress(terminal.program(), clock());
    progress.clear();
    EXPECT_EQ(terminal.take(), "");
    m_now += 2s;
    progress.update({"%1 of %2", 0, 80});
    progress.clear();
    progress.clear();
    EXPECT_EQ(terminal.take(), kErase + "0 of 80, 0:02\r" + kErase);
    progress.update({"%1 of %2", 0, 80});
    EXPECT_EQ(terminal.take(), kErase + "0 of 80, 0:02\r");
}

TEST_F(ProgressLine, goesWithTheObject)
{
    const PseudoTerminal terminal(80);
    {
        Progress progress(terminal.program(), clock());
        m_now += 2s;
        progress.update({"%1 of %2", 0, 80});
        terminal.take();
    }
    EXPECT_EQ(terminal.take(), kErase);
}

TEST_F(ProgressLine, withoutTerminalNobodyIsAskedForAText)
{
    Progress progress(-1, clock());
    m_now += 2s;
    progress.update([](auto) -> std::string {
        ADD_FAILURE();
        return {};
    });
    EXPECT_FALSE(progress.isOn());
}

TEST_F(ProgressLine, endsBeforeTheLastColumn)
{
    const PseudoTerminal narrow(8);
    TerminalLine(narrow.program()).show("1234567890");
    EXPECT_EQ(narrow.take(), kErase + "1234567\r" + kErase);
    const PseudoTerminal least(1);
    TerminalLine(least.program()).show("1234567890");
    EXPECT_EQ(least.take(), kErase + "\r" + kErase);
}

TEST_F(ProgressLine, staysOneLineWhateverAFileIsCalled)
{
    const PseudoTerminal terminal(80);
    TerminalLine(terminal.program()).show("writing a\n\x1b[2J\x7f页.pdf");
    EXPECT_EQ(terminal.take(), kErase + "writing a??[2J?页.pdf\r" + kErase);
}

TEST_F(ProgressLine, terminalWithoutWidthGetsThatOfTheEnvironmentOrEightyColumns)
{
    const std::string text(100, 'x');
    const PseudoTerminal terminal(0);
    const auto shown = [&] {
        TerminalLine(terminal.program()).show(text);
        return terminal.take().size() - 2 * kErase.size() - 1;
    };
    EXPECT_EQ(shown(), 79U);
    setenv("COLUMNS", "60", 1);
    EXPECT_EQ(shown(), 59U);
    for (const char *wrong : {"", "0", "many", "-5", "99999999"}) {
        setenv("COLUMNS", wrong, 1);
        EXPECT_EQ(shown(), 79U) << wrong;
    }
}

/// Begins, reads so many bytes from the beginning of the files, says so, and waits to be let go.
class ReadingChild
{
public:
    ReadingChild(ReadSources &sources, const std::string &file, std::streamsize bytes)
    {
        EXPECT_EQ(pipe(m_done.data()), 0);
        EXPECT_EQ(pipe(m_end.data()), 0);
        m_pid = fork();
        if (m_pid == 0) {
            close(m_end[1]);
            sources.begin();
            std::ifstream input(file);
            std::string content(static_cast<std::size_t>(bytes), '\0');
            input.rdbuf()->pubsetbuf(nullptr, 0);
            input.read(content.data(), bytes);
            char byte = 0;
            const bool told = write(m_done[1], &byte, 1) == 1;
            _exit(told && read(m_end[0], &byte, 1) == 0 ? 0 : 1);
        }
        char byte = 0;
        EXPECT_EQ(read(m_done[0], &byte, 1), 1);
    }
    ReadingChild(const ReadingChild &) = delete;
    ReadingChild &operator=(const ReadingChild &) = delete;
    ~ReadingChild()
    {
        for (const int each : {m_done[0], m_done[1], m_end[0], m_end[1]})
            close(each);
        waitpid(m_pid, nullptr, 0);
    }

    pid_t pid() const { return m_pid; }

private:
    std::array<int, 2> m_done{};
    std::array<int, 2> m_end{};
    pid_t m_pid = -1;
};

class ReadSourcesTest : public testing::Test
{
protected:
    /// How many of three files, of 100, 200 and 300 kB, count as read after so many bytes.
    std::optional<std::size_t> readAfter(std::streamsize bytes)
    {
        std::vector<std::string> files;
        for (const std::size_t kilobytes : {100U, 200U, 300U}) {
            files.push_back((m_home.scratch() / std::to_string(kilobytes)).string());
            std::ofstream(files.back()) << std::string(kilobytes * 1000, 'x');
        }
        const std::string all = (m_home.scratch() / "all").string();
        std::ofstream(all) << std::string(600'000, 'x');
        ReadSources sources(files);
        EXPECT_EQ(sources.count(), 3U);
        const ReadingChild child(sources, all, bytes);
        return sources.doneBy(child.pid());
    }

    support::TempHome m_home;
};

TEST_F(ReadSourcesTest, countsWhatTheChildHasReadToTheEnd)
{
    EXPECT_EQ(readAfter(0), 0U);
    EXPECT_EQ(readAfter(90'000), 0U);
    EXPECT_EQ(readAfter(110'000), 1U);
    EXPECT_EQ(readAfter(290'000), 1U);
    EXPECT_EQ(readAfter(310'000), 2U);
    EXPECT_EQ(readAfter(600'000), 3U);
}

TEST_F(ReadSourcesTest, knowsNothingOfAChildThatHasNotBegunOrHasGone)
{
    ReadSources sources({"missing"});
    EXPECT_EQ(sources.doneBy(getpid()), std::nullopt);
    pid_t gone = 0;
    {
        const ReadingChild child(sources, "missing", 0);
        gone = child.pid();
        EXPECT_EQ(sources.doneBy(gone), 1U);
    }
    EXPECT_EQ(sources.doneBy(gone), std::nullopt);
}

} // namespace
