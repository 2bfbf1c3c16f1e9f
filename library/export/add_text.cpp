#include "library/export/add_text.h"

#include "library/base/exceptions_to_errors.h"
#include "library/base/log.h"
#include "library/documents/made/made_ofd.h"
#include "library/documents/made/made_pdf.h"
#include "library/export/document_text.h"
#include "library/files/atomic_file.h"
#include "library/files/source_file.h"
#include "library/threads/thread.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace korv {

namespace {

constexpr std::string_view kPdf = "%PDF-";
constexpr std::string_view kZip = "PK\x03\x04";
constexpr std::size_t kMaxReaders = 4; ///< each holds a page's picture

bool beginsWith(ByteView content, std::string_view start)
{
    return content.size >= start.size()
        && std::memcmp(content.data, start.data(), start.size()) == 0;
}

Result<std::unique_ptr<MadeDocument>> open(ByteView content, const Format &format)
{
    const bool isPdf = beginsWith(content, kPdf);
    if (isPdf != (std::string_view(format.extension) == "pdf"))
        return Error{-EINVAL, "a document keeps its format when it gets text"};
    return isPdf ? MadePdf::open(content) : MadeOfd::open(content);
}

/// Recognises the pages of a document, several at a time.
class PageReaders
{
public:
    PageReaders(const MadeDocument &document, DocumentText &text, std::string name)
        : m_document(document)
        , m_text(text)
        , m_name(std::move(name))
        , m_pages(document.pageCount())
    {
    }

    std::vector<TextRecogniser::Text> read()
    {
        const std::size_t wanted =
            std::min({std::size_t{std::max(1U, std::thread::hardware_concurrency())}, kMaxReaders,
                      m_pages.size()});
        std::vector<std::thread> others;
        try {
            while (others.size() + 1 < wanted)
                others.push_back(startThread("korv-page", [this] { work(); }));
        } catch (const std::system_error &error) {
            logLine(LogLevel::Debug, "fewer threads read pages", error.what());
        }
        work();
        for (std::thread &other : others)
            other.join();
        return std::move(m_pages);
    }

private:
    void work()
    {
        for (std::size_t page = m_next++; page < m_pages.size(); page = m_next++) {
            const auto picture = [&] {
                return exceptionsToErrors([&] { return m_document.picture(page); });
            };
            const std::string name = m_name + ", page " + std::to_string(page + 1);
            TextRecogniser::Text text =
                m_text.of(contentKeyOf(m_document.storedPicture(page)), picture, name);
            // the layer's words stand upright, and the page stays as it is
            if (text && text->turn != Rotation::None) {
                logLine(LogLevel::Warning, name, "this page gets no text",
                        "it does not lie upright");
                text = nullptr;
            }
            m_pages[page] = std::move(text);
        }
    }

    const MadeDocument &m_document;
    DocumentText &m_text;
    const std::string m_name;
    std::vector<TextRecogniser::Text> m_pages;
    std::atomic<std::size_t> m_next{0};
};

bool hasWords(const TextRecogniser::Text &text)
{
    return text && !text->lines.empty();
}

} // namespace

bool looksLikeDocument(const std::string &path)
{
    Bytes head;
    const Result<SourceFile> file = SourceFile::open(path);
    if (!file || !file.value().read(0, kPdf.size(), head))
        return false;
    return beginsWith(head, kPdf) || beginsWith(head, kZip);
}

Result<void> addText(const std::string &source, const Format &format,
                     const std::string &destination, TextRecogniser &recogniser)
{
    Bytes content;
    if (Result<void> read = readSourceFile(source, content); !read)
        return read;
    const Result<std::unique_ptr<MadeDocument>> document = open(content, format);
    if (!document)
        return document.error();
    DocumentText text(&recogniser);
    AddedText added;
    added.pages = PageReaders(*document.value(), text, source).read();
    if (std::none_of(added.pages.begin(), added.pages.end(), hasWords))
        return Error{-ENODATA, "no writing was recognised on its pages"};
    added.language = documentLanguage(recogniser.options().languages);
    added.added = std::time(nullptr);
    Result<std::unique_ptr<AtomicFile>> file = AtomicFile::create(destination, Existing::KeepBoth);
    if (!file)
        return file.error();
    if (Result<void> written = document.value()->write(added, *file.value()); !written)
        return written;
    if (Result<void> committed = file.value()->commit(); !committed)
        return committed;
    const auto missing = std::count(added.pages.begin(), added.pages.end(), nullptr);
    if (missing == 1)
        return Error{-ENODATA, "one of its pages has no text"};
    if (missing > 1)
        return Error{-ENODATA, std::to_string(missing) + " of its pages have no text"};
    return {};
}

} // namespace korv
