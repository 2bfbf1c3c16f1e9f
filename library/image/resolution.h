#pragma once

namespace korv {

/// The one resolution used in every format: what the picture states when that means something (72
/// and 96 dpi are common placeholder values) and a page of that size is possible, otherwise
/// the dots per inch (a whole number) at which the long side is that of an A4 sheet. A size in
/// pixels is positive.
double effectiveDpi(int width, int height, double statedDpi);

} // namespace korv
