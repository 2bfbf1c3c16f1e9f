#pragma once

#include "library/files/folder.h"
#include "library/threads/mutex.h"

#include <set>
#include <string>

namespace korv {

/// An unfinished file under a hidden name, ".korv-MACHINE-RANDOM.part". Its descriptor holds a lock
/// (flock(2)) that ends with the process: a part that can be locked is nobody's any more. The
/// machine's mark keeps it from being cleared by others that share the folder, whose kernels do not
/// know the lock.
struct PartFile
{
    std::string name;
    UniqueFd file; ///< for reading and writing
};

/// Makes one. Whoever makes it removes it. Errors: what the system answered.
Result<PartFile> createPart(const Folder &folder);

/// The same as a note, empty, that the empty file `claimed` only holds that name for a file that is
/// about to take it: whoever clears the note clears that file, too.
Result<PartFile> createClaimNote(const Folder &folder, const std::string &claimed);

/// A name as above, for a file that has none yet and is locked by lockPart().
std::string newPartName();
void lockPart(int file);

/// Clears what programs of this machine left that are gone: parts, and names they claimed. Any
/// thread.
class LeftOvers
{
public:
    /// The first time in this object's life that the folder is named; does nothing afterwards. What
    /// cannot be cleared stays, without a word.
    void clearOnce(const std::string &folder) noexcept;

private:
    Mutex m_mutex; // not held while clearing
    std::set<std::string> m_cleared GUARDED_BY(m_mutex);
};

} // namespace korv
