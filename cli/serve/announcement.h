#pragma once

#include <memory>
#include <string>

namespace cli {

/// What DNS-SD says about a scanner.
struct AnnouncedScanner
{
    std::string name; ///< as the user sees it, UTF-8; another one gets a number when it is taken
    std::string uuid;
    int port = 0;
    bool loopbackOnly = true; ///< announced to programs of this machine only
    std::string address; ///< without brackets; where it listens, with loopbackOnly
    bool usesTls = false;
    bool hasFeeder = false;
};

/// Announces a scanner through Avahi for as long as it lives, also when Avahi starts or restarts
/// later. What goes wrong is reported on standard error, once.
class Announcement
{
public:
    explicit Announcement(const AnnouncedScanner &scanner);
    Announcement(const Announcement &) = delete;
    Announcement &operator=(const Announcement &) = delete;
    ~Announcement();

private:
    class Publisher;
    std::unique_ptr<Publisher> m_publisher;
};

} // namespace cli
