// SPDX-License-Identifier: Apache-2.0

#include "transfer/authenticated_transfer_client.h"

#include "net/network_interfaces.h"
#include "transfer/connection_error.h"
#include "transfer/pairing_messages.h"
#include "transfer/range_answer.h"
#include "transfer/transfer_protocol.h"

#include <QUuid>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

// Bytes; what an answer may take in memory.
constexpr std::int64_t maximumPairingBytes = std::int64_t{64} * 1024;
constexpr std::int64_t maximumCatalogBytes = std::int64_t{64} * 1024 * 1024;
constexpr std::int64_t maximumIgnoredBytes = std::int64_t{64} * 1024;

void requireOk(const HttpsHead &head)
{
    constexpr int ok = 200;
    if (head.status != ok)
        throw TransferProtocolError::http(head.status);
}

QByteArray targetOf(const QUrl &url)
{
    const QByteArray target =
        url.toEncoded(QUrl::RemoveScheme | QUrl::RemoveAuthority | QUrl::RemoveFragment);
    return target.startsWith('/') ? target : '/' + target;
}

/// Where the camera was resolved to be.
QHostAddress addressOf(const DiscoveredDevice &device)
{
    const QHostAddress address =
        device.address.isNull() ? QHostAddress(device.catalogURL.host()) : device.address;
    if (address.protocol() != QAbstractSocket::IPv4Protocol)
        throw TransferConnectionError(u"The camera's network address is not known."_s);
    return address;
}

/// The camera may be on a network that this computer has left since.
void requireNearby(const QHostAddress &address)
{
    if (!isNearby(address))
        throw connectionError(HttpsError(HttpsError::Case::unreachable));
}

/// The camera's server as it was advertised, at the address that was resolved.
HttpsOrigin originOf(const DiscoveredDevice &device, const QHostAddress &address,
                     const QString &fingerprint)
{
    constexpr int httpsPort = 443;
    const QUrl &url = device.catalogURL;
    return {.host = url.host(QUrl::FullyEncoded).toLatin1(),
            .port = std::uint16_t(url.port(httpsPort)),
            .address = address.toString().toLatin1(),
            .certificateSHA256 = fingerprint};
}

/// A header value that cannot be taken for something else on its way: no blank, no line end.
bool isHeaderToken(QByteArrayView value)
{
    return !value.isEmpty()
           && std::ranges::all_of(value, [](char c) { return c >= 0x21 && c <= 0x7E; });
}

HttpsRequest pairingRequest(const QUrl &url, const PairingRequest &request)
{
    return {.method = HttpsRequest::Method::post,
            .target = targetOf(url),
            .headers = {secretBytes({"Content-Type: application/json"}),
                        secretBytes({"Accept: application/json"})},
            .body = jsonFromRequest(request),
            .maximumBodyBytes = maximumPairingBytes,
            .checkHead = requireOk,
            .received = {}};
}

/// What `pending` gives; a failure of the connection in the user's words. `server` is what the user
/// is told to have answered.
QCoro::Task<HttpsAnswer> withConnectionErrors(QCoro::Task<HttpsAnswer> pending, QString server)
{
    try {
        co_return co_await pending;
    } catch (const HttpsError &error) {
        require(error.reason() != HttpsError::Case::notHttp,
                server + u" returned no HTTP response."_s);
        throw connectionError(error);
    }
}

} // namespace

QCoro::Task<std::shared_ptr<AuthenticatedTransferClient>>
AuthenticatedTransferClient::pair(DiscoveredDevice device, QString pairingCode, QString collectorId,
                                  QString collectorName, bool fingerprintConfirmed,
                                  std::stop_token stop)
{
    require(device.supportsAuthenticatedTransfer(),
            u"This camera is not advertising authenticated transfer."_s);
    require(fingerprintConfirmed, u"Confirm that the fingerprint shown on both devices matches."_s);
    const QString code = pairingCode.trimmed();
    require(TransferProtocol::isValidPairingCode(code),
            u"Enter the six-digit code shown on the camera."_s);
    const QString fingerprint =
        TransferProtocol::normalizedSHA256(device.certificateSHA256.value_or(QString()));
    const QUrl url = TransferProtocol::endpoint(device.catalogURL, device.pairPath);

    const QHostAddress address = addressOf(device);
    requireNearby(address);

    const CoreDumpLock coreDumpLock; // the code and the token are in memory from here on
    auto https = std::make_unique<PinnedHttps>(originOf(device, address, fingerprint));
    const std::stop_callback closing(stop, [&connection = *https] { connection.close(); });
    QByteArray codeBytes = code.toUtf8();
    HttpsRequest request =
        pairingRequest(url, {.requestId = QUuid::createUuid().toString(QUuid::WithoutBraces),
                             .collectorId = collectorId,
                             .collectorName = shownCollectorName(collectorName),
                             .pairingCode = secretBytes({codeBytes}),
                             .certificateSHA256 = fingerprint});
    wipe(codeBytes);
    HttpsAnswer answer =
        co_await withConnectionErrors(https->send(std::move(request)), u"Pairing"_s);
    PairingResponse response = pairingResponseFromJson(answer.body);
    const QDateTime expiry =
        checkedExpiry(response, device, fingerprint, QDateTime::currentDateTimeUtc());
    co_return std::shared_ptr<AuthenticatedTransferClient>(
        new AuthenticatedTransferClient({.deviceId = response.deviceId,
                                         .deviceName = device.serviceName,
                                         .sessionId = response.sessionId,
                                         .expiresAt = expiry,
                                         .fingerprint = fingerprint},
                                        device.catalogURL, address, std::move(response.bearerToken),
                                        std::move(https), std::move(stop)));
}

