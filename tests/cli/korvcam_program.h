#pragma once

#include "tests/cli/process.h"
#include "tests/support/temp_home.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <set>
#include <sstream>

namespace support {

/// The real program in a folder of the test's own, with the real library and a simulated desk
/// unless a test asks for others.
class KorvcamProgram : public testing::Test
{
protected:
    using Environment = std::map<std::string, std::string>;

    static std::vector<std::string> command(std::vector<std::string> arguments,
                                            const std::string &library = CAMERA_LIBRARY)
    {
        const std::vector<std::string> start = {KORVCAM, "--library", library};
        arguments.insert(arguments.begin(), start.begin(), start.end());
        return arguments;
    }

    Finished run(const std::vector<std::string> &arguments,
                 Environment environment = {{"KORV_CAMERA_DESK", "builtin"}}) const
    {
        environment.emplace("KORV_CAMERA_REAL", "0");
        return runProgram(command(arguments), environment);
    }

    /// A shell line with the program as $K, for redirections and limits.
    Finished shell(const std::string &line) const
    {
        const std::string program =
            std::string(KORVCAM) + " --library " + CAMERA_LIBRARY + " --desk builtin";
        return runProgram({"bash", "-c", "cd '" + folder().string() + "' && " + line},
                          {{"K", program}, {"KORV_CAMERA_REAL", "0"}});
    }

    /// The environment of a Chinese session, whose locale is made here; empty where none can be made.
    /// The C library has no languages for C.UTF-8, from Debian 13 on not even for LANGUAGE.
    Environment chineseSession() const
    {
        runProgram({"localedef", "-i", "zh_CN", "-f", "UTF-8", file("zh_CN.UTF-8")});
        if (!std::filesystem::exists(file("zh_CN.UTF-8/LC_MESSAGES")))
            return {};
        return {{"LOCPATH", folder().string()}, {"LC_ALL", "zh_CN.UTF-8"}, {"LANGUAGE", ""}};
    }

    /// Everything goes there; nothing is in there at first.
    const std::filesystem::path &folder() const { return m_home.scratch(); }
    std::string file(const std::string &name) const { return (folder() / name).string(); }

    /// The names in the folder, hidden ones too.
    std::set<std::string> names() const
    {
        std::set<std::string> found;
        for (const auto &entry : std::filesystem::directory_iterator(folder()))
            found.insert(entry.path().filename().string());
        return found;
    }

    void snap(const std::string &name) const
    {
        const Finished done = run({"snap", "-r", "640x480", "-o", file(name)});
        ASSERT_EQ(done.status, 0) << done.errors;
    }

    static std::vector<std::string> lines(const std::string &text)
    {
        std::vector<std::string> found;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);)
            found.push_back(line);
        return found;
    }

    TempHome m_home;
};

} // namespace support
