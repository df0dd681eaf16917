// SPDX-License-Identifier: Apache-2.0

#include "rig/phone/phone_link.h"

#include "rig/base/rig_error.h"

#include <QNetworkDatagram>
#include <QTimer>

#include <netinet/in.h>
#include <sys/socket.h>

namespace vorn::rig {

using namespace Qt::StringLiterals;

PhoneLink::PhoneLink(std::int64_t seed, QObject *parent) : QObject(parent), m_dice(seed) {}

void PhoneLink::open(const Endpoint &own)
{
    auto socket = std::make_unique<QUdpSocket>();
    if (!socket->bind(own.address, own.port))
        throw RigError(u"UDP port %1 of %2 cannot be opened: %3."_s.arg(own.port).arg(
            own.address.toString(), socket->errorString()));
    // The route alone would choose the link, and a lab may have none for multicast.
    const in_addr link{htonl(own.address.toIPv4Address())};
    if (!own.address.isLoopback()
        && ::setsockopt(int(socket->socketDescriptor()), IPPROTO_IP, IP_MULTICAST_IF, &link,
                        sizeof link)
               != 0)
        throw RigError(u"Multicast cannot be sent from %1."_s.arg(own.address.toString()));
    connect(socket.get(), &QUdpSocket::readyRead, this, &PhoneLink::readAll);
    m_socket = std::move(socket);
}

void PhoneLink::send(const QByteArray &datagram, const Endpoint &to)
{
    // Always four draws: turning one fault does not change what the others do.
    const bool isLost = m_dice.uniform(0, 1) < faults.loss;
    const bool isDuplicated = m_dice.uniform(0, 1) < faults.duplication;
    const bool isHeldBack = m_dice.uniform(0, 1) < faults.reordering;
    const int delayMs = int(m_dice.uniform(faults.minimumDelayMs, faults.maximumDelayMs + 0.999));
    if (isLost) {
        ++m_lost;
        return;
    }
    if (isHeldBack && !m_heldBack.contains(to.address)) {
        ++m_reordered;
        m_heldBack.insert(to.address, {datagram, to});
        return;
    }
    sendAfterDelay({datagram, to}, delayMs);
    if (isDuplicated) {
        ++m_duplicated;
        sendAfterDelay({datagram, to}, delayMs);
    }
    if (m_heldBack.contains(to.address))
        sendAfterDelay(m_heldBack.take(to.address), delayMs);
}

void PhoneLink::sendAfterDelay(const Datagram &datagram, int delayMs)
{
    if (delayMs == 0)
        sendAtOnce(datagram.bytes, datagram.to);
    else
        QTimer::singleShot(delayMs, Qt::PreciseTimer, this,
                           [this, datagram] { sendAtOnce(datagram.bytes, datagram.to); });
}

void PhoneLink::sendAtOnce(const QByteArray &datagram, const Endpoint &to)
{
    if (m_socket->writeDatagram(datagram, to.address, to.port) == datagram.size())
        ++m_sent;
    else
        ++m_failed;
}

void PhoneLink::readAll()
{
    while (m_socket->hasPendingDatagrams()) {
        const QNetworkDatagram datagram = m_socket->receiveDatagram();
        if (datagram.isValid())
            Q_EMIT received(datagram.data(),
                            {datagram.senderAddress(), quint16(datagram.senderPort())});
    }
}

QJsonObject PhoneLink::counts() const
{
    return {{u"datagrams"_s, m_sent},
            {u"failed"_s, m_failed},
            {u"lost"_s, m_lost},
            {u"duplicated"_s, m_duplicated},
            {u"reordered"_s, m_reordered}};
}

} // namespace vorn::rig
