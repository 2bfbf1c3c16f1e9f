#include "cli/serve/escl/escltexts.h"

#include <pugixml.hpp>
#include <sstream>

namespace cli {
namespace {

constexpr char kScanNamespace[] = "http://schemas.hp.com/imaging/escl/2011/05/03";
constexpr char kPwgNamespace[] = "http://www.pwg.org/schemas/2010/12/sm";
constexpr char kVersion[] = "2.63";
constexpr int kMinSide = 8; // in 1/300 inch, as requests are read

pugi::xml_node addRoot(pugi::xml_document &document, const char *name)
{
    pugi::xml_node declaration = document.append_child(pugi::node_declaration);
    declaration.append_attribute("version") = "1.0";
    declaration.append_attribute("encoding") = "UTF-8";
    pugi::xml_node root = document.append_child(name);
    root.append_attribute("xmlns:scan") = kScanNamespace;
    root.append_attribute("xmlns:pwg") = kPwgNamespace;
    return root;
}

template <typename Value> void add(pugi::xml_node &parent, const char *name, const Value &value)
{
    parent.append_child(name).text().set(value);
}

void add(pugi::xml_node &parent, const char *name, const std::string &value)
{
    parent.append_child(name).text().set(value.c_str());
}

std::string textOf(const pugi::xml_document &document)
{
    std::ostringstream text;
    document.save(text, "  ", pugi::format_indent, pugi::encoding_utf8);
    return text.str();
}

void addProfile(pugi::xml_node &source, const std::vector<int> &resolutions)
{
    pugi::xml_node profile =
        source.append_child("scan:SettingProfiles").append_child("scan:SettingProfile");
    pugi::xml_node modes = profile.append_child("scan:ColorModes");
    for (const char *const mode : {"BlackAndWhite1", "Grayscale8", "RGB24"})
        add(modes, "scan:ColorMode", mode);
    pugi::xml_node formats = profile.append_child("scan:DocumentFormats");
    for (const char *const name : {"pwg:DocumentFormat", "scan:DocumentFormatExt"}) {
        for (const ScanFormat format : {ScanFormat::Jpeg, ScanFormat::Pdf})
            add(formats, name, mimeType(format));
    }
    pugi::xml_node list =
        profile.append_child("scan:SupportedResolutions").append_child("scan:DiscreteResolutions");
    for (const int resolution : resolutions) {
        pugi::xml_node entry = list.append_child("scan:DiscreteResolution");
        add(entry, "scan:XResolution", resolution);
        add(entry, "scan:YResolution", resolution);
    }
}

/// What a place to put paper offers.
void addSource(pugi::xml_node source, const ScannerLimits &limits)
{
    add(source, "scan:MinWidth", kMinSide);
    add(source, "scan:MaxWidth", limits.maxWidth);
    add(source, "scan:MinHeight", kMinSide);
    add(source, "scan:MaxHeight", limits.maxHeight);
    add(source, "scan:MaxScanRegions", 1);
    addProfile(source, limits.resolutions);
    pugi::xml_node intents = source.append_child("scan:SupportedIntents");
    for (const char *const intent : {"Document", "Photo", "Preview", "TextAndGraphic"})
        add(intents, "scan:Intent", intent);
    add(source, "scan:MaxOpticalXResolution", limits.resolutions.back());
    add(source, "scan:MaxOpticalYResolution", limits.resolutions.back());
}

const char *nameOf(ScanJobs::State state)
{
    switch (state) {
    case ScanJobs::State::Pending:
        return "Pending";
    case ScanJobs::State::Scanning:
    case ScanJobs::State::Ready:
        return "Processing";
    case ScanJobs::State::Completed:
        return "Completed";
    case ScanJobs::State::Canceled:
        return "Canceled";
    case ScanJobs::State::Aborted:
        return "Aborted";
    }
    return "Aborted";
}

const char *nameOf(ScannerState state)
{
    switch (state) {
    case ScannerState::Processing:
        return "Processing";
    case ScannerState::Stopped:
        return "Stopped";
    case ScannerState::Idle:
        break;
    }
    return "Idle";
}

/// The keyword that the Printer Working Group's model has for it.
const char *reasonOf(ScanJobs::State state)
{
    switch (state) {
    case ScanJobs::State::Completed:
        return "JobCompletedSuccessfully";
    case ScanJobs::State::Canceled:
        return "JobCanceledByUser";
    case ScanJobs::State::Aborted:
        return "AbortedBySystem";
    default:
        return "JobScanning";
    }
}

} // namespace

std::string capabilitiesXml(const ScannerIdentity &identity, const ScannerLimits &limits)
{
    pugi::xml_document document;
    pugi::xml_node root = addRoot(document, "scan:ScannerCapabilities");
    add(root, "pwg:Version", kVersion);
    add(root, "pwg:MakeAndModel", identity.name);
    add(root, "pwg:SerialNumber", identity.uuid);
    add(root, "scan:UUID", identity.uuid);
    addSource(root.append_child("scan:Platen").append_child("scan:PlatenInputCaps"), limits);
    if (limits.hasFeeder)
        addSource(root.append_child("scan:Adf").append_child("scan:AdfSimplexInputCaps"), limits);
    return textOf(document);
}

std::string statusXml(const std::vector<ScanJobs::Status> &jobs, ScannerState state, bool hasFeeder)
{
    pugi::xml_document document;
    pugi::xml_node root = addRoot(document, "scan:ScannerStatus");
    add(root, "pwg:Version", kVersion);
    add(root, "pwg:State", nameOf(state));
    // Somebody turns pages; the camera sees when there are no more. The feeder of an unplugged one is
    // not empty: clients would take that for the regular end of a scan.
    if (hasFeeder)
        add(root, "scan:AdfState", "ScannerAdfLoaded");
    pugi::xml_node list = root.append_child("scan:Jobs");
    for (const ScanJobs::Status &job : jobs) {
        pugi::xml_node info = list.append_child("scan:JobInfo");
        add(info, "pwg:JobUri", std::string(kEsclRoot) + "/ScanJobs/" + job.id);
        add(info, "pwg:JobUuid", job.id);
        add(info, "scan:Age", static_cast<int>(job.ageSeconds));
        add(info, "pwg:ImagesCompleted", job.pagesDelivered);
        add(info, "pwg:ImagesToTransfer", job.pagesWaiting);
        add(info, "pwg:JobState", nameOf(job.state));
        pugi::xml_node reasons = info.append_child("pwg:JobStateReasons");
        add(reasons, "pwg:JobStateReason", reasonOf(job.state));
    }
    return textOf(document);
}

std::string imageInfoXml(const std::string &jobId, const ScannedPage &page)
{
    pugi::xml_document document;
    pugi::xml_node root = addRoot(document, "scan:ScanImageInfo");
    add(root, "pwg:JobUri", std::string(kEsclRoot) + "/ScanJobs/" + jobId);
    add(root, "pwg:JobUuid", jobId);
    add(root, "scan:ActualWidth", page.width);
    add(root, "scan:ActualHeight", page.height);
    return textOf(document);
}

} // namespace cli
