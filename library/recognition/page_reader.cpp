#include "library/recognition/page_reader.h"

#include "library/base/exceptions_to_errors.h"
#include "library/base/log.h"
#include "library/image/rotate.h"
#include "library/recognition/reading_direction.h"
#include "library/recognition/tesseract_output.h"
#include "library/recognition/writing_guess.h"

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

/// The time for a sample is that of the page by this: when it hangs, the page can still be read.
constexpr int kSampleShare = 4;

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

/// What is left of the time that began with it.
class Deadline
{
public:
    explicit Deadline(const ProgramLimits &limits)
        : m_end(std::chrono::steady_clock::now() + limits.time)
    {
    }

    ProgramLimits rest(ProgramLimits limits) const
    {
        limits.time = std::chrono::duration_cast<std::chrono::milliseconds>(
            m_end - std::chrono::steady_clock::now());
        return limits;
    }

private:
    const std::chrono::steady_clock::time_point m_end;
};

Rotation opposite(Rotation rotation)
{
    switch (rotation) {
    case Rotation::None:
        return Rotation::Half;
    case Rotation::Left90:
        return Rotation::Right90;
    case Rotation::Right90:
        return Rotation::Left90;
    case Rotation::Half:
        break;
    }
    return Rotation::None;
}

/// A sample that cannot be read costs nothing: the page is read without.
Result<std::optional<PageReader::Description>> unlessCancelled(const Error &error)
{
    if (error.code == -ECANCELED)
        return error;
    logDebug([&] { return "a page's lines say nothing about its direction: " + error.text; });
    return std::optional<PageReader::Description>();
}

} // namespace

Result<std::optional<PageReader::Description>>
PageReader::describeLikely(const Image &gray, const ProgramLimits &limits,
                           const EventFd &stop) const
{
    const Deadline deadline(limits);
    const std::optional<Rotation> guess = likelyTurn(gray);
    if (!guess || *guess == Rotation::None)
        return std::optional<Description>();
    Image turned = rotate(gray, *guess);
    const std::optional<Image> sample = sampleBothWaysUp(turned);
    if (!sample)
        return std::optional<Description>();
    ProgramLimits part = limits;
    part.time /= kSampleShare;
    const auto lines = m_tesseract.describe(*sample, part, stop, Tesseract::Layout::Block);
    if (!lines)
        return unlessCancelled(lines.error());
    const Result<TesseractTable> table = readTesseractTable(lines.value());
    const std::optional<Rotation> rest = table ? turnOfSample(table.value()) : std::nullopt;
    const Rotation turn = rest == Rotation::Half ? opposite(*guess) : *guess;
    if (!rest || turn == Rotation::None)
        return std::optional<Description>();
    if (rest == Rotation::Half)
        turned = rotate(std::move(turned), Rotation::Half);
    const Result<Reading> reading = readAsItLies(m_tesseract, turned, deadline.rest(limits), stop);
    if (!reading)
        return unlessCancelled(reading.error());
    if (!isReadUpright(reading.value().quality))
        return std::optional<Description>();
    return std::optional(Description{withHead(turn, reading.value().output)});
}

Result<PageReader::Description> PageReader::describeEither(const Image &gray,
                                                           const ProgramLimits &limits,
                                                           const EventFd &stop) const
{
    const Deadline deadline(limits);
    Result<Reading> first = readAsItLies(m_tesseract, gray, limits, stop);
    if (!first)
        return first.error();
    const std::optional<Rotation> turn = turnWorthTrying(first.value().quality);
    if (!turn)
        return Description{withHead(Rotation::None, first.value().output)};
    const Result<Reading> second = exceptionsToErrors([&] {
        return readAsItLies(m_tesseract, rotate(gray, *turn), deadline.rest(limits), stop);
    });
    if (second.code() == -ECANCELED)
        return second.error();
    if (!second)
        logDebug([&] { return "a page is read one way up only: " + second.error().text; });
    if (second && isUprightForSure(first.value().quality, second.value().quality))
        return Description{withHead(*turn, second.value().output)};
    return Description{withHead(Rotation::None, first.value().output), static_cast<bool>(second)};
}

Result<PageReader::Description> PageReader::describe(const Image &gray, const ProgramLimits &limits,
                                                     const EventFd &stop) const
{
    if (m_direction == Direction::AsItLies) {
        Result<Reading> reading = readAsItLies(m_tesseract, gray, limits, stop);
        if (!reading)
            return reading.error();
        return Description{std::move(reading).value().output};
    }
    const Deadline deadline(limits);
    Result<std::optional<Description>> likely =
        exceptionsToErrors([&] { return describeLikely(gray, limits, stop); });
    if (likely.code() == -ECANCELED)
        return likely.error();
    if (likely && likely.value())
        return *std::move(likely).value();
    return describeEither(gray, deadline.rest(limits), stop);
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
