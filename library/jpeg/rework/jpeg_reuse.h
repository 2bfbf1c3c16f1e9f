#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/jpeg/jpeg_structure.h"
#include "library/jpeg/rework/jpeg_transform.h"

namespace korv::jpeg {

/// The Transform::quality of a picture that goes into a file of `quality` (1..100): 0 when its steps
/// are coarse enough. From 95 on, every JPEG's are.
int neededQuality(const Structure &structure, int quality);

/// Whether the bytes can stay what they are, because nothing has to change and every common reader
/// shows them rightly.
bool canStay(const Structure &structure, const Transform &transform);

/// Such a picture from SOI to EOI: a part of the content, or repaired in `storage` where strict
/// readers want more. `structure` is that of the content. -EBADMSG as repair().
Result<ByteView> asItIs(ByteView content, const Structure &structure, Bytes &storage);

} // namespace korv::jpeg

namespace korv {

struct ReuseOptions
{
    int quality = 95; ///< 1..100; from 95 on, every JPEG's steps are good enough
    bool plainOnly = false; ///< the file wants baseline JPEG with ordinary sampling
    Rotation turn = Rotation::None; ///< of the upright picture
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
