#include "cli/progress/pagesdone.h"

#include <array>
#include <cstdio>
#include <sys/mman.h>
#include <unistd.h>

namespace cli {

PagesDone::PagesDone()
    : m_file(memfd_create("pages", MFD_CLOEXEC))
{
}

std::string PagesDone::path() const
{
    return m_file ? "/proc/self/fd/" + std::to_string(m_file.get()) : std::string();
}

std::optional<PagesDone::Pages> PagesDone::read() const
{
    std::array<char, 64> text{};
    Pages pages;
    const ssize_t size = m_file ? pread(m_file.get(), text.data(), text.size() - 1, 0) : -1;
    if (size <= 0 || std::sscanf(text.data(), "%zu %zu", &pages.done, &pages.all) != 2)
        return std::nullopt;
    return pages;
}

} // namespace cli
