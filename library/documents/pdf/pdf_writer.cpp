#include "library/documents/pdf/pdf_writer.h"

#include "library/documents/decimal.h"
#include "library/documents/deflate.h"
#include "library/documents/pdf/pdf_text.h"
#include "library/documents/pdf/srgb_profile.h"
#include "library/documents/pdf/text_layer.h"
#include "library/documents/pdf/xmp.h"
#include "library/formats/png_data.h"
#include "library/values/random_text.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>

namespace korv {

namespace {

/// Decimals of a page's size. More than two would say nothing where the size is exact: they are
/// what is left of an inch.
int placesOf(const Page &page)
{
    return page.resolution.exact ? 2 : 4;
}

/// In points. Readers take no page below 3 (ISO 32000-1, annex C.2).
std::string pointsOf(int pixels, double dpi, int places)
{
    return decimal(std::max(3.0, pixels * 72.0 / dpi), places);
}

std::string pointsOf(double millimetres)
{
    return decimal(millimetres * 72 / 25.4, 4);
}

/// In points, on each side of a picture in the middle of a sheet's side.
std::string marginOf(double millimetres, int pixels, double dpi)
{
    return decimal(std::max(0.0, (millimetres / 25.4 - pixels / dpi) * 72 / 2), 4);
}

/// The cross-reference table holds ten digits (7.5.4).
constexpr std::uint64_t kMaxOffset = 9'999'999'999;

/// The pixels of a picture, in points, where the page has it.
std::string pixelMatrix(const Page &page, const std::string &left, const std::string &under)
{
    return decimal(72 / page.resolution.x, 6) + " 0 0 " + decimal(72 / page.resolution.y, 6) + " "
        + left + " " + under + " cm";
}

std::string sizeEntries(const Page &page)
{
    return "/Type /XObject /Subtype /Image /Width " + std::to_string(page.width) + " /Height "
        + std::to_string(page.height);
}

} // namespace

PdfWriter::PdfWriter(ByteSink &sink, const DocumentOptions &options)
    : m_sink(sink)
    , m_options(options)
    , m_id(randomHex(16))
{
}

Result<void> PdfWriter::begin()
{
    m_pageTree = reserveObject();
    // four bytes above 127 tell transfer programs that the file is binary (7.5.2)
    return m_sink.write("%PDF-1.7\n%\xE2\xE3\xCF\xD3\n");
}

int PdfWriter::reserveObject()
{
    m_offsets.push_back(0);
    return static_cast<int>(m_offsets.size());
}

Result<void> PdfWriter::beginObject(int number)
{
    const std::uint64_t offset = m_sink.size();
    if (offset > kMaxOffset)
        return Error{-EFBIG, "too many pages for one PDF"};
    m_offsets[static_cast<std::size_t>(number - 1)] = offset;
    return {};
}

Result<void> PdfWriter::writeObject(int number, const std::string &body)
{
    if (Result<void> begun = beginObject(number); !begun)
        return begun;
    return m_sink.write(std::to_string(number) + " 0 obj\n" + body + "\nendobj\n");
}

Result<void> PdfWriter::writeStream(int number, const std::string &entries, ByteView data)
{
    if (Result<void> begun = beginObject(number); !begun)
        return begun;
    const std::string head = std::to_string(number) + " 0 obj\n<< " + entries + " /Length "
        + std::to_string(data.size) + " >>\nstream\n";
    if (Result<void> written = m_sink.write(head); !written)
        return written;
    if (Result<void> written = m_sink.write(data); !written)
        return written;
    return m_sink.write("\nendstream\nendobj\n");
}

Result<void> PdfWriter::writePixels(int number, const Page &page)
{
    const std::string columns = " /Columns " + std::to_string(page.width);
    if (page.coding == PixelCoding::CcittG4)
        return writeStream(number,
                           sizeEntries(page)
                               + " /ColorSpace /DeviceGray /BitsPerComponent 1"
                                 " /Filter /CCITTFaxDecode /DecodeParms << /K -1"
                               + columns + " /Rows " + std::to_string(page.height) + " >>",
                           page.coded);
    // PDF took over PNG's way to store pixels (7.4.4.4): predictors 10 to 15
    const bool gray = page.pixels->format() == PixelFormat::Gray8;
    const std::string bits = gray && page.pixels->isBilevel() ? "1" : "8";
    return writeStream(number,
                       sizeEntries(page) + " /ColorSpace " + (gray ? "/DeviceGray" : "/DeviceRGB")
                           + " /BitsPerComponent " + bits
                           + " /Filter /FlateDecode /DecodeParms << /Predictor 15 /Colors "
                           + (gray ? "1" : "3") + " /BitsPerComponent " + bits + columns + " >>",
                       pngData(page.coded));
}

Result<void> PdfWriter::writePicture(int number, const Page &page)
{
    if (page.pixels != nullptr)
        return writePixels(number, page);
    std::string space = page.info.components == 1 ? "/DeviceGray" : "/DeviceRGB";
    if (!page.profile.empty()) {
        Result<int> profile = profileObject(page);
        if (!profile)
            return profile.error();
        space = "[/ICCBased " + reference(profile.value()) + "]";
    }
    return writeStream(number,
                       sizeEntries(page) + " /ColorSpace " + space
                           + " /BitsPerComponent 8 /Filter /DCTDecode",
                       page.jpeg);
}

/// The pages of one camera or program share its profile.
Result<int> PdfWriter::profileObject(const Page &page)
{
    constexpr std::size_t kMaxRemembered = 8;
    const Bytes profile(page.profile.begin(), page.profile.end());
    const auto known = m_profiles.find(profile);
    if (known != m_profiles.end())
        return known->second;
    const int number = reserveObject();
    const bool gray = page.info.components == 1;
    const std::string entries = gray ? "/N 1 /Alternate /DeviceGray" : "/N 3 /Alternate /DeviceRGB";
    if (Result<void> written = writeStream(number, entries, profile); !written)
        return written.error();
    if (m_profiles.size() == kMaxRemembered)
        m_profiles.clear();
    m_profiles.emplace(profile, number);
    return number;
}

Result<PdfWriter::PictureUse> PdfWriter::writePictures(int first, const Page &page)
{
    if (page.layers != nullptr)
        return writeLayers(first, page);
    if (Result<void> written = writePicture(first, page); !written)
        return written.error();
    return PictureUse{"/Im0 " + reference(first), "/Im0 Do"};
}

Result<void> PdfWriter::addPage(const Page &page)
{
    if (m_offsets.empty()) {
        if (Result<void> begun = begin(); !begun)
            return begun;
    }
    const int picture = reserveObject();
    const int content = reserveObject();
    const int sheet = reserveObject();
    const Result<PictureUse> pictures = writePictures(picture, page);
    if (!pictures)
        return pictures.error();

    const std::string width = pointsOf(page.width, page.resolution.x, placesOf(page));
    const std::string height = pointsOf(page.height, page.resolution.y, placesOf(page));
    const std::string left =
        page.sheet ? marginOf(page.sheet->width, page.width, page.resolution.x) : "0";
    const std::string under =
        page.sheet ? marginOf(page.sheet->height, page.height, page.resolution.y) : "0";
    const std::string drawing = "q " + width + " 0 0 " + height + " " + left + " " + under + " cm "
        + pictures.value().drawing + " Q";
    std::string text = textOf(page);
    if (!text.empty())
        text = "q " + pixelMatrix(page, left, under) + "\n" + text + " Q";
    if (Result<void> written = writeDrawing(content, drawing, text); !written)
        return written;

    m_pages.push_back(sheet);
    return writeObject(sheet,
                       "<< /Type /Page /Parent " + reference(m_pageTree) + " /MediaBox [0 0 "
                           + (page.sheet ? pointsOf(page.sheet->width) : width) + " "
                           + (page.sheet ? pointsOf(page.sheet->height) : height)
                           + "] /Resources << /XObject << " + pictures.value().objects + " >> "
                           + (text.empty() ? ""
                                           : std::string("/Font << /") + kTextFontName + " "
                                      + reference(m_fontNumber) + " >> ")
                           + ">> /Contents " + reference(content) + " >>");
}

/// Empty for a page without text.
std::string PdfWriter::textOf(const Page &page)
{
    const std::string text =
        page.text != nullptr ? textOperators(*page.text, m_font) : std::string();
    if (!text.empty() && !hasText())
        m_fontNumber = reserveObject();
    return text;
}

Result<void> PdfWriter::writeDrawing(int number, const std::string &picture,
                                     const std::string &text)
{
    if (text.empty())
        return writeStream(number, {}, ByteView(picture.data(), picture.size()));
    const std::string both = picture + "\n" + text;
    return writePacked(number, {}, ByteView(both.data(), both.size()));
}

Result<void> PdfWriter::writePacked(int number, const std::string &entries, ByteView data)
{
    const Result<Bytes> packed = deflated(data, DeflateFrame::Zlib);
    if (!packed)
        return packed.error();
    return writeStream(number, entries + " /Filter /FlateDecode", packed.value());
}

/// The font of the text (ISO 32000-1, 9.7).
Result<void> PdfWriter::writeFont()
{
    const int characters = reserveObject();
    const int description = reserveObject();
    const int meaning = reserveObject();
    if (Result<void> written = writeFontParts(characters, description); !written)
        return written;
    const std::string codes = m_font.toUnicode();
    if (Result<void> written = writePacked(meaning, {}, ByteView(codes.data(), codes.size()));
        !written)
        return written;
    return writeObject(m_fontNumber,
                       "<< /Type /Font /Subtype /Type0 /BaseFont /Invisible /Encoding /Identity-H"
                       " /DescendantFonts ["
                           + reference(characters) + "] /ToUnicode " + reference(meaning) + " >>");
}

Result<void> PdfWriter::writeFontParts(int characters, int description)
{
    const int file = reserveObject();
    const int glyphs = reserveObject();
    const Bytes fontFile = TextFont::file();
    if (Result<void> written =
            writePacked(file, "/Length1 " + std::to_string(fontFile.size()), ByteView(fontFile));
        !written)
        return written;
    if (Result<void> written = writePacked(glyphs, {}, ByteView(TextFont::glyphs())); !written)
        return written;
    const std::string heights = " /Ascent " + std::to_string(TextFont::kAscent) + " /Descent "
        + std::to_string(TextFont::kDescent) + " /CapHeight " + std::to_string(TextFont::kAscent);
    if (Result<void> written =
            writeObject(description,
                        "<< /Type /FontDescriptor /FontName /Invisible /Flags 4 /FontBBox [0 "
                            + std::to_string(TextFont::kDescent) + " 1000 "
                            + std::to_string(TextFont::kAscent) + "] /ItalicAngle 0" + heights
                            + " /StemV 80 /FontFile2 " + reference(file) + " >>");
        !written)
        return written;
    return writeObject(characters,
                       "<< /Type /Font /Subtype /CIDFontType2 /BaseFont /Invisible"
                       " /CIDSystemInfo << /Registry (Adobe) /Ordering (Identity) /Supplement 0 >>"
                       " /FontDescriptor "
                           + reference(description) + " /DW "
                           + std::to_string(TextFont::defaultWidth()) + " /W " + TextFont::widths()
                           + " /CIDToGIDMap " + reference(glyphs) + " >>");
}

Result<void> PdfWriter::writePageTree(int number)
{
    std::string kids;
    for (const int page : m_pages)
        kids += reference(page) + "\n";
    return writeObject(number,
                       "<< /Type /Pages /Count " + std::to_string(m_pages.size()) + " /Kids [\n"
                           + kids + "] >>");
}

std::string PdfWriter::information() const
{
    std::string entries = "<< /Producer " + pdfText(kProducer) + " /CreationDate "
        + pdfText(pdfDate(m_options.created)) + " /ModDate " + pdfText(pdfDate(m_options.created));
    if (!m_options.title.empty())
        entries += " /Title " + pdfText(m_options.title);
    return entries + " >>";
}

Result<void> PdfWriter::writeCrossReferences(int catalog, int information)
{
    const std::uint64_t start = m_sink.size();
    const std::string size = std::to_string(m_offsets.size() + 1);
    // each entry is exactly 20 bytes (7.5.4)
    std::string table = "xref\n0 " + size + "\n0000000000 65535 f \n";
    for (const std::uint64_t offset : m_offsets) {
        char entry[32];
        std::snprintf(entry, sizeof entry, "%010" PRIu64 " 00000 n \n", offset);
        table += entry;
    }
    const std::string id = "<" + m_id + ">";
    table += "trailer\n<< /Size " + size + " /Root " + reference(catalog) + " /Info "
        + reference(information) + " /ID [" + id + " " + id + "] >>\nstartxref\n"
        + std::to_string(start) + "\n%%EOF\n";
    return m_sink.write(table);
}

Result<void> PdfWriter::writeMetadata(int number)
{
    const std::string packet = xmpPacket({m_options.title, kProducer, m_options.created, m_id,
                                          hasText() ? PdfConformance::U : PdfConformance::B});
    return writeStream(number, "/Type /Metadata /Subtype /XML",
                       ByteView(packet.data(), packet.size()));
}

/// What the colours of the pages mean (ISO 19005-2, 6.2.3).
Result<void> PdfWriter::writeOutputIntent(int number)
{
    const int profile = reserveObject();
    if (Result<void> written = writeStream(profile, "/N 3", srgbProfile()); !written)
        return written;
    return writeObject(number,
                       "<< /Type /OutputIntent /S /GTS_PDFA1 /OutputConditionIdentifier (sRGB)"
                       " /RegistryName (http://www.color.org) /Info (sRGB IEC61966-2.1)"
                       " /DestOutputProfile "
                           + reference(profile) + " >>");
}

Result<void> PdfWriter::finish()
{
    const int catalog = reserveObject();
    const int info = reserveObject();
    const int metadata = reserveObject();
    const int intent = reserveObject();
    if (Result<void> written = writePageTree(m_pageTree); !written)
        return written;
    if (Result<void> written = writeMetadata(metadata); !written)
        return written;
    if (Result<void> written = writeOutputIntent(intent); !written)
        return written;
    if (hasText()) {
        if (Result<void> written = writeFont(); !written)
            return written;
    }
    const std::string language = hasText() && !m_options.language.empty()
        ? " /Lang " + pdfText(m_options.language)
        : std::string();
    if (Result<void> written =
            writeObject(catalog,
                        "<< /Type /Catalog /Pages " + reference(m_pageTree) + " /Metadata "
                            + reference(metadata) + " /OutputIntents [" + reference(intent) + "]"
                            + language + " >>");
        !written)
        return written;
    if (Result<void> written = writeObject(info, information()); !written)
        return written;
    return writeCrossReferences(catalog, info);
}

} // namespace korv
