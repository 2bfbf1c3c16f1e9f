#include "library/recognition/tesseract_table.h"

#include "library/values/utf8.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <optional>

namespace korv {

namespace {

constexpr char kHead[] = "level\tpage_num\tblock_num\tpar_num\tline_num\tword_num\tleft\ttop\twidth"
                         "\theight\tconf\ttext";

constexpr int kPageLevel = 1;
constexpr double kSurest = 100;

std::string_view takeLine(std::string_view &rest)
{
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    const std::string_view line = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return line;
}

/// 0 for a text that is no number from 0 to 100.
double confidenceOf(std::string_view text)
{
    double confidence = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), confidence);
    const bool isOne =
        read.ec == std::errc() && confidence >= 0 && confidence <= kSurest; // NaN is not
    return isOne ? confidence : 0;
}

/// Nothing for a line that is no row.
std::optional<TesseractRow> rowOf(std::string_view line)
{
    TesseractRow row;
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
    row.confidence = confidenceOf(line.substr(0, confidence));
    row.text = validUtf8(std::string(line.substr(confidence + 1)));
    return row;
}

} // namespace

bool isBlank(char letter)
{
    return letter == ' ' || letter == '\n' || letter == '\t' || letter == '\r' || letter == '\f';
}

Result<TesseractTable> readTesseractTable(const std::string &output)
{
    std::string_view rest = output;
    if (takeLine(rest) != kHead)
        return Error{-EBADMSG, "no table of words"};
    TesseractTable table;
    while (!rest.empty()) {
        std::string_view behind = rest;
        std::optional<TesseractRow> row = rowOf(takeLine(behind));
        if (!row)
            break;
        rest = behind;
        if (row->at(TesseractRow::Level) == kPageLevel && table.width == 0) {
            table.width = row->at(TesseractRow::Width);
            table.height = row->at(TesseractRow::Height);
        }
        const bool isWord = row->at(TesseractRow::Level) == TesseractRow::kWordLevel
            && !std::all_of(row->text.begin(), row->text.end(), isBlank);
        if (isWord || row->isLine())
            table.rows.push_back(std::move(*row));
    }
    if (table.width <= 0 || table.height <= 0)
        return Error{-EBADMSG, "a table of words without the picture's size"};
    table.plainText = validUtf8(std::string(rest));
    return table;
}

} // namespace korv
