#pragma once

// Seen from outside the program.

/// Called by the library that stands before the real one, on the stream's thread: before a frame is
/// handed to the window, and after that, with the frame still valid.
extern "C" __attribute__((visibility("default"))) void benchFrameComes();
extern "C" __attribute__((visibility("default"))) void benchFrameCame(const void *jpeg, int size,
                                                                      int width, int height);
