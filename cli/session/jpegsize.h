#pragma once

#include <string>

namespace cli {

/// Width and height in pixels; 0 when unknown.
struct PictureSize
{
    int width = 0;
    int height = 0;
};

/// The size that a JPEG file states in its frame header.
PictureSize jpegSize(const std::string &path);

/// Whether a photograph of that size shows a whole frame of `width` and `height`, perhaps turned. The
/// crop leaves the picture whole when it finds no sheet, and nothing else says so.
bool isWhole(const PictureSize &photograph, int width, int height);

} // namespace cli
