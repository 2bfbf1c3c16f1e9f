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

} // namespace cli
