#include "library/documents/made/pdf_file.h"

#include "library/documents/document_writer.h"
#include "library/documents/made/refusal.h"
#include "library/documents/pdf/pdf_text.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace korv {

namespace {

/// Takes `token` off the front of a text.
bool take(std::string_view &text, std::string_view token)
{
    if (text.substr(0, token.size()) != token)
        return false;
    text.remove_prefix(token.size());
    return true;
}

template <typename Number> bool takeNumber(std::string_view &text, Number &number)
{
    const std::from_chars_result read =
        std::from_chars(text.data(), text.data() + text.size(), number);
    if (read.ec != std::errc())
        return false;
    text.remove_prefix(static_cast<std::size_t>(read.ptr - text.data()));
    return true;
}

} // namespace

Result<PdfFile> PdfFile::open(ByteView content)
{
    PdfFile file(content);
    if (Result<void> end = file.readEnd(); !end)
        return end.error();
    if (Result<void> table = file.readTable(); !table)
        return table.error();
    if (Result<void> origin = file.readOrigin(); !origin)
        return origin.error();
    return file;
}

std::string_view PdfFile::textFrom(std::uint64_t offset) const
{
    const std::string_view all(reinterpret_cast<const char *>(m_content.data), m_content.size);
    return all.substr(static_cast<std::size_t>(std::min<std::uint64_t>(offset, all.size())));
}

/// "startxref", a number and the end of the file.
Result<void> PdfFile::readEnd()
{
    constexpr std::size_t kLongest = 40;
    const std::string_view end =
        textFrom(m_content.size > kLongest ? m_content.size - kLongest : 0);
    const std::size_t at = end.rfind("startxref\n");
    if (at == std::string_view::npos)
        return end.find("%%EOF") == std::string_view::npos ? refusal::damaged()
                                                           : refusal::foreign();
    std::string_view rest = end.substr(at);
    take(rest, "startxref\n");
    if (!takeNumber(rest, m_tableOffset) || rest != "\n%%EOF\n" || m_tableOffset >= m_content.size)
        return refusal::foreign();
    return {};
}

Result<void> PdfFile::readTable()
{
    constexpr std::size_t kEntry = 20; ///< bytes (ISO 32000-1, 7.5.4)
    constexpr std::string_view kUsed = " 00000 n \n";
    std::string_view rest = textFrom(m_tableOffset);
    if (!take(rest, "xref\n"))
        return refusal::foreign();
    while (!take(rest, "trailer")) {
        int first = 0;
        int count = 0;
        if (!takeNumber(rest, first) || !take(rest, " ") || !takeNumber(rest, count)
            || !take(rest, "\n") || first < 0 || count < 0
            || first > std::numeric_limits<int>::max() - count
            || rest.size() / kEntry < static_cast<std::size_t>(count))
            return refusal::foreign();
        for (int number = first; number < first + count; ++number) {
            std::string_view entry = rest.substr(0, kEntry);
            rest.remove_prefix(kEntry);
            std::uint64_t offset = 0;
            if (takeNumber(entry, offset) && entry == kUsed)
                m_offsets[number] = offset;
        }
    }
    const bool isAsWritten = rest.substr(0, 1) == "\n"; // other programs differ here, some encrypt
    rest.remove_prefix(std::min(rest.find_first_not_of(" \n"), rest.size()));
    std::size_t length = 0;
    const std::optional<PdfDictionary> trailer = PdfDictionary::read(rest, length);
    if (!trailer)
        return refusal::foreign();
    m_trailer = *trailer;
    if (m_trailer.has("Encrypt"))
        return refusal::encrypted();
    m_size = m_trailer.number("Size").value_or(0);
    return isAsWritten && m_size > 0 ? Result<void>() : refusal::foreign();
}

/// Whether this library wrote the file, and nobody anything behind it.
Result<void> PdfFile::readOrigin() const
{
    const Result<PdfObject> information = object(m_trailer, "Info");
    if (!information || information.value().entries.value("Producer") != pdfText(kProducer))
        return refusal::foreign();
    const Result<PdfObject> catalog = object(m_trailer, "Root");
    if (!catalog)
        return refusal::damaged();
    const Result<PdfObject> metadata = object(catalog.value().entries, "Metadata");
    if (!metadata)
        return refusal::damaged();
    const ByteView packet = metadata.value().data;
    const std::string_view text(reinterpret_cast<const char *>(packet.data), packet.size);
    if (text.find("<pdfaid:conformance>U<") != std::string_view::npos)
        return refusal::hasText();
    return m_trailer.has("Prev") ? Result<void>(refusal::foreign()) : Result<void>();
}

Result<PdfObject> PdfFile::object(int number) const
{
    const auto found = m_offsets.find(number);
    if (found == m_offsets.end())
        return refusal::damaged();
    std::string_view rest = textFrom(found->second);
    std::size_t length = 0;
    if (!take(rest, std::to_string(number) + " 0 obj\n"))
        return refusal::damaged();
    const std::optional<PdfDictionary> entries = PdfDictionary::read(rest, length);
    if (!entries)
        return refusal::damaged();
    rest.remove_prefix(length);
    PdfObject object{*entries, {}};
    if (take(rest, "\nstream\n")) {
        const std::optional<int> size = entries->number("Length");
        if (!size || *size < 0 || static_cast<std::size_t>(*size) > rest.size())
            return refusal::damaged();
        object.data = ByteView(rest.data(), static_cast<std::size_t>(*size));
        rest.remove_prefix(object.data.size);
        if (!take(rest, "\nendstream"))
            return refusal::damaged();
    }
    return take(rest, "\nendobj\n") ? Result<PdfObject>(object)
                                    : Result<PdfObject>(refusal::damaged());
}

Result<PdfObject> PdfFile::object(const PdfDictionary &entries, std::string_view name) const
{
    const std::optional<int> number = entries.reference(name);
    return number ? object(*number) : Result<PdfObject>(refusal::damaged());
}

} // namespace korv
