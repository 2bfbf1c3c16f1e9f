#include "library/output/jpeg_reuse.h"

#include "library/imaging/jpeg_mend.h"
#include "library/imaging/jpeg_transform.h"
#include "library/imaging/resolution.h"

#include <cerrno>

namespace korv {

namespace {

constexpr int kUnchangedQuality = 95; ///< from here on every JPEG is good enough as it is

Result<ByteView> stored(Result<Bytes> made, Bytes &storage)
{
    if (!made)
        return made.error();
    storage = std::move(made).value();
    return ByteView(storage);
}

} // namespace

Result<ByteView> reusableJpeg(ByteView content, const jpeg::Structure &structure,
                              const ReuseOptions &options, Bytes &storage)
{
    const jpeg::Info &info = structure.info;
    if (!isReasonableSize(info.width, info.height))
        return Error{-EFBIG, "picture too large"};
    if (options.plainOnly && !info.plainChroma)
        return ByteView();
    const bool tooFine =
        options.quality < kUnchangedQuality && !jpeg::isAsCoarseAs(structure, options.quality);
    const bool mustBecomePlain = options.plainOnly && info.progressive;
    if (!tooFine && !mustBecomePlain && jpeg::isWidelyReadable(structure)) {
        if (!jpeg::needsMending(structure))
            return content.first(structure.end);
        return stored(jpeg::mend(content, structure, info.dpi), storage);
    }
    jpeg::Transform transform;
    transform.turn = Turn::ofOrientation(info.orientation);
    transform.quality = tooFine ? options.quality : 0;
    if (!jpeg::canTransform(structure, transform))
        return ByteView();
    return stored(jpeg::transformed(content.first(structure.end), structure, transform,
                                    effectiveDpi(info.width, info.height, info.dpi)),
                  storage);
}

} // namespace korv
