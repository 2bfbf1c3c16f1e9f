#pragma once

/// Installs a handler for a signal and keeps system calls going. A signal that the starter of the
/// process has chosen to ignore stays ignored, and one that has a handler keeps it. Commands that
/// the process starts begin with the signal's default all the same: exec() drops handlers, which
/// is why "ignore" is never asked for here. Returns whether the handler is in place.
bool installSignalHandler(int number, void (*handler)(int));
