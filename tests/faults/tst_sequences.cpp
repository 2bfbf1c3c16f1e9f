// Whatever happens in whatever order, no photograph is lost.

#include "tests/faults/sequence.h"
#include "tests/faults/shims/fault_shim.h"
#include "tests/support/temp_home.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

constexpr int kBareFileSystem = NoNamelessFiles | NoRenameWithoutReplacing | NoLinks;
constexpr int kDefaultSequences = 40; ///< of each kind of file system

int number(const char *variable, int otherwise)
{
    const char *text = std::getenv(variable);
    return text != nullptr ? std::atoi(text) : otherwise;
}

class SequencesTest : public testing::TestWithParam<int>
{
protected:
    support::TempHome m_home;
};

INSTANTIATE_TEST_SUITE_P(FileSystemsLacking, SequencesTest,
                         testing::Values(0, NoNamelessFiles + 0,
                                         NoNamelessFiles | NoRenameWithoutReplacing,
                                         kBareFileSystem, kBareFileSystem | NoLocks));

} // namespace

/// KORV_SEQUENCES says how many, KORV_SEED where they begin.
TEST_P(SequencesTest, loseNoPhotograph)
{
    const auto first = static_cast<unsigned>(number("KORV_SEED", 1));
    const int count = number("KORV_SEQUENCES", kDefaultSequences);
    for (unsigned seed = first; seed < first + static_cast<unsigned>(count); ++seed) {
        const sequence::Steps steps = sequence::randomSteps(seed);
        const std::string wrong = sequence::run(steps, m_home.scratch(), GetParam());
        if (wrong.empty())
            continue;
        const sequence::Steps fewer = sequence::shortened(steps, m_home.scratch(), GetParam());
        FAIL() << "KORV_SEED=" << seed << ": " << wrong
               << "; with fewer steps: " << sequence::run(fewer, m_home.scratch(), GetParam())
               << '\n'
               << sequence::textOf(fewer);
    }
}
