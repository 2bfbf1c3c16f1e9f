#include "library/documents/made/made_pdf.h"

#include "library/documents/decimal.h"
#include "library/documents/made/refusal.h"
#include "library/documents/pdf/pdf_objects.h"
#include "library/documents/pdf/pdf_text.h"
#include "library/documents/pdf/text_font_objects.h"
#include "library/documents/pdf/text_layer.h"
#include "library/documents/pdf/xmp.h"
#include "library/values/random_text.h"

#include <sstream>

namespace korv {

namespace {

/// The object numbers in "[1 0 R 2 0 R]".
std::vector<int> references(const std::string &array)
{
    std::vector<int> numbers;
    if (array.size() < 2 || array.front() != '[' || array.back() != ']')
        return numbers;
    std::istringstream words(array.substr(1, array.size() - 2));
    std::string number;
    std::string generation;
    std::string letter;
    while (words >> number >> generation >> letter) {
        const auto object = referencedObject(number + " " + generation + " " + letter);
        if (!object)
            return {};
        numbers.push_back(*object);
    }
    return numbers;
}

/// The first of the two identifiers, which stays for the document's life (14.4).
std::string firstIdentifier(const std::string &array)
{
    const std::size_t start = array.find('<');
    const std::size_t end = array.find('>');
    return start == std::string::npos || end == std::string::npos || end < start
        ? std::string("<>")
        : array.substr(start, end - start + 1);
}

/// One update of a file: the objects that are new or changed.
class PdfTextUpdate
{
public:
    PdfTextUpdate(const PdfFile &file, const std::vector<MadePdfPage> &pages, const AddedText &text,
                  ByteSink &sink)
        : m_file(file)
        , m_pages(pages)
        , m_text(text)
        , m_sink(sink)
        , m_objects(sink, file.size())
        , m_fontNumber(m_objects.reserve())
    {
    }

    Result<void> write()
    {
        if (Result<void> written = m_sink.write(m_file.content()); !written)
            return written;
        for (std::size_t i = 0; i < m_pages.size(); ++i) {
            const PageText *const text = m_text.pages[i].get();
            if (text == nullptr)
                continue;
            if (Result<void> written = addTo(m_pages[i], *text); !written)
                return written;
        }
        if (Result<void> written = writeTextFont(m_objects, m_fontNumber, m_font); !written)
            return written;
        if (Result<void> written = writeCatalog(); !written)
            return written;
        if (Result<void> written = writeInformation(); !written)
            return written;
        const PdfDictionary &trailer = m_file.trailer();
        return m_objects.finish("/Root " + trailer.value("Root") + " /Info " + trailer.value("Info")
                                + " /ID [" + firstIdentifier(trailer.value("ID")) + " <"
                                + randomHex(16) + ">] /Prev "
                                + std::to_string(m_file.tableOffset()));
    }

private:
    /// The page draws its text behind its pictures.
    Result<void> addTo(const MadePdfPage &page, const PageText &text)
    {
        const std::string operators = textOperators(text, m_font);
        if (operators.empty())
            return {};
        const PdfPlace &place = page.pictures.front().place;
        const std::string drawing = "q " + decimal(place.width / text.width, 6) + " 0 0 "
            + decimal(place.height / text.height, 6) + " " + decimal(place.left, 4) + " "
            + decimal(place.under, 4) + " cm\n" + operators + " Q";
        const int content = m_objects.reserve();
        if (Result<void> written =
                m_objects.writePacked(content, {}, ByteView(drawing.data(), drawing.size()));
            !written)
            return written;
        PdfDictionary entries = page.entries;
        std::optional<PdfDictionary> resources = entries.dictionary("Resources");
        if (!resources)
            return refusal::damaged();
        resources->set("Font",
                       std::string("<< /") + kTextFontName + " " + reference(m_fontNumber) + " >>");
        entries.set("Resources", resources->text());
        entries.set("Contents", "[" + entries.value("Contents") + " " + reference(content) + "]");
        return m_objects.write(page.number, entries.text());
    }

    Result<void> writeCatalog()
    {
        const std::optional<int> number = m_file.trailer().reference("Root");
        const Result<PdfObject> catalog = m_file.object(m_file.trailer(), "Root");
        if (!catalog)
            return catalog.error();
        PdfDictionary entries = catalog.value().entries;
        const std::optional<int> metadata = entries.reference("Metadata");
        const Result<PdfObject> packet = m_file.object(entries, "Metadata");
        if (!number || !metadata || !packet)
            return refusal::damaged();
        const ByteView old = packet.value().data;
        const std::string changed =
            xmpPacketWithText(std::string(old.begin(), old.end()), m_text.added);
        if (Result<void> written = m_objects.writeStream(*metadata, "/Type /Metadata /Subtype /XML",
                                                         ByteView(changed.data(), changed.size()));
            !written)
            return written;
        if (!m_text.language.empty())
            entries.set("Lang", pdfText(m_text.language));
        return m_objects.write(*number, entries.text());
    }

    Result<void> writeInformation()
    {
        const std::optional<int> number = m_file.trailer().reference("Info");
        const Result<PdfObject> information = m_file.object(m_file.trailer(), "Info");
        if (!number || !information)
            return refusal::damaged();
        PdfDictionary entries = information.value().entries;
        entries.set("ModDate", pdfText(pdfDate(m_text.added)));
        return m_objects.write(*number, entries.text());
    }

    const PdfFile &m_file;
    const std::vector<MadePdfPage> &m_pages;
    const AddedText &m_text;
    ByteSink &m_sink;
    PdfObjects m_objects;
    TextFont m_font;
    int m_fontNumber;
};

} // namespace

Result<std::unique_ptr<MadeDocument>> MadePdf::open(ByteView content)
{
    Result<PdfFile> file = PdfFile::open(content);
    if (!file)
        return file.error();
    std::unique_ptr<MadePdf> document(new MadePdf(std::move(file).value()));
    if (Result<void> read = document->readPages(); !read)
        return read.error();
    return std::unique_ptr<MadeDocument>(std::move(document));
}

Result<void> MadePdf::readPages()
{
    const Result<PdfObject> catalog = m_file.object(m_file.trailer(), "Root");
    if (!catalog)
        return catalog.error();
    const Result<PdfObject> tree = m_file.object(catalog.value().entries, "Pages");
    if (!tree)
        return tree.error();
    for (const int number : references(tree.value().entries.value("Kids"))) {
        Result<MadePdfPage> page = readPage(number);
        if (!page)
            return page.error();
        m_pages.push_back(std::move(page).value());
    }
    const int count = tree.value().entries.number("Count").value_or(0);
    return count > 0 && static_cast<std::size_t>(count) == m_pages.size() ? Result<void>()
                                                                          : refusal::damaged();
}

Result<MadePdfPage> MadePdf::readPage(int number) const
{
    const Result<PdfObject> page = m_file.object(number);
    if (!page)
        return page.error();
    Result<std::vector<DrawnPicture>> pictures = drawnPictures(m_file, page.value().entries);
    if (!pictures)
        return pictures.error();
    return MadePdfPage{number, page.value().entries, std::move(pictures).value()};
}

ByteView MadePdf::storedPicture(std::size_t page) const
{
    return m_pages[page].pictures.back().picture.data;
}

Result<Image> MadePdf::picture(std::size_t page) const
{
    return composed(m_file, m_pages[page].pictures);
}

Result<void> MadePdf::write(const AddedText &text, ByteSink &sink) const
{
    return PdfTextUpdate(m_file, m_pages, text, sink).write();
}

} // namespace korv
