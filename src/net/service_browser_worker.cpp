// SPDX-License-Identifier: Apache-2.0

#include "net/service_browser_worker.h"

#include "base/text_form.h"
#include "net/network_interfaces.h"

#include <QtEndian>

#include <avahi-common/domain.h>

#include <algorithm>
#include <array>
#include <iterator>

using namespace std::chrono_literals;

namespace vorn {
namespace {

// Bounds against a network that is full of lies; a studio has a handful of services.
constexpr std::size_t maximumServices = 512;
constexpr std::size_t maximumResolves = 16;
constexpr qsizetype maximumTxtBytes = 8192;

// A service is to be resolved within five seconds. They pass in turns, after each of which it gives
// way to others that wait: who answers is mostly there within one, and made-up names hold it up for
// no longer. What is heard between two turns counts at the next.
constexpr auto turn = 250ms;
// The record that every service should have and few lack is waited for so long that there is time
// to go on without it.
constexpr int turnsWithTxt = 16;
constexpr int allTurns = 20;

// Changes are told together: a flood costs the other thread one event in this time.
constexpr auto flushDelay = 20ms;

// Linux gives the loopback interface the first number, and every interface another.
constexpr AvahiIfIndex loopbackInterface = 1;

// Absent when the record is too large. Avahi keeps it in reverse.
std::optional<QByteArrayList> stringsOf(AvahiStringList *txt)
{
    QByteArrayList strings;
    qsizetype bytes = 0;
    for (; txt; txt = avahi_string_list_get_next(txt)) {
        const auto size = qsizetype(avahi_string_list_get_size(txt));
        bytes += size + 1;
        if (bytes > maximumTxtBytes)
            return std::nullopt;
        strings.append(
            QByteArray(reinterpret_cast<const char *>(avahi_string_list_get_text(txt)), size));
    }
    std::ranges::reverse(strings);
    return strings;
}

// Avahi writes bytes that are not ASCII letters, digits, "-" or "_" as "\195", and a "." within a
// label as "\.". Empty when it cannot be shown.
QString plainHostName(const char *escaped)
{
    QByteArrayList labels;
    std::array<char, AVAHI_LABEL_MAX> label{};
    while (*escaped) {
        if (!avahi_unescape_label(&escaped, label.data(), label.size()))
            return {};
        labels.append(QByteArray(label.data()));
    }
    return utf8Text(labels.join('.')).value_or(QString());
}

// To the character. What is no UTF-8 (RFC 6763 section 4.1.1) Avahi does not resolve.
QString nameOf(const std::pair<std::size_t, QByteArray> &key)
{
    return utf8Text(key.second).value_or(QString());
}

} // namespace

ServiceBrowserWorker::ServiceBrowserWorker(const QStringList &types)
{
    for (const QString &type : types) {
        QByteArray plain = type.toUtf8();
        plain.chop(1);
        m_browses.push_back({.type = type, .plainType = plain, .query = nullptr});
    }
    m_flush.setSingleShot(true);
    m_flush.callOnTimeout(this, &ServiceBrowserWorker::flush);
    connect(&m_link, &AvahiLink::ready, this, [this] {
        Q_EMIT sourceChanged(m_link.isToDaemon() ? ServiceSource::daemon : ServiceSource::embedded);
        browse();
    });
    connect(&m_link, &AvahiLink::lost, this, [this] {
        Q_EMIT sourceChanged(ServiceSource::none);
        pause();
    });
}

void ServiceBrowserWorker::start(std::uint64_t run)
{
    m_run = run;
    for (Browse &browse : m_browses)
        browse.isWanted = true;
    if (m_link.connection())
        browse();
    else
        m_link.open();
}

void ServiceBrowserWorker::stop()
{
    m_link.close();
    m_services.clear();
    m_changes.clear();
}

void ServiceBrowserWorker::browse()
{
    for (std::size_t index = 0; index < m_browses.size(); ++index) {
        Browse &browse = m_browses[index];
        if (browse.query || !browse.isWanted)
            continue;
        browse.query = m_link.connection()->browse(
            browse.plainType,
            [this, index](AvahiBrowserEvent event, AvahiIfIndex interface, const char *name) {
                browseHappened(index, event, interface, name);
            });
        browse.isWanted = browse.query != nullptr;
        if (!browse.query)
            Q_EMIT stopped(m_run, browse.type);
    }
}

// What is known stays until the next connection has had its say.
void ServiceBrowserWorker::pause()
{
    for (Browse &browse : m_browses)
        browse.query.reset();
    for (auto &[key, service] : m_services) {
        service.resolver.reset();
        service.interfaces.clear();
        service.silent.clear();
        service.asked = AVAHI_IF_UNSPEC;
        service.turns = 0;
        service.isStale = true;
    }
    m_newcomers.clear();
    m_waiting.clear();
    m_resolving.clear();
}

void ServiceBrowserWorker::browseHappened(std::size_t index, AvahiBrowserEvent event,
                                          AvahiIfIndex interface, const char *name)
{
    switch (event) {
    case AVAHI_BROWSER_NEW:
        found({index, name}, interface);
        return;
    case AVAHI_BROWSER_REMOVE:
        gone({index, name}, interface);
        return;
    case AVAHI_BROWSER_ALL_FOR_NOW:
        removeStale(index);
        return;
    case AVAHI_BROWSER_CACHE_EXHAUSTED:
        return;
    case AVAHI_BROWSER_FAILURE:
        m_browses[index].query.reset();
        m_browses[index].isWanted = false;
        Q_EMIT stopped(m_run, m_browses[index].type);
        return;
    }
}

void ServiceBrowserWorker::found(const Key &key, AvahiIfIndex interface)
{
    auto known = m_services.find(key);
    if (known == m_services.end()) {
        if (m_services.size() >= maximumServices && !dropUnresolved())
            return;
        known = m_services.emplace(key, Service{}).first;
    }
    Service &service = known->second;
    service.isStale = false;
    service.interfaces.insert(interface);
    chooseInterface(key, service);
}

/// Takes away the name that has been resolved in vain for the longest; false when there is none.
bool ServiceBrowserWorker::dropUnresolved()
{
    const auto turnsInVain = [](const auto &entry) {
        return entry.second.isTold ? 0 : entry.second.turns;
    };
    const auto longest = std::ranges::max_element(m_services, {}, turnsInVain);
    if (longest == m_services.end() || turnsInVain(*longest) == 0)
        return false;
    remove(Key(longest->first));
    return true;
}

void ServiceBrowserWorker::gone(const Key &key, AvahiIfIndex interface)
{
    const auto known = m_services.find(key);
    if (known == m_services.end())
        return;
    Service &service = known->second;
    service.interfaces.erase(interface);
    service.silent.erase(interface);
    if (service.interfaces.empty())
        remove(key);
    else
        chooseInterface(key, service);
}

void ServiceBrowserWorker::remove(const Key &key)
{
    m_services.erase(key);
    leaveQueues(key);
    report(key, std::nullopt);
    resolveWaiting();
}

void ServiceBrowserWorker::removeStale(std::size_t index)
{
    std::vector<Key> stale;
    for (const auto &[key, service] : m_services) {
        if (key.first == index && service.isStale)
            stale.push_back(key);
    }
    for (const Key &key : stale)
        remove(key);
}

void ServiceBrowserWorker::leaveQueues(const Key &key)
{
    m_resolving.erase(key);
    std::erase(m_newcomers, key);
    std::erase(m_waiting, key);
}

/// Resolves the service where it is now, unless that is under way or was in vain. An address of
/// this computer alone is the last choice.
void ServiceBrowserWorker::chooseInterface(const Key &key, Service &service)
{
    std::vector<AvahiIfIndex> choice;
    std::ranges::set_difference(service.interfaces, service.silent, std::back_inserter(choice));
    if (choice.empty())
        return;
    const AvahiIfIndex best = choice.back();
    const bool isWell = service.interfaces.contains(service.asked)
                        && (service.asked != loopbackInterface || best == loopbackInterface);
    if (isWell)
        return;
    const bool isNew = service.asked == AVAHI_IF_UNSPEC && service.silent.empty();
    service.asked = best;
    service.turns = 0;
    service.resolver.reset();
    leaveQueues(key);
    (isNew ? m_newcomers : m_waiting).push_back(key);
    resolveWaiting();
}

void ServiceBrowserWorker::resolveWaiting()
{
    for (auto *queue : {&m_newcomers, &m_waiting}) {
        while (m_resolving.size() < maximumResolves && !queue->empty()) {
            const Key key = queue->front();
            queue->pop_front();
            resolve(key);
        }
    }
}

void ServiceBrowserWorker::resolve(const Key &key)
{
    Service &service = m_services.at(key);
    service.resolver = m_link.connection()->resolve(
        service.asked, key.second, m_browses[key.first].plainType,
        service.turns < turnsWithTxt ? AvahiLookupFlags(0) : AVAHI_LOOKUP_NO_TXT,
        [this, key](AvahiResolverEvent event, const char *hostName, const AvahiAddress *address,
                    std::uint16_t port, AvahiStringList *txt) {
            resolveHappened(key, event, hostName, address, port, txt);
        });
    if (service.resolver)
        beginTurn(key);
    else
        m_resolving.erase(key);
}

void ServiceBrowserWorker::beginTurn(const Key &key)
{
    m_resolving.insert_or_assign(key, ++m_turns);
    QTimer::singleShot(turn, this, [this, key, number = m_turns] { endTurn(key, number); });
}

void ServiceBrowserWorker::endTurn(const Key &key, std::uint64_t number)
{
    const auto resolving = m_resolving.find(key);
    if (resolving == m_resolving.end() || resolving->second != number)
        return;
    Service &service = m_services.at(key);
    ++service.turns;
    if (service.turns == allTurns) {
        giveUp(key);
    } else if (!m_newcomers.empty() || !m_waiting.empty()) {
        service.resolver.reset();
        m_resolving.erase(resolving);
        m_waiting.push_back(key);
    } else if (service.turns == turnsWithTxt) {
        resolve(key);
    } else {
        beginTurn(key);
    }
    resolveWaiting();
}

void ServiceBrowserWorker::giveUp(const Key &key)
{
    Service &service = m_services.at(key);
    service.resolver.reset();
    service.silent.insert(std::exchange(service.asked, AVAHI_IF_UNSPEC));
    m_resolving.erase(key);
    chooseInterface(key, service);
    resolveWaiting();
}

void ServiceBrowserWorker::resolveHappened(const Key &key, AvahiResolverEvent event,
                                           const char *hostName, const AvahiAddress *address,
                                           std::uint16_t port, AvahiStringList *txt)
{
    if (event == AVAHI_RESOLVER_FAILURE) {
        // Once resolved it stays as it was: Avahi goes on looking.
        if (m_resolving.contains(key))
            giveUp(key);
        return;
    }
    std::optional<QByteArrayList> strings = stringsOf(txt);
    const QHostAddress host = address && address->proto == AVAHI_PROTO_INET
                                  ? QHostAddress(qFromBigEndian(address->data.ipv4.address))
                                  : QHostAddress();
    if (!strings || !isNearby(host)) {
        giveUp(key);
        return;
    }
    m_services.at(key).isTold = true;
    report(key, ResolvedService{
                    .name = nameOf(key),
                    .type = m_browses[key.first].type,
                    .hostName = plainHostName(hostName),
                    .address = host,
                    .port = port,
                    .txt = std::move(*strings),
                });
    if (m_resolving.erase(key) > 0)
        resolveWaiting();
}

/// Only the last of several changes of one service is told.
void ServiceBrowserWorker::report(const Key &key, std::optional<ResolvedService> service)
{
    ServiceChange change{
        .name = nameOf(key), .type = m_browses[key.first].type, .service = std::move(service)};
    std::erase_if(m_changes, [&](const ServiceChange &other) {
        return other.name == change.name && other.type == change.type;
    });
    m_changes.push_back(std::move(change));
    if (!m_flush.isActive())
        m_flush.start(flushDelay);
}

void ServiceBrowserWorker::flush()
{
    if (!m_changes.empty())
        Q_EMIT changed(m_run, std::exchange(m_changes, {}));
}

} // namespace vorn
