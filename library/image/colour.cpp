#include "library/image/colour.h"

#include "library/image/mat_view.h"
#include "library/image/opencv_threads.h"

#include <opencv2/imgproc.hpp>

namespace korv {

Image toGray(Image image)
{
    if (image.format() == PixelFormat::Gray8)
        return image;
    keepOpenCvInThisThread();
    Image result = Image::unset(image.width(), image.height(), PixelFormat::Gray8);
    result.setResolution(image.resolution());
    result.setBilevel(image.isBilevel());
    cv::Mat gray = matView(result);
    cv::cvtColor(matView(image), gray, cv::COLOR_RGB2GRAY);
    return result;
}

} // namespace korv
