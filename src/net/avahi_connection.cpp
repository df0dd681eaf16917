// SPDX-License-Identifier: Apache-2.0

#include "net/avahi_connection.h"

#include "net/avahi_poll.h"

#include <avahi-client/client.h>
#include <avahi-client/lookup.h>
#include <avahi-common/error.h>
#include <avahi-core/core.h>
#include <avahi-core/log.h>
#include <avahi-core/lookup.h>

#include <utility>

namespace vorn {
namespace {

constexpr auto domain = "local";
constexpr auto noFlags = AvahiLookupFlags(0);

// Avahi has the same calls twice, under two sets of names.

struct DaemonApi {
    using Connection = AvahiClient;
    using Browser = AvahiServiceBrowser;
    using Resolver = AvahiServiceResolver;
    static constexpr auto freeConnection = avahi_client_free;
    static constexpr auto newBrowser = avahi_service_browser_new;
    static constexpr auto freeBrowser = avahi_service_browser_free;
    static constexpr auto newResolver = avahi_service_resolver_new;
    static constexpr auto freeResolver = avahi_service_resolver_free;

    static Connection *open(AvahiClientCallback callback, void *userdata)
    {
        return avahi_client_new(avahiPoll(), AVAHI_CLIENT_NO_FAIL, callback, userdata, nullptr);
    }
    static bool isReady(Connection *client)
    {
        const AvahiClientState state = avahi_client_get_state(client);
        return state != AVAHI_CLIENT_CONNECTING && state != AVAHI_CLIENT_FAILURE;
    }
    static bool hasFailed(Connection *client)
    {
        return avahi_client_get_state(client) == AVAHI_CLIENT_FAILURE;
    }
};

struct EmbeddedApi {
    using Connection = AvahiServer;
    using Browser = AvahiSServiceBrowser;
    using Resolver = AvahiSServiceResolver;
    static constexpr auto freeConnection = avahi_server_free;
    static constexpr auto newBrowser = avahi_s_service_browser_new;
    static constexpr auto freeBrowser = avahi_s_service_browser_free;
    static constexpr auto newResolver = avahi_s_service_resolver_new;
    static constexpr auto freeResolver = avahi_s_service_resolver_free;

