#include "library/device/v4l2/v4l2_calls.h"

#include "library/base/unique_fd.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace korv {
namespace {

class SystemCalls : public V4l2Calls
{
public:
    int open(const std::string &node) override
    {
        int descriptor = -1;
        do
            descriptor =
                aboveStandardDescriptors(::open(node.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
        while (descriptor < 0 && errno == EINTR);
        return descriptor < 0 ? -errno : descriptor;
    }

    void close(int descriptor) override { ::close(descriptor); }

    int control(int descriptor, unsigned long request, void *argument) override
    {
        int result = 0;
        do
            result = ::ioctl(descriptor, request, argument);
        while (result < 0 && errno == EINTR);
        return result < 0 ? -errno : result;
    }

    void *map(int descriptor, std::size_t length, std::int64_t offset) override
    {
        // writable, because some drivers refuse a mapping that is not
        void *start =
            ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, offset);
        return start == MAP_FAILED ? nullptr : start;
    }

    void unmap(void *start, std::size_t length) override { ::munmap(start, length); }

    Wakeup wait(int descriptor, short events, int caller,
                std::chrono::milliseconds timeout) override
    {
        std::array<pollfd, 2> sources{{{descriptor, events, 0}, {caller, POLLIN, 0}}};
        Wakeup wakeup;
        // an interruption counts as the end of the wait: the caller looks at the clock anyway
        if (::poll(sources.data(), sources.size(), static_cast<int>(timeout.count())) < 0) {
            wakeup.error = errno == EINTR ? 0 : -errno;
            return wakeup;
        }
        wakeup.device = sources[0].revents;
        wakeup.called = sources[1].revents != 0;
        return wakeup;
    }

    Clock::time_point now() const override { return Clock::now(); }
};

} // namespace

std::shared_ptr<V4l2Calls> systemV4l2Calls()
{
    return std::make_shared<SystemCalls>();
}

} // namespace korv
