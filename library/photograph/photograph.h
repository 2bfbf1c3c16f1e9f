#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/exif/exif_writer.h"
#include "library/image/rotate.h"

namespace korv {

enum class ColourStyle { Colour = 0, Gray = 1, Lineart = 2 };
enum class CropMode { Off = -1, Auto = 0 };

/// What a photograph is made with; the numbers are those of the C contract.
struct PhotographOptions
{
    int quality = 95; ///< 1..100
    CropMode crop = CropMode::Off;
    Rotation rotation = Rotation::None;
    ColourStyle colour = ColourStyle::Colour;
    bool clean = false; ///< even out the light, see cleanPaper(); lineart does by itself
    bool reportFocus = false; ///< say on the log when the page is out of focus
    PhotographDetails details = {}; ///< for photographs whose bytes are not the frame's
    double scale = 0; ///< pixels of the frame per millimetre on the desk; 0 when not known
};

/// Makes a photograph from one complete JPEG frame: crop, rotate, colour, clean, encode. Returns JPEG
/// bytes. What can be done on the coefficients is: a turn whose edge blocks are whole, leaving out
/// chroma, coarser steps. With nothing to do, and at 95 or more, or when the frame's own steps are
/// as coarse as those of the quality, the frame's bytes are the photograph, mended if strict
/// readers need it. Lineart of less than 250 dots an inch gets twice the width and the height. All others state their resolution, see photographResolution(), and the details in
/// EXIF. With a scale every photograph states it that can without being decoded.
/// Errors: -EBADMSG frame not decodable, -EFBIG too large, -ENOMEM. Any thread; keeps no state.
Result<Bytes> makePhotograph(ByteView frame, const PhotographOptions &options);

/// The same without a copy where the photograph is the frame: the result lies in the frame or in
/// `storage`. The frame may be followed by anything.
Result<ByteView> makePhotograph(ByteView frame, const PhotographOptions &options, Bytes &storage);

} // namespace korv
