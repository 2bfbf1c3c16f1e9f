#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/image/image.h"

#include <cstddef>
#include <functional>

namespace korv::jpeg {

/// How the components are to be understood (JFIF 1.02; Adobe's APP14 marker).
enum class ColourModel { Gray, YCbCr, Rgb, Cmyk };

/// Chroma samples in relation to luma's: all, half in a row (422), half in a column (440), half in
/// both (420), a quarter in a row (411).
enum class Subsampling { S444, S422, S440, S420, S411, Gray };

/// What a JPEG's headers say (ITU-T T.81, JFIF 1.02).
struct Info
{
    int width = 0;
    int height = 0;
    int components = 0;
    bool progressive = false;
    Resolution resolution; ///< see believableResolution(); not known when absent or only a shape

    ColourModel colourModel = ColourModel::YCbCr;
    int lumaHorizontal = 1; ///< first component's sampling factors, 1..4
    int lumaVertical = 1;
    bool plainChroma = true; ///< all other components have the factors 1 and 1
    int precision = 8; ///< bits a sample
    bool huffman = true; ///< false: arithmetic coding or lossless, which few readers know
    int orientation = 1; ///< EXIF orientation, 1..8; 1 is upright
    bool bilevel = false; ///< written by encode() from a picture of two levels
};

struct EncodeOptions
{
    int quality = 95; ///< 1..100
    Subsampling subsampling = Subsampling::S420; ///< colour pictures only
    ByteView exif = {}; ///< APP1 payload; empty for none
    bool progressive = false; ///< smaller, but decoded in several passes; not of bilevel pictures
};

struct DecodeOptions
{
    bool gray = false; ///< luma only: the chroma planes are not even decoded
};

/// Reads headers only. -EBADMSG when they are broken.
Result<Info> readInfo(ByteView data);

/// Whether a file of `size` bytes can hold such a picture: each 8x8 block takes at least one bit,
/// so a short file that promises a huge picture lies. Arithmetic coding knows no such bound; there a
/// huge picture is believed from one byte for 4096 pixels on.
bool isPlausible(const Info &info, std::size_t size);

/// Decodes to Gray8 (one component) or Rgb24; a picture marked as bilevel becomes bilevel again.
/// The colours are sRGB: an ICC profile is applied, but for luma alone. EXIF orientation is not
/// applied. Data that ends early counts as broken.
/// -EBADMSG not decodable, -EFBIG over the size limits, -ENOMEM.
Result<Image> decode(ByteView data, const DecodeOptions &options = {});

/// Decodes into a picture of the size and the format (see DecodeOptions::gray) that the headers
/// state, for those who use its upper rows while the lower ones are still to come. `rowsDone`
/// hears, on the caller's thread, how many are there. A profile is not applied. Errors as above;
/// then the picture is not complete.
Result<void> decodeInto(ByteView data, Image &image, const std::function<void(int)> &rowsDone);

/// Encodes; the picture's resolution, when known, goes into the JFIF header. -ENOMEM.
Result<Bytes> encode(const Image &image, const EncodeOptions &options);

} // namespace korv::jpeg
