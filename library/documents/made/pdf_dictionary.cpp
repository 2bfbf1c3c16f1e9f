#include "library/documents/made/pdf_dictionary.h"

#include <algorithm>
#include <charconv>

namespace korv {

namespace {

constexpr std::string_view kBlanks = " \n\r\t\f";
constexpr std::string_view kDelimiters = "()<>[]{}/% \n\r\t\f";

bool isBlank(char letter)
{
    return kBlanks.find(letter) != std::string_view::npos;
}

bool isDigit(char letter)
{
    return letter >= '0' && letter <= '9';
}

/// Goes over the objects in a text, as far as documents of ours have them: no comments.
class Scanner
{
public:
    explicit Scanner(std::string_view text)
        : m_text(text)
    {
    }

    std::size_t at() const { return m_at; }

    void skipBlanks()
    {
        while (m_at < m_text.size() && isBlank(m_text[m_at]))
            ++m_at;
    }
    bool take(std::string_view token)
    {
        if (m_text.substr(m_at, token.size()) != token)
            return false;
        m_at += token.size();
        return true;
    }
    /// The characters up to a delimiter.
    std::string_view takeWord()
    {
        const std::size_t end = std::min(m_text.find_first_of(kDelimiters, m_at), m_text.size());
        const std::string_view word = m_text.substr(m_at, end - m_at);
        m_at = end;
        return word;
    }
    /// One object, of which arrays and dictionaries may hold others, to this depth.
    bool skipObject(int depth = 16)
    {
        if (depth == 0 || m_at >= m_text.size())
            return false;
        if (take("<<"))
            return skipUntil(">>", depth);
        if (take("["))
            return skipUntil("]", depth);
        if (take("<")) {
            m_at = std::min(m_text.find('>', m_at), m_text.size());
            return take(">");
        }
        if (take("("))
            return skipLiteral();
        if (take("/"))
            return !takeWord().empty();
        const bool isNumber = isDigit(m_text[m_at]);
        if (takeWord().empty())
            return false;
        if (isNumber)
            skipRestOfReference();
        return true;
    }

private:
    bool skipUntil(std::string_view end, int depth)
    {
        for (;;) {
            skipBlanks();
            if (take(end))
                return true;
            if (!skipObject(depth - 1))
                return false;
        }
    }
    bool skipLiteral()
    {
        for (int open = 1; m_at < m_text.size(); ++m_at) {
            const char letter = m_text[m_at];
            if (letter == '\\')
                ++m_at;
            else if (letter == '(')
                ++open;
            else if (letter == ')' && --open == 0) {
                ++m_at;
                return true;
            }
        }
        return false;
    }
    void skipRestOfReference()
    {
        constexpr std::string_view kRest = " 0 R";
        const std::string_view behind = m_text.substr(m_at + std::min(kRest.size(), rest()));
        if (m_text.substr(m_at, kRest.size()) == kRest
            && (behind.empty() || kDelimiters.find(behind.front()) != std::string_view::npos))
            m_at += kRest.size();
    }
    std::size_t rest() const { return m_text.size() - m_at; }

    std::string_view m_text;
    std::size_t m_at = 0;
};

std::optional<int> wholeNumber(std::string_view text)
{
    int number = 0;
    const std::from_chars_result read =
        std::from_chars(text.data(), text.data() + text.size(), number);
    if (read.ec != std::errc() || read.ptr != text.data() + text.size())
        return std::nullopt;
    return number;
}

} // namespace

std::optional<PdfDictionary> PdfDictionary::read(std::string_view text, std::size_t &length)
{
    PdfDictionary dictionary;
    Scanner scanner(text);
    if (!scanner.take("<<"))
        return std::nullopt;
    for (;;) {
        scanner.skipBlanks();
        if (scanner.take(">>"))
            break;
        if (!scanner.take("/"))
            return std::nullopt;
        const std::string name(scanner.takeWord());
        scanner.skipBlanks();
        const std::size_t start = scanner.at();
        if (name.empty() || dictionary.has(name) || !scanner.skipObject())
            return std::nullopt;
        dictionary.m_entries.emplace_back(name, text.substr(start, scanner.at() - start));
    }
    length = scanner.at();
    return dictionary;
}

std::optional<PdfDictionary> PdfDictionary::read(std::string_view text)
{
    std::size_t length = 0;
    std::optional<PdfDictionary> dictionary = read(text, length);
    return length == text.size() ? dictionary : std::nullopt;
}

std::string PdfDictionary::value(std::string_view name) const
{
    const auto found = std::find_if(m_entries.begin(), m_entries.end(),
                                    [&](const auto &entry) { return entry.first == name; });
    return found == m_entries.end() ? std::string() : found->second;
}

bool PdfDictionary::has(std::string_view name) const
{
    return std::any_of(m_entries.begin(), m_entries.end(),
                       [&](const auto &entry) { return entry.first == name; });
}

void PdfDictionary::set(const std::string &name, std::string value)
{
    const auto found = std::find_if(m_entries.begin(), m_entries.end(),
                                    [&](const auto &entry) { return entry.first == name; });
    if (found == m_entries.end())
        m_entries.emplace_back(name, std::move(value));
    else
        found->second = std::move(value);
}

std::string PdfDictionary::text() const
{
    std::string text = "<<";
    for (const auto &[name, value] : m_entries)
        text += " /" + name + " " + value;
    return text + " >>";
}

std::optional<int> PdfDictionary::number(std::string_view name) const
{
    return wholeNumber(value(name));
}

std::optional<int> PdfDictionary::reference(std::string_view name) const
{
    return referencedObject(value(name));
}

std::optional<PdfDictionary> PdfDictionary::dictionary(std::string_view name) const
{
    return read(value(name));
}

std::optional<int> referencedObject(std::string_view text)
{
    constexpr std::string_view kEnd = " 0 R";
    if (text.size() <= kEnd.size() || text.substr(text.size() - kEnd.size()) != kEnd)
        return std::nullopt;
    return wholeNumber(text.substr(0, text.size() - kEnd.size()));
}

} // namespace korv
