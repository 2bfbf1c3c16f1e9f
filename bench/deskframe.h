#pragma once

#include "library/base/bytes.h"

#include <vector>

/// What the measurements of photographs have in common.
namespace deskframe {

/// A sheet on a wooden desk with some sensor grain, coded as USB cameras do: 4:2:2, quality 85. 2, 5,
/// 8, 13 and 20 megapixels.
korv::Bytes frameOf(int megapixels);

/// The clock's time since some moment, in milliseconds.
double nowMs();

/// Takes the noise of a shared machine better than a mean.
double median(std::vector<double> values);

/// What main() does: runs the benchmarks, prints the bars, and returns the exit status.
int runBenchmarks(int argc, char **argv, const char *bars);

} // namespace deskframe
