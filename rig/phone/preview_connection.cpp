#include "rig/phone/preview_connection.h"

#include <QtEndian>

#include <algorithm>
#include <cmath>

namespace vorn::rig {
namespace {

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
