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

/// Reads one page in several ways, in the time that there is for all of them together.
class Readings
{
public:
    Readings(const Tesseract &tesseract, const ProgramLimits &limits, const EventFd &stop)
        : m_tesseract(tesseract)
        , m_limits(limits)
        , m_end(std::chrono::steady_clock::now() + limits.time)
        , m_stop(stop)
    {
    }

    /// Errors: those of Tesseract::describe(), -EBADMSG what it wrote makes no sense.
    Result<Reading> read(const Image &gray) const
    {
        Result<std::string> output = m_tesseract.describe(gray, rest(), m_stop);
        if (!output)
            return output.error();
        const Result<TesseractTable> table = readTesseractTable(output.value());
        if (!table)
            return table.error();
        if (table.value().width != gray.width() || table.value().height != gray.height())
            return Error{-EBADMSG, "words of another picture"};
        return Reading{std::move(output).value(), qualityOf(table.value())};
    }

    /// How the page probably stands. Throws as guessTurn().
    std::optional<WritingGuess> guess(const Image &gray) const
    {
        return guessTurn(gray,
                         areWrittenFromRight(m_tesseract.languages()) ? LineStart::Right
                                                                      : LineStart::Left);
    }

    /// A few lines of the page, both ways up. Errors: as read().
    Result<TesseractTable> readSample(const Image &sample) const
    {
        ProgramLimits limits = rest();
        limits.time /= kSampleShare;
        const Result<std::string> output =
            m_tesseract.describe(sample, limits, m_stop, Tesseract::Layout::Block);
        if (!output)
            return output.error();
        return readTesseractTable(output.value());
    }

private:
    ProgramLimits rest() const
    {
        ProgramLimits limits = m_limits;
        limits.time = std::chrono::duration_cast<std::chrono::milliseconds>(
            m_end - std::chrono::steady_clock::now());
        return limits;
    }

    const Tesseract &m_tesseract;
    const ProgramLimits &m_limits;
    const std::chrono::steady_clock::time_point m_end;
    const EventFd &m_stop;
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

/// A reading that fails is one that says nothing, unless somebody ended it.
template <typename Value> Result<std::optional<Value>> unlessCancelled(Result<Value> reading)
{
    if (reading)
        return std::optional<Value>(std::move(reading).value());
    if (reading.code() == -ECANCELED)
        return reading.error();
    logDebug([&] { return "a page's direction is in doubt: " + reading.error().text; });
    return std::optional<Value>();
}

using Description = PageReader::Description;

/// A picture that was turned on a guess, and what was read on it, if that was tried.
struct Turned
{
    Image picture;
    Rotation turn;
    std::optional<Reading> reading;
};

/// The page as a sample of it says it stands, if it makes sense that way; nothing where it lies so
/// already, or the sample says nothing. Errors: -ECANCELED.
Result<std::optional<Description>> describeBySample(const Readings &readings, Turned page)
{
    const std::optional<Image> sample = sampleBothWaysUp(page.picture);
    if (!sample)
        return std::optional<Description>();
    const auto lines = unlessCancelled(readings.readSample(*sample));
    if (!lines)
        return lines.error();
    const std::optional<Rotation> rest =
        lines.value() ? turnOfSample(*lines.value()) : std::nullopt;
    const Rotation turn = rest == Rotation::Half ? opposite(page.turn) : page.turn;
    if (!rest || turn == Rotation::None)
        return std::optional<Description>();
    if (turn != page.turn)
        page = {rotate(std::move(page.picture), Rotation::Half), turn, {}};
    if (!page.reading) {
        Result<std::optional<Reading>> reading = unlessCancelled(readings.read(page.picture));
        if (!reading)
            return reading.error();
        page.reading = std::move(reading).value();
    }
    if (!page.reading || !isReadUpright(page.reading->quality))
        return std::optional<Description>();
    return std::optional(Description{withHead(page.turn, page.reading->output)});
}

/// The reading of a page that seems to need a turn, and makes sense after it; nothing for any other.
/// Errors: -ECANCELED. Throws as guessTurn().
Result<std::optional<Description>> describeLikely(const Readings &readings, const Image &gray)
{
    const std::optional<WritingGuess> guess = readings.guess(gray);
    if (!guess || guess->turn == Rotation::None)
        return std::optional<Description>();
    Turned page = {rotate(gray, guess->turn), guess->turn, {}};
    if (guess->isFlush) {
        Result<std::optional<Reading>> reading = unlessCancelled(readings.read(page.picture));
        if (!reading)
            return reading.error();
        page.reading = std::move(reading).value();
        if (page.reading && isReadUprightForSure(page.reading->quality))
            return std::optional(Description{withHead(page.turn, page.reading->output)});
    }
    return describeBySample(readings, std::move(page));
}

/// Reads a page as it lies, and turned where that makes no sense.
Result<Description> describeEither(const Readings &readings, const Image &gray)
{
    Result<Reading> first = readings.read(gray);
    if (!first)
        return first.error();
    const std::optional<Rotation> turn = turnWorthTrying(first.value().quality);
    if (!turn)
        return Description{withHead(Rotation::None, first.value().output)};
    const Result<Reading> second =
        exceptionsToErrors([&] { return readings.read(rotate(gray, *turn)); });
    if (second.code() == -ECANCELED)
        return second.error();
    if (!second)
        logDebug([&] { return "a page is read one way up only: " + second.error().text; });
    if (second && isUprightForSure(first.value().quality, second.value().quality))
        return Description{withHead(*turn, second.value().output)};
    return Description{withHead(Rotation::None, first.value().output), static_cast<bool>(second)};
}

} // namespace

Result<Description> PageReader::describe(const Image &gray, const ProgramLimits &limits,
                                         const EventFd &stop) const
{
    const Readings readings(m_tesseract, limits, stop);
    if (m_direction == Direction::AsItLies) {
        Result<Reading> reading = readings.read(gray);
        if (!reading)
            return reading.error();
        return Description{std::move(reading).value().output};
    }
    Result<std::optional<Description>> likely =
        exceptionsToErrors([&] { return describeLikely(readings, gray); });
    if (likely.code() == -ECANCELED)
        return likely.error();
    if (likely && likely.value())
        return *std::move(likely).value();
    return describeEither(readings, gray);
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
