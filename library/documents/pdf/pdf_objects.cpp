#include "library/documents/pdf/pdf_objects.h"

#include "library/documents/deflate.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>

namespace korv {

namespace {

/// The table holds ten digits (7.5.4).
constexpr std::uint64_t kMaxOffset = 9'999'999'999;

/// Each entry is exactly 20 bytes (7.5.4).
std::string entryOf(std::uint64_t offset)
{
    char entry[32];
    std::snprintf(entry, sizeof entry, "%010" PRIu64 " 00000 n \n", offset);
    return entry;
}

} // namespace

Result<void> PdfObjects::begin(int number)
{
    const std::uint64_t offset = m_sink.size();
    if (offset > kMaxOffset)
        return Error{-EFBIG, "too many pages for one PDF"};
    m_offsets[number] = offset;
    return {};
}

Result<void> PdfObjects::write(int number, const std::string &body)
{
    if (Result<void> begun = begin(number); !begun)
        return begun;
    return m_sink.write(std::to_string(number) + " 0 obj\n" + body + "\nendobj\n");
}

Result<void> PdfObjects::writeStream(int number, const std::string &entries, ByteView data)
{
    if (Result<void> begun = begin(number); !begun)
        return begun;
    const std::string head = std::to_string(number) + " 0 obj\n<< " + entries + " /Length "
        + std::to_string(data.size) + " >>\nstream\n";
    if (Result<void> written = m_sink.write(head); !written)
        return written;
    if (Result<void> written = m_sink.write(data); !written)
        return written;
    return m_sink.write("\nendstream\nendobj\n");
}

Result<void> PdfObjects::writePacked(int number, const std::string &entries, ByteView data)
{
    const Result<Bytes> packed = deflated(data, DeflateFrame::Zlib);
    if (!packed)
        return packed.error();
    return writeStream(number, entries + " /Filter /FlateDecode", packed.value());
}

/// A section for each row of numbers that follow one another.
std::string PdfObjects::table() const
{
    std::string text = "xref\n";
    for (auto first = m_offsets.begin(); first != m_offsets.end();) {
        auto end = first;
        std::string entries;
        int number = first->first;
        for (; end != m_offsets.end() && end->first == number; ++end, ++number)
            entries += entryOf(end->second);
        // a new file says that number 0 is free
        const bool isStart = !m_isUpdate && first == m_offsets.begin();
        const int from = isStart ? 0 : first->first;
        text += std::to_string(from) + " " + std::to_string(number - from) + "\n";
        text += (isStart ? "0000000000 65535 f \n" : "") + entries;
        first = end;
    }
    return text;
}

Result<void> PdfObjects::finish(const std::string &trailer)
{
    const std::uint64_t start = m_sink.size();
    return m_sink.write(table() + "trailer\n<< /Size " + std::to_string(m_next) + " " + trailer
                        + " >>\nstartxref\n" + std::to_string(start) + "\n%%EOF\n");
}

} // namespace korv
