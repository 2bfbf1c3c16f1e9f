#pragma once

namespace korv {

/// Makes OpenCV work in the calling thread only. Its own threads would outlive the library's
/// shutdown, after which none may run. Any thread, any number of times; the first call counts.
void keepOpenCvInThisThread();

} // namespace korv
