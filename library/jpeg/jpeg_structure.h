#pragma once

#include "library/jpeg/jpeg.h"

#include <array>
#include <cstdint>

namespace korv::jpeg {

/// The marker structure of a JPEG (ITU-T T.81, annex B): what is needed to judge whether its bytes
/// can stand in a file as they are, and to repair them when they cannot. Offsets count from SOI.
struct Structure
{
    Info info;
    std::size_t scanStart = 0; ///< offset of the first SOS marker
    std::size_t scanData = 0; ///< offset of the first scan's coded data, behind its header
    std::size_t end = 0; ///< one past EOI; 0 when only the headers were read

    bool hasAdobe = false;
    std::size_t jfif = 0; ///< offset of the JFIF APP0 marker; 0 when there is none
    std::size_t aviHead = 0; ///< offset of an "AVI1" APP0 marker; 0 when there is none
    bool hasProfile = false; ///< pieces of an ICC profile, see jpeg_segments.h
    bool hasPictureIndex = false; ///< of further pictures behind this one (CIPA DC-007)
    std::size_t heightBytes = 0; ///< offset of the picture's height in SOF, two bytes
    std::size_t samplingByte = 0; ///< offset of the first component's sampling factors in SOF

    /// Bit n: the first scan uses Huffman table n of the class, and nobody defined it.
    std::uint8_t missingDcTables = 0;
    std::uint8_t missingAcTables = 0;

    /// Sum of the 64 steps of the quantisation tables used by luma and (0 for gray) chroma.
    unsigned lumaSteps = 0;
    unsigned chromaSteps = 0;
};

/// Walks up to the first scan. -EBADMSG when the headers are broken.
Result<Structure> readHeaders(ByteView data);

/// Walks from SOI to EOI; never reads past `data.size`. -EBADMSG when there is no complete JPEG at the start of the data.
Result<Structure> readStructure(ByteView data);

/// Whether every common reader shows the bytes rightly: 8 bits, Huffman coded, gray or YCbCr or
/// marked RGB, upright.
bool isWidelyReadable(const Structure &structure);

/// Whether encoding at `quality` (libjpeg's scale) would not make the steps coarser.
bool isAsCoarseAs(const Structure &structure, int quality);

} // namespace korv::jpeg
