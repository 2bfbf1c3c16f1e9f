#pragma once

#include "library/base/bytes.h"
#include "library/image/image.h"

#include <string>

namespace pictures {

/// Colour photograph of a page: uneven light, dark strokes, a red and a blue block.
korv::Image page(int width, int height);

/// Black strokes on white, marked as bilevel.
korv::Image lineart(int width, int height);

/// Every pixel another value, so that a single misplaced one is seen.
korv::Image numbered(int width, int height, korv::PixelFormat format);

/// The picture as JPEG of quality 95.
korv::Bytes jpegOf(const korv::Image &image, int quality = 95);

/// The same as it comes from a camera without JPEG: in two halves with a restart marker between.
korv::Bytes jpegInHalves(const korv::Image &rgb, int quality = 95);

/// What a USB camera sends: no JFIF head but "AVI1", no Huffman tables, 4:2:2, padding behind.
korv::Bytes videoFrame(const korv::Image &image);

/// Rgb24 with three equal channels where there was one.
korv::Image toRgb(const korv::Image &image);

/// Parses binary PBM, PGM or PPM with 255 levels, which the reading programs write.
korv::Image fromPnm(const std::string &pnm);

/// Mean absolute difference of the channels; 1000 when the sizes or kinds differ.
double difference(const korv::Image &a, const korv::Image &b);

bool same(const korv::Image &a, const korv::Image &b);

korv::Bytes readBytes(const std::string &path);
void writeBytes(const std::string &path, korv::ByteView bytes);

} // namespace pictures
