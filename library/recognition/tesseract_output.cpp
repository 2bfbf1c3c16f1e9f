#include "library/recognition/tesseract_output.h"

#include "library/text/scripts.h"
#include "library/values/utf8.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <optional>
#include <string_view>
#include <tuple>

namespace korv {

namespace {

constexpr char kHead[] = "level\tpage_num\tblock_num\tpar_num\tline_num\tword_num\tleft\ttop\twidth"
                         "\theight\tconf\ttext";

// what stands in the columns of a row, by their order
enum Column { Level, PageNumber, Block, Paragraph, Line, Word, Left, Top, Width, Height, Numbers };

// levels of rows that count here
constexpr int kPageLevel = 1;
constexpr int kLineLevel = 4;
constexpr int kWordLevel = 5;

struct Row
{
    std::array<int, Numbers> numbers{};
    std::string text;

    int at(Column column) const { return numbers[static_cast<std::size_t>(column)]; }
    /// What words of one line have in common.
    std::tuple<int, int, int> line() const { return {at(Block), at(Paragraph), at(Line)}; }
};

std::string_view takeLine(std::string_view &rest)
{
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    const std::string_view line = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return line;
}

/// Nothing for a line that is no row.
std::optional<Row> rowOf(std::string_view line)
{
    Row row;
    for (int &number : row.numbers) {
        const std::size_t end = line.find('\t');
        if (end == std::string_view::npos)
            return std::nullopt;
        const auto read = std::from_chars(line.data(), line.data() + end, number);
        if (read.ec != std::errc() || read.ptr != line.data() + end)
            return std::nullopt;
        line.remove_prefix(end + 1);
    }
    const std::size_t confidence = line.find('\t');
    if (confidence == std::string_view::npos)
        return std::nullopt;
    row.text = validUtf8(std::string(line.substr(confidence + 1)));
    return row;
}

bool isBlank(char letter)
{
    return letter == ' ' || letter == '\n' || letter == '\t' || letter == '\r' || letter == '\f';
}

/// Follows the words through the plain text.
class Spaces
{
public:
    explicit Spaces(std::string plainText)
        : m_text(std::move(plainText))
    {
    }

    /// Whether white space stands before the next word; nothing once the texts differ.
    std::optional<bool> before(const std::string &word)
    {
        if (m_isLost)
            return std::nullopt;
        const std::size_t start = m_at;
        while (m_at < m_text.size() && isBlank(m_text[m_at]))
            ++m_at;
        m_isLost = m_text.compare(m_at, word.size(), word) != 0;
        if (m_isLost)
            return std::nullopt;
        const bool isSpace = m_at > start;
        m_at += word.size();
        return isSpace;
    }

private:
    std::string m_text;
    std::size_t m_at = 0;
    bool m_isLost = false;
};

bool isInside(const Row &row, const PageText &page)
{
    return row.at(Left) >= 0 && row.at(Top) >= 0 && row.at(Width) > 0 && row.at(Height) > 0
        && row.at(Width) <= page.width - row.at(Left)
        && row.at(Height) <= page.height - row.at(Top);
}

/// Takes the rows off, of which it returns those of lines and words, and the picture's size.
std::vector<Row> rowsOf(std::string_view &rest, PageText &page)
{
    std::vector<Row> rows;
    while (!rest.empty()) {
        std::string_view behind = rest;
        std::optional<Row> row = rowOf(takeLine(behind));
        if (!row)
            break;
        rest = behind;
        if (row->at(Level) == kPageLevel && page.width == 0) {
            page.width = row->at(Width);
            page.height = row->at(Height);
        }
        const bool isWord = row->at(Level) == kWordLevel
            && !std::all_of(row->text.begin(), row->text.end(), isBlank);
        if (isWord || row->at(Level) == kLineLevel)
            rows.push_back(std::move(*row));
    }
    return rows;
}

/// Puts words into the lines of a page.
class Lines
{
public:
    explicit Lines(PageText &page)
        : m_page(page)
    {
    }

    /// The row of the line that the next words are on.
    void begin(const Row &row)
    {
        m_line = isInside(row, m_page) ? std::optional<Row>(row) : std::nullopt;
        m_hasWords = false;
    }

    /// `space` as Spaces::before() says it.
    void add(const Row &row, std::optional<bool> space)
    {
        if (!isInside(row, m_page))
            return;
        if (!m_line || m_line->line() != row.line())
            begin(row); // there was no row of this line: its first word stands for it
        if (!m_hasWords)
            m_page.lines.push_back({m_line->at(Top), m_line->at(Height), {}});
        std::vector<PageWord> &words = m_page.lines.back().words;
        const bool isApart =
            m_hasWords && space.value_or(!isWrittenWithoutSpaces(words.back().text, row.text));
        words.push_back({row.text, row.at(Left), row.at(Width), isApart});
        m_hasWords = true;
    }

private:
    PageText &m_page;
    std::optional<Row> m_line;
    bool m_hasWords = false;
};

} // namespace

Result<PageText> readTesseractOutput(const std::string &output)
{
    std::string_view rest = output;
    if (takeLine(rest) != kHead)
        return Error{-EBADMSG, "no table of words"};
    PageText page;
    const std::vector<Row> rows = rowsOf(rest, page);
    if (page.width <= 0 || page.height <= 0)
        return Error{-EBADMSG, "a table of words without the picture's size"};
    Spaces spaces(validUtf8(std::string(rest)));
    Lines lines(page);
    for (const Row &row : rows) {
        if (row.at(Level) == kLineLevel)
            lines.begin(row);
        else
            lines.add(row, spaces.before(row.text));
    }
    return page;
}

} // namespace korv
