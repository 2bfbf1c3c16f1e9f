#pragma once

#include <cstdlib>
#include <memory>

namespace cli {

struct FreeText
{
    void operator()(char *text) const { std::free(text); }
};

/// A text that the camera library handed over; it was allocated with malloc().
using LibraryText = std::unique_ptr<char, FreeText>;

} // namespace cli
