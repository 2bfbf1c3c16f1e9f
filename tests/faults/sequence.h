#pragma once

#include "tests/faults/application.h"

#include <filesystem>
#include <string>
#include <vector>

namespace sequence {

/// One thing that happens in a folder that one or two programs share.
struct Step
{
    enum class What { Order, Kill, Terminate };
    What what = What::Order;
    int program = 0; ///< 0 or 1; it is started when it does not run
    Order order;
};

using Steps = std::vector<Step>;

/// Steps by chance; the same ones for the same seed.
Steps randomSteps(unsigned seed);

std::string textOf(const Steps &steps);

/// Lets the steps happen in the empty folder and looks after each: every photograph that a window
/// showed, and that nobody deleted, lies in exactly one file under a name that the README explains,
/// or in more when a program was killed between writing and deleting. At the end a program starts
/// that nothing happens to: then nothing unfinished lies there any more. Empties the folder. Returns
/// what is wrong, empty when nothing is.
std::string run(const Steps &steps, const std::filesystem::path &folder, int missing);

/// The steps without those that the failure does not need.
Steps shortened(Steps steps, const std::filesystem::path &folder, int missing);

} // namespace sequence
