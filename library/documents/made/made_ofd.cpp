#include "library/documents/made/made_ofd.h"

#include "library/documents/document_writer.h"
#include "library/documents/made/refusal.h"
#include "library/documents/ofd/ofd_resources.h"
#include "library/documents/ofd/ofd_xml.h"
#include "library/documents/xml_text.h"
#include "library/files/source_format.h"
#include "library/formats/png_reader.h"
#include "library/image/colour.h"
#include "library/jpeg/jpeg.h"

#include <cerrno>
#include <locale>
#include <map>
#include <sstream>

namespace korv {

namespace {

constexpr char kEntryPoint[] = "OFD.xml";
constexpr char kFolder[] = "Doc_0/";
constexpr char kDocument[] = "Doc_0/Document.xml";
constexpr char kPublicResources[] = "Doc_0/PublicRes.xml";
constexpr char kDocumentResources[] = "Doc_0/DocumentRes.xml";

/// Four numbers with blanks between them.
bool readBox(const std::string &text, double (&box)[4])
{
    std::istringstream numbers(text);
    numbers.imbue(std::locale::classic());
    for (double &number : box)
        numbers >> number;
    return !numbers.fail();
}

ByteView bytesOf(const std::string &text)
{
    return {text.data(), text.size()};
}

} // namespace

Result<std::unique_ptr<MadeDocument>> MadeOfd::open(ByteView content)
{
    Result<ZipFile> file = ZipFile::open(content);
    if (!file)
        return file.error();
    std::unique_ptr<MadeOfd> document(new MadeOfd(std::move(file).value()));
    if (Result<void> read = document->read(); !read)
        return read.error();
    return std::unique_ptr<MadeDocument>(std::move(document));
}

Result<void> MadeOfd::readXml(const std::string &name, pugi::xml_document &document) const
{
    const ZipEntry *const entry = m_file.find(name);
    if (entry == nullptr)
        return refusal::foreign();
    const Result<Bytes> text = m_file.content(*entry);
    if (!text)
        return text.error();
    const pugi::xml_parse_result parsed =
        document.load_buffer(text.value().data(), text.value().size(),
                             pugi::parse_default | pugi::parse_declaration, pugi::encoding_utf8);
    if (parsed.status == pugi::status_out_of_memory)
        return systemError(ENOMEM, "read ", name);
    return parsed ? Result<void>() : refusal::damaged();
}

Result<void> MadeOfd::read()
{
    pugi::xml_document entryPoint;
    if (Result<void> read = readXml(kEntryPoint, entryPoint); !read)
        return read;
    const pugi::xml_node body = entryPoint.child("ofd:OFD").child("ofd:DocBody");
    if (body.child("ofd:DocInfo").child_value("ofd:Creator") != std::string(kProducer)
        || body.child_value("ofd:DocRoot") != std::string(kDocument))
        return refusal::foreign();
    pugi::xml_document resources;
    if (Result<void> read = readXml(kPublicResources, resources); !read)
        return read;
    if (resources.child("ofd:Res").child("ofd:Fonts"))
        return refusal::hasText();
    return readPages();
}

Result<void> MadeOfd::readPages()
{
    pugi::xml_document document;
    if (Result<void> read = readXml(kDocument, document); !read)
        return read;
    pugi::xml_document resources;
    if (Result<void> read = readXml(kDocumentResources, resources); !read)
        return read;
    const pugi::xml_node root = document.child("ofd:Document");
    m_lastId = root.child("ofd:CommonData").child("ofd:MaxUnitID").text().as_uint();
    const pugi::xml_node pictures = resources.child("ofd:Res").child("ofd:MultiMedias");
    for (const pugi::xml_node &page : root.child("ofd:Pages").children("ofd:Page")) {
        const std::string name = std::string(kFolder) + page.attribute("BaseLoc").value();
        if (Result<void> read = readPage(name, pictures); !read)
            return read;
    }
    return m_pages.empty() || m_lastId == 0 ? refusal::damaged() : Result<void>();
}

Result<void> MadeOfd::readPage(const std::string &name, const pugi::xml_node &pictures)
{
    pugi::xml_document page;
    if (Result<void> read = readXml(name, page); !read)
        return read;
    const pugi::xml_node object =
        page.child("ofd:Page").child("ofd:Content").child("ofd:Layer").child("ofd:ImageObject");
    const pugi::xml_node picture = pictures.find_child_by_attribute(
        "ofd:MultiMedia", "ID", object.attribute("ResourceID").value());
    double box[4] = {};
    if (!object || !picture || !readBox(object.attribute("Boundary").value(), box))
        return refusal::damaged();
    SourcePage source{name, nullptr, box[0], box[1], box[2], box[3]};
    source.picture =
        m_file.find(std::string(kFolder) + "Res/" + picture.child_value("ofd:MediaFile"));
    if (source.picture == nullptr || source.picture->method != ZipMethod::Stored
        || source.width <= 0 || source.height <= 0)
        return refusal::damaged();
    m_pages.push_back(std::move(source));
    return {};
}

ByteView MadeOfd::storedPicture(std::size_t page) const
{
    return m_file.stored(*m_pages[page].picture);
}

Result<Image> MadeOfd::picture(std::size_t page) const
{
    constexpr double kInch = 25.4;
    const ByteView content = storedPicture(page);
    Result<Image> image = Image();
    if (recogniseFormat(content) == SourceFormat::Png) {
        image = readPng(content);
        if (image)
            image = toGray(image.value());
    } else {
        jpeg::DecodeOptions luma;
        luma.gray = true;
        image = jpeg::decode(content, luma);
    }
    if (image)
        image.value().setResolution({image.value().width() * kInch / m_pages[page].width,
                                     image.value().height() * kInch / m_pages[page].height});
    return image;
}

Result<std::string> MadeOfd::pageWithText(const SourcePage &page, const PageText &text,
                                          unsigned fontId, unsigned &lastId) const
{
    pugi::xml_document xml;
    if (Result<void> read = readXml(page.name, xml); !read)
        return read.error();
    pugi::xml_node layer = xml.child("ofd:Page").child("ofd:Content").child("ofd:Layer");
    OfdElement element(layer);
    const OfdPlace place{page.left, page.top, page.width / text.width, page.height / text.height};
    addTextObjects(element, text, place, fontId, [&] { return ++lastId; });
    // the text lies under the picture
    xmlAnswer(layer.append_move(layer.child("ofd:ImageObject")));
    return xmlText(xml);
}

Result<void> MadeOfd::write(const AddedText &text, ByteSink &sink) const
{
    unsigned lastId = m_lastId;
    const unsigned fontId = ++lastId;
    std::map<std::string, std::string> changed;
    for (std::size_t i = 0; i < m_pages.size(); ++i) {
        if (text.pages[i] == nullptr || text.pages[i]->lines.empty())
            continue;
        Result<std::string> page = pageWithText(m_pages[i], *text.pages[i], fontId, lastId);
        if (!page)
            return page.error();
        changed[m_pages[i].name] = std::move(page).value();
    }
    pugi::xml_document resources;
    if (Result<void> read = readXml(kPublicResources, resources); !read)
        return read;
    OfdElement list(resources.child("ofd:Res"));
    addFont(list, fontId);
    changed[kPublicResources] = xmlText(resources);
    pugi::xml_document document;
    if (Result<void> read = readXml(kDocument, document); !read)
        return read;
    document.child("ofd:Document")
        .child("ofd:CommonData")
        .child("ofd:MaxUnitID")
        .text()
        .set(lastId);
    changed[kDocument] = xmlText(document);
    ZipWriter archive(sink, text.added);
    for (const ZipEntry &entry : m_file.entries()) {
        const auto found = changed.find(entry.name);
        Result<void> written = found == changed.end()
            ? archive.copy(entry, m_file.record(entry))
            : archive.add(entry.name, bytesOf(found->second), ZipMethod::Deflated);
        if (!written)
            return written;
    }
    return archive.finish();
}

} // namespace korv
