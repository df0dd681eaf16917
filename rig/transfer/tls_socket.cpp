// SPDX-License-Identifier: Apache-2.0

#include "rig/transfer/tls_socket.h"

#include "rig/base/rig_error.h"

#include <openssl/err.h>
#include <sys/socket.h>

#include <array>

namespace vorn::rig {

using namespace Qt::StringLiterals;

TlsSocket::TlsSocket(FileDescriptor socket, SSL_CTX *context, QObject *parent)
    : QObject(parent),
      m_socket(std::move(socket)),
      m_tls(SSL_new(context), SSL_free),
      m_reading(m_socket.get(), QSocketNotifier::Read),
      m_writing(m_socket.get(), QSocketNotifier::Write)
{
    if (!m_tls || SSL_set_fd(m_tls.get(), m_socket.get()) != 1)
        throw RigError(u"OpenSSL cannot serve a connection."_s);
    SSL_set_accept_state(m_tls.get());
    connect(&m_reading, &QSocketNotifier::activated, this, &TlsSocket::goOn);
    connect(&m_writing, &QSocketNotifier::activated, this, &TlsSocket::goOn);
}

void TlsSocket::goOn()
{
    const bool mayWrite = m_writing.isEnabled();
    m_writing.setEnabled(false);
    if (!m_isSecure)
        shakeHands();
    if (m_isSecure && isOpen())
        read();
    if (m_isSecure && isOpen() && mayWrite)
        Q_EMIT writable();
}

void TlsSocket::shakeHands()
{
    ERR_clear_error();
    const int result = SSL_do_handshake(m_tls.get());
    if (result != 1) {
        if (!isWaiting(result))
            close();
        return;
    }
    m_isSecure = true;
    Q_EMIT secured(SSL_session_reused(m_tls.get()) == 1);
}

void TlsSocket::read()
{
    std::array<char, 16'384> buffer{}; // the largest record
    for (;;) {
        ERR_clear_error();
        const int count = SSL_read(m_tls.get(), buffer.data(), int(buffer.size()));
        if (count <= 0) {
            if (!isWaiting(count))
                close();
            return;
        }
        Q_EMIT received(QByteArray(buffer.data(), count));
        if (!isOpen())
            return;
    }
}

qsizetype TlsSocket::write(std::span<const char> bytes)
{
    std::size_t done = 0;
    while (isOpen() && done < bytes.size()) {
        ERR_clear_error();
        std::size_t count = 0;
        const auto rest = bytes.subspan(done);
        const int result = SSL_write_ex(m_tls.get(), rest.data(), rest.size(), &count);
        if (result == 1)
            done += count;
        else if (isWaiting(result))
            break;
        else
            close();
    }
    return qsizetype(done);
}

// Whether the call is to be made again later; the notifiers then tell when.
bool TlsSocket::isWaiting(int result)
{
    const int error = SSL_get_error(m_tls.get(), result);
    if (error == SSL_ERROR_WANT_WRITE)
        m_writing.setEnabled(true);
    return error == SSL_ERROR_WANT_WRITE || error == SSL_ERROR_WANT_READ;
}

void TlsSocket::end()
{
    if (isOpen() && m_isSecure) {
        ERR_clear_error();
        SSL_shutdown(m_tls.get());
    }
    close();
}

void TlsSocket::abort()
{
    if (!isOpen())
        return;
    // The peer gets a reset instead of an end (SO_LINGER of 0).
    const linger atOnce{.l_onoff = 1, .l_linger = 0};
    ::setsockopt(m_socket.get(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    close();
}

void TlsSocket::close()
{
    if (!isOpen())
        return;
    m_reading.setEnabled(false);
    m_writing.setEnabled(false);
    m_socket = FileDescriptor();
    Q_EMIT closed();
}

} // namespace vorn::rig
