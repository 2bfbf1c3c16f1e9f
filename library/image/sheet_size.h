#pragma once

#include <optional>
#include <string>

namespace korv {

/// A sheet of paper, in millimetres.
struct SheetSize
{
    double width = 0;
    double height = 0;
};

/// "A3", "A4", "A5", "letter", "card" (ISO/IEC 7810 ID-1), in any case, or WIDTHxHEIGHT in
/// millimetres, "100x62.5", of 2 to 5000 a side. Nothing for any other text.
std::optional<SheetSize> sheetOf(const std::string &text);

/// The sheet that a cut-out picture of so many pixels is, by its shape alone: within 2 % of the shape
/// of ISO 216's A series, A4, because they cannot be told apart; likewise a letter or a card.
/// Upright or across as the picture. Nothing for other shapes.
std::optional<SheetSize> sheetByShape(int width, int height);

/// The common sheet that the measured one is, within 3 % on both sides, which is what measuring may
/// be off; otherwise the measured one.
SheetSize sheetBySize(const SheetSize &measured);

} // namespace korv
