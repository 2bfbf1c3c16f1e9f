#pragma once

#include "util/mutex.h"

namespace korv {

// The application's lock and annotations serve the library, too: they are a header without code to
// link. No other header of util is shared, so that the two meet at the C contract only.
using ::Condition;
using ::Mutex;
using ::MutexLock;

} // namespace korv
