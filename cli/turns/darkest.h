#pragma once

namespace cli {

/// Added to a level before its logarithm is taken: keeps the noise of dark pixels from weighing more
/// than that of light ones.
inline constexpr float kDarkest = 24;

} // namespace cli
