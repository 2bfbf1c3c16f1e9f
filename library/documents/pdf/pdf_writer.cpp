#include "library/documents/pdf/pdf_writer.h"

#include "library/documents/decimal.h"
#include "library/documents/pdf/pdf_text.h"
#include "library/documents/pdf/srgb_profile.h"
#include "library/documents/pdf/text_font_objects.h"
#include "library/documents/pdf/text_layer.h"
#include "library/documents/pdf/xmp.h"
#include "library/formats/png_data.h"
#include "library/values/random_text.h"

#include <algorithm>

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
    , m_objects(sink)
    , m_options(options)
    , m_id(randomHex(16))
{
}

Result<void> PdfWriter::begin()
{
    m_pageTree = m_objects.reserve();
    // four bytes above 127 tell transfer programs that the file is binary (7.5.2)
    return m_sink.write("%PDF-1.7\n%\xE2\xE3\xCF\xD3\n");
}

Result<void> PdfWriter::writePixels(int number, const Page &page)
{
    const std::string columns = " /Columns " + std::to_string(page.width);
    if (page.coding == PixelCoding::CcittG4)
        return m_objects.writeStream(number,
                                     sizeEntries(page)
                                         + " /ColorSpace /DeviceGray /BitsPerComponent 1"
                                           " /Filter /CCITTFaxDecode /DecodeParms << /K -1"
                                         + columns + " /Rows " + std::to_string(page.height)
                                         + " >>",
                                     page.coded);
    // PDF took over PNG's way to store pixels (7.4.4.4): predictors 10 to 15
    const bool gray = page.pixels->format() == PixelFormat::Gray8;
    const std::string bits = gray && page.pixels->isBilevel() ? "1" : "8";
    return m_objects.writeStream(
        number,
        sizeEntries(page) + " /ColorSpace " + (gray ? "/DeviceGray" : "/DeviceRGB")
            + " /BitsPerComponent " + bits
            + " /Filter /FlateDecode /DecodeParms << /Predictor 15 /Colors " + (gray ? "1" : "3")
            + " /BitsPerComponent " + bits + columns + " >>",
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
    return m_objects.writeStream(number,
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
    const int number = m_objects.reserve();
    const bool gray = page.info.components == 1;
    const std::string entries = gray ? "/N 1 /Alternate /DeviceGray" : "/N 3 /Alternate /DeviceRGB";
    if (Result<void> written = m_objects.writeStream(number, entries, profile); !written)
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
    if (m_pageTree == 0) {
        if (Result<void> begun = begin(); !begun)
            return begun;
    }
    const int picture = m_objects.reserve();
    const int content = m_objects.reserve();
    const int sheet = m_objects.reserve();
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
    return m_objects.write(sheet,
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
        m_fontNumber = m_objects.reserve();
    return text;
}

Result<void> PdfWriter::writeDrawing(int number, const std::string &picture,
                                     const std::string &text)
{
    if (text.empty())
        return m_objects.writeStream(number, {}, ByteView(picture.data(), picture.size()));
    const std::string both = picture + "\n" + text;
    return m_objects.writePacked(number, {}, ByteView(both.data(), both.size()));
}

Result<void> PdfWriter::writePageTree(int number)
{
    std::string kids;
    for (const int page : m_pages)
        kids += reference(page) + "\n";
    return m_objects.write(number,
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

Result<void> PdfWriter::writeMetadata(int number)
{
    const std::string packet = xmpPacket({m_options.title, kProducer, m_options.created, m_id,
                                          hasText() ? PdfConformance::U : PdfConformance::B});
    return m_objects.writeStream(number, "/Type /Metadata /Subtype /XML",
                                 ByteView(packet.data(), packet.size()));
}

/// What the colours of the pages mean (ISO 19005-2, 6.2.3).
Result<void> PdfWriter::writeOutputIntent(int number)
{
    const int profile = m_objects.reserve();
    if (Result<void> written = m_objects.writeStream(profile, "/N 3", srgbProfile()); !written)
        return written;
    return m_objects.write(number,
                           "<< /Type /OutputIntent /S /GTS_PDFA1 /OutputConditionIdentifier (sRGB)"
                           " /RegistryName (http://www.color.org) /Info (sRGB IEC61966-2.1)"
                           " /DestOutputProfile "
                               + reference(profile) + " >>");
}

Result<void> PdfWriter::finish()
{
    const int catalog = m_objects.reserve();
    const int info = m_objects.reserve();
    const int metadata = m_objects.reserve();
    const int intent = m_objects.reserve();
    if (Result<void> written = writePageTree(m_pageTree); !written)
        return written;
    if (Result<void> written = writeMetadata(metadata); !written)
        return written;
    if (Result<void> written = writeOutputIntent(intent); !written)
        return written;
    if (hasText()) {
        if (Result<void> written = writeTextFont(m_objects, m_fontNumber, m_font); !written)
            return written;
    }
    const std::string language = hasText() && !m_options.language.empty()
        ? " /Lang " + pdfText(m_options.language)
        : std::string();
    if (Result<void> written =
            m_objects.write(catalog,
                            "<< /Type /Catalog /Pages " + reference(m_pageTree) + " /Metadata "
                                + reference(metadata) + " /OutputIntents [" + reference(intent)
                                + "]" + language + " >>");
        !written)
        return written;
    if (Result<void> written = m_objects.write(info, information()); !written)
        return written;
    const std::string id = "<" + m_id + ">";
    return m_objects.finish("/Root " + reference(catalog) + " /Info " + reference(info) + " /ID ["
                            + id + " " + id + "]");
}

} // namespace korv
