#pragma once

#include "cli/base/descriptor.h"

#include <string>

namespace cli {

/// A socket that listens, or why there is none.
struct Listener
{
    Descriptor socket;
    std::string host; ///< as it stands in a URL: an IPv6 address in brackets
    int port = 0;
    bool isLoopback = false; ///< only programs of this machine reach it
    std::string problem; ///< one sentence; empty when the socket listens
};

/// Listens on "ADDRESS:PORT", where ADDRESS is an IPv4 address or an IPv6 address in brackets, and
/// port 0 is any free one.
Listener listenOn(const std::string &address);

/// The socket that systemd passed to this process, if it did (sd_listen_fds(3)).
Listener inheritedListener();

/// Whether the text has the form that listenOn() takes.
bool isListenAddress(const std::string &text);

} // namespace cli
