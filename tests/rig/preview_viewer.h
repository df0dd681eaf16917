#pragma once

#include <QHostAddress>
#include <QImage>
#include <QString>
#include <QTcpSocket>
#include <QtEndian>

#include <utility>

namespace vorn {

/// A client of a preview server.
class Viewer {
public:
    static constexpr quint16 labPort = 45455;

    Viewer(const QString &address, char mode, quint16 port = labPort)
    {
        m_socket.connectToHost(QHostAddress(address), port);
        if (m_socket.waitForConnected(patienceMs)) {
            m_socket.write(&mode, 1);
            m_socket.flush();
        }
    }

    /// What comes next: "picture", or what is wrong with it. `bytes` holds it.
    QString next()
    {
        if (m_socket.state() == QAbstractSocket::UnconnectedState
            && m_socket.error() == QAbstractSocket::ConnectionRefusedError)
            return QStringLiteral("refused");
        const QByteArray prefix = read(4);
        if (prefix.size() < 4)
            return QStringLiteral("end");
        const quint32 length = qFromBigEndian<quint32>(prefix.constData());
        if (length == 0 || length > 2'097'152)
            return QStringLiteral("length %1").arg(length);
        bytes = read(length);
        if (bytes.size() < qsizetype(length))
            return QStringLiteral("end inside");
        if (!bytes.startsWith("\xFF\xD8") || !bytes.endsWith("\xFF\xD9"))
            return QStringLiteral("no JPEG");
        image = QImage::fromData(bytes, "JPG");
        return image.isNull() ? QStringLiteral("no picture") : QStringLiteral("picture");
    }

    QByteArray read(qsizetype count)
    {
        while (m_socket.bytesAvailable() < count && m_socket.waitForReadyRead(patienceMs)) {
        }
        return m_socket.read(count);
    }
    bool hasBytes()
    {
        m_socket.waitForReadyRead(1);
        return m_socket.bytesAvailable() > 0;
    }

    /// The number and the nanosecond of the comment that each picture begins with.
    std::pair<qint64, qint64> stamp() const
    {
        const QList<QByteArray> words =
            bytes.sliced(6, qFromBigEndian<quint16>(bytes.constData() + 4) - 2).split(' ');
        return {words.value(1).toLongLong(), words.value(2).toLongLong()};
    }

    QByteArray bytes;
    QImage image;

private:
    static constexpr int patienceMs = 20'000; // far longer than anything takes

    QTcpSocket m_socket;
};

} // namespace vorn
