#pragma once

#include <array>

namespace korv {

/// Holds the numbers 0 to 2, as far as the program has closed them, while a library that is not ours
/// opens files: it gets higher ones then. Give them back at once; they are the program's.
class HeldDescriptors
{
public:
    HeldDescriptors();
    ~HeldDescriptors();
    HeldDescriptors(const HeldDescriptors &) = delete;
    HeldDescriptors &operator=(const HeldDescriptors &) = delete;

private:
    std::array<int, 3> m_held{-1, -1, -1};
};

} // namespace korv
