// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "transfer/discovered_device.h"
#include "views/controls/row_list_model.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <optional>

namespace vorn {

class AppStore;
class LANDiscovery;
class LiveCameraDiscovery;

struct TransferSessionRow {
    QString key; ///< the device's id
    QString deviceName;
    QString detail;

    bool operator==(const TransferSessionRow &) const = default;
};

struct TransferDeviceRow {
    QString key; ///< the record's id
    QString serviceName;
    QString detail;
    bool canPair = false;
    bool isSelected = false;

    bool operator==(const TransferDeviceRow &) const = default;
};

/// A live camera that can be asked to share its files.
struct AskableCameraRow {
    QString key; ///< the camera's id
    QString name;
    bool canBeAsked = false;

    bool operator==(const AskableCameraRow &) const = default;
};

/// The walk from a live camera to a paired one, as the connect sheet shows it. What the user chose
/// and typed outlives the sheet. Context: UI thread.
class SecureConnectViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Part of the library view model.")
    Q_PROPERTY(QAbstractItemModel *sessions READ sessions CONSTANT)
    Q_PROPERTY(QAbstractItemModel *devices READ devices CONSTANT)
    Q_PROPERTY(QAbstractItemModel *cameras READ cameras CONSTANT)
    Q_PROPERTY(bool hasSessions READ hasSessions NOTIFY changed)
    Q_PROPERTY(bool hasDevices READ hasDevices NOTIFY changed)
    Q_PROPERTY(bool hasCameras READ hasCameras NOTIFY changed)
    Q_PROPERTY(bool silent READ isSilent NOTIFY changed)
    Q_PROPERTY(bool asksAnother READ asksAnother WRITE setAsksAnother NOTIFY changed)
    Q_PROPERTY(bool showsCameras READ showsCameras NOTIFY changed)
    Q_PROPERTY(QString requestText READ requestText NOTIFY changed)
    Q_PROPERTY(bool requestFailed READ hasRequestFailed NOTIFY changed)
    Q_PROPERTY(QString hint READ hint NOTIFY changed)
    Q_PROPERTY(bool hasSelection READ hasSelection NOTIFY changed)
    Q_PROPERTY(QString fingerprintTitle READ fingerprintTitle NOTIFY changed)
    Q_PROPERTY(QString fingerprint READ fingerprint NOTIFY changed)
    Q_PROPERTY(bool fingerprintConfirmed READ isFingerprintConfirmed WRITE setFingerprintConfirmed
                   NOTIFY changed)
    Q_PROPERTY(bool busy READ isBusy NOTIFY changed)
    Q_PROPERTY(bool canPair READ canPair NOTIFY changed)
    Q_PROPERTY(QString pairObstacle READ pairObstacle NOTIFY changed)
public:
    /// All must outlive it.
    SecureConnectViewModel(AppStore &store, LANDiscovery &discovery, LiveCameraDiscovery &live);

    [[nodiscard]] QAbstractItemModel *sessions() { return &m_sessions; }
    [[nodiscard]] QAbstractItemModel *devices() { return &m_devices; }
    [[nodiscard]] QAbstractItemModel *cameras() { return &m_cameras; }
    [[nodiscard]] bool hasSessions() const { return !m_sessions.rows().empty(); }
    [[nodiscard]] bool hasDevices() const { return !m_devices.rows().empty(); }
    [[nodiscard]] bool hasCameras() const { return !m_cameras.rows().empty(); }
    /// Whether no camera has been seen for some time.
    [[nodiscard]] bool isSilent() const;
    /// The user wants to see whom else to ask while devices are listed.
    [[nodiscard]] bool asksAnother() const { return m_asksAnother && hasDevices(); }
    void setAsksAnother(bool asks);
    [[nodiscard]] bool showsCameras() const
    {
        return hasCameras() && (asksAnother() || !hasDevices());
    }
    /// How the last request that a camera share its files goes; empty when none was made, or when
    /// that camera is listed.
    [[nodiscard]] QString requestText() const;
    [[nodiscard]] bool hasRequestFailed() const;
    /// What to do while nothing is found.
    [[nodiscard]] QString hint() const;
    [[nodiscard]] bool hasSelection() const { return selectedDevice().has_value(); }
    /// Whose fingerprint it is.
    [[nodiscard]] QString fingerprintTitle() const;
    /// The selected device's fingerprint, in two lines of four groups.
    [[nodiscard]] QString fingerprint() const;
    [[nodiscard]] bool isFingerprintConfirmed() const { return m_fingerprintConfirmed; }
    void setFingerprintConfirmed(bool isConfirmed);
    [[nodiscard]] const QString &pairingCode() const { return m_pairingCode; }
    /// Keeps the first six numeric characters of what was typed or pasted.
    void setPairingCode(const QString &text);
    [[nodiscard]] bool isBusy() const;
    [[nodiscard]] bool canPair() const { return pairObstacle().isEmpty(); }
    /// What is still to be done before pairing; empty when nothing is.
    [[nodiscard]] QString pairObstacle() const;

    Q_INVOKABLE void scanAgain();
    /// Asks the camera of this row to share its files.
    Q_INVOKABLE void ask(int row);
    /// Chooses the device of this row; what was confirmed and typed for another is void.
    Q_INVOKABLE void choose(int row);
    Q_INVOKABLE void pair();
    Q_INVOKABLE void endSession(int row);

Q_SIGNALS:
    void changed();
    void pairingCodeChanged();
    /// The selected device is paired and its catalog is in the library.
    void paired();

private:
    [[nodiscard]] std::optional<DiscoveredDevice> selectedDevice() const;
    /// A camera at this address is among the devices that can pair.
    [[nodiscard]] bool isListed(const QHostAddress &host) const;
    void refreshSessions();
    void refreshDevices();
    void refreshCameras();
    void forgetEntries();

    AppStore &m_store;
    LANDiscovery &m_discovery;
    LiveCameraDiscovery &m_live;
    std::optional<QString> m_pairingDeviceID;
    QString m_pairingCode;
    bool m_fingerprintConfirmed = false;
    bool m_asksAnother = false;
    QHostAddress m_askedHost; ///< of the camera that was asked last
    RowListModel<TransferSessionRow> m_sessions;
    RowListModel<TransferDeviceRow> m_devices;
    RowListModel<AskableCameraRow> m_cameras;
};

} // namespace vorn
