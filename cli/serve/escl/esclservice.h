#pragma once

#include "cli/serve/escl/escltexts.h"
#include "cli/serve/escl/scanjobs.h"
#include "cli/serve/http/httpserver.h"
#include "util/mutex.h"

#include <functional>
#include <optional>
#include <string>

namespace cli {

/// The eSCL protocol: requests to answers. Knows no socket and no camera.
/// Thread: any.
class EsclService
{
public:
    /// `jobs` is borrowed; `workArrived` is called when one of them may wait for the camera, and when
    /// one is cancelled; `hasCamera` says whether there is one at the moment. Both are called on any
    /// thread.
    EsclService(ScanJobs &jobs, std::function<void()> workArrived, std::function<bool()> hasCamera);

    /// Sets what the scanner is and offers; requests are held against it from now on.
    void describe(const ScannerIdentity &identity, const ScannerLimits &limits);

    /// The answer to a request; nothing while its page is not there yet.
    std::optional<HttpResponse> answer(const HttpRequest &request);

private:
    HttpResponse createJob(const HttpRequest &request);
    std::optional<HttpResponse> answerJob(const HttpRequest &request, const std::string &id,
                                          const std::string &part);
    std::optional<HttpResponse> nextDocument(const std::string &id);
    HttpResponse imageInfo(const std::string &id) const;
    HttpResponse capabilities() const;
    HttpResponse status() const;
    ScannerLimits limits() const;

    ScanJobs &m_jobs;
    const std::function<void()> m_workArrived;
    const std::function<bool()> m_hasCamera;
    mutable Mutex m_mutex;
    ScannerIdentity m_identity GUARDED_BY(m_mutex);
    ScannerLimits m_limits GUARDED_BY(m_mutex);
};

/// Whether a Host header names this machine as the clients of a scanner do: by an IP address, as
/// localhost, or by a name of multicast DNS. Pages on the web that point a name of theirs at this
/// machine send that name.
bool isTrustedHost(const std::string &host);

} // namespace cli
