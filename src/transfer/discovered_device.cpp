// SPDX-License-Identifier: Apache-2.0

#include "transfer/discovered_device.h"

#include "transfer/transfer_protocol.h"

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

constexpr qsizetype digestCharacters = 64; // SHA-256

// As it must be advertised: the separators that a digest may have elsewhere are none here.
bool isPlainDigest(const QString &text)
{
    return text.size() == digestCharacters && TransferProtocol::isValidSHA256(text);
}

// The text of a key, or the default when it is missing or empty.
QString textOr(const ResolvedService &service, const char *key, const QString &otherwise)
{
    const std::optional<QString> text = txtValue(service.txt, key);
    return text && !text->isEmpty() ? *text : otherwise;
}

QString pathOr(const ResolvedService &service, const char *key, const QString &otherwise)
{
    const QString path = textOr(service, key, otherwise);
    return path.startsWith(u'/') ? path : u'/' + path;
}

// Absent unless the address has exactly these parts: QUrl drops what it cannot take, and goes on.
std::optional<QUrl> urlOf(const QString &scheme, const QString &host, int port, const QString &path)
{
    QUrl url;
    url.setScheme(scheme);
    url.setHost(host, QUrl::DecodedMode);
    url.setPort(port);
    // Every character is one of the path: "?", "#" and "%" are encoded.
    url.setPath(path, QUrl::DecodedMode);
    // Addresses have other letters than ASCII in a form of their own (RFC 3492).
    const QString plainHost = QString::fromLatin1(QUrl::toAce(host));
    const bool isWhole = url.isValid() && !scheme.isEmpty() && url.scheme() == scheme.toLower()
                         && !plainHost.isEmpty() && url.host(QUrl::FullyEncoded) == plainHost
                         && url.port() == port && url.userInfo().isEmpty() && !url.hasQuery()
                         && !url.hasFragment();
    return isWhole ? std::optional(url) : std::nullopt;
}

} // namespace

QString DiscoveredDevice::id() const
{
    return QStringList{serviceType, serviceName, catalogURL.toString(QUrl::FullyEncoded),
                       sessionId.value_or(QString()), certificateSHA256.value_or(QString())}
        .join(u'|');
}

bool DiscoveredDevice::supportsAuthenticatedTransfer() const
{
    return serviceType == transferServiceType && catalogURL.scheme().toLower() == u"https"
           && sessionId && !sessionId->isEmpty() && certificateSHA256
           && isPlainDigest(*certificateSHA256);
}

QString DiscoveredDevice::fingerprintDisplay() const
{
    const QString fingerprint = certificateSHA256.value_or(QString());
    return isPlainDigest(fingerprint) ? TransferProtocol::shortFingerprint(fingerprint)
                                      : u"Unavailable"_s;
}

std::optional<DiscoveredDevice> discoveredDevice(const ResolvedService &service)
{
    QString host = service.hostName;
    if (host.endsWith(u'.'))
        host.chop(1);
    if (host.isEmpty() || service.port == 0)
        return std::nullopt;

    const QString usualScheme = service.type == transferServiceType ? u"https"_s : u"http"_s;
    const std::optional<QUrl> catalogURL =
        urlOf(textOr(service, "scheme", usualScheme), host, service.port,
              pathOr(service, "catalog", u"/vorn/v1/catalog"_s));
    if (!catalogURL)
        return std::nullopt;

    DiscoveredDevice device;
    device.serviceName = service.name;
    device.catalogURL = *catalogURL;
    device.serviceType = service.type;
    device.deviceId = txtValue(service.txt, "deviceId");
    device.sessionId = txtValue(service.txt, "sessionId");
    device.certificateSHA256 = txtValue(service.txt, "fp");
    device.pairPath = pathOr(service, "pair", device.pairPath);
    const QString foreground = txtValue(service.txt, "foreground").value_or(QString());
    device.foregroundOnly =
        foreground == u"1" || foreground.compare(u"true", Qt::CaseInsensitive) == 0;
    device.address = service.address;
    return device;
}

} // namespace vorn
