#include "tls_server.h"

#include <QCryptographicHash>

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <sys/socket.h>

#include <array>
#include <utility>

namespace vorn {
namespace {

template <auto release> struct Releaser {
    template <class Handle> void operator()(Handle *handle) const { release(handle); }
};

template <class Handle, auto release> using Owned = std::unique_ptr<Handle, Releaser<release>>;

} // namespace

/// A key and its self-signed certificate.
struct TlsServer::Identity {
    Owned<EVP_PKEY, EVP_PKEY_free> key{EVP_EC_gen("P-256")};
    Owned<X509, X509_free> certificate{X509_new()};
    QByteArray der; ///< the certificate
    QString fingerprint;
    /// Of all its connections, so that a session of one can be resumed on the next.
    Owned<SSL_CTX, SSL_CTX_free> context{SSL_CTX_new(TLS_server_method())};

    explicit Identity(const std::function<void(SSL_CTX *)> &configure)
    {
        std::uint32_t serial = 0;
        RAND_bytes(reinterpret_cast<unsigned char *>(&serial), sizeof serial);
        X509 *const x509 = certificate.get();
        X509_set_version(x509, X509_VERSION_3);
        ASN1_INTEGER_set_uint64(X509_get_serialNumber(x509), serial);
        constexpr long day = 86'400;
        X509_gmtime_adj(X509_getm_notBefore(x509), -day);
        X509_gmtime_adj(X509_getm_notAfter(x509), day);
        X509_set_pubkey(x509, key.get());
        X509_NAME *const name = X509_get_subject_name(x509);
        X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                                   reinterpret_cast<const unsigned char *>("phone"), -1, -1, 0);
        X509_set_issuer_name(x509, name);
        if (X509_sign(x509, key.get(), EVP_sha256()) == 0)
            qFatal("cannot make a certificate");
        der = QByteArray(i2d_X509(x509, nullptr), '\0');
        auto *end = reinterpret_cast<unsigned char *>(der.data());
        i2d_X509(x509, &end);
        fingerprint =
            QString::fromLatin1(QCryptographicHash::hash(der, QCryptographicHash::Sha256).toHex());
        SSL_CTX_use_certificate(context.get(), x509);
        SSL_CTX_use_PrivateKey(context.get(), key.get());
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
    return m_identity->fingerprint;
}

QByteArray TlsServer::certificate() const
{
    const std::scoped_lock lock(m_mutex);
    return m_identity->der;
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
        const Owned<SSL, SSL_free> tls(SSL_new(identity->context.get()));
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
