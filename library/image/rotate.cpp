#include "library/image/rotate.h"

#include "library/image/mat_view.h"
#include "library/image/opencv_threads.h"

#include <utility>

#include <opencv2/core.hpp>

namespace korv {

namespace {

Image transposed(const Image &image)
{
    Image result = Image::unset(image.height(), image.width(), image.format());
    result.setResolution(image.resolution().transposed());
    result.setBilevel(image.isBilevel());
    cv::Mat columns = matView(result);
    cv::transpose(matView(image), columns);
    return result;
}

void mirror(Image &image, const Turn &turn)
{
    if (!turn.mirrorX && !turn.mirrorY)
        return;
    // OpenCV's code: 0 mirrors top and bottom, above left and right, below both
    const int code = turn.mirrorX ? (turn.mirrorY ? -1 : 1) : 0;
    cv::Mat pixels = matView(image);
    cv::flip(pixels, pixels, code);
}

Image turned(Image image, const Turn &turn)
{
    if (turn.isNone())
        return image;
    keepOpenCvInThisThread();
    if (turn.transpose)
        image = transposed(image);
    mirror(image, turn);
    return image;
}

} // namespace

Image rotate(Image image, Rotation rotation)
{
    return turned(std::move(image), Turn::of(rotation));
}

Image applyOrientation(Image image, int orientation)
{
    return turned(std::move(image), Turn::ofOrientation(orientation));
}

} // namespace korv
