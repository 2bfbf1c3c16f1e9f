#pragma once

#include "library/api/manager.h"

namespace korv {

/// The manager of this process: the contract is one library per process. It is made by the first
/// call and never destroyed, because a program may call until its last moment; what it holds ends
/// with exit(3). A child that is forked has a new one, as if it had just loaded the library: the
/// threads of the old one are not there, and its locks may be held by them.
///
/// Throws std::bad_alloc.
Manager &processManager();

} // namespace korv
