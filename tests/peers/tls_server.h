#pragma once

#include "base/files.h"

#include <QByteArray>
#include <QString>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
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
    TlsPeer(ssl_st *tls, int descriptor) : m_tls(tls), m_descriptor(descriptor) {}

    ssl_st *m_tls;
    int m_descriptor;
    bool m_isCut = false;
};

/// A real TLS server with a fresh self-signed certificate, on plain threads, on a free port of
/// 127.0.0.1. Reads requests of HTTP/1.1; what it answers is the test's, byte for byte.
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
    /// Closes all connections and waits for their threads.
    ~TlsServer();
    TlsServer(const TlsServer &) = delete;
    TlsServer &operator=(const TlsServer &) = delete;

    [[nodiscard]] std::uint16_t port() const { return m_port; }
    /// SHA-256 of the certificate's DER form, in lower-case hexadecimal.
    [[nodiscard]] QString fingerprint() const;
    /// In DER form.
    [[nodiscard]] QByteArray certificate() const;
    /// Shows another certificate from the next connection on.
    void changeCertificate();

    // What has happened up to now. Any thread.
    [[nodiscard]] int connections() const;
    [[nodiscard]] int handshakes() const;
    [[nodiscard]] int openConnections() const;
    [[nodiscard]] std::int64_t decryptedBytes() const;
    [[nodiscard]] std::vector<Request> requests() const;

private:
    struct Identity;
    struct Counts {
        int connections = 0;
        int handshakes = 0;
        std::int64_t decryptedBytes = 0;
        std::vector<Request> requests;
    };

    void acceptAll();
    void serve(const FileDescriptor &socket);
    bool readRequest(ssl_st *tls, QByteArray &buffer, Request &request);
    bool readMore(ssl_st *tls, QByteArray &buffer);

    Answer m_answer;
    std::function<void(ssl_ctx_st *)> m_configure;
    Handshake m_handshake;
    FileDescriptor m_listener;
    std::uint16_t m_port = 0;
    mutable std::mutex m_mutex; ///< guards all below
    std::condition_variable m_closed;
    std::shared_ptr<const Identity> m_identity;
    Counts m_counts;
    std::set<int> m_open; ///< descriptors
    std::thread m_acceptor;
};

} // namespace vorn
