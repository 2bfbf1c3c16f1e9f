#pragma once

namespace korv {

/// Keeps the shared library that holds this code in memory until the process ends, whatever
/// dlclose(3) is called for it: a thread that had to be left behind still runs in it.
void pinThisLibrary();

} // namespace korv
