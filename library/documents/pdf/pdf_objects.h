#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/files/byte_sink.h"

#include <cstdint>
#include <map>
#include <string>

namespace korv {

/// Writes the objects of a PDF file one after the other (ISO 32000-1, 7.5), remembers where each one
/// is, and ends the file, or an update at the end of one, with the table of them.
class PdfObjects
{
public:
    /// `first` is the least number that is free: 1 in a new file. The sink, which is borrowed, holds
    /// what stands before the objects by the time when they are written.
    explicit PdfObjects(ByteSink &sink, int first = 1)
        : m_sink(sink)
        , m_next(first)
        , m_isUpdate(first > 1)
    {
    }

    /// A number that is new.
    int reserve() { return m_next++; }

    /// Errors of these: -EFBIG behind what the table can point to, -ENOMEM, what the sink answered.
    Result<void> write(int number, const std::string &body);
    Result<void> writeStream(int number, const std::string &entries, ByteView data);
    /// A stream that is deflated here.
    Result<void> writePacked(int number, const std::string &entries, ByteView data);

    /// The table and the trailer, which has these entries and its /Size.
    Result<void> finish(const std::string &trailer);

private:
    Result<void> begin(int number);
    std::string table() const;

    ByteSink &m_sink;
    std::map<int, std::uint64_t> m_offsets; ///< of the objects that were written, by their numbers
    int m_next;
    bool m_isUpdate;
};

} // namespace korv
