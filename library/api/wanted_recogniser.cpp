#include "library/api/wanted_recogniser.h"

#include "library/api/environment_values.h"
#include "library/base/log.h"

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <utility>

namespace korv {
namespace {

constexpr double kMilliseconds = 1000; ///< in a second

/// In which writing is read that only says how a page lies.
constexpr char kUsualLanguages[] = "chi_sim+eng";

TurnedPages turnedPages(const Settings &settings, bool isForText)
{
    std::optional<bool> wanted = environmentValue<bool>("KORV_CAMERA_UPRIGHT");
    if (!wanted)
        wanted = settings.upright;
    if (wanted)
        return *wanted ? TurnedPages::All : TurnedPages::None;
    return isForText ? TurnedPages::WithText : TurnedPages::None;
}

} // namespace

std::shared_ptr<TextRecogniser> wantedRecogniser(const Settings &settings)
{
    RecogniserOptions options;
    options.languages = fromEnvironment("KORV_CAMERA_TEXT", settings.text);
    options.isForText = !options.languages.empty();
    options.turned = turnedPages(settings, options.isForText);
    if (!options.isForText && options.turned == TurnedPages::None)
        return nullptr;
    if (!options.isForText)
        options.languages.names = kUsualLanguages;
    options.wait =
        std::chrono::milliseconds(static_cast<std::int64_t>(settings.textWait * kMilliseconds));
    if (const char *const cache = ::secure_getenv("KORV_CAMERA_TEXT_CACHE"))
        options.cacheFolder = cache;
    Result<std::shared_ptr<TextRecogniser>> made = TextRecogniser::create(options);
    if (made)
        return std::move(made).value();
    logLine(LogLevel::Warning, whatIsLost(options), made.error().text);
    return nullptr;
}

} // namespace korv
