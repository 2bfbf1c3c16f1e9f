#include "cli/calibrate.h"

#include "cli/base/errors.h"
#include "cli/base/translation.h"
#include "cli/documents/workspace.h"
#include "cli/session/opendevice.h"
#include "cli/snap.h"
#include "library/settings/settings.h"
#include "library/settings/settings_paths.h"
#include "library/settings/settings_writer.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <system_error>

namespace cli {
namespace {

constexpr double kMaxShapeError = 0.02;
constexpr double kMillimetresPerInch = 25.4;

/// What lies under the camera.
struct Reference
{
    const char *name;
    double longSide; ///< in millimetres
    double shortSide;
};

constexpr Reference kSheet{trLater("an A4 sheet"), 297, 210};
constexpr Reference kCard{trLater("a card"), 85.6, 53.98};

/// With '.' whatever the locale.
std::string decimal(double value)
{
    char digits[32];
    const std::to_chars_result end =
        std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, 4);
    return {digits, end.ptr};
}

/// Pixels per millimetre; 0 after saying why there is no telling.
double scaleOf(const TakenPhotograph &taken, const Reference &reference)
{
    if (taken.isWhole) {
        printError(tr("no sheet was found; lay %1 flat under the camera, alone and wholly in the "
                      "picture",
                      tr(reference.name)));
        return 0;
    }
    const PictureSize &size = taken.size;
    const double longSide = std::max(size.width, size.height) / reference.longSide;
    const double shortSide = std::min(size.width, size.height) / reference.shortSide;
    if (!(longSide > 0) || !(std::abs(longSide / shortSide - 1) <= kMaxShapeError)) {
        printError(tr("the sheet under the camera is not %1: %2 pixels", tr(reference.name),
                      sizeText(size.width, size.height)));
        return 0;
    }
    return std::sqrt(longSide * shortSide);
}

ExitCode save(LibrarySession &session, const Device &device, const TakenPhotograph &taken,
              double scale)
{
    const std::string file = korv::settingsPaths().user;
    if (file.empty()) {
        printError(tr("there is no place for settings; set HOME"));
        return ExitCode::Failure;
    }
    const std::string mode = sizeText(taken.frameWidth, taken.frameHeight);
    const std::string section = korv::sectionOf({device.vid, device.pid});
    const auto changed = korv::changeSettings(file, {{section, "scale." + mode, decimal(scale)}});
    if (!changed) {
        printError(tr("cannot save in %1: %2", file,
                      std::generic_category().message(-changed.error().code)));
        return ExitCode::Failure;
    }
    session.print("[" + section + "] scale." + mode + " = " + decimal(scale) + " ; "
                  + tr("%1 dpi, in %2", std::lround(scale * kMillimetresPerInch), file));
    return ExitCode::Success;
}

} // namespace

ExitCode calibrate(LibrarySession &session, const Options &options)
{
    ExitCode code = ExitCode::Success;
    const std::optional<Device> device = session.findDevice(code);
    if (!device)
        return code;
    std::error_code failed;
    const std::string folder = std::filesystem::temp_directory_path(failed).string();
    const Workspace workspace(folder + "/calibration.jpg");
    if (failed || workspace.error() != 0) {
        printError(tr("cannot write to %1: %2", folder,
                      placeProblem(folder, failed ? failed.value() : workspace.error())));
        return ExitCode::Failure;
    }
    Options photograph = options;
    photograph.crop = 0;
    photograph.destination = workspace.pathOf("sheet.jpg");
    double scale = 0;
    TakenPhotograph sheet;
    code = snap(session, photograph, [&](const TakenPhotograph &taken) {
        sheet = taken;
        scale = scaleOf(taken, options.card ? kCard : kSheet);
    });
    if (code != ExitCode::Success)
        return code;
    return scale > 0 ? save(session, *device, sheet, scale) : ExitCode::Failure;
}

} // namespace cli
