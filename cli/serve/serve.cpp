#include "cli/serve/serve.h"

#include "cli/base/errors.h"
#include "cli/base/translation.h"
#include "cli/serve/announcement.h"
#include "cli/serve/escl/esclservice.h"
#include "cli/serve/http/listenaddress.h"
#include "cli/serve/scansource.h"
#include "cli/session/session.h"

#include <QUuid>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <malloc.h>
#include <sstream>

namespace cli {
namespace {

constexpr std::chrono::seconds kCheckEvery{5};
constexpr std::size_t kMaxPem = 1024 * 1024;
constexpr int kLargeBlock = 256 * 1024;

/// The contents of a small file; nothing after saying why.
std::optional<std::string> readPem(const std::string &path)
{
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    std::string contents(kMaxPem, '\0');
    file.read(contents.data(), static_cast<std::streamsize>(contents.size()));
    contents.resize(static_cast<std::size_t>(file.gcount()));
    if (!contents.empty())
        return contents;
    printError(
        tr("cannot read %1: %2", path, errno != 0 ? std::strerror(errno) : tr("it is empty")));
    return std::nullopt;
}

/// Says what a listener beyond this machine means.
void warnOfNetwork(const Listener &listener, bool usesTls)
{
    printError(tr("everyone who can reach %1 port %2 can take scans from this camera; there is no "
                  "password",
                  listener.host, listener.port));
    if (!usesTls)
        printError(tr("scans cross the network unencrypted; --certificate and --key turn TLS on"));
}

/// An id that stays the same for a camera on this machine and does not reveal the machine's.
std::string uuidOf(const std::string &name)
{
    std::string machine;
    std::ifstream("/etc/machine-id") >> machine;
    const QUuid space("{8f1d4f1e-6c0a-4d53-9a55-3d1f6c7b2e90}");
    const QByteArray text = QByteArray::fromStdString(machine + "\n" + name);
    return QUuid::createUuidV5(space, text).toString(QUuid::WithoutBraces).toStdString();
}

/// An address without the brackets that URLs want around IPv6.
std::string plainHost(const std::string &host)
{
    return host.front() == '[' ? host.substr(1, host.size() - 2) : host;
}

/// Takes jobs to the camera until the user stops the program.
class Server
{
public:
    Server(LibrarySession &session, const Options &options)
        : m_session(session)
        , m_options(options)
        , m_source(session, options)
        , m_service(
              m_jobs, [&session] { session.wakeup().notify(); },
              [this] { return m_source.hasCamera(); })
    {
    }

    ExitCode run()
    {
        std::optional<TlsIdentity> tls;
        if (!readIdentity(tls))
            return ExitCode::Failure;
        Listener listener = inheritedListener();
        if (!listener.problem.empty())
            listener = listenOn(m_options.listen);
        if (!listener.problem.empty()) {
            printError(listener.problem);
            return ExitCode::Failure;
        }
        if (!listener.isLoopback)
            warnOfNetwork(listener, tls.has_value());
        lookAtCamera();
        HttpServer http(std::move(listener.socket), tls,
                        [this](const HttpRequest &request) { return m_service.answer(request); });
        if (!http.works()) {
            printError(tls ? tr("cannot start the server; do certificate and key belong together?")
                           : tr("cannot start the server"));
            return ExitCode::Failure;
        }
        m_session.print((tls ? "https://" : "http://") + listener.host + ":"
                        + std::to_string(listener.port) + kEsclRoot);
        std::optional<Announcement> announcement;
        if (m_options.announce)
            announcement.emplace(AnnouncedScanner{m_identity.name, m_identity.uuid, listener.port,
                                                  listener.isLoopback, plainHost(listener.host),
                                                  tls.has_value(), m_options.handsFree});
        work(http);
        return ExitCode::Success;
    }

private:
    bool readIdentity(std::optional<TlsIdentity> &tls) const
    {
        if (m_options.certificate.empty())
            return true;
        const std::optional<std::string> certificate = readPem(m_options.certificate);
        const std::optional<std::string> key = readPem(m_options.key);
        if (certificate && key)
            tls = TlsIdentity{*certificate, *key};
        return tls.has_value();
    }

    /// Learns what the camera offers. A name once announced stays.
    void lookAtCamera()
    {
        const std::optional<CameraFacts> facts = m_source.lookAtCamera();
        m_knowsCamera = facts && facts->width > 0;
        const CameraFacts known = facts.value_or(CameraFacts());
        if (m_identity.name.empty())
            m_identity.name = m_options.scannerName.value_or(known.name);
        if (m_identity.uuid.empty())
            m_identity.uuid = uuidOf(m_identity.name);
        ScannerLimits limits = limitsOf(known);
        limits.hasFeeder = m_options.handsFree;
        m_service.describe(m_identity, limits);
    }

    /// Stopping is the way to end.
    void work(HttpServer &http)
    {
        Wake wake = Wake::Notified;
        while (wake != Wake::Interrupted) {
            while (const std::optional<ScanJobs::Work> job = m_jobs.takeWork()) {
                if (!m_knowsCamera)
                    lookAtCamera();
                ScanOutcome outcome = carryOut(*job, http);
                if (!outcome.reason.empty())
                    printError(tr("no scan: %1", outcome.reason));
                m_jobs.finish(job->id, std::move(outcome));
                http.wake();
            }
            wake = m_session.wakeup().wait(Wakeup::Clock::now() + kCheckEvery);
            endWhatTakesTooLong(http);
        }
    }

    ScanOutcome carryOut(const ScanJobs::Work &job, HttpServer &http)
    {
        if (job.settings.source == ScanInput::Platen)
            return m_source.scan(job.settings);
        const FeederClient client{
            [&] { return m_jobs.feeding(job.id); },
            [&](ScannedPagePointer page) {
                m_jobs.add(job.id, std::move(page));
                http.wake();
            },
            [&] { endWhatTakesTooLong(http); },
        };
        return m_source.feed(job.settings, client);
    }

    /// Jobs that nobody asks for, and slow connections. Called more often than needed.
    void endWhatTakesTooLong(HttpServer &http)
    {
        if (Wakeup::Clock::now() < m_checkAt)
            return;
        m_checkAt = Wakeup::Clock::now() + kCheckEvery;
        m_jobs.expire(ScanJobs::Clock::now());
        http.endSlowConnections();
    }

    LibrarySession &m_session;
    const Options &m_options;
    ScanJobs m_jobs;
    ScanSource m_source;
    EsclService m_service;
    ScannerIdentity m_identity;
    bool m_knowsCamera = false;
    Wakeup::Clock::time_point m_checkAt;
};

} // namespace

ExitCode serve(const Options &options)
{
    // Memory of pictures goes back to the system at once: the next scan may be hours away, and the
    // heaps of the threads would keep over 100 MB for it.
    mallopt(M_MMAP_THRESHOLD, kLargeBlock);
    LibrarySession session(options);
    if (const ExitCode opened = session.open(); opened != ExitCode::Success)
        return opened;
    const ExitCode code = Server(session, options).run();
    // an address that nobody could read is of no help
    return code == ExitCode::Success && !session.outputWorks() ? ExitCode::Failure : code;
}

} // namespace cli
