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

} // namespace korv
