#pragma once

#include "cli/advice/framerate.h"
#include "cli/advice/videonodes.h"
#include "cli/base/jsonline.h"

#include <string>
#include <vector>

namespace cli {

// What doctor finds, as lines of text and as JSON. Each object has the member "check", which says what
// was looked at.

/// With a blank between each two.
std::string joined(const std::vector<std::string> &words);

std::string describe(const UsbCamera &camera);
JsonLine objectOf(const UsbCamera &camera);

std::string describe(const VideoNodeInfo &node);
JsonLine objectOf(const VideoNodeInfo &node);

/// The first picture of a stream, and the rate of those after it.
struct StreamFinding
{
    double firstAfter = 0; ///< seconds
    int width = 0;
    int height = 0;
    FrameRate rate;
};
std::string describe(const StreamFinding &stream);
JsonLine objectOf(const StreamFinding &stream);

} // namespace cli
