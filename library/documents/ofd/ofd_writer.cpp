#include "library/documents/ofd/ofd_writer.h"

#include "library/documents/decimal.h"
#include "library/documents/ofd/ofd_resources.h"
#include "library/documents/ofd/ofd_text.h"
#include "library/values/dates.h"
#include "library/values/random_text.h"

#include <algorithm>
#include <utility>

namespace korv {

namespace {

constexpr char kPictureFolder[] = "Res";

std::string millimetres(int pixels, double dpi, int places)
{
    return decimal(pixels * 25.4 / dpi, places);
}

/// In millimetres, on each side of a picture in the middle of a sheet's side.
double marginOf(double side, int pixels, double dpi)
{
    return std::max(0.0, (side - pixels * 25.4 / dpi) / 2);
}

/// Some readers put the folder in front of a name only when the name does not hold the folder's
/// name already, so pictures must not be called "Res...".
std::string pictureName(std::size_t index, bool png)
{
    return "image_" + std::to_string(index) + (png ? ".png" : ".jpg");
}

std::string pageLocation(std::size_t index)
{
    return "Pages/Page_" + std::to_string(index) + "/Content.xml";
}

std::string ofdDate(std::time_t time)
{
    const std::string date = isoDate(time);
    return date.substr(0, date.find('T'));
}

} // namespace

OfdWriter::OfdWriter(ByteSink &sink, const DocumentOptions &options)
    : m_zip(sink, options.created)
    , m_options(options)
{
}

Result<void> OfdWriter::writePicture(const Page &page, std::size_t index)
{
    const bool png = page.pixels != nullptr;
    const std::string name = std::string("Doc_0/") + kPictureFolder + "/" + pictureName(index, png);
    return m_zip.add(name, png ? page.coded : page.jpeg, ZipMethod::Stored);
}

Result<void> OfdWriter::writePage(std::size_t index, unsigned layerId, unsigned objectId,
                                  const PlacedEntry &entry, const std::string &box,
                                  const Page &page)
{
    OfdXml xml("Page");
    xml.root().child("Area").text("PhysicalBox", "0 0 " + box);
    OfdElement layer = xml.root().child("Content").child("Layer");
    layer.attribute("ID", layerId).attribute("Type", "Body");
    addText(layer, page);
    // the picture is the unit square; without CTM it would be one millimetre wide
    const std::string transform = entry.width + " 0 0 " + entry.height + " 0 0";
    layer.child("ImageObject")
        .attribute("ID", objectId)
        .attribute("Boundary",
                   entry.left + " " + entry.top + " " + entry.width + " " + entry.height)
        .attribute("CTM", transform)
        .attribute("ResourceID", entry.pictureId);
    const std::string text = xml.text();
    return m_zip.add("Doc_0/" + pageLocation(index), ByteView(text.data(), text.size()),
                     ZipMethod::Deflated);
}

/// In front of the picture's object, and so under the picture.
void OfdWriter::addText(OfdElement &layer, const Page &page)
{
    if (page.text == nullptr || page.text->lines.empty())
        return;
    if (m_fontId == 0)
        m_fontId = nextId();
    OfdPlace place;
    place.pixelWidth = 25.4 / page.resolution.x;
    place.pixelHeight = 25.4 / page.resolution.y;
    if (page.sheet) {
        place.left = marginOf(page.sheet->width, page.width, page.resolution.x);
        place.top = marginOf(page.sheet->height, page.height, page.resolution.y);
    }
    addTextObjects(layer, *page.text, place, m_fontId, [this] { return nextId(); });
}

Result<void> OfdWriter::addPage(const Page &page)
{
    const std::size_t index = m_entries.size();
    PlacedEntry entry;
    entry.pageId = nextId();
    const unsigned layerId = nextId();
    const unsigned objectId = nextId();
    entry.pictureId = nextId();
    entry.png = page.pixels != nullptr;
    const int places = page.resolution.exact ? 2 : 3;
    entry.width = millimetres(page.width, page.resolution.x, places);
    entry.height = millimetres(page.height, page.resolution.y, places);
    std::string box = entry.width + " " + entry.height;
    if (page.sheet) {
        box = decimal(page.sheet->width, 3) + " " + decimal(page.sheet->height, 3);
        entry.left = decimal(marginOf(page.sheet->width, page.width, page.resolution.x), 3);
        entry.top = decimal(marginOf(page.sheet->height, page.height, page.resolution.y), 3);
    }
    if (index == 0)
        m_box = box;
    if (Result<void> written = writePicture(page, index); !written)
        return written;
    Result<void> written = writePage(index, layerId, objectId, entry, box, page);
    m_entries.push_back({entry.pageId, entry.pictureId, entry.png});
    return written;
}

Result<void> OfdWriter::writePictureList()
{
    OfdXml xml("Res");
    xml.root().attribute("BaseLoc", kPictureFolder);
    OfdElement list = xml.root().child("MultiMedias");
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
        const Entry &entry = m_entries[i];
        list.child("MultiMedia")
            .attribute("ID", entry.pictureId)
            .attribute("Type", "Image")
            .attribute("Format", entry.png ? "PNG" : "JPEG")
            .text("MediaFile", pictureName(i, entry.png));
    }
    const std::string text = xml.text();
    return m_zip.add("Doc_0/DocumentRes.xml", ByteView(text.data(), text.size()),
                     ZipMethod::Deflated);
}

