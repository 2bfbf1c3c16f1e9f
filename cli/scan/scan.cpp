#include "cli/scan/scan.h"

#include "cli/base/errors.h"
#include "cli/base/filenames.h"
#include "cli/documents/files.h"
#include "cli/documents/textsettings.h"
#include "cli/scan/pagescanner.h"
#include "cli/session/camerabutton.h"
#include "cli/session/camerasetup.h"

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
        printError(device.name + " has no button that the system shows");
        return nullptr;
    }
    auto button = std::make_unique<ButtonPress>(path);
    if (button->error() == 0)
        return button;
    printError("cannot read the button " + path + ": " + std::strerror(button->error()));
    return nullptr;
}

/// Opens the camera, and takes pages until the scan ends.
ExitCode takePages(LibrarySession &session, const Options &options, PageSink &sink)
{
    ExitCode code = session.open();
    if (code != ExitCode::Success)
        return code;
    const std::optional<Device> device = session.findDevice(code);
    if (!device)
        return code;
    std::unique_ptr<PageTrigger> button;
    if (options.scanOn == ScanOn::Button && !(button = buttonOf(*device)))
        return ExitCode::Failure;
    FrameReceiver receiver(session.wakeup());
    const OpenDevice camera(session.library(), device->index);
    if (camera.result() < 0)
        return session.checkCamera(camera.result(), "open " + device->name);
    code = startPhotographing(session, options, camera, *device);
    if (code == ExitCode::Success)
        code = PageScanner(session, options, receiver, sink, std::move(button)).run();
    return code;
}

bool isWritable(const Options &options, int error)
{
    if (error != 0)
        printError("cannot write " + options.destination + ": "
                   + placeProblem(options.destination, error));
    return error == 0;
}

std::string pagesText(std::size_t count)
{
    return std::to_string(count) + (count == 1 ? " page" : " pages");
}

void offer(const KeptScan &kept, const std::string &folder)
{
    const std::string document = (folder == "." ? "" : folder + "/") + kept.document;
    printError(pagesText(kept.pages) + " of an interrupted scan of " + document
               + " are kept; `korvcam scan --resume -o " + document
               + "` goes on with it, and removing " + kept.folder + " gives them up");
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
    printError("no interrupted scan of " + options.destination + " is kept");
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
        printError("no page was taken; nothing was written");
        return code == ExitCode::Success ? ExitCode::Failure : code;
    }
    const ExitCode combined = combinePages(session, options, folder.pages());
    if (combined == ExitCode::Success) {
        folder.discard();
        return code;
    }
    printError("the pages are kept; `korvcam scan --resume -o " + options.destination
               + "` tries again");
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
