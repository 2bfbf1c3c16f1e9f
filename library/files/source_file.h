#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/base/unique_fd.h"

#include <string>

namespace korv {

/// Reads a whole picture file into `content`, whose memory is used again when it suffices. Only
/// regular files are read, behind symbolic links too: FIFOs and devices could block or never end.
/// (Not mapped: a file cut short by somebody else while mapped would kill the process.)
/// Errors: -EISDIR folder, -EINVAL neither file nor folder, -EFBIG, -ENOMEM, or what the system
/// answered.
Result<void> readSourceFile(const std::string &path, Bytes &content);

/// A picture file that is read in parts. Same rules and errors as above.
class SourceFile
{
public:
    static Result<SourceFile> open(const std::string &path);

    std::size_t size() const { return m_size; }

    /// `size` bytes from `offset` on; fewer when the file ends before.
    Result<void> read(std::size_t offset, std::size_t size, Bytes &content) const;

private:
    SourceFile(std::string path, UniqueFd file, std::size_t size)
        : m_path(std::move(path))
        , m_file(std::move(file))
        , m_size(size)
    {
    }

    std::string m_path; ///< for messages
    UniqueFd m_file;
    std::size_t m_size = 0;
};

} // namespace korv
