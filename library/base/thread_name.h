#pragma once

#include <pthread.h>

namespace korv {

/// Names the calling thread for top, gdb and core files; at most 15 characters
/// (pthread_setname_np(3)).
inline void nameThisThread(const char *name)
{
    pthread_setname_np(pthread_self(), name);
}

} // namespace korv
