// SPDX-License-Identifier: Apache-2.0

#include "rig/phone/preview_server.h"

#include "rig/base/help_line.h"
#include "rig/base/rig_error.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <cmath>

namespace vorn::rig {

using namespace Qt::StringLiterals;

/// One connection to a preview server. Belongs to its socket.
class PreviewConnection : public QObject {
public:
    PreviewConnection(PreviewServer &server, QTcpSocket &socket);

private:
    void readRequest();
    void tick();
    void answerIdentity();
    void answerPicture();
    void sendFaulty(const SentPicture &picture, PreviewFault fault);
    void send(const QByteArray &bytes);
    void sendFrame(quint32 length, const SentPicture &picture);
    void drip();
    void endAfterAnswer();
    [[nodiscard]] bool isStream() const { return m_mode == 4 || m_mode == 5; }

    PreviewServer &m_server;
    QTcpSocket &m_socket;
    QTimer m_timer;
    int m_mode = 0; ///< 0: not asked yet
    int m_sentFrames = 0;
    QByteArray m_dripping;
};

namespace {

struct NamedFault {
    QStringView name;
    PreviewFault fault;
    QStringView about;
};

constexpr std::array namedFaults{
    NamedFault{u"ok", PreviewFault::none, u"nothing is wrong"},
    NamedFault{u"refuse", PreviewFault::refuse, u"nobody listens, connections end"},
    NamedFault{u"silent", PreviewFault::silent, u"accepts and reads, but never answers"},
    NamedFault{u"legacy-only", PreviewFault::legacyOnly,
               u"ends a connection that asks for a stream"},
    NamedFault{u"drop", PreviewFault::drop, u"ends the connection in the middle of a picture"},
    NamedFault{u"truncate", PreviewFault::truncate,
               u"a picture without its second half, its length told rightly"},
    NamedFault{u"huge", PreviewFault::huge, u"a picture of 2,097,153 bytes"},
    NamedFault{u"largest", PreviewFault::largest,
               u"a picture of 2,097,152 bytes, which is still to be read"},
    NamedFault{u"slow", PreviewFault::slow, u"four bytes a second"},
    NamedFault{u"wrong-length", PreviewFault::wrongLength,
               u"tells a hundred bytes more than the picture has"},
    NamedFault{u"zero", PreviewFault::zero, u"tells a length of nothing"},
    NamedFault{u"claim", PreviewFault::claim, u"tells four gigabytes"},
    NamedFault{u"garbage", PreviewFault::garbage, u"as long as a picture, but none"},
    NamedFault{u"bomb", PreviewFault::bomb, u"a few bytes that claim 65,500 by 65,500 pixels"},
};

constexpr qsizetype largestFrameBytes = 2'097'152;
constexpr int sleepTickMs = 100;
constexpr int dripTickMs = 250;

// The picture made as long as `bytes` by comments, each of at most 65,533 bytes of text.
SentPicture padded(SentPicture picture, qsizetype bytes)
{
    constexpr qsizetype markerBytes = 4;
    for (qsizetype missing = bytes - picture.size(); missing > 0;
         missing = bytes - picture.size()) {
        // What is left over must still hold a segment of its own.
        qsizetype part = std::min<qsizetype>(missing, 65'535);
        if (missing - part > 0 && missing - part < markerBytes)
            part -= markerBytes;
        QByteArray segment(part, 'x');
        segment[0] = '\xFF';
        segment[1] = '\xFE';
        qToBigEndian(quint16(part - 2), segment.data() + 2);
        picture.head += segment;
    }
    return picture;
}

// A baseline frame header (ISO/IEC 10918-1 B.2.2) with sides of 65,500, and nothing to fill it.
SentPicture bomb()
{
    return {QByteArray::fromHex("ffd8"),
            QByteArray::fromHex("ffc0001108ffdcffdc03011100021101031101ffd9")};
}

} // namespace

std::optional<PreviewFault> previewFaultFromText(QStringView text)
{
    for (const NamedFault &entry : namedFaults)
        if (entry.name == text)
            return entry.fault;
    return std::nullopt;
}

QStringList previewFaultHelp()
{
    QStringList lines;
    for (const NamedFault &entry : namedFaults)
        lines += helpLine(entry.name.toString(), entry.about);
    return lines;
}

PreviewServer::PreviewServer(PictureStore &pictures, int castIndex,
                             std::function<QByteArray()> identity, QObject *parent)
    : QObject(parent), m_pictures(pictures), m_castIndex(castIndex), m_identity(std::move(identity))
{
    m_server.setListenBacklogSize(64);
    connect(&m_server, &QTcpServer::newConnection, this, &PreviewServer::accept);
}

void PreviewServer::open(const Endpoint &own)
{
    m_server.close();
    cutConnections();
    m_own = own;
    listen();
}

void PreviewServer::stop()
{
    m_isStopped = true;
    m_server.close();
    cutConnections();
}

void PreviewServer::resume()
{
    m_isStopped = false;
    listen();
}

void PreviewServer::listen()
{
    if (m_isStopped || m_fault == PreviewFault::refuse || m_server.isListening())
        return;
    if (!m_server.listen(m_own.address, m_own.port))
        throw RigError(u"TCP port %1 of %2 cannot be opened: %3."_s.arg(m_own.port)
                           .arg(m_own.address.toString(), m_server.errorString()));
    m_own.port = m_server.serverPort();
}

void PreviewServer::setFault(PreviewFault fault, int after)
{
    m_fault = fault;
    m_goodPictures = after;
    if (fault == PreviewFault::refuse) {
        m_server.close();
        cutConnections();
    }
    listen();
}

void PreviewServer::cutConnections()
{
    for (QTcpSocket *socket : m_server.findChildren<QTcpSocket *>())
        socket->abort();
}

void PreviewServer::accept()
{
    while (QTcpSocket *socket = m_server.nextPendingConnection()) {
        ++m_accepted;
        // A phone keeps about one picture for a peer that does not read, not seconds of them.
        socket->setSocketOption(QAbstractSocket::SendBufferSizeSocketOption, 256 * 1024);
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        new PreviewConnection(*this, *socket);
    }
}

QJsonObject PreviewServer::counts() const
{
    QJsonObject requests;
    for (const auto &[mode, count] : m_requests)
        requests.insert(QString::number(mode), count);
    QJsonObject frames;
    for (const auto &[mode, count] : m_frames)
        frames.insert(QString::number(mode), count);
    return {{u"accepted"_s, m_accepted}, {u"open"_s, connections()}, {u"requests"_s, requests},
            {u"frames"_s, frames},       {u"skipped"_s, m_skipped},  {u"bytes"_s, m_bytes}};
}

QByteArray lengthPrefix(quint32 length)
{
    QByteArray bytes(sizeof length, '\0');
    qToBigEndian(length, bytes.data());
    return bytes;
}

PreviewConnection::PreviewConnection(PreviewServer &server, QTcpSocket &socket)
    : QObject(&socket), m_server(server), m_socket(socket)
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &PreviewConnection::tick);
    connect(&m_socket, &QTcpSocket::readyRead, this, &PreviewConnection::readRequest);
}

