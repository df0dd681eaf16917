// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/transfer/http_message.h"
#include "rig/transfer/tls_socket.h"
#include "rig/transfer/transfer_journal.h"

#include <QTimer>

#include <functional>

namespace vorn::rig {

/// What a connection needs of its server, which outlives it.
struct TransferDesk {
    std::function<HttpAnswer(int connection, const HttpRequest &request)> answer;
    std::function<void()> endSession;
    TransferJournal &journal;
};

/// One connection to a transfer server: a request, its answer, the next request. Deletes itself
/// when it ends.
class TransferConnection : public QObject {
    Q_OBJECT
public:
    TransferConnection(QObject *parent, const TransferDesk &desk, FileDescriptor socket,
                       SSL_CTX *context);

    /// Ends at once.
    void cut() { m_socket.abort(); }

private:
    void receive(const QByteArray &bytes);
    void serve();
    void pump();
    [[nodiscard]] bool refill();
    void drip();
    void finish();

    const TransferDesk &m_desk;
    TlsSocket m_socket;
    int m_number;
    HttpRequestReader m_reader;
    HttpAnswer m_answer;
    bool m_isAnswering = false;
    bool m_isLast = false;  ///< the client wants no more on this connection
    qint64 m_bodyDone = 0;  ///< bytes of the body that went into m_ready
    bool m_hasTail = false; ///< the end of the chunks went too
    QByteArray m_ready;     ///< to be sent next
    qsizetype m_readyDone = 0;
    QTimer m_drip;
};

} // namespace vorn::rig
