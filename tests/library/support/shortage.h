#pragma once

#include <cstddef>
#include <vector>

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace testing_support {

/// Whether starting a thread takes a descriptor: the address sanitizer reads the list of mappings for
/// each one, and ends the process when it cannot.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kThreadsTakeDescriptors = true;
#else
constexpr bool kThreadsTakeDescriptors = false;
#endif

/// While it lives, this process can open just as many descriptors more as it was told. One test at
/// a time.
class DescriptorShortage
{
public:
    explicit DescriptorShortage(int left)
    {
        ::getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit low{kLowLimit, m_before.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &low);
        for (;;) {
            const int taken = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
            if (taken < 0)
                break;
            m_taken.push_back(taken);
        }
        for (; left > 0; --left)
            giveOneBack();
    }
    ~DescriptorShortage()
    {
        ::setrlimit(RLIMIT_NOFILE, &m_before);
        while (!m_taken.empty())
            giveOneBack();
    }
    DescriptorShortage(const DescriptorShortage &) = delete;
    DescriptorShortage &operator=(const DescriptorShortage &) = delete;

private:
    static constexpr rlim_t kLowLimit = 128;

    void giveOneBack()
    {
        ::close(m_taken.back());
        m_taken.pop_back();
    }

    rlimit m_before{};
    std::vector<int> m_taken;
};

/// From now on the system call answers with `error`, in this thread and those that it starts.
inline void refuseCall(int number, int error)
{
    sock_filter program[] = {
        {BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, nr)},
        {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, static_cast<__u32>(number)},
        {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ERRNO | static_cast<__u32>(error)},
        {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW},
    };
    const sock_fprog filter{4, program};
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0
        || ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) != 0)
        throw std::runtime_error("no system call can be refused here");
}

} // namespace testing_support
