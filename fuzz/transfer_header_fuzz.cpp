// SPDX-License-Identifier: Apache-2.0

// Any text as a header of an answer, a path of an announcement or an address of a catalog: it is
// refused, or it means what it says, and no address leaves the camera.

#include "check.h"
#include "transfer/transfer_protocol.h"

#include <optional>

using namespace Qt::StringLiterals;
using namespace vorn;
namespace transfer = vorn::TransferProtocol;

namespace {

const QUrl catalogURL(u"https://cam-1.local:8443/vorn/v1/catalog"_s);

void checkHeaders(const QString &text)
{
    if (const auto range = transfer::parseContentRange(text)) {
        check(0 <= range->start && range->start <= range->end && range->end < range->total,
              "a range lies within the file");
        check(transfer::parseContentRange(
                  u"bytes %1-%2/%3"_s.arg(range->start).arg(range->end).arg(range->total))
                  == range,
              "a range reads back");
    }
    if (const auto digest = transfer::normalizedETagDigest(text)) {
        check(transfer::isValidSHA256(*digest) && transfer::normalizedSHA256(*digest) == *digest,
              "a tag's digest is a digest");
        check(transfer::normalizedETagDigest(u"\"sha256:"_s + *digest + u'"') == digest,
              "a tag reads back");
    }
    const QString normalized = transfer::normalizedSHA256(text);
    const bool isDigest = transfer::isValidSHA256(text);
    check(transfer::isValidSHA256(normalized) == isDigest, "normalising once is enough");
    check(!isDigest || normalized.size() == 64, "a digest has 64 characters");
    check(transfer::shortFingerprint(text).size() == (isDigest ? 39 : 11),
          "a fingerprint has one form");
    check(!transfer::isValidPairingCode(text) || text.toUcs4().size() == 6,
          "a code has six digits");
}

void checkAddress(const QUrl &url)
{
    const QString text = url.toString(QUrl::FullyEncoded);
    constexpr QStringView origin = u"https://cam-1.local:8443";
    const QString rest = text.sliced(text.startsWith(origin) ? origin.size() : 0);
    check(text.startsWith(origin) && (rest.isEmpty() || u"/?#"_s.contains(rest[0])),
          "an address stays on the origin");
    check(transfer::isSameOrigin(QUrl(text, QUrl::StrictMode), catalogURL),
          "an address reads back on the origin");
    for (const QChar c : text)
        check(c > u' ' && c <= u'~', "an address is printable ASCII");
}

/// What `resolve` gives, unless it refuses.
template <class Resolve> std::optional<QUrl> accepted(const Resolve &resolve)
{
    try {
        return resolve();
    } catch (const TransferProtocolError &) {
        return std::nullopt;
    }
}

void checkAddresses(const QString &text)
{
    const QUrl endpoint = transfer::endpoint(catalogURL, text);
    checkAddress(endpoint);
    check(!endpoint.hasQuery() && !endpoint.hasFragment(), "an endpoint is a path alone");
    if (const auto url = accepted([&] { return transfer::resolvedFileURL(text, catalogURL); }))
        checkAddress(*url);
    const auto clipId = u"0000000a-0000-4000-8000-00000000000b"_s;
    const auto clipURL = accepted([&] {
        return transfer::resolvedClipURL(text, clipId, catalogURL, transfer::ClipFile::media);
    });
    check(!clipURL
              || clipURL->toString(QUrl::FullyEncoded)
                     == u"https://cam-1.local:8443/vorn/v1/files/"_s + clipId,
          "a clip has one route");
}

void checkText(const QString &text)
{
    checkHeaders(text);
    checkAddresses(text);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    checkText(QString::fromUtf8(inputBytes(data, size)));
    checkText(inputUnits(data, size));
    return 0;
}
