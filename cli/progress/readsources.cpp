#include "cli/progress/readsources.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <new>
#include <sys/mman.h>

namespace cli {
namespace {

constexpr std::uint64_t kNotBegun = UINT64_MAX;

/// The bytes that a process has read; nothing when the system does not say.
std::optional<std::uint64_t> bytesReadBy(const std::string &process)
{
    std::ifstream file("/proc/" + process + "/io");
    std::string name;
    std::uint64_t bytes = 0;
    while (file >> name >> bytes) {
        if (name == "rchar:")
            return bytes;
    }
    return std::nullopt;
}

} // namespace

ReadSources::ReadSources(const std::vector<std::string> &sources)
{
    std::uint64_t end = 0;
    for (const std::string &source : sources) {
        std::error_code unknown;
        const std::uintmax_t size = std::filesystem::file_size(source, unknown);
        // one that cannot be read counts as done with the one before it
        end += unknown ? 0 : size;
        m_ends.push_back(end);
    }
    void *const shared =
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    m_atBeginning = shared == MAP_FAILED ? nullptr : new (shared) Shared(kNotBegun);
}

ReadSources::~ReadSources()
{
    if (m_atBeginning)
        munmap(m_atBeginning, sizeof(Shared));
}

void ReadSources::begin()
{
    if (m_atBeginning)
        *m_atBeginning = bytesReadBy("self").value_or(kNotBegun);
}

std::optional<std::size_t> ReadSources::doneBy(pid_t child) const
{
    const std::uint64_t atBeginning = m_atBeginning ? m_atBeginning->load() : kNotBegun;
    const std::optional<std::uint64_t> bytes = bytesReadBy(std::to_string(child));
    if (!bytes || *bytes < atBeginning)
        return std::nullopt;
    const auto next = std::upper_bound(m_ends.begin(), m_ends.end(), *bytes - atBeginning);
    return static_cast<std::size_t>(next - m_ends.begin());
}

} // namespace cli
