#include "library/video/yuyv.h"

#include "library/image/image.h"
#include "library/image/opencv_threads.h"

#include <cerrno>

#include <opencv2/imgproc.hpp>

namespace korv {

Result<void> yuyvToRgb(const std::uint8_t *source, std::uint8_t *destination, unsigned width,
                       unsigned height)
{
    if (!source || !destination)
        return Error{-EINVAL, "a picture is null"};
    const auto limit = static_cast<unsigned>(kMaxSide);
    if (width == 0 || height == 0 || width > limit || height > limit || width % 2 != 0)
        return Error{-EINVAL, "the picture's size is not possible"};
    keepOpenCvInThisThread();
    const auto columns = static_cast<int>(width);
    const auto rows = static_cast<int>(height);
    // for reading only: OpenCV has no matrix of constant pixels
    const cv::Mat yuyv(rows, columns, CV_8UC2, const_cast<std::uint8_t *>(source));
    cv::Mat rgb(rows, columns, CV_8UC3, destination);
    cv::cvtColor(yuyv, rgb, cv::COLOR_YUV2RGB_YUYV);
    return {};
}

} // namespace korv
