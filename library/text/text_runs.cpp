#include "library/text/text_runs.h"

#include "library/text/scripts.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace korv {

namespace {

/// The least width of a run, in pixels.
constexpr double kMinWidth = 1;
/// The least width of a space, of the line's height. Readers that go by the gaps see no smaller ones.
constexpr double kMinSpace = 0.15;

double widthOf(const std::u32string &characters)
{
    double width = 0;
    for (const char32_t character : characters)
        width += characterWidth(character);
    return width;
}

/// Words without a space between them.
std::vector<TextRun> runsOf(const PageWord *first, const PageWord *end)
{
    std::vector<TextRun> runs;
    bool hasWide = false;
    for (const PageWord *word = first; word != end; ++word) {
        const std::u32string characters = charactersOf(word->text);
        hasWide |= std::any_of(characters.begin(), characters.end(), isWideCharacter);
        runs.push_back({characters, double(word->left), double(word->left + word->width)});
    }
    if (!hasWide || runs.size() == 1)
        return runs;
    TextRun row = std::move(runs.front());
    for (std::size_t i = 1; i < runs.size(); ++i) {
        row.characters += runs[i].characters;
        row.right = std::max(row.right, runs[i].right);
    }
    return {row};
}

/// Whether characters end with a mark that stands in the room of a wide character, as marks do behind
/// such a character: recognisers often take it for the narrow mark of the same look. `before` is what
/// stands before the characters; 0 for nothing.
bool endsWithMark(const std::u32string &characters, char32_t before)
{
    constexpr std::u32string_view kNarrowMarks = U":;,.!?)";
    if (characters.size() > 1)
        before = characters[characters.size() - 2];
    return isWidePunctuation(characters.back())
        || (isWideCharacter(before)
            && kNarrowMarks.find(characters.back()) != std::u32string_view::npos);
}

/// Such a mark has its ink at the left of its room, which the box does not show. Left as it is, the
/// rest of the room looks like a gap between two columns.
double rightOfRoom(const TextRun &run)
{
    constexpr double kInk = 0.45; ///< of the room
    const double others = widthOf(run.characters) - characterWidth(run.characters.back());
    return run.left + (run.right - run.left) * (others + 1) / (others + kInk);
}

/// Collects the runs of a line, and moves them as little as they must so that each ends where the
/// next one begins.
class LineOfRuns
{
public:
    explicit LineOfRuns(const PageLine &line)
        : m_line{double(line.top), double(line.height), {}}
    {
    }

    void add(TextRun run, bool spaceBefore)
    {
        const double left = run.left;
        if (hasRuns())
            meet(run, spaceBefore ? std::max(kMinWidth, kMinSpace * m_line.height) : 0);
        m_lastLeft = left;
        m_ink = std::max(run.right, run.left + kMinWidth);
        const bool isMark = endsWithMark(run.characters, m_last);
        run.right = isMark ? std::max(m_ink, rightOfRoom(run)) : m_ink;
        m_last = isMark ? kWideMark : run.characters.back();
        m_line.runs.push_back(std::move(run));
    }

    /// Whether a word is where the line can go on. Boxes that overlap are common.
    bool goesOnWith(const PageWord &word) const
    {
        return !hasRuns() || word.left + word.width > m_lastLeft;
    }

    bool hasRuns() const { return !m_line.runs.empty(); }

    RunLine take() { return std::move(m_line); }

private:
    /// Lets the last run and the next one leave `space` between them, where there is a space, or
    /// else nothing.
    void meet(TextRun &next, double space)
    {
        TextRun &last = m_line.runs.back();
        if (m_ink + space > next.left) { // the boxes overlap
            last.right = std::max((m_ink + next.left - space) / 2, last.left + kMinWidth);
            next.left = last.right + space;
        } else if (space == 0 || last.right + space > next.left) {
            last.right = next.left - space;
        }
        if (space > 0) {
            TextRun between{U" ", last.right, next.left};
            m_line.runs.push_back(std::move(between));
        }
    }

    static constexpr char32_t kWideMark = U'\uFF0C'; ///< stands for all

    RunLine m_line;
    char32_t m_last = 0; ///< the last character
    double m_lastLeft = 0; ///< where the last run's box begins
    double m_ink = 0; ///< where it ends, at least
};

void layOut(const PageLine &line, std::vector<RunLine> &lines)
{
    const PageWord *const end = line.words.data() + line.words.size();
    LineOfRuns current(line);
    for (const PageWord *word = line.words.data(); word != end;) {
        const PageWord *next = word + 1;
        while (next != end && !next->spaceBefore && next->left + next->width > word->left)
            ++next;
        if (!current.goesOnWith(*word))
            lines.push_back(std::exchange(current, LineOfRuns(line)).take());
        bool spaceBefore = word->spaceBefore && current.hasRuns();
        for (TextRun &run : runsOf(word, next))
            current.add(std::move(run), std::exchange(spaceBefore, false));
        word = next;
    }
    lines.push_back(current.take());
}

} // namespace

std::vector<RunLine> layOut(const PageText &text)
{
    std::vector<RunLine> lines;
    for (const PageLine &line : text.lines)
        layOut(line, lines);
    return lines;
}

} // namespace korv
