#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace korv::clean {

/// Of at least one value; changes their order.
inline float medianOf(std::vector<float> &values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace korv::clean
