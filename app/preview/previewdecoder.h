#pragma once

#include <QImage>
#include <QSize>

/// JPEG decoding for the preview: fast and small, not for files.
namespace previewdecoder {

/// Decodes into `image` (reused when its size fits) at the largest reduction among 1, 1/2, 1/4 and
/// 1/8 that is not smaller than `least`; an empty `least` takes 1/8.
/// Returns whether the data are a valid picture: true and false come out as they would from
/// `QImage::loadFromData(data, "JPG")` at full size; damaged data that still decode are valid
/// there. The colours of a CMYK picture are Qt's. Any thread.
bool decode(const void *jpeg, int length, QSize least, QImage &image);

} // namespace previewdecoder
