#pragma once

#include <QHostAddress>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkDatagram>
#include <QNetworkInterface>
#include <QString>
#include <QUdpSocket>

#include <functional>

namespace vorn {

/// Far longer than anything takes.
inline constexpr int limitMs = 20'000;

/// The address of one of the phones in the lab.
[[nodiscard]] inline QString addressOf(int index)
{
    return QStringLiteral("10.77.0.%1").arg(11 + index);
}

struct Heard {
    QByteArray bytes;
    QJsonObject envelope;
    QHostAddress from;
    QHostAddress to;

    QString sender() const { return envelope[QStringLiteral("sender")].toString(); }
    QJsonObject payload() const { return envelope[QStringLiteral("payload")].toObject(); }
    qint64 sequence() const { return envelope[QStringLiteral("seq")].toInteger(-1); }
};

/// The desktop's end of the status packets.
class Ear {
public:
    static constexpr quint16 port = 45454;
    static inline const QHostAddress group{QStringLiteral("239.255.71.42")};

    Ear()
    {
        if (!m_socket.bind(QHostAddress::AnyIPv4, port, QUdpSocket::ShareAddress)
            || !m_socket.joinMulticastGroup(
                group, QNetworkInterface::interfaceFromName(QStringLiteral("lab0"))))
            qFatal("no lab: %s", qPrintable(m_socket.errorString()));
    }

    /// The next datagram, or the next that is wanted. Ends the program when none comes.
    Heard next(const std::function<bool(const Heard &)> &isWanted = {})
    {
        for (;;) {
            if (!m_socket.hasPendingDatagrams() && !m_socket.waitForReadyRead(limitMs))
                qFatal("nothing is heard");
            const Heard heard = take();
            if (!isWanted || isWanted(heard))
                return heard;
        }
    }
    Heard nextOf(const QString &sender)
    {
        return next([&](const Heard &heard) { return heard.sender() == sender; });
    }
    Heard nextTransferAnswer()
    {
        return next([](const Heard &heard) {
            return heard.envelope[QStringLiteral("type")] == QStringLiteral("command");
        });
    }

    void say(const QByteArray &bytes, const QString &address)
    {
        m_socket.writeDatagram(bytes, QHostAddress(address), port);
    }
    /// Takes what has come so far. The system keeps about ninety status packets for later.
    void drain(const std::function<void(const Heard &)> &visit = {})
    {
        while (m_socket.hasPendingDatagrams()) {
            const Heard heard = take();
            if (visit)
                visit(heard);
        }
    }

private:
    Heard take()
    {
        const QNetworkDatagram datagram = m_socket.receiveDatagram();
        return {datagram.data(), QJsonDocument::fromJson(datagram.data()).object(),
                QHostAddress(datagram.senderAddress().toIPv4Address()),
                QHostAddress(datagram.destinationAddress().toIPv4Address())};
    }

    QUdpSocket m_socket;
};

} // namespace vorn
