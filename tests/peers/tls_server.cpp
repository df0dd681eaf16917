// SPDX-License-Identifier: Apache-2.0

#include "tls_server.h"

#include "rig/transfer/tls_identity.h"

#include <openssl/crypto.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <sys/socket.h>

#include <array>
#include <utility>

namespace vorn {

/// A certificate, and what its connections are made from: a session of one could be resumed on the
/// next.
struct TlsServer::Identity {
    const rig::TlsIdentity certificate{QStringLiteral("phone")};
    const std::shared_ptr<SSL_CTX> context = certificate.context();

    explicit Identity(const std::function<void(SSL_CTX *)> &configure)
    {
        SSL_CTX_clear_mode(context.get(), SSL_MODE_ENABLE_PARTIAL_WRITE);
        if (configure)
            configure(context.get());
    }
};

bool TlsPeer::send(const QByteArray &bytes)
{
    return !m_isCut
           && (bytes.isEmpty() || SSL_write(m_tls, bytes.constData(), int(bytes.size())) > 0);
}

void TlsPeer::cut()
{
    m_isCut = true;
    ::shutdown(m_peer.descriptor(), SHUT_RDWR);
}

void TlsPeer::stayUntilClosed()
{
    char unexpected = 0;
    while (SSL_read(m_tls, &unexpected, 1) > 0) {
    }
}

TlsServer::TlsServer(Answer answer, std::function<void(ssl_ctx_st *)> configure,
                     Handshake handshake)
    : m_answer(std::move(answer)),
      m_configure(std::move(configure)),
      m_handshake(handshake),
      m_identity(std::make_shared<Identity>(m_configure)),
      m_server([this](TcpPeer &peer) { serve(peer); })
{
}

QString TlsServer::fingerprint() const
{
    const std::scoped_lock lock(m_mutex);
    return m_identity->certificate.fingerprint();
}

QByteArray TlsServer::certificate() const
{
    const std::scoped_lock lock(m_mutex);
    X509 *const certificate = SSL_CTX_get0_certificate(m_identity->context.get());
    QByteArray der(i2d_X509(certificate, nullptr), '\0');
    auto *end = reinterpret_cast<unsigned char *>(der.data());
    i2d_X509(certificate, &end);
    return der;
}

void TlsServer::changeCertificate()
{
    const std::scoped_lock lock(m_mutex);
    m_identity = std::make_shared<Identity>(m_configure);
}

int TlsServer::handshakes() const
{
    const std::scoped_lock lock(m_mutex);
    return m_counts.handshakes;
}

std::int64_t TlsServer::decryptedBytes() const
{
    const std::scoped_lock lock(m_mutex);
    return m_counts.decryptedBytes;
}

std::vector<TlsServer::Request> TlsServer::requests() const
{
    const std::scoped_lock lock(m_mutex);
    return m_counts.requests;
}

void TlsServer::serve(TcpPeer &peer)
{
    std::shared_ptr<const Identity> identity;
    {
        const std::scoped_lock lock(m_mutex);
        identity = m_identity;
    }
    if (m_handshake == Handshake::never) {
        peer.stayUntilClosed();
        return;
    }
    {
        const std::unique_ptr<SSL, decltype(&SSL_free)> tls(SSL_new(identity->context.get()),
                                                            SSL_free);
        SSL_set_fd(tls.get(), peer.descriptor());
        if (SSL_accept(tls.get()) == 1)
            talk(tls.get(), peer);
    }
    OPENSSL_thread_stop(); // else after the server's end, and perhaps the process's
}

void TlsServer::talk(ssl_st *tls, const TcpPeer &connection)
{
    {
        const std::scoped_lock lock(m_mutex);
        ++m_counts.handshakes;
    }
    TlsPeer peer(tls, connection);
    QByteArray buffer;
    Request request;
    while (!peer.m_isCut && readRequest(tls, buffer, request))
        m_answer(request, peer);
    if (!peer.m_isCut)
        SSL_shutdown(tls);
}

bool TlsServer::readMore(ssl_st *tls, QByteArray &buffer)
{
    std::array<char, 16'384> bytes; // a record of TLS
    const int count = SSL_read(tls, bytes.data(), int(bytes.size()));
    if (count <= 0)
        return false;
    buffer.append(bytes.data(), count);
    const std::scoped_lock lock(m_mutex);
    m_counts.decryptedBytes += count;
    return true;
}

bool TlsServer::readRequest(ssl_st *tls, QByteArray &buffer, Request &request)
{
    constexpr QByteArrayView separator = "\r\n\r\n";
    qsizetype end = -1;
    while ((end = buffer.indexOf(separator)) < 0) {
        if (!readMore(tls, buffer))
            return false;
    }
    request.head = buffer.first(end + separator.size());
    buffer.remove(0, request.head.size());
    constexpr QByteArrayView length = "\r\ncontent-length:";
    const qsizetype found = request.head.toLower().indexOf(length);
    const qsizetype bodyBytes =
        found < 0 ? 0
                  : request.head
                        .sliced(found + length.size(),
                                request.head.indexOf('\r', found + 2) - found - length.size())
                        .trimmed()
                        .toLongLong();
    while (buffer.size() < bodyBytes) {
        if (!readMore(tls, buffer))
            return false;
    }
    request.body = buffer.first(bodyBytes);
    buffer.remove(0, bodyBytes);
    const std::scoped_lock lock(m_mutex);
    request.index = int(m_counts.requests.size());
    m_counts.requests.push_back(request);
    return true;
}

} // namespace vorn
