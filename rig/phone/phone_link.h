// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/base/dice.h"

#include <QByteArray>
#include <QHash>
#include <QHostAddress>
#include <QJsonObject>
#include <QObject>
#include <QUdpSocket>

#include <memory>

namespace vorn::rig {

/// Where a datagram goes, or comes from.
struct Endpoint {
    QHostAddress address;
    quint16 port = 0;

    bool operator==(const Endpoint &) const = default;
};

/// What the air does to a phone's datagrams. Shares are from 0 to 1.
struct LinkFaults {
    double loss = 0;
    double duplication = 0;
    double reordering = 0; ///< share that waits until the next one to the same place has gone
    int minimumDelayMs = 0;
    int maximumDelayMs = 0; ///< each datagram takes a time of its own between the two
};

/// A phone's UDP socket, with the air before it. Faults hold for what the phone sends; they are
/// drawn from seeded dice, so the fate of the n-th datagram does not depend on the time.
class PhoneLink : public QObject {
    Q_OBJECT
public:
    explicit PhoneLink(std::int64_t seed, QObject *parent = nullptr);

    /// Opens the socket, also in place of an open one. Port 0 lets the system choose. Throws
    /// RigError.
    void open(const Endpoint &own);
    [[nodiscard]] quint16 port() const { return m_socket->localPort(); }

    void send(const QByteArray &datagram, const Endpoint &to);
    /// Past all faults.
    void sendAtOnce(const QByteArray &datagram, const Endpoint &to);

    LinkFaults faults;
    [[nodiscard]] QJsonObject counts() const;

Q_SIGNALS:
    void received(const QByteArray &datagram, const vorn::rig::Endpoint &from);

private:
    struct Datagram {
        QByteArray bytes;
        Endpoint to;
    };

    void sendAfterDelay(const Datagram &datagram, int delayMs);
    void readAll();

    Dice m_dice;
    std::unique_ptr<QUdpSocket> m_socket;
    QHash<QHostAddress, Datagram> m_heldBack;
    int m_sent = 0;
    int m_failed = 0; ///< refused by the system, such as with the cable pulled
    int m_lost = 0;
    int m_duplicated = 0;
    int m_reordered = 0;
};

} // namespace vorn::rig
