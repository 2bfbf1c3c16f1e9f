#include "cli/serve/http/listenaddress.h"

#include "cli/base/translation.h"

#include <arpa/inet.h>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <netinet/in.h>
#include <optional>
#include <sys/socket.h>
#include <unistd.h>

namespace cli {
namespace {

constexpr int kBacklog = 64;
constexpr int kFirstInherited = 3; // sd_listen_fds(3)
constexpr int kMaxPort = 65535;

/// The address of a socket of either family.
struct Address
{
    sockaddr_storage storage = {};
    socklen_t size = 0;

    const sockaddr *get() const { return reinterpret_cast<const sockaddr *>(&storage); }
    sockaddr *get() { return reinterpret_cast<sockaddr *>(&storage); }
    const sockaddr_in &v4() const { return reinterpret_cast<const sockaddr_in &>(storage); }
    sockaddr_in &v4() { return reinterpret_cast<sockaddr_in &>(storage); }
    const sockaddr_in6 &v6() const { return reinterpret_cast<const sockaddr_in6 &>(storage); }
    sockaddr_in6 &v6() { return reinterpret_cast<sockaddr_in6 &>(storage); }
};

std::optional<Address> parse(const std::string &text)
{
    const std::size_t colon = text.rfind(':');
    if (colon == std::string::npos)
        return std::nullopt;
    int port = 0;
    const char *const end = text.data() + text.size();
    const std::from_chars_result read = std::from_chars(text.data() + colon + 1, end, port);
    if (read.ec != std::errc() || read.ptr != end || port < 0 || port > kMaxPort)
        return std::nullopt;
    const std::string host = text.substr(0, colon);
    Address address;
    if (inet_pton(AF_INET, host.c_str(), &address.v4().sin_addr) == 1) {
        address.v4().sin_family = AF_INET;
        address.v4().sin_port = htons(static_cast<std::uint16_t>(port));
        address.size = sizeof(sockaddr_in);
        return address;
    }
    if (host.size() < 2 || host.front() != '[' || host.back() != ']')
        return std::nullopt;
    const std::string inner = host.substr(1, host.size() - 2);
    if (inet_pton(AF_INET6, inner.c_str(), &address.v6().sin6_addr) != 1)
        return std::nullopt;
    address.v6().sin6_family = AF_INET6;
    address.v6().sin6_port = htons(static_cast<std::uint16_t>(port));
    address.size = sizeof(sockaddr_in6);
    return address;
}

/// Fills in where the socket really listens.
void describe(Listener &listener)
{
    Address address;
    address.size = sizeof address.storage;
    char text[INET6_ADDRSTRLEN] = "";
    if (getsockname(listener.socket.get(), address.get(), &address.size) != 0) {
        listener.problem = tr("the socket is not usable: %1", std::strerror(errno));
    } else if (address.storage.ss_family == AF_INET) {
        constexpr std::uint32_t kLoopbackNet = 127;
        inet_ntop(AF_INET, &address.v4().sin_addr, text, sizeof text);
        listener.host = text;
        listener.port = ntohs(address.v4().sin_port);
        listener.isLoopback = ntohl(address.v4().sin_addr.s_addr) >> 24 == kLoopbackNet;
    } else if (address.storage.ss_family == AF_INET6) {
        inet_ntop(AF_INET6, &address.v6().sin6_addr, text, sizeof text);
        listener.host = "[" + std::string(text) + "]";
        listener.port = ntohs(address.v6().sin6_port);
        listener.isLoopback = IN6_IS_ADDR_LOOPBACK(&address.v6().sin6_addr);
    } else {
        listener.problem = tr("the socket is none of the internet's");
    }
}

} // namespace

Listener listenOn(const std::string &text)
{
    Listener listener;
    const std::optional<Address> address = parse(text);
    if (!address) {
        listener.problem = tr("not an address like 127.0.0.1:8590 or [::1]:8590: %1", text);
        return listener;
    }
    Descriptor socket(::socket(address->storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int yes = 1;
    if (!socket || setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes) != 0
        || bind(socket.get(), address->get(), address->size) != 0
        || listen(socket.get(), kBacklog) != 0) {
        listener.problem = tr("cannot listen on %1: %2", text, std::strerror(errno));
        return listener;
    }
    listener.socket = std::move(socket);
    describe(listener);
    return listener;
}

Listener inheritedListener()
{
    Listener listener;
    const char *const process = std::getenv("LISTEN_PID");
    const char *const count = std::getenv("LISTEN_FDS");
    if (!process || !count || std::to_string(getpid()) != process || std::string(count) != "1") {
        listener.problem = "no socket was passed on";
        return listener;
    }
    listener.socket = Descriptor(kFirstInherited);
    describe(listener);
    return listener;
}

bool isListenAddress(const std::string &text)
{
    return parse(text).has_value();
}

} // namespace cli