void PreviewConnection::readRequest()
{
    const QByteArray bytes = m_socket.readAll();
    if (m_mode != 0 || bytes.isEmpty())
        return;
    m_mode = static_cast<unsigned char>(bytes.front());
    ++m_server.m_requests[m_mode];
    if (m_mode < 1 || m_mode > 5 || (isStream() && m_server.m_fault == PreviewFault::legacyOnly)) {
        m_socket.disconnectFromHost();
        return;
    }
    tick();
}

void PreviewConnection::tick()
{
    if (m_socket.state() != QAbstractSocket::ConnectedState)
        return;
    if (m_server.isAsleep || m_server.m_fault == PreviewFault::silent)
        m_timer.start(sleepTickMs);
    else if (!m_dripping.isEmpty())
        drip();
    else if (m_mode == 3)
        answerIdentity();
    else
        answerPicture();
}

void PreviewConnection::answerIdentity()
{
    send(m_server.m_identity());
    endAfterAnswer();
}

void PreviewConnection::answerPicture()
{
    const bool isWall = m_mode == 1 || m_mode == 4;
    const PictureFormat &format = isWall ? m_server.wall : m_server.selected;
    const auto frame = qint64(m_server.m_pictures.seconds() * format.fps);
    const SentPicture picture =
        m_server.m_pictures.loop(m_server.m_castIndex, m_server.hold, format).picture(frame);
    if (picture.rest.isEmpty()) {
        m_timer.start(5); // being made
        return;
    }
    if (m_socket.bytesToWrite() > 0) {
        ++m_server.m_skipped;
    } else {
        ++m_server.m_frames[m_mode];
        const bool isGood = m_sentFrames++ < m_server.m_goodPictures;
        sendFaulty(picture, isGood ? PreviewFault::none : m_server.m_fault);
    }
    if (!m_dripping.isEmpty())
        m_timer.start(dripTickMs);
    else if (isStream()) {
        const double due = double(frame + 1) / format.fps - m_server.m_pictures.seconds();
        m_timer.start(std::max(1, int(std::ceil(due * 1000))));
    } else
        endAfterAnswer();
}

