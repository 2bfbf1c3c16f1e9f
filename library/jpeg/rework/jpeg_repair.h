#pragma once

#include "library/jpeg/jpeg_structure.h"

namespace korv::jpeg {

/// Whether the bytes lack something that strict readers want: Huffman tables, a JFIF head, or
/// plain sampling factors of a gray picture, as video frames often do; or lists further pictures,
/// which do not come along.
bool needsRepair(const Structure &structure);

/// SOI to EOI as a complete file: standard Huffman tables put in where they are missing, a JFIF
/// head with `resolution` first (not known: the A4 rule of resolution.h), the list of further pictures left out,
/// padding after EOI cut off. The picture's
/// data are not touched. `structure` must come from readStructure(data). -EBADMSG when a table that
/// has no standard is missing.
Result<Bytes> repair(ByteView data, const Structure &structure, const Resolution &resolution);

/// SOI to EOI with the standard Huffman tables put in where they are missing, and nothing else
/// changed, into `frame`, whose memory is used again. Errors as repair().
Result<void> addHuffmanTables(ByteView data, const Structure &structure, Bytes &frame);

} // namespace korv::jpeg
