#pragma once

#include "cli/base/descriptor.h"
#include "util/mutex.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

struct MHD_Connection;
struct MHD_Daemon;

namespace cli {

struct HttpRequest
{
    std::string method;
    std::string path; ///< as sent, without the query; nothing in it is decoded
    std::string host; ///< the Host header
    std::string origin; ///< the Origin header, which browsers send
    std::string body;
};

struct HttpResponse
{
    unsigned status = 200;
    std::string contentType;
    std::shared_ptr<const std::string> body; ///< null: empty
    std::vector<std::pair<std::string, std::string>> headers = {};
};

/// Certificate and key of a server, as PEM.
struct TlsIdentity
{
    std::string certificate;
    std::string key;
};

/// An HTTP server with a thread of its own and limits on everything that a client chooses: size of
/// headers and body, number of connections, time.
class HttpServer
{
public:
    /// Answers a request, on the server's thread; must not wait. Nothing: there is no answer yet;
    /// the handler is asked again after wake().
    using Handler = std::function<std::optional<HttpResponse>(const HttpRequest &)>;

    /// Serves on a listening socket. Without `tls` the traffic is not encrypted.
    HttpServer(Descriptor socket, const std::optional<TlsIdentity> &tls, Handler handler);
    HttpServer(const HttpServer &) = delete;
    HttpServer &operator=(const HttpServer &) = delete;
    /// Ends all connections.
    ~HttpServer();

    /// Whether it serves.
    bool works() const { return m_daemon != nullptr; }

    /// Has the handler look again at the requests that it had no answer to; any thread.
    void wake();

    /// Ends connections whose request or answer takes longer than a minute or five; any thread.
    void endSlowConnections();

private:
    using Clock = std::chrono::steady_clock;
    struct Exchange;
    struct Connection
    {
        int descriptor = -1;
        Clock::time_point deadline;
    };
    struct Callbacks;

    int receive(MHD_Connection *connection, Exchange &exchange, const char *data,
                std::size_t *size);
    int answer(MHD_Connection *connection, Exchange &exchange);
    void note(MHD_Connection *connection, bool begins);
    void setDeadline(MHD_Connection *connection, std::chrono::seconds time);

    const Handler m_handler;
    Mutex m_mutex;
    bool m_isStopping GUARDED_BY(m_mutex) = false;
    unsigned long m_wakes GUARDED_BY(m_mutex) = 0;
    std::vector<MHD_Connection *> m_waiting GUARDED_BY(m_mutex);
    std::map<MHD_Connection *, Connection> m_connections GUARDED_BY(m_mutex);
    MHD_Daemon *m_daemon = nullptr;
};

} // namespace cli
