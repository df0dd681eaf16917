// SPDX-License-Identifier: Apache-2.0

#include "transfer/transfer_protocol.h"

#include "base/resolved_url.h"
#include "base/text_form.h"
#include "https/secret_bytes.h"

#include <QList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vorn::TransferProtocol {
namespace {

constexpr qsizetype digestCharacters = 64; // SHA-256 in hexadecimal

bool isLowerHexDigit(QChar c)
{
    return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f');
}

/// The port that an address without one means; -1 when its scheme has none.
int defaultPort(const QUrl &url)
{
    if (url.scheme() == u"https")
        return 443;
    return url.scheme() == u"http" ? 80 : -1;
}

bool staysOnOrigin(const QUrl &url, const QUrl &base)
{
    // "phone@evil" reads as the phone's address to people, and no camera asks for a user name.
    return isSameOrigin(url, base) && !url.authority().contains(u'@');
}

} // namespace

QString normalizedSHA256(QStringView value)
{
    QString text = value.toString().toLower();
    text.removeIf([](QChar c) { return c.isSpace() || c == u':' || c == u'-'; });
    return text;
}

bool isValidSHA256(QStringView value)
{
    const QString text = normalizedSHA256(value);
    return text.size() == digestCharacters && std::ranges::all_of(text, isLowerHexDigit);
}

QString shortFingerprint(QStringView value)
{
    if (!isValidSHA256(value))
        return u"Unavailable"_s;
    constexpr qsizetype groupCharacters = 4;
    const QString text = normalizedSHA256(value).first(digestCharacters / 2).toUpper();
    QString shown;
    for (qsizetype start = 0; start < text.size(); start += groupCharacters) {
        if (start > 0)
            shown += u' ';
        shown += QStringView(text).sliced(start, groupCharacters);
    }
    return shown;
}

bool isValidPairingCode(QStringView value)
{
    QList<uint> characters = value.toUcs4();
    const bool isValid =
        characters.size() == pairingCodeLength
        && std::ranges::all_of(characters, [](uint c) { return QChar::isNumber(c); });
    wipe(characters.data(), std::size_t(characters.size()) * sizeof(uint));
    return isValid;
}

std::optional<QString> origin(const QUrl &url)
{
    // QUrl holds the scheme and the host in lower case.
    const QString host = url.host(QUrl::FullyEncoded);
    const int port = url.port(defaultPort(url));
    if (!url.isValid() || url.scheme().isEmpty() || host.isEmpty() || port < 1)
        return std::nullopt;
    return u"%1://%2:%3"_s.arg(url.scheme(), host, QString::number(port));
}

bool isSameOrigin(const QUrl &a, const QUrl &b)
{
    return origin(a) == origin(b);
}

QUrl endpoint(const QUrl &base, const QString &path)
{
    if (!base.isValid() || base.scheme() != u"https")
        throw TransferProtocolError::invalid(u"Authenticated transfer requires HTTPS."_s);
    QUrl url = base;
    // Decoded: whatever has a meaning in an address is percent-encoded, and so stays in the path.
    url.setPath(path.startsWith(u'/') ? path : u'/' + path, QUrl::DecodedMode);
    url.setQuery(QString());
    url.setFragment(QString());
    if (!url.isValid() || !staysOnOrigin(url, base))
        throw TransferProtocolError::invalid(u"Transfer endpoint changed origin."_s);
    return url;
}

QUrl resolvedFileURL(const QString &rawURL, const QUrl &catalogURL)
{
    const std::optional<QUrl> url = resolvedUrl(rawURL, catalogURL);
    if (!url || url->scheme() != u"https" || !staysOnOrigin(*url, catalogURL))
        throw TransferProtocolError::invalid(
            u"Catalog file URL must remain on the authenticated HTTPS origin."_s);
    return *url;
}

QUrl resolvedClipURL(const QString &rawURL, const QString &clipId, const QUrl &catalogURL,
                     ClipFile file)
{
    QUrl url = resolvedFileURL(rawURL, catalogURL);
    const QString route = u"/vorn/v1/files/"_s + clipId
                          + (file == ClipFile::timingSidecar ? u".timing.json"_s : QString());
    // The path is compared as it is sent, so that "%2F" is no separator. A route has nothing to
    // encode: "%2e", which the parser takes for a dot and drops, is not the route either.
    if (rawURL.contains(u'%') || url.path(QUrl::FullyEncoded) != route || url.hasQuery()
        || url.hasFragment())
        throw TransferProtocolError::invalid(
            u"Catalog file route does not match its immutable clip ID."_s);
    return url;
}

std::optional<ContentRange> parseContentRange(QStringView header)
{
    const QString text = header.trimmed().toString().toLower();
    constexpr QStringView unit = u"bytes ";
    const QList<QStringView> halves = QStringView(text).split(u'/');
    if (!text.startsWith(unit) || halves.size() != 2)
        return std::nullopt;
    const QList<QStringView> bounds = halves[0].sliced(unit.size()).split(u'-');
    if (bounds.size() != 2)
        return std::nullopt;
    const auto start = digitsOnly(bounds[0]);
    const auto end = digitsOnly(bounds[1]);
    const auto total = digitsOnly(halves[1]);
    if (!start || !end || !total || *start > *end || *end >= *total)
        return std::nullopt;
    return ContentRange{*start, *end, *total};
}

std::optional<QString> normalizedETagDigest(QStringView header)
{
    const QString lower = header.trimmed().toString().toLower();
    QStringView tag = lower;
    if (tag.startsWith(u"w/"))
        tag = tag.sliced(2);
    while (tag.startsWith(u'"'))
        tag = tag.sliced(1);
    while (tag.endsWith(u'"'))
        tag.chop(1);
    constexpr QStringView prefix = u"sha256:";
    if (!tag.startsWith(prefix) || !isValidSHA256(tag.sliced(prefix.size())))
        return std::nullopt;
    return normalizedSHA256(tag.sliced(prefix.size()));
}

} // namespace vorn::TransferProtocol
