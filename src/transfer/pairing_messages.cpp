// SPDX-License-Identifier: Apache-2.0

#include "transfer/pairing_messages.h"

#include "base/host_name.h"
#include "https/json_secret.h"
#include "library/record_json.h"
#include "transfer/transfer_protocol.h"

#include <QRegularExpression>
#include <QTextBoundaryFinder>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vorn {

template <class Fields> void describe(Fields &&fields, PairingResponse &response)
{
    fields(u"schemaVersion", response.schemaVersion);
    fields(u"deviceId", response.deviceId);
    fields(u"sessionId", response.sessionId);
    QString left; // of the token, which has been cut out unless its escapes are wrong
    fields(u"bearerToken", left);
    if (!left.isEmpty())
        throw JsonError(u"Pairing response: bearerToken is not a text"_s);
    fields(u"expiresAt", response.expiresAt);
    fields(u"scopes", response.scopes);
    fields(u"certificateSHA256", response.certificateSHA256);
    fields(u"foregroundOnly", response.foregroundOnly);
}

/// Without the code, of which a writer would keep copies.
template <class Fields> void describe(Fields &&fields, const PairingRequest &request)
{
    fields(u"certificateSHA256", request.certificateSHA256);
    fields(u"collectorId", request.collectorId);
    fields(u"collectorName", request.collectorName);
    fields(u"requestId", request.requestId);
    fields(u"schemaVersion", request.schemaVersion);
}

namespace {

constexpr int maximumCollectorNameCharacters = 64;
constexpr std::size_t minimumTokenBytes = 32;
/// Seconds that a camera's clock may be ahead of ours.
constexpr double clockTolerance = 30.0;

bool grants(const PairingResponse &response, const QString &scope)
{
    return std::ranges::find(response.scopes, scope) != response.scopes.end();
}

bool isSufficient(const PairingResponse &response)
{
    return response.schemaVersion == 1 && !response.deviceId.isEmpty()
           && !response.sessionId.isEmpty() && response.bearerToken.size() >= minimumTokenBytes
           && response.foregroundOnly && grants(response, u"catalog.read"_s)
           && grants(response, u"files.read"_s);
}

bool isSessionEnd(const QDateTime &expiry, const QDateTime &now)
{
    const double left = double(now.msecsTo(expiry)) / 1000;
    return left > 0 && left <= TransferProtocol::maximumSessionLifetime + clockTolerance;
}

} // namespace

QString shownCollectorName(const QString &name)
{
    QString shown = name.trimmed();
    QTextBoundaryFinder characters(QTextBoundaryFinder::Grapheme, shown);
    for (int count = 0; count < maximumCollectorNameCharacters; ++count)
        characters.toNextBoundary();
    if (characters.position() >= 0)
        shown.truncate(characters.position());
    return shown.isEmpty() ? unnamedComputer() : shown;
}

SecretBytes jsonFromRequest(const PairingRequest &request)
{
    const QByteArray open = lineFromRecord(request);
    return secretBytes( // digits need no escape
        {QByteArrayView(open).chopped(1), R"(,"pairingCode":")", request.pairingCode, R"("})"});
}

PairingResponse pairingResponseFromJson(QByteArray &body)
{
    std::optional<SecretBytes> token = cutJsonSecret(body, "bearerToken");
    auto response = recordFromJson<PairingResponse>(body, u"Pairing response"_s);
    response.bearerToken = std::move(token).value_or(SecretBytes());
    return response;
}

std::optional<QDateTime> instantFromText(const QString &text)
{
    static const QRegularExpression form(QRegularExpression::anchoredPattern(
        u"[0-9]{4}-[0-9]{2}-[0-9]{2}T([01][0-9]|2[0-3]):[0-5][0-9]:[0-5][0-9](\\.[0-9]{1,9})?"
        u"(Z|[+-]([01][0-9]|2[0-3]):[0-5][0-9])"_s));
    if (!form.match(text).hasMatch())
        return std::nullopt;
    const QDateTime instant = QDateTime::fromString(text, Qt::ISODateWithMs);
    return instant.isValid() ? std::optional(instant.toUTC()) : std::nullopt;
}

QDateTime checkedExpiry(const PairingResponse &response, const DiscoveredDevice &device,
                        const QString &fingerprint, const QDateTime &now)
{
    require(isSufficient(response), u"Pairing response is incomplete or grants the wrong scope."_s);
    require(!device.deviceId || device.deviceId->isEmpty() || *device.deviceId == response.deviceId,
            u"Camera identity changed during pairing."_s);
    require(!device.sessionId || *device.sessionId == response.sessionId,
            u"Transfer session changed during pairing."_s);
    require(TransferProtocol::normalizedSHA256(response.certificateSHA256) == fingerprint,
            u"Certificate fingerprint changed during pairing."_s);
    const std::optional<QDateTime> expiry = instantFromText(response.expiresAt);
    if (!expiry || !isSessionEnd(*expiry, now))
        throw TransferProtocolError::invalid(u"Transfer session expiry is invalid."_s);
    return *expiry;
}

} // namespace vorn
