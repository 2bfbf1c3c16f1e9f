#pragma once

#include "tests/library/support/script.h"
#include "tests/support/temp_home.h"

#include <filesystem>
#include <string>

namespace testing_support {

/// Stands in for the program tesseract while it lives. It knows the language "eng" and finds the word
/// "word" on every picture. Other programs of PATH are hidden.
class FakeTesseract
{
public:
    FakeTesseract() { install(""); }

    /// What it does before it answers; `exit` keeps it from that.
    void install(const std::string &commands) const
    {
        writeScript(m_folder / "tesseract",
                    "if [ \"$1\" = --list-langs ]; then echo eng; exit 0; fi\n"
                    "read magic; read width height\n"
                        + commands + kAnswer);
    }
    /// A program that does nothing but that, whatever it is asked.
    void installOnly(const std::string &commands) const
    {
        writeScript(m_folder / "tesseract", commands);
    }
    void remove() const { std::filesystem::remove(m_folder / "tesseract"); }

private:
    static constexpr char kAnswer[] = R"(
printf 'level\tpage_num\tblock_num\tpar_num\tline_num\tword_num\tleft\ttop\twidth\theight\tconf\ttext\n'
printf "1\t1\t0\t0\t0\t0\t0\t0\t$width\t$height\t-1\t\n"
printf '5\t1\t1\t1\t1\t1\t1\t2\t30\t10\t90.0\tword\n'
)";

    TemporaryFolder m_folder;
    support::ScopedVariable m_path{"PATH", m_folder.path()};
};

} // namespace testing_support
