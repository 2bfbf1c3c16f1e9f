#pragma once

#include "library/base/result.h"

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace korv {

/// A row of Tesseract's table: a line of writing, or a word.
struct TesseractRow
{
    /// What the columns hold, by their order.
    enum Column {
        Level,
        PageNumber,
        Block,
        Paragraph,
        Line,
        Word,
        Left,
        Top,
        Width,
        Height,
        Numbers
    };
    static constexpr int kLineLevel = 4;
    static constexpr int kWordLevel = 5;

    std::array<int, Numbers> numbers{};
    double confidence = 0; ///< 0..100, of a word
    std::string text; ///< valid UTF-8, not blank, of a word

    int at(Column column) const { return numbers[static_cast<std::size_t>(column)]; }
    bool isLine() const { return at(Level) == kLineLevel; }
    /// What words of one line have in common.
    std::tuple<int, int, int> line() const { return {at(Block), at(Paragraph), at(Line)}; }
};

/// What Tesseract writes about one picture.
struct TesseractTable
{
    int width = 0; ///< of the picture, pixels; positive
    int height = 0;
    std::vector<TesseractRow> rows; ///< each line stands before its words
    std::string plainText; ///< the same text, with spaces between words; valid UTF-8
};

bool isBlank(char letter);

/// Reads the table, behind which the plain text stands. Bytes that are no UTF-8 become U+FFFD; what
/// the numbers say is not looked at, but for the picture's size.
/// Errors: -EBADMSG no such output.
Result<TesseractTable> readTesseractTable(const std::string &output);

} // namespace korv
