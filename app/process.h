#pragma once

/// What the process needs before the first Qt object exists. Call once, first thing in main().
///  - Standard output is line-buffered, so that traces reach a pipe at once.
///  - Texts and file names are UTF-8 even where the environment names no such locale.
///  - No OpenGL integration is loaded: nothing here draws with it, and it costs half of the start.
///  - With KORV_WINDOW_GROWS=1 the window grows on a dense screen.
///  - A write past the limit of ulimit -f fails with EFBIG, one into a broken pipe with EPIPE; neither
///    ends the process.
///  - Frame-sized memory is kept for the next frame instead of being mapped afresh each time.
/// What the user set in the environment wins. What is set here stays here: commands are started in
/// the environment of the start (util/ownenvironment.h) and with the default effect of each signal.
void prepareProcess();
