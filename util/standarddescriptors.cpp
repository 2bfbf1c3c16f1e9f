#include "util/standarddescriptors.h"

#include <fcntl.h>
#include <unistd.h>

void occupyStandardDescriptors()
{
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) >= 0)
            continue;
        // the wrong way round, so that reading or writing goes on to fail; open() takes the lowest
        // free number, which is this one
        [[maybe_unused]] const int opened =
            ::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}
