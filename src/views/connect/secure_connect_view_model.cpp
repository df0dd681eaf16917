// SPDX-License-Identifier: Apache-2.0

#include "views/connect/secure_connect_view_model.h"

#include "base/display_text.h"
#include "base/host_name.h"
#include "https/secret_bytes.h"
#include "live/live_camera_discovery.h"
#include "store/app_store.h"
#include "transfer/lan_discovery.h"
#include "transfer/transfer_protocol.h"

#include <QCoroTask>
#include <QLocale>
#include <QPointer>

#include <algorithm>

namespace vorn {

using namespace Qt::StringLiterals;

namespace {

/// While nobody is listed: as many as the multiview has places.
constexpr std::size_t camerasToBeginWith = 4;
constexpr qsizetype groupsInLine = 4;

/// As many numeric characters as a pairing code has, in memory of their own.
QString numericStart(const QString &text)
{
    QList<uint> characters = text.toUcs4();
    QString start;
    start.reserve(2 * TransferProtocol::pairingCodeLength);
    qsizetype kept = 0;
    for (const char32_t character : std::as_const(characters)) {
        if (kept == TransferProtocol::pairingCodeLength)
            break;
        if (!QChar::isNumber(character))
            continue;
        start += QString::fromUcs4(&character, 1);
        ++kept;
    }
    wipe(characters.data(), std::size_t(characters.size()) * sizeof(uint));
    return start;
}

} // namespace

SecureConnectViewModel::SecureConnectViewModel(AppStore &store, LANDiscovery &discovery,
                                               LiveCameraDiscovery &live)
    : m_store(store),
      m_discovery(discovery),
      m_live(live),
      m_sessions({{"deviceName", &TransferSessionRow::deviceName},
                  {"detail", &TransferSessionRow::detail}}),
      m_devices({{"serviceName", &TransferDeviceRow::serviceName},
                 {"detail", &TransferDeviceRow::detail},
                 {"canPair", &TransferDeviceRow::canPair},
                 {"isSelected", &TransferDeviceRow::isSelected}}),
      m_cameras({{"name", &AskableCameraRow::name}, {"canBeAsked", &AskableCameraRow::canBeAsked}})
{
    connect(&store, &AppStore::transferSessionsChanged, this,
            &SecureConnectViewModel::refreshSessions);
    connect(&store, &AppStore::isBusyChanged, this, &SecureConnectViewModel::changed);
    connect(&discovery, &LANDiscovery::devicesChanged, this,
            &SecureConnectViewModel::refreshDevices);
    connect(&live, &LiveCameraDiscovery::camerasChanged, this,
            &SecureConnectViewModel::refreshCameras);
    connect(&live, &LiveCameraDiscovery::livenessTickChanged, this,
            &SecureConnectViewModel::refreshCameras);
    connect(&live, &LiveCameraDiscovery::transferModeRequestChanged, this,
            &SecureConnectViewModel::changed);
    refreshSessions();
    refreshDevices();
    refreshCameras();
}

bool SecureConnectViewModel::isSilent() const
{
    return m_live.isSilent();
}

QString SecureConnectViewModel::requestText() const
{
    const auto &request = m_live.transferModeRequest();
    if (!request || isListed(m_askedHost))
        return {};
    return displayText(request->message, longestMessage);
}

bool SecureConnectViewModel::hasRequestFailed() const
{
    const auto &request = m_live.transferModeRequest();
    return request && request->isFailure;
}

QString SecureConnectViewModel::hint() const
{
    return hasCameras() ? u"Choose a live camera and approve the request on that device."_s
                        : u"Keep VORN open on the same trusted Wi-Fi network."_s;
}

QString SecureConnectViewModel::fingerprintTitle() const
{
    const auto device = selectedDevice();
    return device ? u"Fingerprint of "_s + displayText(device->serviceName) : QString();
}

QString SecureConnectViewModel::fingerprint() const
{
    const auto device = selectedDevice();
    if (!device)
        return {};
    const QStringList groups = device->fingerprintDisplay().split(u' ');
    QStringList lines{groups.first(std::min(groupsInLine, groups.size())).join(u"  "_s)};
    if (groups.size() > groupsInLine)
        lines.append(groups.sliced(groupsInLine).join(u"  "_s));
    return lines.join(u'\n');
}

void SecureConnectViewModel::setFingerprintConfirmed(bool isConfirmed)
{
    if (isConfirmed == m_fingerprintConfirmed)
        return;
    m_fingerprintConfirmed = isConfirmed;
    Q_EMIT changed();
}

void SecureConnectViewModel::setPairingCode(const QString &text)
{
    QString code = numericStart(text);
    if (code != m_pairingCode) {
        if (code == text) { // one copy, which ends for the field as well
            wipeShared(code);
            code = text;
        }
        wipeShared(m_pairingCode);
        m_pairingCode = code;
    } else {
        wipeShared(code);
    }
    // Also when nothing changed: a field that shows more than was kept has to be told.
    Q_EMIT pairingCodeChanged();
    Q_EMIT changed();
}

bool SecureConnectViewModel::isBusy() const
{
    return m_store.isBusy();
}

QString SecureConnectViewModel::pairObstacle() const
{
    if (m_store.isBusy())
        return u"Another operation is running."_s;
    if (!selectedDevice())
        return u"Choose a camera in Transfer Mode."_s;
    if (!m_fingerprintConfirmed)
        return u"Compare the fingerprint with the phone's and confirm it."_s;
    if (!TransferProtocol::isValidPairingCode(m_pairingCode))
        return u"Type the six-digit code that the phone shows."_s;
    return {};
}

// A camera and its file server have the address in common, and nothing else: their names are
// free, and their ids differ. One that cannot pair is still to be asked.
bool SecureConnectViewModel::isListed(const QHostAddress &host) const
{
    return std::ranges::any_of(m_discovery.devices(), [&host](const DiscoveredDevice &device) {
        return device.supportsAuthenticatedTransfer() && device.address == host;
    });
}

void SecureConnectViewModel::setAsksAnother(bool asks)
{
    m_asksAnother = asks;
    Q_EMIT changed();
}

void SecureConnectViewModel::scanAgain()
{
    m_discovery.restart();
}

void SecureConnectViewModel::ask(int row)
{
    const AskableCameraRow *chosen = m_cameras.at(row);
    const LiveCamera *camera = chosen ? findById(m_live.cameras(), chosen->key) : nullptr;
    if (!camera || !chosen->canBeAsked)
        return;
    m_askedHost = QHostAddress(camera->host);
    m_live.requestTransferMode(LiveCamera(*camera), m_store.collectorIdentity(), hostName());
    // The phone's service shall be found afresh. Not where that would take away the phones that
    // are listed, with what has been chosen and typed for one of them.
    if (!hasDevices())
        m_discovery.restart();
}

void SecureConnectViewModel::choose(int row)
{
    const TransferDeviceRow *chosen = m_devices.at(row);
    if (!chosen || !chosen->canPair)
        return;
    m_pairingDeviceID = chosen->key;
    forgetEntries();
    refreshDevices();
}

void SecureConnectViewModel::pair()
{
    const auto device = selectedDevice();
    if (!device || !canPair())
        return;
    m_store.pairAndConnect(*device, m_pairingCode, m_fingerprintConfirmed)
        .then([self = QPointer(this)](bool isPaired) {
            if (!self || !isPaired)
                return;
            self->forgetEntries();
            Q_EMIT self->paired();
        });
}

void SecureConnectViewModel::endSession(int row)
{
    if (const TransferSessionRow *chosen = m_sessions.at(row))
        m_store.endTransferSession(QString(chosen->key));
}

std::optional<DiscoveredDevice> SecureConnectViewModel::selectedDevice() const
{
    if (!m_pairingDeviceID)
        return std::nullopt;
    for (const DiscoveredDevice &device : m_discovery.devices())
        if (device.serviceType == transferServiceType && device.id() == *m_pairingDeviceID)
            return device;
    return std::nullopt;
}

void SecureConnectViewModel::refreshSessions()
{
    std::vector<TransferSessionRow> rows;
    for (const TransferSessionSummary &session : m_store.transferSessions()) {
        const QString time =
            QLocale().toString(session.expiresAt.toLocalTime().time(), QLocale::ShortFormat);
        rows.push_back({session.deviceId, displayText(session.deviceName),
                        u"Read-only \u2022 expires "_s + time});
    }
    m_sessions.setRows(std::move(rows));
    Q_EMIT changed();
}

void SecureConnectViewModel::refreshDevices()
{
    std::vector<TransferDeviceRow> rows;
    for (const DiscoveredDevice &device : m_discovery.devices()) {
        if (device.serviceType != transferServiceType)
            continue;
        const bool canPair = device.supportsAuthenticatedTransfer();
        const QString id = device.id();
        rows.push_back({id, displayText(device.serviceName),
                        canPair ? u"HTTPS \u2022 foreground only"_s
                                : u"Incomplete secure-transfer advertisement"_s,
                        canPair, id == m_pairingDeviceID});
    }
    m_devices.setRows(std::move(rows));
    m_asksAnother = asksAnother();
    refreshCameras(); // which of them are listed
}

void SecureConnectViewModel::refreshCameras()
{
    const WallTime now = m_live.now();
    std::vector<AskableCameraRow> rows;
    for (const LiveCamera &camera : m_live.cameras()) {
        if (!camera.isOnline(now) || camera.isDirector())
            continue;
        if (hasDevices() && isListed(QHostAddress(camera.host)))
            continue;
        rows.push_back({camera.id, displayText(camera.name), !camera.displaysRecording(now)});
        if (!hasDevices() && rows.size() == camerasToBeginWith)
            break;
    }
    m_cameras.setRows(std::move(rows));
    Q_EMIT changed();
}

void SecureConnectViewModel::forgetEntries()
{
    m_fingerprintConfirmed = false;
    setPairingCode({});
}

} // namespace vorn
