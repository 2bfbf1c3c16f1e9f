#include "util/standarddescriptors.h"

#include <fcntl.h>
#include <unistd.h>

void occupyStandardDescriptors()
{
    // the lowest free number is given out
    int descriptor = 0;
    do
        descriptor = ::open("/dev/null", O_RDONLY);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor > STDERR_FILENO)
        ::close(descriptor);
}
