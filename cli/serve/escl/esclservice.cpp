#include "cli/serve/escl/esclservice.h"

#include <algorithm>
#include <arpa/inet.h>
#include <strings.h>

namespace cli {
namespace {

constexpr char kXml[] = "text/xml";
constexpr char kText[] = "text/plain; charset=utf-8";
constexpr unsigned kOk = 200;
constexpr unsigned kCreated = 201;
constexpr unsigned kForbidden = 403;
constexpr unsigned kNotFound = 404;
constexpr unsigned kMethodNotAllowed = 405;
constexpr unsigned kGone = 410;
constexpr unsigned kServerError = 500;
constexpr unsigned kUnavailable = 503;
constexpr char kRetryAfterSeconds[] = "2";

HttpResponse respond(unsigned status, const char *type, std::string body)
{
    HttpResponse response;
    response.status = status;
    response.contentType = type;
    response.body = std::make_shared<const std::string>(std::move(body));
    return response;
}

HttpResponse refuse(unsigned status, const std::string &reason)
{
    HttpResponse response = respond(status, kText, reason + "\n");
    if (status == kUnavailable)
        response.headers.emplace_back("Retry-After", kRetryAfterSeconds);
    return response;
}

HttpResponse allowOnly(const char *methods)
{
    HttpResponse response = refuse(kMethodNotAllowed, "this method is not known here");
    response.headers.emplace_back("Allow", methods);
    return response;
}

bool endsWith(const std::string &text, const std::string &end)
{
    return text.size() >= end.size()
        && strcasecmp(text.c_str() + text.size() - end.size(), end.c_str()) == 0;
}

bool isAddress(const std::string &text)
{
    in6_addr address = {};
    return inet_pton(AF_INET, text.c_str(), &address) == 1
        || inet_pton(AF_INET6, text.c_str(), &address) == 1;
}

} // namespace

bool isTrustedHost(const std::string &host)
{
    if (host.empty())
        return true; // HTTP 1.0, which no browser speaks
    if (host.front() == '[') {
        const std::string inner = host.substr(1, host.find(']') - 1);
        return isAddress(inner.substr(0, inner.find('%')));
    }
    std::string name = host.substr(0, host.find(':'));
    if (!name.empty() && name.back() == '.')
        name.pop_back();
    return isAddress(name) || strcasecmp(name.c_str(), "localhost") == 0
        || endsWith(name, ".local");
}

EsclService::EsclService(ScanJobs &jobs, std::function<void()> workArrived,
                         std::function<bool()> hasCamera)
    : m_jobs(jobs)
    , m_workArrived(std::move(workArrived))
    , m_hasCamera(std::move(hasCamera))
{
}

void EsclService::describe(const ScannerIdentity &identity, const ScannerLimits &limits)
{
    const MutexLock lock(m_mutex);
    m_identity = identity;
    m_limits = limits;
}

ScannerLimits EsclService::limits() const
{
    const MutexLock lock(m_mutex);
    return m_limits;
}

HttpResponse EsclService::capabilities() const
{
    const MutexLock lock(m_mutex);
    return respond(kOk, kXml, capabilitiesXml(m_identity, m_limits));
}

HttpResponse EsclService::status() const
{
    ScannerState state = ScannerState::Processing;
    if (!m_jobs.isActive())
        state = m_hasCamera() ? ScannerState::Idle : ScannerState::Stopped;
    return respond(kOk, kXml, statusXml(m_jobs.list(), state, limits().hasFeeder));
}

std::optional<HttpResponse> EsclService::answer(const HttpRequest &request)
{
    if (!isTrustedHost(request.host) || !request.origin.empty())
        return refuse(kForbidden, "web pages may not use this scanner");
    const std::string root = std::string(kEsclRoot) + "/";
    if (request.path.compare(0, root.size(), root) != 0)
        return refuse(kNotFound, "there is nothing here");
    const std::string path = request.path.substr(root.size());
    const bool isGet = request.method == "GET";
    if (path == "ScannerCapabilities")
        return isGet ? capabilities() : allowOnly("GET");
    if (path == "ScannerStatus")
        return isGet ? status() : allowOnly("GET");
    if (path == "ScanJobs")
        return request.method == "POST" ? createJob(request) : allowOnly("POST");
    const std::string jobs = "ScanJobs/";
    if (path.compare(0, jobs.size(), jobs) != 0)
        return refuse(kNotFound, "there is nothing here");
    const std::string job = path.substr(jobs.size());
    const std::size_t slash = std::min(job.find('/'), job.size());
    return answerJob(request, job.substr(0, slash), job.substr(slash));
}

std::optional<HttpResponse> EsclService::answerJob(const HttpRequest &request,
                                                   const std::string &id, const std::string &part)
{
    if (part.empty()) {
        if (request.method != "DELETE")
            return allowOnly("DELETE");
        if (!m_jobs.remove(id))
            return refuse(kNotFound, "there is no such job");
        m_workArrived(); // a feeder ends its work
        return respond(kOk, kText, {});
    }
    if (part != "/NextDocument" && part != "/ScanImageInfo")
        return refuse(kNotFound, "there is nothing here");
    if (request.method != "GET")
        return allowOnly("GET");
    return part == "/NextDocument" ? nextDocument(id) : imageInfo(id);
}

HttpResponse EsclService::createJob(const HttpRequest &request)
{
    const auto parsed = parseScanSettings(request.body, limits());
    if (const auto *const refusal = std::get_if<SettingsRefusal>(&parsed))
        return refuse(refusal->status, refusal->reason);
    const std::optional<std::string> id = m_jobs.create(std::get<ScanSettings>(parsed));
    if (!id)
        return refuse(kUnavailable, "another job is active");
    m_workArrived();
    HttpResponse response = respond(kCreated, kText, {});
    response.headers.emplace_back("Location", std::string(kEsclRoot) + "/ScanJobs/" + *id);
    return response;
}

std::optional<HttpResponse> EsclService::nextDocument(const std::string &id)
{
    ScanJobs::Next next = m_jobs.next(id);
    switch (next.answer) {
    case ScanJobs::Answer::Page: {
        HttpResponse response;
        response.contentType = mimeType(next.format);
        response.headers.emplace_back("Content-Location",
                                      std::string(kEsclRoot) + "/ScanJobs/" + id + "/"
                                          + std::to_string(next.number));
        // the bytes stay where they are; the page lives as long as they are sent
        response.body = std::shared_ptr<const std::string>(next.page, &next.page->bytes);
        return response;
    }
    case ScanJobs::Answer::NotYet:
        m_workArrived();
        return std::nullopt;
    case ScanJobs::Answer::Busy:
        return refuse(kUnavailable, next.reason);
    case ScanJobs::Answer::NoMore:
        return refuse(kNotFound, "the job has no more pages");
    case ScanJobs::Answer::Canceled:
        return refuse(kGone, "the job was cancelled");
    case ScanJobs::Answer::Failed:
        return refuse(kServerError, next.reason);
    case ScanJobs::Answer::Unknown:
        break;
    }
    return refuse(kNotFound, "there is no such job");
}

HttpResponse EsclService::imageInfo(const std::string &id) const
{
    const ScanJobs::Next next = m_jobs.peek(id);
    if (next.answer == ScanJobs::Answer::Page)
        return respond(kOk, kXml, imageInfoXml(id, *next.page));
    if (next.answer == ScanJobs::Answer::NotYet)
        return refuse(kUnavailable, "the page is not scanned yet");
    return refuse(kNotFound, "there is no such page");
}

} // namespace cli
