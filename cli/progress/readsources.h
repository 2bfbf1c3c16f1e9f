#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace cli {

/// How many pictures a child process has read of those that it turns into a document: the camera
/// library does it in one call, and says nothing meanwhile. The kernel counts the bytes that a process
/// reads, and the pictures are read in their order and once each.
class ReadSources
{
public:
    /// Of these files, by the sizes that they have now. Make it before the child.
    explicit ReadSources(const std::vector<std::string> &sources);
    ReadSources(const ReadSources &) = delete;
    ReadSources &operator=(const ReadSources &) = delete;
    ~ReadSources();

    std::size_t count() const { return m_ends.size(); }

    /// For the child, before it begins to read them.
    void begin();

    /// How many it has read since then; nothing when it has not begun, or nobody counts.
    std::optional<std::size_t> doneBy(pid_t child) const;

private:
    using Shared = std::atomic<std::uint64_t>;

    std::vector<std::uint64_t> m_ends; ///< the bytes of all files up to each one
    Shared *m_atBeginning; ///< bytes read by then; shared with the child; may be null
};

} // namespace cli
