#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace korv {

/// The entries of a PDF dictionary (ISO 32000-1, 7.3.7) in their order. Values stay the text that they
/// are in the file.
class PdfDictionary
{
public:
    /// The dictionary that `text` begins with, of which `length` becomes what it takes. Nothing for
    /// any other text.
    static std::optional<PdfDictionary> read(std::string_view text, std::size_t &length);
    /// The dictionary that is all of a text.
    static std::optional<PdfDictionary> read(std::string_view text);

    /// The value of a name without its slash; empty when there is none.
    std::string value(std::string_view name) const;
    bool has(std::string_view name) const;
    /// Replaces a value, or adds it at the end.
    void set(const std::string &name, std::string value);

    /// "<< /Name value >>"
    std::string text() const;

    // values of a kind; nothing for others
    std::optional<int> number(std::string_view name) const;
    std::optional<int> reference(std::string_view name) const;
    std::optional<PdfDictionary> dictionary(std::string_view name) const;

    const std::vector<std::pair<std::string, std::string>> &entries() const { return m_entries; }

private:
    std::vector<std::pair<std::string, std::string>> m_entries;
};

/// The number of the object that "12 0 R" stands for. Nothing for any other text.
std::optional<int> referencedObject(std::string_view text);

} // namespace korv