Result<void> OfdWriter::writePublicResources()
{
    OfdXml xml("Res");
    xml.root().attribute("BaseLoc", kPictureFolder);
    xml.root()
        .child("ColorSpaces")
        .child("ColorSpace")
        .attribute("ID", nextId())
        .attribute("Type", "RGB")
        .attribute("BitsPerComponent", 8);
    if (m_fontId != 0)
        addFont(xml.root(), m_fontId);
    const std::string text = xml.text();
    return m_zip.add("Doc_0/PublicRes.xml", ByteView(text.data(), text.size()),
                     ZipMethod::Deflated);
}

Result<void> OfdWriter::writeDocument()
{
    OfdXml xml("Document");
    OfdElement common = xml.root().child("CommonData");
    common.text("MaxUnitID", std::to_string(m_lastId));
    common.child("PageArea").text("PhysicalBox", "0 0 " + m_box);
    common.text("PublicRes", "PublicRes.xml");
    common.text("DocumentRes", "DocumentRes.xml");
    OfdElement pages = xml.root().child("Pages");
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
        pages.child("Page")
            .attribute("ID", m_entries[i].pageId)
            .attribute("BaseLoc", pageLocation(i));
    }
    const std::string text = xml.text();
    return m_zip.add("Doc_0/Document.xml", ByteView(text.data(), text.size()), ZipMethod::Deflated);
}

Result<void> OfdWriter::writeEntryPoint()
{
    OfdXml xml("OFD");
    xml.root().attribute("Version", "1.0").attribute("DocType", "OFD");
    OfdElement body = xml.root().child("DocBody");
    OfdElement information = body.child("DocInfo");
    information.text("DocID", randomHex(16));
    if (!m_options.title.empty())
        information.text("Title", m_options.title);
    information.text("CreationDate", ofdDate(m_options.created));
    information.text("Creator", kProducer);
    body.text("DocRoot", "Doc_0/Document.xml");
    const std::string text = xml.text();
    return m_zip.add("OFD.xml", ByteView(text.data(), text.size()), ZipMethod::Deflated);
}

Result<void> OfdWriter::finish()
{
    using Step = Result<void> (OfdWriter::*)();
    // the document states the highest id, so it follows everything that takes one
    for (const Step step : {&OfdWriter::writePictureList, &OfdWriter::writePublicResources,
                            &OfdWriter::writeDocument, &OfdWriter::writeEntryPoint}) {
        if (Result<void> written = (this->*step)(); !written)
            return written;
    }
    return m_zip.finish();
}

} // namespace korv
