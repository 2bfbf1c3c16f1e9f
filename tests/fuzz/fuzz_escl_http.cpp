// Bytes from the network to the scanner: the server, the protocol and the jobs, with a camera that has
// a page at once. An input is what clients send: 0xFF begins another connection, 0xFE waits for an
// answer, and "@" in the text stands for the newest job's id.
#include "cli/serve/escl/esclservice.h"
#include "cli/serve/http/httpserver.h"
#include "cli/serve/http/listenaddress.h"
#include "tests/fuzz/check.h"
#include "tests/fuzz/feedback.h"

#include <arpa/inet.h>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience{10}; ///< what no answer may take, however busy the machine
constexpr int kGlance = 2; ///< milliseconds
constexpr char kNewConnection = '\xFF';
constexpr char kAnswer = '\xFE';

/// The scanner without a camera, on a free port of the loopback.
class Scanner
{
public:
    Scanner()
        : m_service(
            m_jobs, [] {}, [] { return true; })
    {
        cli::Listener listener = cli::listenOn("127.0.0.1:0");
        FUZZ_CHECK(listener.problem.empty());
        m_port = listener.port;
        cli::ScannerLimits limits{{75, 150, 300}, 2622, 3579};
        limits.hasFeeder = true;
        m_service.describe({"Fuzzed Scanner", "1234"}, limits);
        m_http.emplace(
            std::move(listener.socket), std::nullopt,
            [this](const cli::HttpRequest &request) { return m_service.answer(request); });
        FUZZ_CHECK(m_http->works());
    }

    cli::Descriptor connect() const
    {
        cli::Descriptor client(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(m_port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        FUZZ_CHECK(
            ::connect(client.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address)
            == 0);
        return client;
    }

    /// Makes a page for the job that waits for one.
    void work()
    {
        if (const auto work = m_jobs.takeWork()) {
            const auto page = std::make_shared<cli::ScannedPage>(
                cli::ScannedPage{std::string(100'000, 'p'), 10, 20});
            if (work->settings.source == cli::ScanInput::Feeder)
                m_jobs.add(work->id, page);
            m_jobs.finish(work->id, {page, false, {}});
            m_http->wake();
        }
    }

    std::string newestJob() const
    {
        const auto jobs = m_jobs.list();
        return jobs.empty() ? "none" : jobs.front().id;
    }

    /// Forgets all jobs: an input must not depend on the one before.
    void forget()
    {
        for (auto jobs = m_jobs.list(); !jobs.empty(); jobs = m_jobs.list()) {
            for (const auto &job : jobs)
                m_jobs.remove(job.id);
        }
        m_http->wake();
    }

private:
    cli::ScanJobs m_jobs;
    cli::EsclService m_service;
    std::optional<cli::HttpServer> m_http;
    int m_port = 0;
};

Scanner &scanner()
{
    static Scanner theScanner;
    return theScanner;
}

/// Reads until the server ends the connection, or with `once` until nothing comes for a moment. Of
/// what comes only the beginning is kept: pages are long.
std::string readAnswer(const cli::Descriptor &client, bool once)
{
    std::string answer;
    const Clock::time_point deadline = Clock::now() + kPatience;
    for (;;) {
        FUZZ_CHECK(Clock::now() < deadline);
        scanner().work();
        pollfd wanted{client.get(), POLLIN, 0};
        if (poll(&wanted, 1, kGlance) <= 0) {
            if (once)
                return answer; // an unfinished request has no answer
            continue;
        }
        char buffer[65536];
        const ssize_t size = recv(client.get(), buffer, sizeof buffer, 0);
        if (size <= 0)
            return answer;
        if (answer.size() < sizeof buffer)
            answer.append(buffer, static_cast<std::size_t>(size));
    }
}

void send(const cli::Descriptor &client, const std::string &text)
{
    // the server may have ended the connection already
    static_cast<void>(::send(client.get(), text.data(), text.size(), MSG_NOSIGNAL));
}

/// Takes the status for feedback.
void note(const std::string &answer)
{
    constexpr std::size_t kStatus = 9; // behind "HTTP/1.1 "
    if (answer.size() < kStatus + 3)
        return;
    // digits do not count as feedback, so the status is spelled in letters
    std::string status = ": ";
    for (const char each : answer.substr(kStatus, 3))
        status += static_cast<char>('a' + (each - '0') % 26);
    fuzz::noteOutcome(status);
}

/// Sends what one connection has to say; `@` is replaced.
void talk(const std::string &script)
{
    const cli::Descriptor client = scanner().connect();
    std::string pending;
    std::string answers;
    for (const char each : script) {
        if (each == '@') {
            pending += scanner().newestJob();
        } else if (each == kAnswer) {
            send(client, pending);
            pending.clear();
            const std::string answer = readAnswer(client, true);
            note(answer);
            answers += answer;
        } else {
            pending += each;
        }
    }
    send(client, pending);
    shutdown(client.get(), SHUT_WR);
    answers += readAnswer(client, false);
    FUZZ_CHECK(answers.empty() || answers.compare(0, 7, "HTTP/1.") == 0);
    note(answers);
}

/// Whatever came before, the next client is served.
void checkService()
{
    const cli::Descriptor client = scanner().connect();
    send(client, "GET /eSCL/ScannerStatus HTTP/1.0\r\nHost: localhost\r\n\r\n");
    const std::string answer = readAnswer(client, false);
    FUZZ_CHECK(answer.find(" 200 ") != answer.npos);
    FUZZ_CHECK(answer.find("</scan:ScannerStatus>") != answer.npos);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    const std::string input(bytes, bytes + size);
    std::size_t begin = 0;
    for (int connections = 0; connections < 4 && begin <= input.size(); ++connections) {
        const std::size_t end = std::min(input.find(kNewConnection, begin), input.size());
        talk(input.substr(begin, end - begin));
        begin = end + 1;
    }
    checkService();
    scanner().forget();
    return 0;
}
