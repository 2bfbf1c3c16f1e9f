#pragma once

#include "library/device/simulated/page_source.h"

namespace korv {

/// Three sheets on a desk, drawn to the size asked for: a report, an invoice, a sheet across with a
/// picture and a chart. Each lies a little askew.
class BuiltinPages : public PageSource
{
public:
    std::vector<std::string> pages() const override;
    Result<Image> render(const std::string &page, int width, int height) const override;
};

} // namespace korv
