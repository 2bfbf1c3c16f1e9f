#pragma once

#include <string_view>

namespace fuzz {

/// Tells the fuzzer that this outcome differs from others. The libraries that we use are not
/// instrumented; without this it could not see when an input takes another way through them.
/// Of the text only the letters behind the last ": " count.
void noteOutcome(std::string_view outcome);

} // namespace fuzz
