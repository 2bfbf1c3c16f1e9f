#include "cli/serve/http/httpserver.h"

#include <cstdint>
#include <exception>
#include <microhttpd.h>
#include <sys/socket.h>

namespace cli {
namespace {

constexpr std::size_t kMaxBody = 64 * 1024;
constexpr std::size_t kMaxHeaders = 32 * 1024;
constexpr unsigned kMaxConnections = 64;
constexpr unsigned kIdleSeconds = 30;
constexpr std::chrono::seconds kReceivingTime{60};
constexpr std::chrono::seconds kSendingTime{300};

struct ResponseRelease
{
    void operator()(MHD_Response *response) const { MHD_destroy_response(response); }
};
using ResponsePointer = std::unique_ptr<MHD_Response, ResponseRelease>;

/// The server's own answers to what no handler should see.
HttpResponse plainAnswer(unsigned status)
{
    HttpResponse response;
    response.status = status;
    return response;
}

std::string header(MHD_Connection *connection, const char *name)
{
    const char *const value = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, name);
    return value ? value : "";
}

using SharedBody = std::shared_ptr<const std::string>;

ssize_t readBody(void *body, std::uint64_t offset, char *buffer, std::size_t size)
{
    const std::string &bytes = **static_cast<SharedBody *>(body);
    if (offset >= bytes.size())
        return MHD_CONTENT_READER_END_OF_STREAM;
    return static_cast<ssize_t>(bytes.copy(buffer, size, offset));
}

void releaseBody(void *body)
{
    delete static_cast<SharedBody *>(body);
}

ResponsePointer makeResponse(const HttpResponse &answer)
{
    static char nothing[] = "";
    ResponsePointer response;
    if (answer.body && !answer.body->empty()) {
        constexpr std::size_t kBlock = 64 * 1024;
        auto body = std::make_unique<SharedBody>(answer.body);
        response.reset(MHD_create_response_from_callback(answer.body->size(), kBlock, &readBody,
                                                         body.get(), &releaseBody));
        if (response)
            static_cast<void>(body.release()); // the response has it now
    } else {
        response.reset(MHD_create_response_from_buffer(0, nothing, MHD_RESPMEM_PERSISTENT));
    }
    if (!response)
        return response;
    if (!answer.contentType.empty())
        MHD_add_response_header(response.get(), "Content-Type", answer.contentType.c_str());
    for (const auto &[name, value] : answer.headers)
        MHD_add_response_header(response.get(), name.c_str(), value.c_str());
    return response;
}

int send(MHD_Connection *connection, const HttpResponse &answer)
{
    const ResponsePointer response = makeResponse(answer);
    return response ? MHD_queue_response(connection, answer.status, response.get()) : MHD_NO;
}

} // namespace

/// One request while it arrives and waits for its answer.
struct HttpServer::Exchange
{
    HttpRequest request;
    bool isTooLarge = false;
};

/// What libmicrohttpd calls. No exception may cross into it.
struct HttpServer::Callbacks
{
    static MHD_Result onRequest(void *server, MHD_Connection *connection, const char *path,
                                const char *method, const char *, const char *data,
                                std::size_t *size, void **state)
    {
        try {
            auto &self = *static_cast<HttpServer *>(server);
            if (!*state) {
                auto exchange = std::make_unique<Exchange>();
                exchange->request = {
                    method, path, header(connection, "Host"), header(connection, "Origin"), {}};
                *state = exchange.release();
                return MHD_YES;
            }
            auto &exchange = *static_cast<Exchange *>(*state);
            return static_cast<MHD_Result>(self.receive(connection, exchange, data, size));
        } catch (const std::exception &) {
            return MHD_NO; // ends the connection
        }
    }

    static void onEnd(void *server, MHD_Connection *connection, void **state,
                      MHD_RequestTerminationCode)
    {
        delete static_cast<Exchange *>(*state);
        *state = nullptr;
        static_cast<HttpServer *>(server)->setDeadline(connection, kReceivingTime);
    }

    static void onConnection(void *server, MHD_Connection *connection, void **,
                             MHD_ConnectionNotificationCode code)
    {
        static_cast<HttpServer *>(server)->note(connection, code == MHD_CONNECTION_NOTIFY_STARTED);
    }

    /// Paths are compared as they were sent: "%2e" is no dot here.
    static std::size_t keepEscapes(void *, MHD_Connection *, char *text)
    {
        return std::char_traits<char>::length(text);
    }
};

