#include "util/ownenvironment.h"

#include "tests/support/temp_home.h"
#include "util/general.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

using ownenvironment::Hidden;

/// A variable as a command sees it that is started now.
std::string inACommand(const std::string &name, bool hiding = false)
{
    const support::TempHome home;
    const std::string file = (home.scratch() / "value").string();
    std::optional<Hidden> hidden;
    if (hiding)
        hidden.emplace();
    if (std::system(("echo ${" + name + "-unset} >" + file).c_str()) != 0)
        return "command failed";
    const std::string line = support::readFile(file);
    return line.substr(0, line.find('\n'));
}

std::string here(const char *name)
{
    const char *value = std::getenv(name);
    return value != nullptr ? value : "unset";
}

std::string hiddenInACommand(const std::string &name)
{
    return inACommand(name, true);
}

} // namespace

TEST(OwnEnvironment, commandsGetTheValueOfTheStart)
{
    const support::ScopedVariable changed("KORV_TEST_CHANGED", "start");
    ownenvironment::set("KORV_TEST_CHANGED", "own");
    ownenvironment::set("KORV_TEST_CHANGED", "own again");
    EXPECT_EQ(hiddenInACommand("KORV_TEST_CHANGED"), "start");
    EXPECT_EQ(here("KORV_TEST_CHANGED"), "own again");
    EXPECT_EQ(inACommand("KORV_TEST_CHANGED"), "own again");
}

TEST(OwnEnvironment, commandsDoNotGetWhatWasNotSet)
{
    const support::ScopedVariable added("KORV_TEST_ADDED", std::nullopt);
    ownenvironment::set("KORV_TEST_ADDED", "own");
    EXPECT_EQ(hiddenInACommand("KORV_TEST_ADDED"), "unset");
    EXPECT_EQ(here("KORV_TEST_ADDED"), "own");
}

TEST(OwnEnvironment, commandsGetWhatWasTakenAway)
{
    const support::ScopedVariable removed("KORV_TEST_REMOVED", "start");
    ownenvironment::set("KORV_TEST_REMOVED", nullptr);
    EXPECT_EQ(here("KORV_TEST_REMOVED"), "unset");
    EXPECT_EQ(hiddenInACommand("KORV_TEST_REMOVED"), "start");
}

TEST(OwnEnvironment, defaultLeavesTheUsersChoice)
{
    const support::ScopedVariable chosen("KORV_TEST_CHOSEN", "mine");
    ownenvironment::setDefault("KORV_TEST_CHOSEN", "own");
    EXPECT_EQ(here("KORV_TEST_CHOSEN"), "mine");
    EXPECT_EQ(hiddenInACommand("KORV_TEST_CHOSEN"), "mine");
}

TEST(OwnEnvironment, whatOthersSetReachesCommands)
{
    const support::ScopedVariable own("KORV_TEST_OWN", std::nullopt);
    ownenvironment::set("KORV_TEST_OWN", "own");
    const support::ScopedVariable others("KORV_TEST_OTHERS", "later");
    EXPECT_EQ(hiddenInACommand("KORV_TEST_OTHERS"), "later");
}

TEST(OwnEnvironment, folderIsMadeInTheEnvironmentOfTheStart)
{
    const support::TempHome home;
    const support::ScopedVariable own("KORV_TEST_MKDIR", std::nullopt);
    ownenvironment::set("KORV_TEST_MKDIR", "own");
    const std::filesystem::path log = home.scratch() / "log";
    std::ofstream(home.scratch() / "mkdir")
        << "#!/bin/sh\necho ${KORV_TEST_MKDIR-unset} >" << log.string() << "\n";
    std::filesystem::permissions(home.scratch() / "mkdir", std::filesystem::perms::owner_all);
    const support::ScopedVariable path("PATH", home.scratch().string() + ":/usr/bin:/bin");
    general::Korv_Config_Mkdir((home.scratch() / "made").c_str(), 0);
    EXPECT_EQ(support::readFile(log), "unset\n");
}

TEST(OwnEnvironment, comesBackAlsoWhenSomebodySetsMore)
{
    const support::ScopedVariable own("KORV_TEST_BACK", std::nullopt);
    ownenvironment::set("KORV_TEST_BACK", "own");
    for (int round = 0; round < 3; ++round) {
        {
            const Hidden hidden;
            for (int i = 0; i < 50; ++i)
                setenv(("KORV_TEST_MORE_" + std::to_string(i)).c_str(), "more", 1);
        }
        EXPECT_EQ(here("KORV_TEST_BACK"), "own");
        EXPECT_EQ(here("KORV_TEST_MORE_7"), "unset");
    }
}

TEST(OwnEnvironmentThreads, severalHideAtATime)
{
    const support::ScopedVariable own("KORV_TEST_SHARED", std::nullopt);
    ownenvironment::set("KORV_TEST_SHARED", "own");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int round = 0; round < 200; ++round) {
                const Hidden hidden;
                EXPECT_EQ(here("KORV_TEST_SHARED"), "unset");
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(here("KORV_TEST_SHARED"), "own");
}
