#include "library/base/held_descriptors.h"

#include <fcntl.h>
#include <unistd.h>

namespace korv {

HeldDescriptors::HeldDescriptors()
{
    for (int &held : m_held) {
        // the lowest free number is given out; not for writing, so that nobody prints into it
        held = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (held > STDERR_FILENO) {
            ::close(held);
            held = -1;
        }
        if (held < 0)
            return;
    }
}

HeldDescriptors::~HeldDescriptors()
{
    for (const int held : m_held) {
        if (held >= 0)
            ::close(held);
    }
}

} // namespace korv
