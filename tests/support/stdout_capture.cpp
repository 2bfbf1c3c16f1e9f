#include "tests/support/stdout_capture.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <system_error>
#include <unistd.h>

namespace support {

namespace {

int checked(int result, const char *what)
{
    if (result < 0)
        throw std::system_error(errno, std::generic_category(), what);
    return result;
}

} // namespace

StdoutCapture::StdoutCapture()
    : m_file{checked(memfd_create("captured-stdout", MFD_CLOEXEC), "memfd_create")}
    , m_previous{-1}
{
    std::fflush(stdout);
    m_previous = checked(dup(STDOUT_FILENO), "dup");
    checked(dup2(m_file, STDOUT_FILENO), "dup2");
}

StdoutCapture::~StdoutCapture()
{
    take();
    dup2(m_previous, STDOUT_FILENO);
    close(m_previous);
    close(m_file);
    if (testing::Test::HasFailure())
        std::fwrite(m_everything.data(), 1, m_everything.size(), stdout);
}

std::string StdoutCapture::take()
{
    std::fflush(stdout);
    std::string text;
    std::array<char, 4096> chunk{};
    checked(static_cast<int>(lseek(m_file, 0, SEEK_SET)), "lseek");
    for (ssize_t count = 0; (count = read(m_file, chunk.data(), chunk.size())) > 0;)
        text.append(chunk.data(), static_cast<std::size_t>(count));
    checked(ftruncate(m_file, 0), "ftruncate");
    checked(static_cast<int>(lseek(m_file, 0, SEEK_SET)), "lseek");
    m_everything += text;
    return text;
}

} // namespace support
