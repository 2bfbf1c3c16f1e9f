#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/documents/made/pdf_dictionary.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace korv {

/// An object of a PDF file, a dictionary; with data it is a stream.
struct PdfObject
{
    PdfDictionary entries;
    ByteView data; ///< as stored; empty without a stream
};

/// A PDF file as PdfWriter writes it, read strictly: what another program wrote, or changed, is
/// refused. Errors: -EBADMSG with one of the texts in `refusal`.
class PdfFile
{
public:
    /// `content` is borrowed.
    static Result<PdfFile> open(ByteView content);

    ByteView content() const { return m_content; }
    const PdfDictionary &trailer() const { return m_trailer; }
    /// Where the table of objects begins.
    std::uint64_t tableOffset() const { return m_tableOffset; }
    /// The least number of an object that is free.
    int size() const { return m_size; }

    Result<PdfObject> object(int number) const;
    /// The object that an entry refers to.
    Result<PdfObject> object(const PdfDictionary &entries, std::string_view name) const;

private:
    explicit PdfFile(ByteView content)
        : m_content(content)
    {
    }
    Result<void> readEnd();
    Result<void> readTable();
    Result<void> readOrigin() const;
    std::string_view textFrom(std::uint64_t offset) const;

    ByteView m_content;
    std::uint64_t m_tableOffset = 0;
    std::map<int, std::uint64_t> m_offsets; ///< of the objects in the last table
    PdfDictionary m_trailer;
    int m_size = 0;
};

} // namespace korv
