#include "cli/serve/announcement.h"

#include "cli/base/errors.h"
#include "cli/base/translation.h"

#include <avahi-client/client.h>
#include <avahi-client/publish.h>
#include <avahi-common/address.h>
#include <avahi-common/alternative.h>
#include <avahi-common/error.h>
#include <avahi-common/malloc.h>
#include <avahi-common/strlst.h>
#include <avahi-common/thread-watch.h>
#include <cstdint>
#include <net/if.h>
#include <vector>

namespace cli {
namespace {

constexpr std::size_t kMaxLabel = 63; // bytes of a DNS label

struct PollRelease
{
    void operator()(AvahiThreadedPoll *poll) const { avahi_threaded_poll_free(poll); }
};
struct ClientRelease
{
    void operator()(AvahiClient *client) const { avahi_client_free(client); }
};
struct ListRelease
{
    void operator()(AvahiStringList *list) const { avahi_string_list_free(list); }
};

/// Cut to what a DNS label takes, not in the middle of a character.
std::string label(std::string name)
{
    if (name.size() <= kMaxLabel)
        return name;
    std::size_t end = kMaxLabel;
    while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0U) == 0x80U)
        --end;
    return name.substr(0, end);
}

std::unique_ptr<AvahiStringList, ListRelease> recordsOf(const AnnouncedScanner &scanner)
{
    const std::vector<std::string> records{
        "txtvers=1",
        "vers=2.63",
        "rs=eSCL",
        "ty=" + scanner.name,
        "note=",
        "pdl=image/jpeg,application/pdf",
        "cs=binary,color,grayscale",
        scanner.hasFeeder ? "is=platen,adf" : "is=platen",
        "duplex=F",
        "UUID=" + scanner.uuid,
    };
    AvahiStringList *list = nullptr;
    for (const std::string &record : records)
        list = avahi_string_list_add(list, record.c_str());
    return std::unique_ptr<AvahiStringList, ListRelease>(list);
}

} // namespace

/// Everything in here runs on Avahi's thread, between the constructor and the destructor.
class Announcement::Publisher
{
public:
    explicit Publisher(const AnnouncedScanner &scanner)
        : m_scanner(scanner)
        , m_name(label(scanner.name))
        , m_poll(avahi_threaded_poll_new())
    {
        if (m_poll)
            connect();
        if (m_client)
            avahi_threaded_poll_start(m_poll.get());
    }
    Publisher(const Publisher &) = delete;
    Publisher &operator=(const Publisher &) = delete;
    ~Publisher()
    {
        // the thread ends before the client, which would otherwise be used by it
        if (m_client)
            avahi_threaded_poll_stop(m_poll.get());
    }

private:
    /// Makes a client, which waits for a daemon if there is none yet.
    void connect()
    {
        m_group = nullptr; // the previous client's
        m_client.reset();
        int error = 0;
        m_client.reset(avahi_client_new(avahi_threaded_poll_get(m_poll.get()), AVAHI_CLIENT_NO_FAIL,
                                        &Publisher::onClient, this, &error));
        if (!m_client)
            report(avahi_strerror(error));
    }

    static void onClient(AvahiClient *client, AvahiClientState state, void *publisher)
    {
        auto &self = *static_cast<Publisher *>(publisher);
        switch (state) {
        case AVAHI_CLIENT_S_RUNNING:
            self.publish(client);
            break;
        case AVAHI_CLIENT_FAILURE:
            // a client does not outlive its daemon; a new one waits for the next daemon
            if (avahi_client_errno(client) == AVAHI_ERR_DISCONNECTED)
                self.connect();
            else
                self.report(avahi_strerror(avahi_client_errno(client)));
            break;
        case AVAHI_CLIENT_S_COLLISION:
        case AVAHI_CLIENT_S_REGISTERING:
            if (self.m_group)
                avahi_entry_group_reset(self.m_group);
            break;
        case AVAHI_CLIENT_CONNECTING:
            break;
        }
    }

    static void onGroup(AvahiEntryGroup *group, AvahiEntryGroupState state, void *publisher)
    {
        auto &self = *static_cast<Publisher *>(publisher);
        if (state == AVAHI_ENTRY_GROUP_COLLISION)
            self.rename(group);
        else if (state == AVAHI_ENTRY_GROUP_FAILURE)
            self.report(avahi_strerror(avahi_client_errno(avahi_entry_group_get_client(group))));
    }

    void rename(AvahiEntryGroup *group)
    {
        char *const other = avahi_alternative_service_name(m_name.c_str());
        if (other)
            m_name = other;
        avahi_free(other);
        publish(avahi_entry_group_get_client(group));
    }

    void publish(AvahiClient *client)
    {
        if (!m_group)
            m_group = avahi_entry_group_new(client, &Publisher::onGroup, this);
        if (!m_group)
            return report(avahi_strerror(avahi_client_errno(client)));
        avahi_entry_group_reset(m_group);
        const auto index = static_cast<AvahiIfIndex>(if_nametoindex("lo"));
        const AvahiIfIndex interface =
            m_scanner.loopbackOnly && index > 0 ? index : AVAHI_IF_UNSPEC;
        // This machine's own name has a loopback address of each family; the scanner has only one.
        std::string host;
        if (m_scanner.loopbackOnly) {
            host = "korvcam-" + m_scanner.uuid.substr(0, 8) + "-" + std::to_string(m_scanner.port)
                + ".local";
            AvahiAddress address = {};
            if (!avahi_address_parse(m_scanner.address.c_str(), AVAHI_PROTO_UNSPEC, &address))
                return report(tr("not an address: %1", m_scanner.address));
            const int added =
                avahi_entry_group_add_address(m_group, interface, AVAHI_PROTO_UNSPEC,
                                              AVAHI_PUBLISH_NO_REVERSE, host.c_str(), &address);
            if (added < 0)
                return report(avahi_strerror(added));
        }
        const auto records = recordsOf(m_scanner);
        const char *const type = m_scanner.usesTls ? "_uscans._tcp" : "_uscan._tcp";
        int result = avahi_entry_group_add_service_strlst(
            m_group, interface, AVAHI_PROTO_UNSPEC, AvahiPublishFlags(0), m_name.c_str(), type,
            nullptr, host.empty() ? nullptr : host.c_str(),
            static_cast<std::uint16_t>(m_scanner.port), records.get());
        if (result == AVAHI_ERR_COLLISION)
            return rename(m_group);
        if (result >= 0)
            result = avahi_entry_group_commit(m_group);
        if (result < 0)
            report(avahi_strerror(result));
    }

    void report(const std::string &reason)
    {
        if (!m_reported)
            printError(tr("the scanner is not announced: %1", reason));
        m_reported = true;
    }

    const AnnouncedScanner m_scanner;
    std::string m_name;
    bool m_reported = false;
    AvahiEntryGroup *m_group = nullptr; // the client's
    std::unique_ptr<AvahiThreadedPoll, PollRelease> m_poll;
    std::unique_ptr<AvahiClient, ClientRelease> m_client;
};

Announcement::Announcement(const AnnouncedScanner &scanner)
    : m_publisher(std::make_unique<Publisher>(scanner))
{
}

Announcement::~Announcement() = default;

} // namespace cli
