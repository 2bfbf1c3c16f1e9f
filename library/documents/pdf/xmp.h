#pragma once

#include <ctime>
#include <string>

namespace korv {

/// What a PDF/A-2 document promises (ISO 19005-2, 5).
enum class PdfConformance {
    B, ///< its look
    U, ///< and that its text can be read as Unicode
};

struct XmpProperties
{
    std::string title; ///< UTF-8; empty for none
    std::string producer;
    std::time_t created = 0;
    std::string documentId; ///< 32 hexadecimal digits
    PdfConformance conformance = PdfConformance::B;
};

/// The XMP packet (ISO 16684-1) of a PDF/A-2 document (ISO 19005-2, 6.6): UTF-8, uncompressed.
std::string xmpPacket(const XmpProperties &properties);

/// Such a packet of a document that has got text: PDF/A-2u, changed at this time.
std::string xmpPacketWithText(std::string packet, std::time_t changed);

} // namespace korv
