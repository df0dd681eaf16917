// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tcp_server.h"

#include <memory>
#include <vector>

struct ssl_st;
struct ssl_ctx_st;

namespace vorn {

/// One TLS connection as its server sees it. Thread: the one that answers it.
class TlsPeer {
public:
    /// False once the client has gone.
    bool send(const QByteArray &bytes);
    /// Cuts the connection: no farewell of TLS.
    void cut();
    /// Sends nothing until the client or the server closes the connection.
    void stayUntilClosed();

private:
    friend class TlsServer;
    TlsPeer(ssl_st *tls, const TcpPeer &peer) : m_tls(tls), m_peer(peer) {}

    ssl_st *m_tls;
    const TcpPeer &m_peer;
    bool m_isCut = false;
};

/// A real TLS server with a fresh self-signed certificate on a free port of 127.0.0.1. Reads
/// requests of HTTP/1.1; what it answers is the test's, byte for byte.
class TlsServer {
public:
    struct Request {
        int index = 0; ///< counted from 0 over all connections
        QByteArray head;
        QByteArray body;
    };
    /// Called on the connection's thread.
    using Answer = std::function<void(const Request &request, TlsPeer &peer)>;
    enum class Handshake { complete, never };

    explicit TlsServer(Answer answer, std::function<void(ssl_ctx_st *)> configure = {},
                       Handshake handshake = Handshake::complete);
    [[nodiscard]] std::uint16_t port() const { return m_server.port(); }
    /// SHA-256 of the certificate's DER form, in lower-case hexadecimal.
    [[nodiscard]] QString fingerprint() const;
    /// In DER form.
    [[nodiscard]] QByteArray certificate() const;
    /// Shows another certificate from the next connection on.
    void changeCertificate();

    // What has happened up to now. Any thread.
    [[nodiscard]] int connections() const { return m_server.connections(); }
    [[nodiscard]] int handshakes() const;
    [[nodiscard]] int openConnections() const { return m_server.openConnections(); }
    [[nodiscard]] std::int64_t decryptedBytes() const;
    [[nodiscard]] std::vector<Request> requests() const;

private:
    struct Identity;
    struct Counts {
        int handshakes = 0;
        std::int64_t decryptedBytes = 0;
        std::vector<Request> requests;
    };

    void serve(TcpPeer &peer);
    void talk(ssl_st *tls, const TcpPeer &peer);
    bool readRequest(ssl_st *tls, QByteArray &buffer, Request &request);
    bool readMore(ssl_st *tls, QByteArray &buffer);

    Answer m_answer;
    std::function<void(ssl_ctx_st *)> m_configure;
    Handshake m_handshake;
    mutable std::mutex m_mutex;
    std::shared_ptr<const Identity> m_identity;
    Counts m_counts;
    TcpServer m_server; ///< ends before what its threads use
};

} // namespace vorn