HttpServer::HttpServer(Descriptor socket, const std::optional<TlsIdentity> &tls, Handler handler)
    : m_handler(std::move(handler))
{
    std::vector<MHD_OptionItem> options{
        {MHD_OPTION_CONNECTION_LIMIT, kMaxConnections, nullptr},
        {MHD_OPTION_CONNECTION_TIMEOUT, kIdleSeconds, nullptr},
        {MHD_OPTION_CONNECTION_MEMORY_LIMIT, kMaxHeaders, nullptr},
        {MHD_OPTION_LISTEN_SOCKET, socket.get(), nullptr},
    };
    if (tls) {
        options.push_back(
            {MHD_OPTION_HTTPS_MEM_CERT, 0, const_cast<char *>(tls->certificate.c_str())});
        options.push_back({MHD_OPTION_HTTPS_MEM_KEY, 0, const_cast<char *>(tls->key.c_str())});
    }
    options.push_back({MHD_OPTION_END, 0, nullptr});
    const unsigned encryption = tls ? unsigned{MHD_USE_TLS} : 0U;
    // Not epoll: libmicrohttpd 0.9.75 was seen to accept nobody any more with it after a thousand
    // connections in a row.
    const unsigned flags =
        unsigned{MHD_USE_POLL_INTERNAL_THREAD} | unsigned{MHD_ALLOW_SUSPEND_RESUME} | encryption;
    m_daemon = MHD_start_daemon(flags, 0, nullptr, nullptr, &Callbacks::onRequest, this,
                                MHD_OPTION_NOTIFY_COMPLETED, &Callbacks::onEnd, this,
                                MHD_OPTION_NOTIFY_CONNECTION, &Callbacks::onConnection, this,
                                MHD_OPTION_UNESCAPE_CALLBACK, &Callbacks::keepEscapes, this,
                                MHD_OPTION_ARRAY, options.data(), MHD_OPTION_END);
    if (m_daemon)
        socket.release(); // the daemon closes it
}

HttpServer::~HttpServer()
{
    if (!m_daemon)
        return;
    {
        const MutexLock lock(m_mutex);
        m_isStopping = true;
    }
    wake(); // a daemon must not end while connections wait
    MHD_stop_daemon(m_daemon);
}

int HttpServer::receive(MHD_Connection *connection, Exchange &exchange, const char *data,
                        std::size_t *size)
{
    if (*size == 0)
        return answer(connection, exchange);
    std::string &body = exchange.request.body;
    // what is too much is read and dropped, so that the client gets to see the answer
    exchange.isTooLarge = exchange.isTooLarge || body.size() + *size > kMaxBody;
    if (!exchange.isTooLarge)
        body.append(data, *size);
    *size = 0;
    return MHD_YES;
}

int HttpServer::answer(MHD_Connection *connection, Exchange &exchange)
{
    if (exchange.isTooLarge)
        return send(connection, plainAnswer(MHD_HTTP_CONTENT_TOO_LARGE));
    for (;;) {
        unsigned long wakes = 0;
        {
            const MutexLock lock(m_mutex);
            if (m_isStopping)
                return send(connection, plainAnswer(MHD_HTTP_SERVICE_UNAVAILABLE));
            wakes = m_wakes;
        }
        const std::optional<HttpResponse> response = m_handler(exchange.request);
        if (response) {
            setDeadline(connection, kSendingTime);
            return send(connection, *response);
        }
        const MutexLock lock(m_mutex);
        if (wakes != m_wakes)
            continue; // the answer may have come while the handler looked
        m_waiting.push_back(connection);
        MHD_suspend_connection(connection);
        m_connections[connection].deadline = Clock::time_point::max();
        return MHD_YES;
    }
}

void HttpServer::wake()
{
    std::vector<MHD_Connection *> waiting;
    {
        const MutexLock lock(m_mutex);
        ++m_wakes;
        waiting.swap(m_waiting);
    }
    // connections that wait do not end by themselves
    for (MHD_Connection *const connection : waiting)
        MHD_resume_connection(connection);
}

void HttpServer::note(MHD_Connection *connection, bool begins)
{
    const MHD_ConnectionInfo *const info =
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
    const MutexLock lock(m_mutex);
    if (begins && info)
        m_connections[connection] = {info->connect_fd, Clock::now() + kReceivingTime};
    else
        m_connections.erase(connection);
}

void HttpServer::setDeadline(MHD_Connection *connection, std::chrono::seconds time)
{
    const MutexLock lock(m_mutex);
    const auto found = m_connections.find(connection);
    if (found != m_connections.end())
        found->second.deadline = Clock::now() + time;
}

void HttpServer::endSlowConnections()
{
    const MutexLock lock(m_mutex);
    const Clock::time_point now = Clock::now();
    for (const auto &[connection, state] : m_connections) {
        // the daemon closes the descriptor itself, after it has reported the end
        if (state.deadline < now)
            shutdown(state.descriptor, SHUT_RDWR);
    }
}

} // namespace cli
