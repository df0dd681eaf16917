// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/files.h"

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>

#include <openssl/ssl.h>

#include <memory>
#include <span>

namespace vorn::rig {

/// The server's end of one TLS connection, on the event loop.
class TlsSocket : public QObject {
    Q_OBJECT
public:
    /// `socket` is an accepted connection. Throws RigError.
    TlsSocket(FileDescriptor socket, SSL_CTX *context, QObject *parent = nullptr);

    /// Takes as much as goes without waiting; where that is not all, writable() comes later. Gives
    /// the bytes taken.
    [[nodiscard]] qsizetype write(std::span<const char> bytes);

    /// writable() comes as soon as the event loop has looked at other things.
    void callBackSoon() { m_writing.setEnabled(true); }

    /// Ends the connection with TLS's goodbye, or without. Closed comes before this returns.
    void end();
    void abort();

    [[nodiscard]] bool isOpen() const { return m_socket.isOpen(); }
    [[nodiscard]] bool isSecure() const { return m_isSecure; } ///< the handshake is finished

Q_SIGNALS:
    void secured(bool isResumed);
    void received(const QByteArray &bytes);
    void writable();
    void closed();

private:
    void goOn();
    void shakeHands();
    void read();
    void close();
    [[nodiscard]] bool isWaiting(int result);

    FileDescriptor m_socket;
    std::unique_ptr<SSL, decltype(&SSL_free)> m_tls;
    QSocketNotifier m_reading;
    QSocketNotifier m_writing;
    bool m_isSecure = false;
};

} // namespace vorn::rig
