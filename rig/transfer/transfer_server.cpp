// SPDX-License-Identifier: Apache-2.0

#include "rig/transfer/transfer_server.h"

#include "rig/base/compact_json.h"
#include "rig/base/rig_error.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <csignal>

namespace vorn::rig {

using namespace Qt::StringLiterals;

namespace {

constexpr QByteArrayView filesPath = "/vorn/v1/files/";

QString routeOf(const HttpRequest &request)
{
    if (request.target == "/vorn/v1/pair")
        return u"pair"_s;
    if (request.target == "/vorn/v1/catalog")
        return u"catalog"_s;
    if (request.target == "/vorn/v1/session/end")
        return u"end"_s;
    return request.target.startsWith(filesPath) ? u"files"_s : u"other"_s;
}

HttpAnswer refusal(int status, const QString &objection)
{
    return textAnswer(status, "application/json", compactJson({{u"error"_s, objection}}));
}

HttpAnswer jsonAnswer(const QJsonObject &object)
{
    return textAnswer(200, "application/json", compactJson(object));
}

} // namespace

TransferServer::TransferServer(int castIndex, const MediaOptions &media, QObject *parent)
    : QTcpServer(parent), m_member(castMember(castIndex)), m_media(phoneMedia(media, castIndex))
{
    // OpenSSL writes to connections that the peer has closed.
    std::signal(SIGPIPE, SIG_IGN);
    m_expiry.setSingleShot(true);
    connect(&m_expiry, &QTimer::timeout, this, &TransferServer::endSession);
    resetFaults();
}

// Connections report to the journal until they are gone.
TransferServer::~TransferServer()
{
    cutConnections();
    qDeleteAll(findChildren<TransferConnection *>());
}

void TransferServer::begin(const QHostAddress &address)
{
    m_expiry.stop();
    cutConnections();
    m_identity.emplace(m_member.deviceName);
    m_session = TransferSession(m_member.deviceId, m_identity->fingerprint());
    m_isOver = false;
    makeContext();
    listenAt(address);
    announce();
    Q_EMIT begun();
}

void TransferServer::announce()
{
    m_announcement.reset();
    // Loopback is for tests that have no network of their own: nothing may leave it.
    if (!m_isOver && !serverAddress().isLoopback())
        m_announcement.emplace(m_member.deviceName, u"_vorn-transfer._tcp"_s, serverAddress(),
                               serverPort(), announcedText());
}

ServiceText TransferServer::announcedText() const
{
    ServiceText text{{u"scheme"_s, "https"},
                     {u"catalog"_s, "/vorn/v1/catalog"},
                     {u"pair"_s, "/vorn/v1/pair"},
                     {u"deviceId"_s, m_member.deviceId.toUtf8()},
                     {u"sessionId"_s, m_session.sessionId().toUtf8()},
                     {u"fp"_s, m_session.fingerprint().toUtf8()},
                     {u"foreground"_s, "1"}};
    for (const auto &[key, value] : m_textChanges) {
        text.erase(key);
        if (value)
            text.emplace(key, *value);
    }
    return text;
}

void TransferServer::listenAt(const QHostAddress &address)
{
    close();
    if (!listen(address))
        throw RigError(
            u"No TCP port of %1 can be opened: %2."_s.arg(address.toString(), errorString()));
}

void TransferServer::move(const QHostAddress &address)
{
    if (!isListening())
        return;
    cutConnections();
    listenAt(address);
    announce();
    if (!m_isOver)
        Q_EMIT begun();
}

void TransferServer::stop()
{
    close();
    cutConnections();
    endSession();
}

void TransferServer::endSession()
{
    m_expiry.stop();
    if (m_isOver)
        return;
    m_isOver = true;
    m_announcement.reset();
    m_session.end();
    Q_EMIT over();
}

void TransferServer::cutConnections()
{
    for (const auto &[number, socket] : std::exchange(m_silent, {}))
        m_journal.closed(number);
    for (TransferConnection *connection : findChildren<TransferConnection *>())
        connection->cut();
}

void TransferServer::makeContext()
{
    if (m_tlsFault == TlsFault::otherCertificate)
        m_context = TlsIdentity(m_member.deviceName).context();
    else if (m_identity)
        m_context = m_identity->context();
}

void TransferServer::resetFaults()
{
    m_tlsFault = TlsFault::none;
    m_textChanges.clear();
    m_seconds = TransferSession::maximumSeconds;
    m_pairChanges.clear();
    m_answerFaults.clear();
    m_catalog = m_media.catalog;
    makeContext();
}

void TransferServer::incomingConnection(qintptr descriptor)
{
    FileDescriptor socket{int(descriptor)};
    if (m_tlsFault == TlsFault::silent) {
        m_silent.emplace(m_journal.connected(), std::move(socket));
        return;
    }
    const int one = 1;
    ::fcntl(socket.get(), F_SETFL, O_NONBLOCK);
    ::setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    new TransferConnection(this, m_desk, std::move(socket), m_context.get());
}

HttpAnswer TransferServer::answer(int connection, const HttpRequest &request)
{
    const QString route = routeOf(request);
    QString objection;
    HttpAnswer answer = rightAnswer(route, request, objection);
    AnswerFaults &faults = m_answerFaults[route];
    if (faults.goodAnswers > 0)
        --faults.goodAnswers;
    else
        answer = spoiled(std::move(answer), faults);
    m_journal.requested(connection, route, request, answer, objection);
    return answer;
}

HttpAnswer TransferServer::rightAnswer(const QString &route, const HttpRequest &request,
                                       QString &objection)
{
    const bool isPost = route == u"pair" || route == u"end";
    if (route == u"other") {
        objection = u"there is no such address"_s;
        return refusal(404, objection);
    }
    if (request.method != (isPost ? "POST" : "GET")) {
        objection = u"that method is not for this address"_s;
        return refusal(405, objection);
    }
    if (route == u"pair")
        return pairingAnswer(request, objection);
    if (!m_session.allows(request)) {
        objection = u"this computer is not paired"_s;
        return refusal(401, objection);
    }
    if (route == u"catalog")
        return jsonAnswer(m_catalog);
    if (route == u"files")
        return fileAnswer(request, objection);
    HttpAnswer goodbye = jsonAnswer({});
    goodbye.endsSession = true;
    return goodbye;
}

HttpAnswer TransferServer::pairingAnswer(const HttpRequest &request, QString &objection)
{
    PairingOutcome outcome = m_session.pair(request, m_seconds);
    objection = outcome.objection;
    if (outcome.status != 200)
        return refusal(outcome.status, objection);
    m_expiry.start(std::chrono::seconds(std::max(0, m_seconds)));
    for (const auto &[key, value] : m_pairChanges)
        outcome.answer.insert(key, value);
    m_session.setToken(outcome.answer[u"bearerToken"_s].toString());
    return jsonAnswer(outcome.answer);
}

HttpAnswer TransferServer::fileAnswer(const HttpRequest &request, QString &objection) const
{
    const auto found = m_media.files.find(request.target);
    if (found == m_media.files.end()) {
        objection = u"there is no such file"_s;
        return refusal(404, objection);
    }
    const ServedFile &file = found->second;
    const QByteArray total = QByteArray::number(file.size);
    HttpAnswer answer;
    answer.content = file.read;
    answer.length = file.size;
    answer.headers = {{"Content-Type", file.type},
                      {"Accept-Ranges", "bytes"},
                      {"ETag", "\"sha256:" + file.sha256.toLatin1() + '"'},
                      {"X-VORN-SHA256", file.sha256.toLatin1()}};
    if (const auto wanted = request.header("Range")) {
        const auto range = requestedRange(*wanted, file.size);
        if (!range) {
            objection = u"that range is not in the file"_s;
            answer = refusal(416, objection);
            answer.headers.append({"Content-Range", "bytes */" + total});
            return answer;
        }
        answer.status = 206;
        answer.offset = range->first;
        answer.length = range->second - range->first + 1;
        answer.headers.append({"Content-Range", "bytes " + QByteArray::number(range->first) + '-'
                                                    + QByteArray::number(range->second) + '/'
                                                    + total});
    }
    answer.headers.append({"Content-Length", QByteArray::number(answer.length)});
    return answer;
}

QString TransferServer::shownText() const
{
    if (m_session.code().isEmpty())
        return {};
    return u"fingerprint %1 code %2"_s.arg(shownFingerprint(m_session.fingerprint()),
                                           m_session.code());
}

QJsonObject TransferServer::state() const
{
    QJsonObject state = m_journal.state();
    state.insert(u"isListening"_s, isListening());
    state.insert(u"isOver"_s, m_isOver);
    if (isListening())
        state.insert(
            u"catalogURL"_s,
            u"https://%1:%2/vorn/v1/catalog"_s.arg(serverAddress().toString()).arg(serverPort()));
    if (!m_session.fingerprint().isEmpty()) {
        state.insert(u"sessionId"_s, m_session.sessionId());
        state.insert(u"fingerprint"_s, m_session.fingerprint());
        state.insert(u"shownFingerprint"_s, shownFingerprint(m_session.fingerprint()));
        state.insert(u"code"_s, m_session.code());
        state.insert(u"token"_s, m_session.token());
        state.insert(u"expiresAt"_s, m_session.expiresAt().toString(Qt::ISODateWithMs));
    }
    return state;
}

} // namespace vorn::rig
