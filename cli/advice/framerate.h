#pragma once

#include "cli/base/wakeup.h"

#include <optional>
#include <string>
#include <vector>

namespace cli {

/// The frame rate measured for a while, and the one that the camera's mode promises.
struct FrameRate
{
    double measured = 0; ///< frames a second
    std::optional<double> promised; ///< frames a second; nothing: unknown
    long arrived = 0; ///< frames after the first
    long missing = 0; ///< frames that should have come, and did not
};

/// Judges frames that arrived at `arrivals`, in their order, of which the first opened the while
/// that ended at `end`. Where nothing is promised, the usual distance of two frames shows gaps.
FrameRate measureRate(const std::vector<Wakeup::Clock::time_point> &arrivals,
                      Wakeup::Clock::time_point end, std::optional<double> promised);

/// What is wrong with the rate and what may help, in a sentence; empty when more than half of the
/// frames came.
std::string rateProblem(const FrameRate &rate);

/// A number with `digits` decimals.
std::string fixed(double value, int digits);

} // namespace cli
