#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/jpeg/jpeg_structure.h"

namespace korv {

struct ReuseOptions
{
    int quality = 95; ///< 1..100; from 95 on, every JPEG's steps are good enough
    bool plainOnly = false; ///< the file wants baseline JPEG with ordinary sampling
};

/// Whether a TIFF can hold such a JPEG as it is (TIFF 6.0, section 21, and Technical Note 2).
bool fitsTiff(const jpeg::Info &info);

/// The JPEG at the start of `content` as bytes that a new file can take without decoding and coding
/// again: as they are, mended, or changed on the coefficients (turned upright, coarser, baseline).
/// An empty view when that is not possible. `structure` is that of the content; `storage` holds the
/// result when it is not a part of the content. -EFBIG picture too large, -EBADMSG, -ENOMEM.
Result<ByteView> reusableJpeg(ByteView content, const jpeg::Structure &structure,
                              const ReuseOptions &options, Bytes &storage);

} // namespace korv
