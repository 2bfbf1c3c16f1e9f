#include "cli/scan/scan.h"

#include "cli/base/errors.h"
#include "cli/base/filenames.h"
#include "cli/base/translation.h"
#include "cli/documents/files.h"
#include "cli/documents/textsettings.h"
#include "cli/scan/camerabutton.h"
#include "cli/scan/pagescanner.h"
#include "cli/session/camerastream.h"

#include <cstring>
#include <memory>
#include <utility>

namespace cli {
namespace {

/// The button on the camera; null, with the reason on standard error, when there is none to read.
std::unique_ptr<PageTrigger> buttonOf(const Device &device)
{
    const std::string path = device.node.empty() ? std::string() : CameraButton::find(device.node);
    if (path.empty()) {
        printError(tr("%1 has no button that the system shows", device.name));
        return nullptr;
    }
    auto button = std::make_unique<ButtonPress>(path);
    if (button->error() == 0)
        return button;
    printError(tr("cannot read the button %1: %2", path, std::strerror(button->error())));
    return nullptr;
}

/// Opens the camera, and takes pages until the scan ends.
ExitCode takePages(LibrarySession &session, const Options &options, PageSink &sink)
{
    ExitCode code = session.open(FocusCheck::Caller);
    if (code != ExitCode::Success)
        return code;
    const std::optional<Device> device = session.findDevice(code);
    if (!device)
        return code;
    std::unique_ptr<PageTrigger> button;
    if (options.scanOn == ScanOn::Button && !(button = buttonOf(*device)))
        return ExitCode::Failure;
    CameraStream camera(session, *device);
    code = camera.startPhotographing(options);
    if (code == ExitCode::Success)
        code = PageScanner(session, options, camera.frames(), sink, std::move(button)).run();
    return code;
}

bool isWritable(const Options &options, int error)
{
    if (error != 0)
        printError(tr("cannot write %1: %2", options.destination,
                      placeProblem(options.destination, error)));
    return error == 0;
}

void offer(const KeptScan &kept, const std::string &folder)
{
    const std::string document = (folder == "." ? "" : folder + "/") + kept.document;
    printError(
        trCount("%1 page of an interrupted scan of %2 are kept; `korvcam scan --resume -o %2` "
                "goes on with it, and removing %3 gives them up",
                "%1 pages of an interrupted scan of %2 are kept; `korvcam scan --resume -o "
                "%2` goes on with it, and removing %3 gives them up",
                kept.pages, document, kept.folder));
}

/// The killed scan to go on with; without one, says which there are.
std::optional<KeptScan> scanToResume(const Options &options)
{
    const std::vector<KeptScan> kept = keptScans(options.destination);
    const std::string name = fileNameOf(options.destination);
    for (auto at = kept.rbegin(); at != kept.rend(); ++at) {
        if (at->document == name)
            return *at;
    }
    printError(tr("no interrupted scan of %1 is kept", options.destination));
    for (const KeptScan &each : kept)
        offer(each, folderOf(options.destination));
    return std::nullopt;
}

/// Makes the document; `code` is how the scan ended. Pages that do not all get into it stay.
ExitCode finish(LibrarySession &session, const Options &options, ScanFolder &folder, ExitCode code)
{
    session.close();
    // whoever stopped the scan wants the document; the next signal stops that, too
    session.wakeup().heedStop();
    if (folder.pages().empty()) {
        printError(tr("no page was taken; nothing was written"));
        return code == ExitCode::Success ? ExitCode::Failure : code;
    }
    const ExitCode combined = combinePages(session, options, folder.pages());
    if (combined == ExitCode::Success) {
        folder.discard();
        return code;
    }
    printError(
        tr("the pages are kept; `korvcam scan --resume -o %1` tries again", options.destination));
    return code == ExitCode::Success ? combined : code;
}

ExitCode scanInto(LibrarySession &session, const Options &options, ScanFolder &folder)
{
    if (!isWritable(options, folder.error()))
        return ExitCode::Failure;
    DocumentSink sink(folder);
    const bool isComplete = options.pages > 0 && sink.nextNumber() > options.pages;
    const ExitCode code = isComplete ? ExitCode::Success : takePages(session, options, sink);
    return finish(session, options, folder, code);
}

} // namespace

ExitCode scan(LibrarySession &session, const Options &options)
{
    // recognition begins with the first page, and the document is made from its cache
    passTextSettings(options);
    if (const auto pattern = NamePattern::read(options.destination)) {
        PictureSink sink(*pattern, options);
        return isWritable(options, sink.error()) ? takePages(session, options, sink)
                                                 : ExitCode::Failure;
    }
    if (options.resume) {
        const std::optional<KeptScan> kept = scanToResume(options);
        if (!kept)
            return ExitCode::Failure;
        ScanFolder folder(*kept);
        return scanInto(session, options, folder);
    }
    for (const KeptScan &kept : keptScans(options.destination))
        offer(kept, folderOf(options.destination));
    ScanFolder folder(options.destination);
    return scanInto(session, options, folder);
}

} // namespace cli
