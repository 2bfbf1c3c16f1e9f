#include "library/documents/pdf/text_layer.h"

#include "library/documents/decimal.h"
#include "library/documents/pdf/pdf_text.h"
#include "library/text/text_runs.h"

#include <algorithm>
#include <cmath>

namespace korv {

namespace {

/// Shows runs one after the other. The horizontal scale of each is chosen so that it ends where it
/// should, whatever rounding has done to those before it.
class Pen
{
public:
    Pen(TextFont &font, double size, double x)
        : m_font(font)
        , m_size(size)
        , m_x(x)
    {
    }

    std::string show(const TextRun &run)
    {
        const std::string codes = m_font.encode(run.characters);
        const double natural = TextFont::widthOf(codes) * m_size;
        // in tenths of a percent
        const double scale = std::max(1.0, std::round((run.right - m_x) / natural * 1000));
        m_x += natural * scale / 1000;
        std::string operators;
        if (scale != m_scale)
            operators = decimal(scale / 10, 1) + " Tz";
        m_scale = scale;
        return operators + pdfLiteral(codes) + "Tj\n";
    }

private:
    TextFont &m_font;
    double m_size;
    double m_x;
    double m_scale = 0;
};

} // namespace

std::string textOperators(const PageText &text, TextFont &font)
{
    std::string operators;
    for (const RunLine &line : layOut(text)) {
        // a line's box goes from the font's descent to its ascent
        const double baseline = text.height - line.top - line.height * TextFont::kAscent / 1000.0;
        operators += std::string("/") + kTextFontName + " " + decimal(line.height, 1)
            + " Tf 1 0 0 1 " + decimal(line.runs.front().left, 1) + " " + decimal(baseline, 1)
            + " Tm\n";
        Pen pen(font, line.height, line.runs.front().left);
        for (const TextRun &run : line.runs)
            operators += pen.show(run);
    }
    return operators.empty() ? operators : "BT 3 Tr\n" + operators + "ET";
}

} // namespace korv
