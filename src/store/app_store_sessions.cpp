// SPDX-License-Identifier: Apache-2.0

#include "base/host_name.h"
#include "base/off_thread.h"
#include "base/text_order.h"
#include "library/catalog_merge.h"
#include "library/record_json.h"
#include "store/app_store.h"
#include "transfer/catalog_gate.h"

#include <QPointer>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

constexpr std::int64_t catalogVersion = 1;

/// The catalog in `bytes`, once it has passed every check that needs no library. Throws what says
/// why it has not.
DeviceCatalog checkedCatalog(const QByteArray &bytes, const QString &deviceId, const QUrl &url)
{
    DeviceCatalog catalog = recordFromJson<DeviceCatalog>(bytes, u"catalog"_s);
    if (catalog.schemaVersion != catalogVersion)
        throw TransferProtocolError::invalid(u"Unsupported catalog version."_s);
    if (catalog.deviceId != deviceId)
        throw TransferProtocolError::invalid(
            u"Catalog device identity differs from the paired camera."_s);
    TransferProtocol::validateAuthenticatedCatalog(catalog, url);
    return catalog;
}

} // namespace

QCoro::Task<bool> AppStore::pairAndConnect(DiscoveredDevice device, QString pairingCode,
                                           bool fingerprintConfirmed)
{
    m_ui.assertCurrent();
    if (m_longWork)
        co_return false;
    setLongWork(LongWork::pairing);
    const QPointer<AppStore> self(this);
    QString failure;
    Client client;
    try {
        client = co_await AuthenticatedTransferClient::pair(
            std::move(device), std::move(pairingCode), m_collectorID, hostName(),
            fingerprintConfirmed, m_stop.get_token());
        const QByteArray bytes = co_await client->fetchCatalog();
        const auto catalog =
            co_await offThread([bytes, id = client->deviceId(), url = client->catalogURL()] {
                return sharedOffThread(checkedCatalog(bytes, id, url));
            });
        if (self)
            co_await takeInCatalog(catalog, client);
    } catch (const std::exception &error) {
        failure = u"Secure camera connection failed: "_s + QString::fromUtf8(error.what());
    }
    if ((!self || !failure.isEmpty()) && client)
        client->invalidate();
    if (!self)
        co_return false;
    setLongWork({});
    if (!failure.isEmpty())
        fail(failure);
    co_return failure.isEmpty();
}

QCoro::Task<> AppStore::takeInCatalog(std::shared_ptr<const DeviceCatalog> catalog, Client client)
{
    m_ui.assertCurrent();
    const auto merge = [catalog, url = client->catalogURL()](VORNLibrary library) {
        return vorn::mergeCatalog(*catalog, url, std::move(library));
    };
    if (co_await changeLibrary(merge))
        finishPairing(*catalog, client);
}

void AppStore::finishPairing(const DeviceCatalog &catalog, const Client &client)
{
    m_ui.assertCurrent();
    addSession(client);
    Q_EMIT libraryChanged();
    save();
    const bool hasUnassigned = catalog.unassignedTakes && !catalog.unassignedTakes->empty();
    log(u"Paired with %1; merged %2 project(s)%3."_s.arg(
        catalog.deviceName, QString::number(catalog.projects.size()),
        hasUnassigned ? u" plus unassigned takes"_s : QString()));
    if (!m_selectedProjectID && !m_library.projects.empty())
        setSelectedProjectID(m_library.projects.front().id);
}

void AppStore::addSession(const Client &client)
{
    m_ui.assertCurrent();
    Client &place = m_transferClients[client->deviceId()];
    if (const Client former = std::exchange(place, client))
        former->invalidate();
    std::erase_if(m_transferSessions, [&](const TransferSessionSummary &session) {
        return session.deviceId == client->deviceId();
    });
    m_transferSessions.push_back(client->summary());
    sortByText(m_transferSessions, &TransferSessionSummary::deviceName);
    Q_EMIT transferSessionsChanged();
}

void AppStore::removeSessions(const QString &deviceId)
{
    m_ui.assertCurrent();
    m_transferClients.erase(deviceId);
    std::erase_if(m_transferSessions, [&](const TransferSessionSummary &session) {
        return session.deviceId == deviceId;
    });
    Q_EMIT transferSessionsChanged();
}

QCoro::Task<> AppStore::endTransferSession(QString deviceId)
{
    m_ui.assertCurrent();
    const auto found = m_transferClients.find(deviceId);
    if (found == m_transferClients.end())
        co_return;
    const Client client = found->second;
    removeSessions(deviceId);
    const QPointer<AppStore> self(this);
    co_await client->end();
    if (self)
        log(u"Ended secure transfer session with %1."_s.arg(client->deviceName()));
}

QCoro::Task<> AppStore::endAllTransferSessions()
{
    m_ui.assertCurrent();
    const auto clients = std::exchange(m_transferClients, {});
    m_transferSessions.clear();
    Q_EMIT transferSessionsChanged();
    if (clients.empty())
        co_return;
    const QPointer<AppStore> self(this);
    for (const auto &[deviceId, client] : clients)
        co_await client->end();
    if (self)
        log(u"Ended all secure transfer sessions."_s);
}

} // namespace vorn
