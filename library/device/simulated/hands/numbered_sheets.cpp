#include "library/device/simulated/hands/numbered_sheets.h"

#include "library/device/simulated/drawing/paper.h"
#include "library/device/simulated/drawing/scaled_image.h"
#include "library/device/simulated/hands/scatter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

namespace korv {
namespace {

constexpr double kSheetRatio = 297.0 / 210.0; // ISO 216
constexpr double kSheetHeight = 0.86; ///< of the picture's
constexpr double kMargin = 90;
constexpr double kLastLine = 1330;
constexpr std::uint64_t kSheetStream = 1U << 20; ///< apart from the chance of the hand

std::string word(Scatter &chance)
{
    static constexpr std::array<const char *, 16> kParts{"ta",  "re",  "mi", "lon", "der", "sa",
                                                         "ver", "no",  "ki", "pal", "est", "u",
                                                         "gar", "ton", "be", "ris"};
    std::string text;
    const int parts = 1 + chance.below(3);
    for (int part = 0; part < parts; ++part)
        text += kParts.at(static_cast<std::size_t>(chance.below(static_cast<int>(kParts.size()))));
    return text;
}

std::string line(Scatter &chance, std::size_t letters)
{
    std::string text = word(chance);
    while (text.size() < letters)
        text += " " + word(chance);
    return text;
}

void drawText(Paper &paper, Scatter &chance)
{
    paper.text(kMargin, 140, 30, line(chance, 12), Paper::kBlue);
    double y = 210;
    while (y < kLastLine - 80) {
        const int lines = 3 + chance.below(6);
        for (int at = 0; at < lines && y < kLastLine - 80; ++at, y += 27) {
            const bool isLast = at + 1 == lines;
            paper.text(kMargin, y, 12.5, line(chance, isLast ? 20 : 62), Paper::kInk,
                       Paper::Face::Serif);
        }
        y += 20;
    }
}

/// All forms are printed alike; what somebody wrote into them differs.
void drawForm(Paper &paper, Scatter &chance)
{
    Scatter print(1, 1);
    paper.text(kMargin, 140, 30, "Delivery note", Paper::kInk);
    for (double y = 220; y < kLastLine - 60; y += 74) {
        paper.text(kMargin, y, 11, line(print, 10), Paper::kPale);
        paper.line(kMargin, y + 30, 910, y + 30, 2);
        if (chance.happens(0.7))
            paper.text(kMargin + 130 + chance.between(0, 160), y + 24, 17,
                       line(chance, 8 + static_cast<std::size_t>(chance.below(16))), Paper::kBlue,
                       Paper::Face::Serif);
    }
}

void drawPlate(Paper &paper, Scatter &chance)
{
    const auto shade = [&] { return static_cast<std::uint8_t>(chance.between(40, 240)); };
    const Paper::Box box{kMargin, 180, 820, chance.between(420, 760)};
    paper.text(kMargin, 140, 24, line(chance, 16), Paper::kInk, Paper::Face::Serif);
    paper.shade(box, {shade(), shade(), shade()}, {shade(), shade(), shade()});
    std::vector<double> heights(12);
    for (double &height : heights)
        height = chance.between(20, box.height * 0.7);
    paper.hill(box, heights, {shade(), shade(), shade()});
    paper.disc(kMargin + chance.between(80, 740), 180 + chance.between(60, 200),
               chance.between(25, 60), {shade(), shade(), shade()});
    for (double y = 180 + box.height + 40; y < kLastLine - 80; y += 30)
        paper.text(kMargin, y, 12.5, line(chance, 60), Paper::kInk);
}

void drawFewLines(Paper &paper, Scatter &chance)
{
    const double top = chance.between(180, 700);
    for (int at = 0; at < 3; ++at)
        paper.text(kMargin + chance.between(0, 200), top + at * 40.0, 19, line(chance, 18),
                   Paper::kInk);
}

Paper::Colour groundOf(DeskPaper paper)
{
    switch (paper) {
    case DeskPaper::Recycled:
        return {206, 202, 192};
    case DeskPaper::Cream:
        return {244, 234, 206};
    case DeskPaper::Glossy:
        return {244, 246, 246};
    case DeskPaper::White:
        break;
    }
    return {243, 242, 236};
}

Image drawn(const HandDeskOptions &options, int number, double wantedHeight)
{
    // small letters are drawn large first; they would run together otherwise
    const double height = std::max(wantedHeight, 1600.0);
    const auto side = [](double length) { return static_cast<int>(std::lround(length)); };
    Paper paper(side(height / kSheetRatio), side(height), groundOf(options.paper));
    Scatter chance(options.seed, kSheetStream + static_cast<std::uint64_t>(number));
    const int kind = chance.below(10);
    if (kind < 5)
        drawText(paper, chance);
    else if (kind < 7)
        drawForm(paper, chance);
    else if (kind < 9)
        drawPlate(paper, chance);
    else
        drawFewLines(paper, chance);
    paper.text(470, kLastLine + 20, 14, std::to_string(number + 1), Paper::kInk);
    return scaled(paper.image(), side(wantedHeight / kSheetRatio), side(wantedHeight));
}

/// What the light does to every frame alike: its colour, and the bright patch on glossy paper.
void lightUp(Image &picture, const HandDeskOptions &options)
{
    const std::array<double, 3> tint = options.light == DeskLight::Lamp
        ? std::array<double, 3>{1.04, 0.94, 0.78}
        : options.light == DeskLight::Dim ? std::array<double, 3>{0.62, 0.58, 0.52}
                                          : std::array<double, 3>{1, 1, 1};
    const bool hasSide = options.light == DeskLight::Window;
    const bool shines = options.paper == DeskPaper::Glossy;
    if (options.light == DeskLight::Day && !shines)
        return;
    for (int y = 0; y < picture.height(); ++y) {
        std::uint8_t *pixel = picture.row(y);
        const double down = static_cast<double>(y) / picture.height();
        for (int x = 0; x < picture.width(); ++x, pixel += 3) {
            const double across = static_cast<double>(x) / picture.width();
            double light = hasSide ? 0.98 - 0.3 * across : 1;
            if (shines)
                light += 0.12
                    * std::exp(-40
                               * ((across - 0.4) * (across - 0.4) + (down - 0.3) * (down - 0.3)));
            for (std::size_t channel = 0; channel < 3; ++channel)
                pixel[channel] = static_cast<std::uint8_t>(
                    std::clamp(pixel[channel] * light * tint[channel], 0.0, 255.0));
        }
    }
}

} // namespace

LaidSheet layNumberedSheet(const HandDeskOptions &options, int number, int width, int height)
{
    Scatter chance(options.seed, 2 * kSheetStream + static_cast<std::uint64_t>(number));
    const Image sheet = drawn(options, number, height * kSheetHeight);
    LaidSheet laid;
    laid.place = {width * chance.between(0.485, 0.515), height * chance.between(0.485, 0.515),
                  chance.between(-1.5, 1.5)};
    laid.width = sheet.width();
    laid.height = sheet.height();
    laid.picture = drawDesk(width, height);
    laySheet(laid.picture, sheet, laid.place);
    lightUp(laid.picture, options);
    return laid;
}

} // namespace korv
