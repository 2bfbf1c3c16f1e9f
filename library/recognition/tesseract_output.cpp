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

/// The number that so many percent of the others are not above.
int quantile(std::vector<int> numbers, std::size_t percent)
{
    const auto at =
        numbers.begin() + static_cast<std::ptrdiff_t>((numbers.size() - 1) * percent / 100);
    std::nth_element(numbers.begin(), at, numbers.end());
    return *at;
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
        end();
        m_line = isInside(row, m_page) ? std::optional<Row>(row) : std::nullopt;
    }

    /// `space` as Spaces::before() says it.
    void add(const Row &row, std::optional<bool> space)
    {
        if (!isInside(row, m_page))
            return;
        if (!m_line || m_line->line() != row.line())
            begin(row); // there was no row of this line: its first word stands for it
        const bool isApart = !m_words.empty()
            && space.value_or(!isWrittenWithoutSpaces(m_words.back().text, row.text));
        m_words.push_back({row.text, row.at(Left), row.at(Width), isApart});
        m_tops.push_back(row.at(Top));
        m_bottoms.push_back(row.at(Top) + row.at(Height));
    }

    /// Call it behind the last word, too.
    void end()
    {
        if (m_words.empty())
            return;
        // a speck between two lines makes the box of a line or that of a word too high, rarely both
        const int top = std::max(m_line->at(Top), quantile(m_tops, 25));
        const int bottom = std::min(m_line->at(Top) + m_line->at(Height), quantile(m_bottoms, 75));
        if (top < bottom)
            m_page.lines.push_back({top, bottom - top, std::move(m_words)});
        else
            m_page.lines.push_back({m_line->at(Top), m_line->at(Height), std::move(m_words)});
        m_words.clear();
        m_tops.clear();
        m_bottoms.clear();
    }

private:
    PageText &m_page;
    std::optional<Row> m_line;
    std::vector<PageWord> m_words;
    std::vector<int> m_tops;
    std::vector<int> m_bottoms;
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
    lines.end();
    return page;
}

} // namespace korv
