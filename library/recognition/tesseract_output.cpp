#include "library/recognition/tesseract_output.h"

#include "library/recognition/tesseract_table.h"
#include "library/text/scripts.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace korv {

namespace {

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

bool isInside(const TesseractRow &row, const PageText &page)
{
    return row.at(TesseractRow::Left) >= 0 && row.at(TesseractRow::Top) >= 0
        && row.at(TesseractRow::Width) > 0 && row.at(TesseractRow::Height) > 0
        && row.at(TesseractRow::Width) <= page.width - row.at(TesseractRow::Left)
        && row.at(TesseractRow::Height) <= page.height - row.at(TesseractRow::Top);
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
    void begin(const TesseractRow &row)
    {
        end();
        m_line = isInside(row, m_page) ? std::optional<TesseractRow>(row) : std::nullopt;
    }

    /// `space` as Spaces::before() says it.
    void add(const TesseractRow &row, std::optional<bool> space)
    {
        if (!isInside(row, m_page))
            return;
        if (!m_line || m_line->line() != row.line())
            begin(row); // there was no row of this line: its first word stands for it
        const bool isApart = !m_words.empty()
            && space.value_or(!isWrittenWithoutSpaces(m_words.back().text, row.text));
        m_words.push_back(
            {row.text, row.at(TesseractRow::Left), row.at(TesseractRow::Width), isApart});
        m_tops.push_back(row.at(TesseractRow::Top));
        m_bottoms.push_back(row.at(TesseractRow::Top) + row.at(TesseractRow::Height));
    }

    /// Call it behind the last word, too.
    void end()
    {
        if (m_words.empty())
            return;
        // a speck between two lines makes the box of a line or that of a word too high, rarely both
        const int top = std::max(m_line->at(TesseractRow::Top), quantile(m_tops, 25));
        const int bottom =
            std::min(m_line->at(TesseractRow::Top) + m_line->at(TesseractRow::Height),
                     quantile(m_bottoms, 75));
        if (top < bottom)
            m_page.lines.push_back({top, bottom - top, std::move(m_words)});
        else
            m_page.lines.push_back({m_line->at(TesseractRow::Top), m_line->at(TesseractRow::Height),
                                    std::move(m_words)});
        m_words.clear();
        m_tops.clear();
        m_bottoms.clear();
    }

private:
    PageText &m_page;
    std::optional<TesseractRow> m_line;
    std::vector<PageWord> m_words;
    std::vector<int> m_tops;
    std::vector<int> m_bottoms;
};

} // namespace

Result<PageText> readTesseractOutput(const std::string &output)
{
    Result<TesseractTable> table = readTesseractTable(output);
    if (!table)
        return table.error();
    PageText page;
    page.width = table.value().width;
    page.height = table.value().height;
    Spaces spaces(std::move(table.value().plainText));
    Lines lines(page);
    for (const TesseractRow &row : table.value().rows) {
        if (row.isLine())
            lines.begin(row);
        else
            lines.add(row, spaces.before(row.text));
    }
    lines.end();
    return page;
}

} // namespace korv
