#pragma once

/// The tests whether another copy of the program runs.

/// 1 when the process list names the program more than once, 0 otherwise (also when there is no
/// list). Counts every occurrence of the name, so any process that has it on its command line
/// counts; lines holding the letters "ps" are not seen. Traces each search on standard output.
int getAppIsRunning();

/// 1 when another process holds the lock on the pid file or the file cannot be opened; 0 when this
/// process holds it now, until it ends. Not asked at start-up.
int getProcessIsRunning();
