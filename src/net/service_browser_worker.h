// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "net/avahi_link.h"
#include "net/resolved_service.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace vorn {

/// The network side of ServiceBrowser: finds services, resolves them and watches them. What is
/// found on several interfaces is one service. Context: a thread of its own, since the machine's
/// daemon is waited for.
class ServiceBrowserWorker : public QObject {
    Q_OBJECT
public:
    /// Types with their trailing dots, such as "_http._tcp.".
    explicit ServiceBrowserWorker(const QStringList &types);

    /// Looks for the types that are not looked for already. What is told carries `run`.
    void start(std::uint64_t run);
    /// Ends, and forgets everything.
    void stop();

Q_SIGNALS:
    void changed(std::uint64_t run, const std::vector<ServiceChange> &changes);
    void sourceChanged(vorn::ServiceSource source);
    /// A type is not looked for any more, and stop() is not the reason.
    void stopped(std::uint64_t run, const QString &type);

private:
    struct Browse {
        QString type;
        QByteArray plainType; ///< without the trailing dot
        bool isWanted = false;
        std::unique_ptr<AvahiConnection::Query> query;
    };
    using Key = std::pair<std::size_t, QByteArray>; ///< index of a Browse, and a name
    struct Service {
        std::set<AvahiIfIndex> interfaces;                ///< where it was found
        std::set<AvahiIfIndex> silent;                    ///< those of them that gave no answer
        AvahiIfIndex asked = AVAHI_IF_UNSPEC;             ///< where it is resolved
        int turns = 0;                                    ///< spent there without an answer
        std::unique_ptr<AvahiConnection::Query> resolver; ///< stays, to tell of changes
        bool isTold = false;                              ///< has been resolved
        bool isStale = false;                             ///< found by a connection that was lost
    };

    void browse();
    void pause();
    void browseHappened(std::size_t index, AvahiBrowserEvent event, AvahiIfIndex interface,
                        const char *name);
    void found(const Key &key, AvahiIfIndex interface);
    bool dropUnresolved();
    void gone(const Key &key, AvahiIfIndex interface);
    void remove(const Key &key);
    void removeStale(std::size_t index);

    void chooseInterface(const Key &key, Service &service);
    void leaveQueues(const Key &key);
    void resolveWaiting();
    void resolve(const Key &key);
    void beginTurn(const Key &key);
    void endTurn(const Key &key, std::uint64_t number);
    void giveUp(const Key &key);
    void resolveHappened(const Key &key, AvahiResolverEvent event, const char *hostName,
                         const AvahiAddress *address, std::uint16_t port, AvahiStringList *txt);

    void report(const Key &key, std::optional<ResolvedService> service);
    void flush();

    std::uint64_t m_run = 0;
    std::vector<Browse> m_browses;
    std::map<Key, Service> m_services;
    std::deque<Key> m_newcomers;              ///< for their first turn, before any other's next
    std::deque<Key> m_waiting;                ///< for a further turn
    std::map<Key, std::uint64_t> m_resolving; ///< with the number of the turn
    std::uint64_t m_turns = 0;
    std::vector<ServiceChange> m_changes;
    QTimer m_flush;
    AvahiLink m_link; ///< last: its end spares the queries theirs
};

} // namespace vorn
