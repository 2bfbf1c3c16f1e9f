#pragma once

#include <string>

namespace cli {

/// A control and the value that it is to get, as they stand on the command line.
struct ControlChange
{
    std::string name;
    std::string value;
};

} // namespace cli
