#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/imaging/image.h"

#include <cstddef>

namespace korv::jpeg {

/// What a JPEG's headers say (ITU-T T.81, JFIF 1.02).
struct Info
{
    int width = 0;
    int height = 0;
    int components = 0;
    bool progressive = false;
    double dpi = 0; ///< from JFIF APP0; 0 when absent or only an aspect ratio
};

enum class Subsampling { S444, S422, S420, Gray };

struct EncodeOptions
{
    int quality = 95; ///< 1..100
    Subsampling subsampling = Subsampling::S420; ///< colour pictures only
};

/// Number of bytes from SOI to EOI inclusive, found by the marker structure; never reads past
/// `data.size`. -EBADMSG when there is no complete JPEG at the start of the data.
Result<std::size_t> findEnd(ByteView data);

/// Reads headers only. -EBADMSG when they are broken.
Result<Info> readInfo(ByteView data);

/// Decodes to Gray8 (one component) or Rgb24. -EBADMSG not decodable, -EFBIG over the size limits.
Result<Image> decode(ByteView data);

/// Encodes; the picture's dpi, when known, goes into the JFIF header. -ENOMEM.
Result<Bytes> encode(const Image &image, const EncodeOptions &options);

} // namespace korv::jpeg
