#include "library/settings/settings_keys.h"

#include "library/settings/settings_values.h"

#include <algorithm>
#include <cstring>

namespace korv {

namespace {

using Refusal = std::optional<std::string>;

// in pixels per millimetre: a room seen by a webcam, a stamp under a microscope
constexpr double kMinScale = 0.1;
constexpr double kMaxScale = 1000;

constexpr double kMaxWait = 3600; ///< seconds

template <typename Value> Refusal store(const std::string &text, Value &member, Value standard)
{
    std::optional<Value> value = text.empty() ? std::move(standard) : valueOf<Value>(text);
    if (!value)
        return std::string(refusalOf<Value>()) + ": " + text;
    member = std::move(*value);
    return std::nullopt;
}

Refusal named(const std::string &name, Refusal refusal)
{
    return refusal ? name + ": " + *refusal : std::move(refusal);
}

/// Into a member of Settings, by its type.
template <auto Member> Refusal into(const std::string &text, Settings &settings)
{
    return store(text, settings.*Member, Settings{}.*Member);
}

Refusal intoTextWait(const std::string &text, Settings &settings)
{
    double seconds = 0;
    if (Refusal refusal = store(text, seconds, Settings{}.textWait))
        return refusal;
    if (seconds > kMaxWait)
        return "more than an hour: " + text;
    settings.textWait = seconds;
    return std::nullopt;
}

Refusal intoUpright(const std::string &text, Settings &settings)
{
    bool isUpright = false;
    if (Refusal refusal = store(text, isUpright, false))
        return refusal;
    settings.upright = text.empty() ? std::nullopt : std::optional(isUpright);
    return std::nullopt;
}

Refusal intoControls(const std::string &control, const std::string &text, CameraSettings &settings)
{
    if (control.empty())
        return std::string("a control needs a name");
    if (text.empty())
        settings.controls.erase(control);
    else
        settings.controls[control] = text;
    return std::nullopt;
}

Refusal intoScales(const std::string &mode, const std::string &text, CameraSettings &settings)
{
    const auto size = modeSizeOf(mode);
    if (!size)
        return "no size in pixels: " + mode;
    if (text.empty()) {
        settings.scales.erase(*size);
        return std::nullopt;
    }
    const std::optional<double> scale = valueOf<double>(text);
    if (!scale)
        return std::string(refusalOf<double>()) + ": " + text;
    if (*scale < kMinScale || *scale > kMaxScale)
        return "no scale from 0.1 to 1000: " + text;
    settings.scales[*size] = *scale;
    return std::nullopt;
}

Refusal applyToCamera(const std::string &name, const std::string &value, CameraSettings &settings)
{
    for (const CameraSettingKey &key : cameraSettingKeys()) {
        const std::size_t length = std::strlen(key.name);
        const bool isFamily = key.name[length - 1] == '.';
        if (isFamily ? name.compare(0, length, key.name) == 0 : name == key.name)
            return named(name,
                         key.read(isFamily ? name.substr(length) : std::string(), value, settings));
    }
    return "unknown key " + name;
}

bool isSection(const std::string &name)
{
    return std::any_of(settingKeys().begin(), settingKeys().end(),
                       [&](const SettingKey &key) { return key.section == name; });
}

} // namespace

const std::vector<SettingKey> &settingKeys()
{
    static const std::vector<SettingKey> keys = {
        {"documents", "title", "the file's name", "Title of the documents", "KORV_CAMERA_TITLE",
         into<&Settings::title>},
        {"documents", "page-size", "by the picture",
         "Size of every page: A3, A4, A5, letter, card or WIDTHxHEIGHT in millimetres",
         "KORV_CAMERA_PAGE_SIZE", into<&Settings::pageSize>},
        {"documents", "text", "no",
         "Recognise the writing on pages of pdf and ofd documents, in languages such as "
         "chi_sim+eng",
         "KORV_CAMERA_TEXT", into<&Settings::text>},
        {"documents", "text-wait", "20", "Seconds to wait for the text of a page at most", nullptr,
         intoTextWait},
        {"documents", "upright", "where text is recognised",
         "Turn pages of documents upright where it is sure from their writing how they lie",
         "KORV_CAMERA_UPRIGHT", intoUpright},
        {"documents", "compact", "no",
         "Store pages of writing in PDF in layers of ink and paper, a tenth as large",
         "KORV_CAMERA_COMPACT", into<&Settings::compact>},
        {"cameras", "follow-mains", "yes",
         "Set the power line frequency where nobody has: automatic, else by the time zone's "
         "country",
         nullptr, into<&Settings::followMains>},
        {"cameras", "settle", "no",
         "Withhold a new stream's frames until brightness and sharpness settle, 3 s at most",
         nullptr, into<&Settings::settle>},
        {"photographs", "clean", "no",
         "Even out light and shadow, so that paper is white, in colour and gray",
         "KORV_CAMERA_CLEAN", into<&Settings::clean>},
        {"photographs", "check-focus", "no",
         "Say on the log when the writing in a photograph is out of focus",
         "KORV_CAMERA_CHECK_FOCUS", into<&Settings::checkFocus>},
    };
    return keys;
}

const std::vector<CameraSettingKey> &cameraSettingKeys()
{
    static const std::vector<CameraSettingKey> keys = {
        {"scale.", "Pixels per millimetre on the desk, by the size of the frames", intoScales},
        {"control.", "Value of a control of the camera, by its name", intoControls},
    };
    return keys;
}

Refusal applySetting(const std::string &section, const std::string &name, const std::string &value,
                     Settings &settings)
{
    if (const auto model = cameraModelOf(section)) {
        CameraSettings camera =
            settings.cameras.count(*model) != 0 ? settings.cameras[*model] : CameraSettings();
        Refusal refusal = applyToCamera(name, value, camera);
        if (!refusal)
            settings.cameras[*model] = std::move(camera);
        return refusal;
    }
    for (const SettingKey &key : settingKeys()) {
        if (section == key.section && name == key.name)
            return named(name, key.read(value, settings));
    }
    if (section.empty())
        return name + " stands before the first section";
    return isSection(section) ? "unknown key " + name : "unknown section [" + section + "]";
}

} // namespace korv
