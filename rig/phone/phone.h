// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/phone/phone_clock.h"
#include "rig/phone/phone_link.h"
#include "rig/phone/phone_packets.h"
#include "rig/phone/pictures.h"
#include "rig/phone/preview_server.h"
#include "rig/transfer/transfer_server.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace vorn::rig {

/// What a phone does when it is asked for Transfer Mode.
enum class TransferHabit {
    ask,     ///< says that it waits, and asks on the terminal
    approve, ///< says that it waits, and approves at once
    decline, ///< says that it waits, and declines at once
    pending, ///< says that it waits, and waits
    silent,  ///< says nothing
};
[[nodiscard]] std::optional<TransferHabit> transferHabitFromText(QStringView text);

/// Where the phones' messages go, and who they are told to.
inline const QHostAddress statusGroup(QStringLiteral("239.255.71.42"));
inline constexpr quint16 statusPort = 45454;
inline constexpr quint16 previewPort = 45455;

struct PhoneOptions {
    int castIndex = 0;
    std::int64_t seed = 1;
    Endpoint status; ///< own address; port 0 lets the system choose
    quint16 previewPort = 0;
    std::optional<Endpoint> desktop; ///< gets each status by unicast too
    TransferHabit transfer = TransferHabit::approve;
    PictureFormat wall;
    PictureFormat selected;
    MediaOptions media;
};

/// A recording that a phone makes, now, later or in the past.
struct PhoneRecording {
    QString takeId;
    MonotonicClock::time_point begin;
    MonotonicClock::time_point end = MonotonicClock::time_point::max(); ///< until told otherwise

    [[nodiscard]] bool isUnderWay() const
    {
        const auto now = MonotonicClock::now();
        return begin <= now && now < end;
    }
};

/// One simulated phone on the network. Everything about it can be turned while it runs, by the
/// switches that help() lists.
class Phone : public QObject {
    Q_OBJECT
public:
    /// Opens its sockets and begins to send. Throws RigError, and what TransferServer throws.
    Phone(const PhoneOptions &options, PictureStore &pictures, QObject *parent = nullptr);

    [[nodiscard]] QString cameraId() const { return m_cameraId; }

    /// Turns a switch. Throws RigError.
    void turn(const QString &name, const QString &value);
    /// Says that it records, for that time. From now on its clock counts so many seconds in one of
    /// this computer's; it does not step.
    void film(const PhoneRecording &recording, double clockRate);
    [[nodiscard]] double clockRate() const { return m_clock.rate(); }

    /// One line for each switch.
    [[nodiscard]] static QString help();

    /// What it is, what it has sent and served.
    [[nodiscard]] QJsonObject state() const;

    /// Sends datagrams that are not this phone's own, past all faults.
    void sendForeign(const QByteArray &datagram);

Q_SIGNALS:
    /// A line for the person at the terminal.
    void said(const QString &text);

private:
    struct Switch {
        QStringView name;
        QStringView value; ///< what to give, for the help
        QStringView about;
        void (*turn)(Phone &phone, const QString &value);
    };
    enum class Spread { both, multicast, unicast, off };
    struct WaitingTransfer {
        QString requestId;
        QString collectorId;
        Endpoint from;
    };

    [[nodiscard]] static const std::vector<Switch> &switches();
    [[nodiscard]] static std::vector<Switch> linkSwitches();
    [[nodiscard]] static std::vector<Switch> statusSwitches();
    [[nodiscard]] static std::vector<Switch> previewSwitches();
    [[nodiscard]] static std::vector<Switch> transferSwitches();

    void beginSession();
    void resetSwitches();
    void setClock(const QString &value);
    void record(const std::optional<PhoneRecording> &recording);
    void awaitRecordingEdge();
    [[nodiscard]] QJsonObject nextStatus();
    [[nodiscard]] QByteArray identity();
    void sendStatus();
    void sendEverywhere(const QByteArray &datagram);
    void sendHostile(const QString &hexOrName);
    void move(const QHostAddress &address);

    void receive(const QByteArray &datagram, const Endpoint &from);
    void answerTransfer(const WaitingTransfer &request, const QString &action,
                        const QJsonObject &more);
    void acknowledge(bool isAccepted, const QString &error);
    void approve();
    void showTransfer();

    PhoneOptions m_options;
    QString m_cameraId;
    PictureStore &m_pictures;
    PhoneLink m_link;
    PreviewServer m_preview;
    TransferServer m_transferServer; ///< open in Transfer Mode
    QTimer m_statusTimer;

    Endpoint m_own;
    quint16 m_previewPort = 0;
    QString m_sessionId;
    int m_sessions = 0;
    qint64 m_sequence = 0; ///< of the next status
    bool m_hasAnnounced = false;
    bool m_isAsleep = false;
    Spread m_spread = Spread::both;
    bool m_isIdentityGarbage = false;
    TransferHabit m_transfer = TransferHabit::approve;
    QString m_declineText;
    PhoneClock m_clock;
    std::optional<PhoneRecording> m_recording;
    qint64 m_recordingSinceMs = 0; ///< by its clock
    QTimer m_recordingTimer;       ///< for the status when a recording begins, and when it ends
    std::map<QString, QJsonValue> m_payloadChanges;

    std::optional<WaitingTransfer> m_waiting;
    QJsonArray m_commands;         ///< those that came, newest last
    std::map<QString, int> m_sent; ///< by kind
};

} // namespace vorn::rig
