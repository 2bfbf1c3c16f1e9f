#pragma once

#include "library/image/turn.h"
#include "library/jpeg/jpeg_structure.h"

namespace korv::jpeg {

/// Changes that need no pixels: they are made on the coefficients (ITU-T T.81, A.3), so nothing is
/// decoded and coded again.
struct Transform
{
    Turn turn;
    bool gray = false; ///< leaves out chroma
    int quality = 0; ///< 1..100 makes finer steps as coarse as that quality's; 0 leaves them

    bool isNone() const { return turn.isNone() && !gray && quality == 0; }
};

/// Whether the transformed picture would hold every pixel: a turn that mirrors a side moves the
/// blocks at its end to the front, and those must be whole. Pictures of an unusual kind (not 8-bit
/// gray or YCbCr in Huffman coding) are not transformed either.
bool canTransform(const Structure &structure, const Transform &transform);

/// The transformed picture as baseline JPEG, with its resolution in the JFIF head (that of the data
/// when `resolution` is not known). Comments stay, and so do colour profiles unless the colours go;
/// EXIF does not, its orientation has to be part of the turn. `exif` is an APP1 payload to take its
/// place; empty for none.
/// `structure` is that of the data. Precondition: canTransform(). -EBADMSG not decodable, -EFBIG
/// over the size limits, -ENOMEM.
Result<Bytes> transformed(ByteView data, const Structure &structure, const Transform &transform,
                          const Resolution &resolution, ByteView exif = {});

/// The chroma sampling that keeps what a picture with these headers has, when its pixels are turned
/// and encoded again.
Subsampling keptSubsampling(const Info &info, const Turn &turn);

} // namespace korv::jpeg
