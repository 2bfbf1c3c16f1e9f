#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/files/source_format.h"
#include "library/formats/picture_size.h"
#include "library/image/image.h"

#include <string>

namespace korv {

/// In place of a directory's offset: that of a TIFF's first page. Other formats have one page only.
inline constexpr std::uint64_t kFirstPage = 0;

/// Decodes a picture upright and in sRGB: the orientation that JPEG, PNG and TIFF can state is
/// applied, and so is an ICC profile. `directory` is one of tiffPages(). Sizes are checked before
/// memory is taken. -EBADMSG no readable picture, -EFBIG too large, -ENOMEM.
Result<Image> loadImage(ByteView content, std::uint64_t directory = kFirstPage);

/// From the headers, as stored; for JPEG the whole structure is walked. -EBADMSG.
Result<PictureSize> pictureSize(ByteView content, std::uint64_t directory = kFirstPage);

/// Whether loadImage() has a chance, judged from the headers, and for JPEG also by its end. Of a
/// TIFF one of its first pages suffices. Errors as there.
Result<void> checkImage(ByteView content);

/// The same for a file, of which it reads no more than it must: a large JPEG's head and end, not
/// what lies between. Errors as there and of readSourceFile().
Result<void> checkImageFile(const std::string &path);

} // namespace korv