AuthenticatedTransferClient::AuthenticatedTransferClient(TransferSessionSummary summary,
                                                         QUrl catalogURL, QHostAddress address,
                                                         SecretBytes token,
                                                         std::unique_ptr<PinnedHttps> https,
                                                         std::stop_token stop)
    : m_summary(std::move(summary)),
      m_catalogURL(std::move(catalogURL)),
      m_address(std::move(address)),
      m_coreDumpLock(std::in_place),
      m_bearerToken(std::move(token)),
      m_https(std::move(https)),
      m_closing(std::move(stop), [this] { invalidate(); })
{
}

bool AuthenticatedTransferClient::isExpired() const
{
    return QDateTime::currentDateTimeUtc() >= m_summary.expiresAt;
}

HttpsRequest AuthenticatedTransferClient::authorizedRequest(const QUrl &url) const
{
    m_ui.assertCurrent();
    require(!isExpired(), u"Transfer session expired; approve pairing again."_s);
    require(url.scheme() == u"https" && TransferProtocol::isSameOrigin(url, m_catalogURL)
                && url.userInfo().isEmpty(),
            u"Transfer request attempted to leave the paired HTTPS origin."_s);
    requireNearby(m_address);
    const QByteArray session = m_summary.sessionId.toUtf8();
    // A closed session has no token; the connection refuses, being closed as well.
    require((m_bearerToken.empty() || isHeaderToken(m_bearerToken)) && isHeaderToken(session),
            u"The camera's session token or ID holds characters that cannot be sent."_s);
    HttpsRequest request;
    request.target = targetOf(url);
    request.headers = {secretBytes({"Authorization: Bearer ", m_bearerToken}),
                       secretBytes({"X-VORN-Session-ID: ", session})};
    return request;
}

QCoro::Task<QByteArray> AuthenticatedTransferClient::fetchCatalog()
{
    HttpsRequest request = authorizedRequest(m_catalogURL);
    request.headers.push_back(secretBytes({"Accept: application/json"}));
    request.maximumBodyBytes = maximumCatalogBytes;
    request.checkHead = requireOk;
    HttpsAnswer answer =
        co_await withConnectionErrors(m_https->send(std::move(request)), u"Catalog"_s);
    co_return std::move(answer.body);
}

QCoro::Task<QByteArray>
AuthenticatedTransferClient::fetchRange(QUrl url, std::int64_t start, std::int64_t end,
                                        std::int64_t expectedTotal, QString expectedSHA256,
                                        std::function<void(std::int64_t)> received)
{
    const FileRange range{start, end, expectedTotal,
                          TransferProtocol::normalizedSHA256(expectedSHA256)};
    requireValidRange(range);
    HttpsRequest request = authorizedRequest(url);
    const QByteArray bounds =
        QByteArray::number(qint64{start}) + '-' + QByteArray::number(qint64{end});
    request.headers.push_back(secretBytes({"Range: bytes=", bounds}));
    request.headers.push_back(secretBytes({"Accept-Encoding: identity"}));
    request.maximumBodyBytes = range.length();
    request.checkHead = [range](const HttpsHead &head) { requireAnswersRange(head, range); };
    request.received = std::move(received);
    HttpsAnswer answer =
        co_await withConnectionErrors(m_https->send(std::move(request)), u"File server"_s);
    require(answer.body.size() == range.length(),
            u"Downloaded chunk length does not match the requested range."_s);
    co_return std::move(answer.body);
}

QCoro::Task<> AuthenticatedTransferClient::end()
{
    try {
        HttpsRequest request =
            authorizedRequest(TransferProtocol::endpoint(m_catalogURL, u"/vorn/v1/session/end"_s));
        request.method = HttpsRequest::Method::post;
        request.maximumBodyBytes = maximumIgnoredBytes;
        m_https->cancel(); // a range may take a minute yet
        (void)co_await m_https->send(std::move(request));
    } catch (const std::exception &error) {
        // It ends here all the same, and there it expires.
        qInfo("A camera could not be told that its session is over: %s", error.what());
    }
    invalidate();
}

void AuthenticatedTransferClient::invalidate()
{
    m_ui.assertCurrent();
    m_https->close();
    m_bearerToken = SecretBytes(); // "= {}" would keep the memory
    wipeStack();
    m_coreDumpLock.reset();
}

} // namespace vorn
