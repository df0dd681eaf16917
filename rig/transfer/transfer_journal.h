// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/transfer/http_message.h"

#include <QJsonObject>
#include <QString>

#include <deque>
#include <map>

namespace vorn::rig {

/// What a transfer server saw and sent: sums of all, and the last few connections and requests.
class TransferJournal {
public:
    /// A connection came; gives its number, from 1.
    [[nodiscard]] int connected();
    void secured(int connection, bool isResumed);
    void received(int connection, qsizetype bytes); ///< of HTTP
    void closed(int connection);
    void requested(int connection, const QString &route, const HttpRequest &request,
                   const HttpAnswer &answer, const QString &objection);
    void sent(qsizetype bytes) { m_bytesSent += bytes; }

    [[nodiscard]] QJsonObject state() const;

private:
    struct Connection {
        bool isOpen = true;
        bool isSecure = false;
        bool isResumed = false;
        qint64 httpBytes = 0;
    };

    [[nodiscard]] Connection *find(int connection);

    int m_connections = 0;
    int m_handshakes = 0;
    qint64 m_httpBytesReceived = 0;
    qint64 m_bytesSent = 0;
    std::map<QString, int> m_requestsByRoute;
    std::map<int, Connection> m_lastConnections;
    std::deque<QJsonObject> m_lastRequests;
};

} // namespace vorn::rig
