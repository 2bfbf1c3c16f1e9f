#pragma once

#include <functional>
#include <string>

namespace cli {

/// What a call into the camera library answered, and what the library wrote about it.
struct Answer
{
    int result = 0; ///< as the contract has it
    bool isOutOfFocus = false; ///< the library said so of the photograph
    std::string reason; ///< in the library's words, without its prefix; empty: it wrote none
};

/// Carries out a call and takes what the library writes to standard error meanwhile: reports of its
/// entry points become the reason, its warning of a blurred photograph a flag, other lines go on to standard error. With `verbose`, everything
/// goes on unchanged. One call at a time.
Answer askLibrary(bool verbose, const std::function<int()> &call);

} // namespace cli
