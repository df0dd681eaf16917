// SPDX-License-Identifier: Apache-2.0

#include "rig/transfer/transfer_journal.h"

#include <QJsonArray>

namespace vorn::rig {

using namespace Qt::StringLiterals;

namespace {

// So that the state stays short.
constexpr std::size_t remembered = 64;

} // namespace

int TransferJournal::connected()
{
    if (m_lastConnections.size() == remembered)
        m_lastConnections.erase(m_lastConnections.begin());
    m_lastConnections[++m_connections] = {};
    return m_connections;
}

TransferJournal::Connection *TransferJournal::find(int connection)
{
    const auto found = m_lastConnections.find(connection);
    return found == m_lastConnections.end() ? nullptr : &found->second;
}

void TransferJournal::secured(int connection, bool isResumed)
{
    ++m_handshakes;
    if (Connection *entry = find(connection)) {
        entry->isSecure = true;
        entry->isResumed = isResumed;
    }
}

void TransferJournal::received(int connection, qsizetype bytes)
{
    m_httpBytesReceived += bytes;
    if (Connection *entry = find(connection))
        entry->httpBytes += bytes;
}

void TransferJournal::closed(int connection)
{
    if (Connection *entry = find(connection))
        entry->isOpen = false;
}

void TransferJournal::requested(int connection, const QString &route, const HttpRequest &request,
                                const HttpAnswer &answer, const QString &objection)
{
    ++m_requestsByRoute[route];
    QJsonObject headers;
    for (const HttpHeader &header : request.headers)
        headers.insert(QString::fromUtf8(header.name.toLower()), QString::fromUtf8(header.value));
    if (m_lastRequests.size() == remembered)
        m_lastRequests.pop_front();
    m_lastRequests.push_back({{u"connection"_s, connection},
                              {u"method"_s, QString::fromUtf8(request.method)},
                              {u"target"_s, QString::fromUtf8(request.target)},
                              {u"route"_s, route},
                              {u"headers"_s, headers},
                              {u"body"_s, QString::fromUtf8(request.body)},
                              {u"objection"_s, objection},
                              {u"status"_s, answer.status},
                              {u"length"_s, answer.length}});
}

QJsonObject TransferJournal::state() const
{
    QJsonArray connections;
    int open = 0;
    for (const auto &[number, entry] : m_lastConnections) {
        open += entry.isOpen ? 1 : 0;
        connections.append(QJsonObject{{u"number"_s, number},
                                       {u"isOpen"_s, entry.isOpen},
                                       {u"isSecure"_s, entry.isSecure},
                                       {u"isResumed"_s, entry.isResumed},
                                       {u"httpBytes"_s, entry.httpBytes}});
    }
    QJsonArray requests;
    for (const QJsonObject &request : m_lastRequests)
        requests.append(request);
    QJsonObject byRoute;
    for (const auto &[route, count] : m_requestsByRoute)
        byRoute.insert(route, count);
    return {{u"accepted"_s, m_connections},
            {u"handshakes"_s, m_handshakes},
            {u"open"_s, open},
            {u"httpBytesReceived"_s, m_httpBytesReceived},
            {u"bytesSent"_s, m_bytesSent},
            {u"requestsByRoute"_s, byRoute},
            {u"connections"_s, connections},
            {u"requests"_s, requests}};
}

} // namespace vorn::rig
