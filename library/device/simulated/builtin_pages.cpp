#include "library/device/simulated/builtin_pages.h"

#include "library/device/simulated/drawing/desk_scene.h"
#include "library/device/simulated/drawing/paper.h"
#include "library/device/simulated/drawing/scaled_image.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>

namespace korv {
namespace {

constexpr double kSheetRatio = 297.0 / 210.0; // ISO 216
constexpr double kMargin = 90;

double paragraph(Paper &paper, double y, const std::vector<std::string> &lines)
{
    for (const std::string &line : lines) {
        paper.text(kMargin, y, 12.5, line, Paper::kInk, Paper::Face::Serif);
        y += 27;
    }
    return y + 16;
}

struct Table
{
    std::vector<double> columns; ///< their left edges, and the right edge of the last
    double rowHeight = 34;
    std::vector<std::vector<std::string>> rows; ///< the first is the heading
};

double drawTable(Paper &paper, double y, const Table &table)
{
    const double left = table.columns.front();
    const double right = table.columns.back();
    const double bottom = y + table.rowHeight * static_cast<double>(table.rows.size());
    paper.fill({left, y, right - left, table.rowHeight}, {214, 222, 234});
    double top = y;
    for (const std::vector<std::string> &row : table.rows) {
        paper.line(left, top, right, top, 1.5, Paper::kInk);
        for (std::size_t column = 0; column < row.size(); ++column)
            paper.text(table.columns[column] + 8, top + table.rowHeight - 11, 12, row[column]);
        top += table.rowHeight;
    }
    paper.line(left, bottom, right, bottom, 1.5, Paper::kInk);
    for (const double x : table.columns)
        paper.line(x, y, x, bottom, 1.5, Paper::kInk);
    return bottom + 40;
}

void drawReport(Paper &paper)
{
    paper.text(kMargin, 130, 30, "Reading Room Survey", Paper::kBlue);
    paper.text(kMargin, 168, 13, "Sheet 1 of 3  -  kept on the desk under the camera",
               Paper::kPale);
    paper.line(kMargin, 188, 910, 188, 3, Paper::kBlue);
    double y = paragraph(paper, 236,
                         {"The shelves along the north wall were counted twice this spring.",
                          "Both counts agree for all but four boxes, which hold loose maps",
                          "and were opened for the first time in nineteen years. The maps",
                          "are dry, complete, and may be photographed sheet by sheet."});
    y = paragraph(paper, y,
                  {"A sheet larger than the stand is taken in two halves with a hand's",
                   "breadth in common. Pencil notes on the back are taken as well, the",
                   "lamp lowered until the strokes throw a shadow of their own."});
    paper.text(kMargin, y + 14, 19, "1  Boxes and sheets", Paper::kBlue);
    y = drawTable(paper, y + 40,
                  {{kMargin, 330, 520, 710, 910},
                   34,
                   {{"Shelf", "Boxes", "Sheets", "Remarks"},
                    {"North 1", "14", "1 206", "complete"},
                    {"North 2", "11", "874", "two open"},
                    {"North 3", "17", "1 533", "complete"},
                    {"Window", "5", "312", "maps"},
                    {"Total", "47", "3 925", ""}}});
    paper.text(kMargin, y + 10, 19, "2  Next steps", Paper::kBlue);
    y = paragraph(paper, y + 48,
                  {"Camera and stand stay in place until all forty-seven boxes are done.",
                   "The first thousand pages are read back and compared with the paper;",
                   "after that every fiftieth page. Torn edges are noted, not mended."});
    paragraph(paper, y,
              {"The pages are kept as one document for each box, in the order in which",
               "they lie. Whoever takes a sheet out leaves a yellow slip in its place",
               "and signs it. The slips are counted at the end of the day."});
    paper.text(kMargin, 1300, 11, "Reading Room", Paper::kPale);
    paper.text(860, 1300, 11, "1 / 3", Paper::kPale);
}

void drawInvoice(Paper &paper)
{
    paper.fill({kMargin, 64, 820, 8}, Paper::kBlue);
    paper.text(kMargin, 130, 34, "INVOICE");
    paper.text(650, 110, 13, "No. 2024-0317", Paper::kInk);
    paper.text(650, 138, 13, "17 March", Paper::kInk);
    paper.text(kMargin, 210, 14, "Harbour Street Stationers");
    paper.text(kMargin, 236, 12, "12 Harbour Street, ground floor", Paper::kPale);
    const double y = drawTable(paper, 300,
                               {{kMargin, 190, 560, 660, 780, 910},
                                44,
                                {{"Item", "Description", "Count", "Each", "Sum"},
                                 {"A-10", "Paper, A4, 80 g, white", "40", "3.90", "156.00"},
                                 {"A-22", "Paper, A3, 120 g, ivory", "6", "8.40", "50.40"},
                                 {"B-03", "Archive box, 8 cm, gray", "47", "2.15", "101.05"},
                                 {"B-07", "Slips, yellow, 100 sheets", "12", "1.20", "14.40"},
                                 {"C-01", "Pencil, soft, dozen", "3", "7.50", "22.50"},
                                 {"C-14", "Eraser, white", "10", "0.85", "8.50"},
                                 {"D-02", "Cotton gloves, pair", "8", "2.95", "23.60"},
                                 {"D-09", "Magnifier with lamp", "1", "34.00", "34.00"}}});
    paper.text(640, y, 15, "Net");
    paper.text(788, y, 15, "410.45");
    paper.text(640, y + 36, 15, "Tax 13 %");
    paper.text(788, y + 36, 15, "53.36");
    paper.line(630, y + 54, 910, y + 54, 2);
    paper.text(640, y + 92, 19, "Total", Paper::kRed);
    paper.text(780, y + 92, 19, "463.81", Paper::kRed);
    paper.ring(260, y + 170, 95, 6, Paper::kRed);
    paper.ring(260, y + 170, 80, 2, Paper::kRed);
    paper.text(213, y + 184, 28, "PAID", Paper::kRed);
    paper.line(560, y + 280, 910, y + 280, 1.5);
    paper.text(560, y + 306, 11, "Signature", Paper::kPale);
    paper.text(kMargin, 1330, 11, "Payable within thirty days. Thank you.", Paper::kPale);
}

void drawPictureSheet(Paper &paper)
{
    const Paper::Box picture{60, 110, 520, 400};
    paper.text(60, 76, 24, "The Lake in the Morning", Paper::kBlue, Paper::Face::Serif);
    paper.shade(picture, {96, 150, 214}, {246, 214, 170});
    paper.disc(430, 250, 34, {255, 240, 190});
    paper.hill({60, 110, 520, 290}, {60, 120, 90, 170, 130, 60, 110, 150, 80, 40}, {112, 128, 150});
    paper.hill({60, 110, 520, 310}, {20, 40, 95, 60, 30, 70, 100, 60, 90, 120}, {70, 100, 84});
    paper.shade({60, 420, 520, 90}, {120, 160, 190}, {40, 76, 110});
    paper.line(60, 110, 580, 110, 1.5);
    paper.line(60, 510, 580, 510, 1.5);
    paper.text(60, 536, 9, "Plate 7. Taken from the eastern shore.", Paper::kPale);

    paper.text(630, 130, 15, "Visitors by month");
    const std::array<double, 8> visitors{70, 110, 90, 160, 220, 260, 240, 130};
    double x = 636;
    for (const double count : visitors) {
        paper.fill({x, 440 - count, 26, count}, count > 200 ? Paper::kRed : Paper::kBlue);
        x += 38;
    }
    paper.line(626, 440, 950, 440, 2);
    paper.line(626, 160, 626, 440, 2);
    paper.text(634, 464, 9.5, "Mar  Apr  May  Jun  Jul  Aug  Sep  Oct", Paper::kPale);
    paper.text(630, 520, 11, "Most came by boat; the road was closed", Paper::kInk);
    paper.text(630, 544, 11, "until the middle of April.", Paper::kInk);
    paper.text(60, 640, 11, "Sheet 3 of 3", Paper::kPale);
}

enum class Format { Upright, Across };

struct Sheet
{
    void (*draw)(Paper &paper);
    Format format;
    double degrees;
    double x; ///< of the sheet's centre, as a part of the desk
    double y;
};

/// An id is the sheet's number and its one digit.
constexpr std::array<Sheet, 3> kSheets{{
    {drawReport, Format::Upright, -2.0, 0.50, 0.482},
    {drawInvoice, Format::Upright, 3.0, 0.53, 0.485},
    {drawPictureSheet, Format::Across, 1.2, 0.49, 0.47},
}};

Image drawn(const Sheet &sheet, int deskHeight)
{
    // small pictures are drawn large first: letters a few pixels high would run together otherwise
    const double wanted = deskHeight * 0.86;
    const double drawnAt = std::max(wanted, 1600.0);
    const auto side = [](double length) { return static_cast<int>(std::lround(length)); };
    const bool isUpright = sheet.format == Format::Upright;
    const auto width = [=](double tall) { return side(isUpright ? tall / kSheetRatio : tall); };
    const auto height = [=](double tall) { return side(isUpright ? tall : tall / kSheetRatio); };
    Paper paper(width(drawnAt), height(drawnAt));
    sheet.draw(paper);
    return scaled(paper.image(), width(wanted), height(wanted));
}

} // namespace

std::vector<std::string> BuiltinPages::pages() const
{
    std::vector<std::string> ids;
    for (std::size_t number = 0; number < kSheets.size(); ++number)
        ids.push_back(std::to_string(number));
    return ids;
}

Result<Image> BuiltinPages::render(const std::string &page, int width, int height) const
{
    const std::vector<std::string> ids = pages();
    const auto found = std::find(ids.begin(), ids.end(), page);
    if (found == ids.end())
        return Error{-ENOENT, "there is no built-in page " + page};
    const Sheet &sheet = kSheets[static_cast<std::size_t>(std::distance(ids.begin(), found))];
    Image desk = drawDesk(width, height);
    laySheet(desk, drawn(sheet, height), {width * sheet.x, height * sheet.y, sheet.degrees});
    return desk;
}

} // namespace korv
