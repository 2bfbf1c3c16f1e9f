#pragma once

#include <functional>
#include <iterator>
#include <vector>

namespace korv {

/// Runs both at the same time where the machine can, else one after the other, and waits for both:
/// no thread is left behind. Throws what either throws.
void onTwoCores(const std::function<void()> &first, const std::function<void()> &second);

/// Runs `work` on both halves of the numbers from `first` up to `end` in the same way.
void onTwoCores(int first, int end, const std::function<void(int first, int end)> &work);

/// The same for work that adds to a vector; both halves' results in their order.
template <typename Item, typename Work>
std::vector<Item> collectOnTwoCores(int first, int end, const Work &work)
{
    const int middle = first + (end - first) / 2;
    std::vector<Item> result;
    std::vector<Item> rest;
    onTwoCores([&] { work(middle, end, rest); }, [&] { work(first, middle, result); });
    result.insert(result.end(), std::make_move_iterator(rest.begin()),
                  std::make_move_iterator(rest.end()));
    return result;
}

} // namespace korv
