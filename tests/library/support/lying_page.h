#pragma once

#include "library/image/image.h"

#include <string>

namespace testing_support {

/// A page whose corners tell how it lies, in colour or gray. FakeTesseract reads it with the commands
/// below.
korv::Image cornerPage(int width, int height, korv::PixelFormat format = korv::PixelFormat::Rgb24);

constexpr char kCornerWriting[] = "abcdefghijklmnopqrstuvwx";

/// What the real program does with such pages. It reads the writing well when the page is upright,
/// and also, as a line that runs downwards, when the page was turned right. On its head, or turned
/// left, the same letters make little sense. `confidence` is that of the former.
std::string commandsThatReadCornerPages(int confidence = 95,
                                        const std::string &writing = kCornerWriting);

} // namespace testing_support
