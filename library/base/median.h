#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace korv {

/// The upper one of the middle two when their count is even. Of at least one value; changes their order.
template <typename Value> Value medianOf(std::vector<Value> &values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace korv
