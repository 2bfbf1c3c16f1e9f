#pragma once

#include "library/base/unique_fd.h"

#include <cstddef>
#include <string>

namespace korv {

/// Says in a file how far a document has come, for whoever reads it meanwhile: "12 80\n" at its
/// beginning for twelve pages of eighty. Sources that have not been opened count as one page each.
class ProgressFile
{
public:
    /// `path` names a file that is there. Empty, or one that cannot be written: nobody hears of it.
    ProgressFile(const std::string &path, std::size_t sources);

    /// A page is through: number `page`, from 0, of a source with `pages`.
    void pageDone(std::size_t page, std::size_t pages);

private:
    UniqueFd m_file;
    std::size_t m_done = 0;
    std::size_t m_all;
};

} // namespace korv
