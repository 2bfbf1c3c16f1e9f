#pragma once

#include <cstdint>

namespace korv {

/// What a picture's header claims, before anybody believed it.
struct PictureSize
{
    std::int64_t width = 0;
    std::int64_t height = 0;
};

} // namespace korv
