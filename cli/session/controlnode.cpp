#include "cli/session/controlnode.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/ioctl.h>

namespace cli {

ControlNode::ControlNode(const std::string &path)
    : m_descriptor(open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC))
    , m_error(m_descriptor ? 0 : errno)
{
}

korv::ControlCall ControlNode::call() const
{
    return [descriptor = m_descriptor.get()](unsigned long request, void *argument) {
        int result = 0;
        do
            result = ioctl(descriptor, request, argument);
        while (result < 0 && errno == EINTR);
        return result < 0 ? -errno : result;
    };
}

} // namespace cli
