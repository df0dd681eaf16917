// SPDX-License-Identifier: Apache-2.0

#include "rig/transfer/transfer_session.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QTextBoundaryFinder>
#include <QUuid>

#include <array>

namespace vorn::rig {

using namespace Qt::StringLiterals;

namespace {

constexpr int triesOfACode = 3;

QString randomCode()
{
    return u"%1"_s.arg(QRandomGenerator::system()->bounded(1'000'000), 6, 10, QChar(u'0'));
}

QString randomToken()
{
    std::array<quint32, 8> words{};
    QRandomGenerator::system()->fillRange(words.data(), qsizetype(words.size()));
    const QByteArray bytes(reinterpret_cast<const char *>(words.data()), sizeof words);
    return QString::fromLatin1(
        bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

// As a person counts them.
int charactersOf(const QString &text)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    int count = 0;
    while (finder.toNextBoundary() >= 0)
        ++count;
    return count;
}

bool isUuid(const QString &text)
{
    return !QUuid(text).isNull() && text.size() == 36;
}

QString objectionToHeaders(const HttpRequest &request)
{
    if (request.header("Content-Type") != "application/json")
        return u"Content-Type is not application/json"_s;
    if (request.header("Accept") != "application/json")
        return u"Accept is not application/json"_s;
    if (request.header("Authorization"))
        return u"there is an Authorization before the pairing"_s;
    return {};
}

// What a phone would have to say against the body, but for the code; nothing when it is right.
QString objectionToBody(const QJsonObject &body, const QString &fingerprint)
{
    static const QStringList keys{u"certificateSHA256"_s, u"collectorId"_s, u"collectorName"_s,
                                  u"pairingCode"_s,       u"requestId"_s,   u"schemaVersion"_s};
    const QString requestId = body[u"requestId"_s].toString();
    const QString name = body[u"collectorName"_s].toString();
    if (body.keys() != keys)
        return u"the keys are not those of a pairing"_s;
    if (body[u"schemaVersion"_s] != QJsonValue(1))
        return u"schemaVersion is not 1"_s;
    if (!isUuid(requestId) || requestId != requestId.toLower())
        return u"requestId is no UUID in lower case"_s;
    if (!isUuid(body[u"collectorId"_s].toString()))
        return u"collectorId is no UUID"_s;
    if (name != name.trimmed() || name.isEmpty() || charactersOf(name) > 64)
        return u"collectorName is not from 1 to 64 characters, trimmed"_s;
    if (!body[u"pairingCode"_s].isString())
        return u"pairingCode is no text"_s;
    if (body[u"certificateSHA256"_s] != fingerprint)
        return u"certificateSHA256 is not this phone's"_s;
    return {};
}

} // namespace

TransferSession::TransferSession(const QString &deviceId, const QString &fingerprint)
    : m_deviceId(deviceId),
      m_sessionId(QUuid::createUuid().toString(QUuid::WithoutBraces)),
      m_fingerprint(fingerprint)
{
    setCode(randomCode());
}

void TransferSession::setCode(const QString &code)
{
    m_code = code.isEmpty() ? randomCode() : code;
    m_triesLeft = triesOfACode;
}

PairingOutcome TransferSession::pair(const HttpRequest &request, int seconds)
{
    const QJsonObject body = QJsonDocument::fromJson(request.body).object();
    QString objection = objectionToHeaders(request);
    if (objection.isEmpty())
        objection = objectionToBody(body, m_fingerprint);
    if (!objection.isEmpty())
        return {400, {}, objection};
    if (m_code.isEmpty())
        return {403, {}, u"the code is spent"_s};
    if (body[u"pairingCode"_s] != m_code) {
        if (--m_triesLeft == 0)
            m_code.clear();
        return {403, {}, u"the code is wrong"_s};
    }
    m_code.clear();
    m_token = randomToken();
    m_expiresAt = QDateTime::currentDateTimeUtc().addSecs(seconds);
    return {200,
            {{u"schemaVersion"_s, 1},
             {u"deviceId"_s, m_deviceId},
             {u"sessionId"_s, m_sessionId},
             {u"bearerToken"_s, m_token},
             {u"expiresAt"_s, m_expiresAt.toString(Qt::ISODateWithMs)},
             {u"scopes"_s, QJsonArray{u"catalog.read"_s, u"files.read"_s}},
             {u"certificateSHA256"_s, m_fingerprint},
             {u"foregroundOnly"_s, true}},
            {}};
}

bool TransferSession::allows(const HttpRequest &request) const
{
    return !m_token.isEmpty() && QDateTime::currentDateTimeUtc() < m_expiresAt
           && request.header("Authorization") == "Bearer " + m_token.toUtf8()
           && request.header("X-VORN-Session-ID") == m_sessionId.toUtf8();
}

void TransferSession::end()
{
    m_code.clear();
    m_token.clear();
}

} // namespace vorn::rig