    static Connection *open(AvahiServerCallback callback, void *userdata)
    {
        // It writes what strangers send to standard error.
        avahi_set_log_function([](AvahiLogLevel, const char *) {});
        AvahiServerConfig config;
        avahi_server_config_init(&config);
        config.use_ipv6 = 0;
        config.enable_wide_area = 0;
        config.disable_publishing = 1;
        config.publish_addresses = 0;
        config.publish_hinfo = 0;
        config.publish_workstation = 0;
        config.publish_domain = 0;
        AvahiServer *server = avahi_server_new(avahiPoll(), &config, callback, userdata, nullptr);
        avahi_server_config_free(&config);
        return server;
    }
    static bool isReady(Connection *server) { return !hasFailed(server); }
    static bool hasFailed(Connection *server)
    {
        return avahi_server_get_state(server) == AVAHI_SERVER_FAILURE;
    }
};

// A connection ends all that was asked on it, and at once: one by one, the daemon would have to
// answer to each.
template <class Connection, auto release> struct ReleaseUnlessEnded {
    std::weak_ptr<Connection> connection;

    void operator()(auto *handle) const
    {
        if (!connection.expired())
            release(handle);
    }
};

// The function is copied before it is called, since it may end the query.

template <class Api> struct BrowseQuery : AvahiConnection::Query {
    BrowseQuery(const std::shared_ptr<typename Api::Connection> &connection,
                AvahiConnection::Found found)
        : tell(std::move(found)), handle(nullptr, {connection})
    {
    }

    static void happened(typename Api::Browser *, AvahiIfIndex interface, AvahiProtocol,
                         AvahiBrowserEvent event, const char *name, const char *, const char *,
                         AvahiLookupResultFlags, void *userdata)
    {
        const auto tell = static_cast<BrowseQuery *>(userdata)->tell;
        tell(event, interface, name);
    }

    AvahiConnection::Found tell;
    std::unique_ptr<typename Api::Browser,
                    ReleaseUnlessEnded<typename Api::Connection, Api::freeBrowser>>
        handle;
};

template <class Api> struct ResolveQuery : AvahiConnection::Query {
    ResolveQuery(const std::shared_ptr<typename Api::Connection> &connection,
                 AvahiConnection::Resolved resolved)
        : tell(std::move(resolved)), handle(nullptr, {connection})
    {
    }

    static void happened(typename Api::Resolver *, AvahiIfIndex, AvahiProtocol,
                         AvahiResolverEvent event, const char *, const char *, const char *,
                         const char *hostName, const AvahiAddress *address, std::uint16_t port,
                         AvahiStringList *txt, AvahiLookupResultFlags, void *userdata)
    {
        const auto tell = static_cast<ResolveQuery *>(userdata)->tell;
        tell(event, hostName, address, port, txt);
    }

    AvahiConnection::Resolved tell;
    std::unique_ptr<typename Api::Resolver,
                    ReleaseUnlessEnded<typename Api::Connection, Api::freeResolver>>
        handle;
};

template <class Api> class ConnectionOver : public AvahiConnection {
public:
    explicit ConnectionOver(std::function<void()> stateChanged)
        : m_stateChanged(std::move(stateChanged))
    {
        auto *handle = Api::open(
            [](typename Api::Connection *, auto, void *userdata) {
                static_cast<ConnectionOver *>(userdata)->m_stateChanged();
            },
            this);
        if (handle)
            m_handle.reset(handle, Api::freeConnection);
    }

    [[nodiscard]] bool isOpen() const { return m_handle != nullptr; }
    [[nodiscard]] bool isReady() const override { return Api::isReady(m_handle.get()); }
    [[nodiscard]] bool hasFailed() const override { return Api::hasFailed(m_handle.get()); }

    [[nodiscard]] std::unique_ptr<Query> browse(const QByteArray &type, Found found) override
    {
        auto query = std::make_unique<BrowseQuery<Api>>(m_handle, std::move(found));
        query->handle.reset(Api::newBrowser(m_handle.get(), AVAHI_IF_UNSPEC, AVAHI_PROTO_INET,
                                            type.constData(), domain, noFlags,
                                            &BrowseQuery<Api>::happened, query.get()));
        return query->handle ? std::move(query) : nullptr;
    }

    [[nodiscard]] std::unique_ptr<Query> resolve(AvahiIfIndex interface, const QByteArray &name,
                                                 const QByteArray &type, AvahiLookupFlags flags,
                                                 Resolved resolved) override
    {
        auto query = std::make_unique<ResolveQuery<Api>>(m_handle, std::move(resolved));
        query->handle.reset(Api::newResolver(
            m_handle.get(), interface, AVAHI_PROTO_INET, name.constData(), type.constData(), domain,
            AVAHI_PROTO_INET, flags, &ResolveQuery<Api>::happened, query.get()));
        return query->handle ? std::move(query) : nullptr;
    }

private:
    std::function<void()> m_stateChanged;
    std::shared_ptr<typename Api::Connection> m_handle; ///< watched by its queries
};

template <class Api> std::unique_ptr<AvahiConnection> opened(std::function<void()> stateChanged)
{
    auto connection = std::make_unique<ConnectionOver<Api>>(std::move(stateChanged));
    return connection->isOpen() ? std::move(connection) : nullptr;
}

} // namespace

std::unique_ptr<AvahiConnection> AvahiConnection::toDaemon(std::function<void()> stateChanged)
{
    return opened<DaemonApi>(std::move(stateChanged));
}

std::unique_ptr<AvahiConnection> AvahiConnection::embedded(std::function<void()> stateChanged)
{
    return opened<EmbeddedApi>(std::move(stateChanged));
}

} // namespace vorn