void PreviewConnection::sendFaulty(const SentPicture &picture, PreviewFault fault)
{
    const auto length = quint32(picture.size());
    switch (fault) {
    case PreviewFault::none:
    case PreviewFault::refuse:
    case PreviewFault::silent:
    case PreviewFault::legacyOnly:
        sendFrame(length, picture);
        break;
    case PreviewFault::drop:
        sendFrame(length, {picture.head, picture.rest.first(picture.rest.size() / 2)});
        m_socket.disconnectFromHost();
        break;
    case PreviewFault::truncate: {
        const SentPicture half{picture.head, picture.rest.first(picture.rest.size() / 2)};
        sendFrame(quint32(half.size()), half);
        break;
    }
    case PreviewFault::huge:
    case PreviewFault::largest: {
        const qsizetype excess = fault == PreviewFault::huge ? 1 : 0;
        const SentPicture stretched = padded(picture, largestFrameBytes + excess);
        sendFrame(quint32(stretched.size()), stretched);
        break;
    }
    case PreviewFault::slow:
        m_dripping = lengthPrefix(length) + picture.head + picture.rest;
        break;
    case PreviewFault::wrongLength:
        sendFrame(length + 100, picture);
        break;
    case PreviewFault::zero:
        sendFrame(0, {});
        break;
    case PreviewFault::claim:
        sendFrame(0xFFFF'FFFF, picture);
        break;
    case PreviewFault::garbage:
        sendFrame(length, {{}, QByteArray(qsizetype(length), '\x55')});
        break;
    case PreviewFault::bomb:
        sendFrame(quint32(bomb().size()), bomb());
        break;
    }
}

void PreviewConnection::sendFrame(quint32 length, const SentPicture &picture)
{
    send(lengthPrefix(length) + picture.head);
    send(picture.rest);
    m_socket.flush();
}

void PreviewConnection::send(const QByteArray &bytes)
{
    m_server.m_bytes += bytes.size();
    m_socket.write(bytes);
}

void PreviewConnection::drip()
{
    send(m_dripping.first(1)); // four bytes a second: a picture would take hours
    m_dripping.remove(0, 1);
    if (!m_dripping.isEmpty() || isStream())
        m_timer.start(dripTickMs);
    else
        endAfterAnswer();
}

void PreviewConnection::endAfterAnswer()
{
    m_socket.disconnectFromHost(); // once all is written
}

} // namespace vorn::rig
