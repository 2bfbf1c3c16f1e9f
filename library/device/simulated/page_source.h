#pragma once

#include "library/base/result.h"
#include "library/image/image.h"

#include <string>
#include <vector>

namespace korv {

/// The pages that lie under a simulated camera.
class PageSource
{
public:
    virtual ~PageSource() = default;

    /// The pages lying there now, in the order of showing. A page whose content changed is another
    /// page: its id differs. Cheap enough to ask every second.
    virtual std::vector<std::string> pages() const = 0;

    /// What the camera sees of a page: an Rgb24 picture of exactly that size. Errors: the page is
    /// gone or no picture.
    virtual Result<Image> render(const std::string &page, int width, int height) const = 0;

    /// The size of the largest page, which the camera then offers as well; 0 x 0 when all pages are
    /// drawn to size.
    struct Size
    {
        int width = 0;
        int height = 0;
    };
    virtual Size largestPage() const { return {}; }

    /// Names the camera in the log.
    virtual std::string label() const { return "built-in camera"; }
};

} // namespace korv
