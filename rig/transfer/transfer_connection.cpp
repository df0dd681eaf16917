// SPDX-License-Identifier: Apache-2.0

#include "rig/transfer/transfer_connection.h"

#include "rig/base/rig_error.h"

#include <algorithm>

namespace vorn::rig {

namespace {

constexpr qint64 pieceBytes = 1 << 18;
// After so many the event loop looks at other connections.
constexpr qint64 turnBytes = 1 << 22;
constexpr int dripTickMs = 100;

} // namespace

TransferConnection::TransferConnection(QObject *parent, const TransferDesk &desk,
                                       FileDescriptor socket, SSL_CTX *context)
    : QObject(parent),
      m_desk(desk),
      m_socket(std::move(socket), context),
      m_number(desk.journal.connected())
{
    m_drip.setSingleShot(true);
    connect(&m_drip, &QTimer::timeout, this, &TransferConnection::pump);
    connect(&m_socket, &TlsSocket::secured, this,
            [this](bool isResumed) { m_desk.journal.secured(m_number, isResumed); });
    connect(&m_socket, &TlsSocket::received, this, &TransferConnection::receive);
    connect(&m_socket, &TlsSocket::writable, this, &TransferConnection::pump);
    connect(&m_socket, &TlsSocket::closed, this, [this] {
        m_desk.journal.closed(m_number);
        deleteLater();
    });
}

void TransferConnection::receive(const QByteArray &bytes)
{
    m_desk.journal.received(m_number, bytes.size());
    m_reader.add(bytes);
    serve();
}

void TransferConnection::serve()
{
    if (m_isAnswering || !m_socket.isOpen())
        return;
    try {
        const std::optional<HttpRequest> request = m_reader.next();
        if (!request)
            return;
        m_isLast = request->header("Connection").value_or(QByteArray()).toLower() == "close";
        m_answer = m_desk.answer(m_number, *request);
    } catch (const RigError &error) {
        m_isLast = true;
        m_answer = textAnswer(400, "text/plain", error.what());
    }
    m_isAnswering = true;
    if (m_answer.isSilent)
        return;
    m_ready = m_answer.head();
    m_readyDone = 0;
    m_bodyDone = 0;
    m_hasTail = false;
    pump();
}

void TransferConnection::pump()
{
    if (!m_isAnswering || m_answer.isSilent)
        return;
    for (qint64 turn = 0; turn < turnBytes && m_socket.isOpen();) {
        if (m_readyDone == m_ready.size() && (m_drip.isActive() || !refill()))
            return;
        const auto rest = std::span<const char>(m_ready).subspan(std::size_t(m_readyDone));
        const qsizetype sent = m_socket.write(rest);
        m_desk.journal.sent(sent);
        m_readyDone += sent;
        turn += sent;
        if (m_readyDone < m_ready.size())
            return; // writable() comes
    }
    if (m_socket.isOpen())
        m_socket.callBackSoon();
}

// Puts the next bytes into m_ready. False when there are none now.
bool TransferConnection::refill()
{
    const bool isChunked =
        m_answer.manner == BodyManner::chunked || m_answer.manner == BodyManner::endless;
    const bool isPart = !isChunked && m_answer.manner != BodyManner::whole;
    if (m_answer.manner == BodyManner::endless && m_bodyDone == m_answer.length)
        m_bodyDone = 0;
    const qint64 end = isPart ? std::min(m_answer.goodBytes, m_answer.length) : m_answer.length;
    qint64 count = std::min(pieceBytes, end - m_bodyDone);
    if (count == 0) {
        if (!isChunked || std::exchange(m_hasTail, true)) {
            finish();
            return false;
        }
        m_ready = "0\r\n\r\n";
        m_readyDone = 0;
        return true;
    }
    if (m_answer.bytesPerSecond > 0) {
        count = std::clamp<qint64>(m_answer.bytesPerSecond * dripTickMs / 1000, 1, count);
        // Below ten bytes a second, one byte at a time.
        m_drip.start(int(std::max<qint64>(dripTickMs, 1000 / m_answer.bytesPerSecond)));
    }
    m_ready.resize(count);
    m_answer.content(m_answer.offset + m_bodyDone, {m_ready.data(), std::size_t(count)});
    m_bodyDone += count;
    m_readyDone = 0;
    if (isChunked)
        m_ready = QByteArray::number(count, 16) + "\r\n" + m_ready + "\r\n";
    return true;
}

void TransferConnection::finish()
{
    if (m_answer.manner == BodyManner::hanging && m_answer.goodBytes < m_answer.length)
        return;
    m_isAnswering = false;
    const bool endsSession = m_answer.endsSession;
    if (m_answer.manner == BodyManner::cut)
        m_socket.abort();
    else if (m_answer.manner == BodyManner::ended || m_isLast)
        m_socket.end();
    m_answer = {};
    if (endsSession)
        m_desk.endSession();
    serve();
}

} // namespace vorn::rig
