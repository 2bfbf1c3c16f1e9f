#include "library/recognition/page_reader.h"

#include "library/base/exceptions_to_errors.h"
#include "library/base/log.h"
#include "library/image/rotate.h"
#include "library/recognition/reading_direction.h"
#include "library/recognition/tesseract_output.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <optional>
#include <string_view>
#include <utility>

namespace korv {

namespace {

/// The first line of a description says how the picture has to be turned, the rest is Tesseract's.
struct Head
{
    std::string_view line;
    Rotation turn;
};
constexpr std::array<Head, 4> kHeads = {{{"upright\n", Rotation::None},
                                         {"turn left\n", Rotation::Left90},
                                         {"turn right\n", Rotation::Right90},
                                         {"turn round\n", Rotation::Half}}};

std::string withHead(Rotation turn, const std::string &output)
{
    const auto *const head = std::find_if(kHeads.begin(), kHeads.end(),
                                          [&](const Head &known) { return known.turn == turn; });
    return std::string(head->line) + output;
}

struct Reading
{
    std::string output;
    ReadingQuality quality;
};

Result<Reading> readAsItLies(const Tesseract &tesseract, const Image &gray,
                             const ProgramLimits &limits, const EventFd &stop)
{
    Result<std::string> output = tesseract.describe(gray, limits, stop);
    if (!output)
        return output.error();
    const Result<TesseractTable> table = readTesseractTable(output.value());
    if (!table)
        return table.error();
    if (table.value().width != gray.width() || table.value().height != gray.height())
        return Error{-EBADMSG, "words of another picture"};
    return Reading{std::move(output).value(), qualityOf(table.value())};
}

} // namespace

Result<PageReader::Description> PageReader::describe(const Image &gray, const ProgramLimits &limits,
                                                     const EventFd &stop) const
{
    const auto begin = std::chrono::steady_clock::now();
    Result<Reading> first = readAsItLies(m_tesseract, gray, limits, stop);
    if (!first)
        return first.error();
    if (m_direction == Direction::AsItLies)
        return Description{std::move(first).value().output};
    const std::optional<Rotation> turn = turnWorthTrying(first.value().quality);
    if (!turn)
        return Description{withHead(Rotation::None, first.value().output)};
    const Result<Reading> second = exceptionsToErrors([&] {
        ProgramLimits rest = limits;
        rest.time -= std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::steady_clock::now() - begin);
        return readAsItLies(m_tesseract, rotate(gray, *turn), rest, stop);
    });
    if (second.code() == -ECANCELED)
        return second.error();
    if (!second)
        logDebug([&] { return "a page is read one way up only: " + second.error().text; });
    if (second && isUprightForSure(first.value().quality, second.value().quality))
        return Description{withHead(*turn, second.value().output)};
    return Description{withHead(Rotation::None, first.value().output), static_cast<bool>(second)};
}

Result<PageText> PageReader::read(const std::string &description) const
{
    if (m_direction == Direction::AsItLies)
        return readTesseractOutput(description);
    const auto *const head = std::find_if(kHeads.begin(), kHeads.end(), [&](const Head &known) {
        return description.compare(0, known.line.size(), known.line) == 0;
    });
    if (head == kHeads.end())
        return Error{-EBADMSG, "a reading without a direction"};
    Result<PageText> text = readTesseractOutput(description.substr(head->line.size()));
    if (text)
        text.value().turn = head->turn;
    return text;
}

std::string PageReader::kindOf(const TextLanguages &languages, Direction direction)
{
    return languages.names + (direction == Direction::Find ? "-upright" : "");
}

} // namespace korv
