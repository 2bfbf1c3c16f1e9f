#include "library/image/opencv_threads.h"

#include <opencv2/core/utility.hpp>

namespace korv {

void keepOpenCvInThisThread()
{
    static const bool done = [] {
        cv::setNumThreads(1);
        return true;
    }();
    static_cast<void>(done);
}

} // namespace korv
