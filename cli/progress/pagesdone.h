#pragma once

#include "cli/base/descriptor.h"

#include <cstddef>
#include <optional>
#include <string>

namespace cli {

/// How many pages of a document a child process has made, as far as its camera library says so
/// (KORV_CAMERA_PROGRESS).
class PagesDone
{
public:
    struct Pages
    {
        std::size_t done = 0;
        std::size_t all = 0;
    };

    /// Make it before the child.
    PagesDone();

    /// For the child: where the library is to say it.
    std::string path() const;

    /// Nothing while the library has not said anything.
    std::optional<Pages> read() const;

private:
    Descriptor m_file;
};

} // namespace cli
