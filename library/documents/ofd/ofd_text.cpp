#include "library/documents/ofd/ofd_text.h"

#include "library/documents/decimal.h"
#include "library/text/scripts.h"
#include "library/text/text_runs.h"
#include "library/values/utf8.h"

#include <cmath>
#include <string>
#include <vector>

namespace korv {

namespace {

constexpr int kPlaces = 3; ///< decimals of a millimetre
constexpr double kAscent = 0.8; ///< of a line's height, as fonts mostly have it

/// The left edges of a line's characters, in pixels.
std::vector<double> positionsIn(const RunLine &line)
{
    std::vector<double> positions;
    for (const TextRun &run : line.runs) {
        double width = 0;
        for (const char32_t character : run.characters)
            width += characterWidth(character);
        double x = run.left;
        for (const char32_t character : run.characters) {
            positions.push_back(x);
            x += (run.right - run.left) * characterWidth(character) / width;
        }
    }
    return positions;
}

double rounded(double millimetres)
{
    return std::round(millimetres * 1000) / 1000;
}

/// How far each character stands behind the one before it. The rounded numbers add up to the place,
/// so that a long line does not drift.
std::string deltas(const std::vector<double> &positions, double pixelWidth)
{
    std::string text;
    double at = 0;
    for (std::size_t i = 1; i < positions.size(); ++i) {
        const double delta = rounded((positions[i] - positions.front()) * pixelWidth - at);
        at += delta;
        text += (i > 1 ? " " : "") + decimal(delta, kPlaces);
    }
    return text;
}

} // namespace

void addTextObjects(OfdElement &layer, const PageText &text, const OfdPlace &place, unsigned fontId,
                    const std::function<unsigned()> &nextId)
{
    for (const RunLine &line : layOut(text)) {
        const double left = line.runs.front().left;
        const double height = line.height * place.pixelHeight;
        const auto millimetres = [](double value) { return decimal(value, kPlaces); };
        std::string characters;
        for (const TextRun &run : line.runs)
            characters += utf8Of(run.characters);
        OfdElement object = layer.child("TextObject");
        object.attribute("ID", nextId())
            .attribute("Boundary",
                       millimetres(place.left + left * place.pixelWidth) + " "
                           + millimetres(place.top + line.top * place.pixelHeight) + " "
                           + millimetres((line.runs.back().right - left) * place.pixelWidth) + " "
                           + millimetres(height))
            .attribute("Font", fontId)
            .attribute("Size", millimetres(height));
        object.text("TextCode", characters);
        OfdElement code = object.lastChild();
        code.attribute("X", "0").attribute("Y", millimetres(height * kAscent));
        if (const std::string each = deltas(positionsIn(line), place.pixelWidth); !each.empty())
            code.attribute("DeltaX", each);
    }
}

} // namespace korv
