#include "library/documents/decimal.h"
#include "library/documents/pdf/pdf_text.h"
#include "library/documents/pdf/pdf_writer.h"

// A page in layers (ISO 32000-1, 8.9.6.3): the picture of the ink's colours has an explicit mask, a
// stencil of more pixels than it has itself. Readers scale the two separately.
namespace korv {

namespace {

/// Pixels of a page.
struct Part
{
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
};

/// Draws into a part of the unit square. Six decimals are a hundredth of a pixel at the most.
std::string drawnAt(const Part &part, const Page &page, const std::string &name)
{
    constexpr int kPlaces = 6;
    const auto share = [](int some, int whole) {
        return decimal(static_cast<double>(some) / whole, kPlaces);
    };
    const int under = page.height - part.top - part.height;
    return " q " + share(part.width, page.width) + " 0 0 " + share(part.height, page.height) + " "
        + share(part.left, page.width) + " " + share(under, page.height) + " cm /" + name + " Do Q";
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
Result<void> PdfWriter::writeMask(int number, const InkMask &mask, int width, int height)
{
    const std::string columns = std::to_string(width);
    const std::string rows = std::to_string(height);
    return m_objects.writeStream(
        number,
        "/Type /XObject /Subtype /Image /Width " + columns + " /Height " + rows
            + " /ImageMask true /BitsPerComponent 1"
            + (mask.coding == MaskCoding::Jbig2
                   ? " /Filter /JBIG2Decode"
                   : " /Filter /CCITTFaxDecode /DecodeParms << /K -1 /Columns " + columns
                       + " /Rows " + rows + " >>"),
        mask.data);
}

/// The number of the picture.
Result<int> PdfWriter::writeInk(const LayerJpeg &ink, const InkMask &mask, int width, int height)
{
    const int stencil = m_objects.reserve();
    const int colours = m_objects.reserve();
    if (Result<void> written = writeMask(stencil, mask, width, height); !written)
        return written.error();
    if (Result<void> written = writeLayer(colours, ink, " /Mask " + reference(stencil)); !written)
        return written.error();
    return colours;
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
        const Part part{patch.left, patch.top, patch.picture.width, patch.picture.height};
        use.drawing += drawnAt(part, page, add(number));
    }
    for (const InkPatch &patch : layers.colouredInk) {
        const Result<int> number = writeInk(patch.ink, patch.mask, patch.width, patch.height);
        if (!number)
            return number.error();
        const Part part{patch.left, patch.top, patch.width, patch.height};
        use.drawing += drawnAt(part, page, add(number.value()));
    }
    if (layers.mask.data.empty())
        return use;
    const Result<int> ink = writeInk(layers.ink, layers.mask, page.width, page.height);
    if (!ink)
        return ink.error();
    use.drawing += " /" + add(ink.value()) + " Do";
    return use;
}

} // namespace korv
