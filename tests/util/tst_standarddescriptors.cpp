#include "util/standarddescriptors.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// What a process finds that was started without the descriptors from `first` to `last`: 0, or the
/// number of the look that failed.
int lookWithout(int first, int last)
{
    const pid_t child = ::fork();
    if (child == 0) {
        for (int descriptor = first; descriptor <= last; ++descriptor)
            ::close(descriptor);
        occupyStandardDescriptors();
        const int next = ::open("/dev/null", O_RDWR);
        char byte = 'x';
        if (next <= STDERR_FILENO)
            ::_exit(1);
        for (int descriptor = first; descriptor <= last; ++descriptor) {
            const bool input = descriptor == STDIN_FILENO;
            if (input && (::read(descriptor, &byte, 1) != -1 || errno != EBADF))
                ::_exit(2);
            if (!input && (::write(descriptor, &byte, 1) != -1 || errno != EBADF))
                ::_exit(3);
        }
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

TEST(StandardDescriptors, missingOnesAreOccupiedAndStillFail)
{
    EXPECT_EQ(lookWithout(STDIN_FILENO, STDERR_FILENO), 0);
    EXPECT_EQ(lookWithout(STDOUT_FILENO, STDERR_FILENO), 0);
    EXPECT_EQ(lookWithout(STDERR_FILENO, STDERR_FILENO), 0);
    EXPECT_EQ(lookWithout(STDIN_FILENO, STDIN_FILENO), 0);
}

TEST(StandardDescriptors, openOnesStay)
{
    const int before = ::open("/dev/null", O_RDWR);
    occupyStandardDescriptors();
    const int after = ::open("/dev/null", O_RDWR);
    EXPECT_EQ(after, before + 1);
    ::close(after);
    ::close(before);
}
