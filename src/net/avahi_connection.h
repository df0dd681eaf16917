// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

#include <avahi-common/address.h>
#include <avahi-common/defs.h>
#include <avahi-common/strlst.h>

#include <cstdint>
#include <functional>
#include <memory>

namespace vorn {

/// A way to ask the local network by multicast DNS, in the domain "local" and over IPv4. What it
/// tells arrives in the event loop of the thread that made it, never from within a call. Calls to
/// the machine's daemon wait for its answer: not for a thread that must not wait.
class AvahiConnection {
public:
    /// A question that is asked as long as this and its connection live.
    class Query {
    public:
        virtual ~Query() = default;
    };

    /// `name` is null for events that concern no single service.
    using Found =
        std::function<void(AvahiBrowserEvent event, AvahiIfIndex interface, const char *name)>;
    /// The rest is null or 0 unless the event is AVAHI_RESOLVER_FOUND.
    using Resolved =
        std::function<void(AvahiResolverEvent event, const char *hostName,
                           const AvahiAddress *address, std::uint16_t port, AvahiStringList *txt)>;

    /// The machine's avahi-daemon, which may start later. `stateChanged` is called whenever asking
    /// isReady() or hasFailed() gives something new, also from within this call. Null when the
    /// system bus cannot be reached.
    [[nodiscard]] static std::unique_ptr<AvahiConnection>
    toDaemon(std::function<void()> stateChanged);
    /// A stack of our own, which publishes nothing and goes unnoticed beside a daemon. Null when
    /// the network does not allow it.
    [[nodiscard]] static std::unique_ptr<AvahiConnection>
    embedded(std::function<void()> stateChanged);

    virtual ~AvahiConnection() = default;

    [[nodiscard]] virtual bool isReady() const = 0;
    /// It will never work again.
    [[nodiscard]] virtual bool hasFailed() const = 0;

    /// Tells of services of a type such as "_http._tcp", for each interface on its own. Null when
    /// refused.
    [[nodiscard]] virtual std::unique_ptr<Query> browse(const QByteArray &type, Found found) = 0;
    /// Tells where a service is, and again whenever that or its TXT record changes. Null when
    /// refused.
    [[nodiscard]] virtual std::unique_ptr<Query>
    resolve(AvahiIfIndex interface, const QByteArray &name, const QByteArray &type,
            AvahiLookupFlags flags, Resolved resolved) = 0;
};

} // namespace vorn
