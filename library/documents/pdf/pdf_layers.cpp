#include "library/documents/decimal.h"
#include "library/documents/pdf/pdf_text.h"
#include "library/documents/pdf/pdf_writer.h"

// A page in layers (ISO 32000-1, 8.9.6.3): the picture of the ink's colours has an explicit mask, a
// stencil of more pixels than it has itself. Readers scale the two separately.
namespace korv {

namespace {

/// Draws into a part of the unit square. Six decimals are a hundredth of a pixel at the most.
std::string drawnAt(const PicturePatch &patch, const Page &page, const std::string &name)
{
    constexpr int kPlaces = 6;
    const auto share = [](int part, int whole) {
        return decimal(static_cast<double>(part) / whole, kPlaces);
    };
    const int under = page.height - patch.top - patch.picture.height;
    return " q " + share(patch.picture.width, page.width) + " 0 0 "
        + share(patch.picture.height, page.height) + " " + share(patch.left, page.width) + " "
        + share(under, page.height) + " cm /" + name + " Do Q";
}

} // namespace

/// `more` follows the entries that all pictures have.
Result<void> PdfWriter::writeLayer(int number, const LayerJpeg &layer, const std::string &more)
{
    return m_objects.writeStream(number,
                                 "/Type /XObject /Subtype /Image /Width "
                                     + std::to_string(layer.width) + " /Height "
                                     + std::to_string(layer.height) + " /ColorSpace "
                                     + (layer.gray ? "/DeviceGray" : "/DeviceRGB")
                                     + " /BitsPerComponent 8 /Filter /DCTDecode" + more,
                                 layer.jpeg);
}

/// Black is 0 in what the filter gives, and 0 is what a stencil paints.
Result<void> PdfWriter::writeMask(int number, const Page &page)
{
    const std::string columns = std::to_string(page.width);
    const std::string rows = std::to_string(page.height);
    return m_objects.writeStream(
        number,
        "/Type /XObject /Subtype /Image /Width " + columns + " /Height " + rows
            + " /ImageMask true /BitsPerComponent 1 /Filter /CCITTFaxDecode"
              " /DecodeParms << /K -1 /Columns "
            + columns + " /Rows " + rows + " >>",
        page.layers->mask);
}

Result<PdfWriter::PictureUse> PdfWriter::writeLayers(int first, const Page &page)
{
    const PageLayers &layers = *page.layers;
    if (Result<void> written = writeLayer(first, layers.paper, {}); !written)
        return written.error();
    PictureUse use{"/Im0 " + reference(first), "/Im0 Do"};
    int count = 1;
    const auto add = [&](int number) {
        const std::string name = "Im" + std::to_string(count++);
        use.objects += " /" + name + " " + reference(number);
        return name;
    };
    for (const PicturePatch &patch : layers.pictures) {
        const int number = m_objects.reserve();
        if (Result<void> written = writeLayer(number, patch.picture, {}); !written)
            return written.error();
        use.drawing += drawnAt(patch, page, add(number));
    }
    if (layers.mask.empty())
        return use;
    const int mask = m_objects.reserve();
    const int ink = m_objects.reserve();
    if (Result<void> written = writeMask(mask, page); !written)
        return written.error();
    if (Result<void> written = writeLayer(ink, layers.ink, " /Mask " + reference(mask)); !written)
        return written.error();
    use.drawing += " /" + add(ink) + " Do";
    return use;
}

} // namespace korv
