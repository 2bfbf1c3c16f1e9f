#include "library/documents/pdf/text_font_objects.h"

#include "library/documents/pdf/pdf_text.h"

namespace korv {

namespace {

Result<void> writeParts(PdfObjects &objects, int characters, int description)
{
    const int file = objects.reserve();
    const int glyphs = objects.reserve();
    const Bytes fontFile = TextFont::file();
    if (Result<void> written = objects.writePacked(
            file, "/Length1 " + std::to_string(fontFile.size()), ByteView(fontFile));
        !written)
        return written;
    if (Result<void> written = objects.writePacked(glyphs, {}, ByteView(TextFont::glyphs()));
        !written)
        return written;
    const std::string heights = " /Ascent " + std::to_string(TextFont::kAscent) + " /Descent "
        + std::to_string(TextFont::kDescent) + " /CapHeight " + std::to_string(TextFont::kAscent);
    if (Result<void> written =
            objects.write(description,
                          "<< /Type /FontDescriptor /FontName /Invisible /Flags 4 /FontBBox [0 "
                              + std::to_string(TextFont::kDescent) + " 1000 "
                              + std::to_string(TextFont::kAscent) + "] /ItalicAngle 0" + heights
                              + " /StemV 80 /FontFile2 " + reference(file) + " >>");
        !written)
        return written;
    return objects.write(
        characters,
        "<< /Type /Font /Subtype /CIDFontType2 /BaseFont /Invisible"
        " /CIDSystemInfo << /Registry (Adobe) /Ordering (Identity) /Supplement 0 >>"
        " /FontDescriptor "
            + reference(description) + " /DW " + std::to_string(TextFont::defaultWidth()) + " /W "
            + TextFont::widths() + " /CIDToGIDMap " + reference(glyphs) + " >>");
}

} // namespace

Result<void> writeTextFont(PdfObjects &objects, int number, const TextFont &font)
{
    const int characters = objects.reserve();
    const int description = objects.reserve();
    const int meaning = objects.reserve();
    if (Result<void> written = writeParts(objects, characters, description); !written)
        return written;
    const std::string codes = font.toUnicode();
    if (Result<void> written =
            objects.writePacked(meaning, {}, ByteView(codes.data(), codes.size()));
        !written)
        return written;
    return objects.write(number,
                         "<< /Type /Font /Subtype /Type0 /BaseFont /Invisible /Encoding /Identity-H"
                         " /DescendantFonts ["
                             + reference(characters) + "] /ToUnicode " + reference(meaning)
                             + " >>");
}

} // namespace korv
