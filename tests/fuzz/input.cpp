#include "tests/fuzz/input.h"

namespace fuzz {

std::uint8_t Input::byte()
{
    if (m_left == 0)
        return 0;
    --m_left;
    return *m_data++;
}

int Input::between(int first, int last)
{
    const int count = last - first + 1;
    int value = byte();
    if (count > 256)
        value = value << 8 | byte();
    return first + value % count;
}

} // namespace fuzz
