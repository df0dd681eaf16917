// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "transfer/transfer_error.h"

#include <QString>
#include <QStringView>
#include <QUrl>

#include <cstdint>
#include <optional>

/// What holds in every exchange with a camera's transfer server, whatever connection carries it.
/// Pure functions, any thread.
namespace vorn::TransferProtocol {

inline constexpr std::int64_t pairingCodeLength = 6; ///< characters
/// Seconds; the longest session that a camera may grant.
inline constexpr double maximumSessionLifetime = 900.0;
/// Bytes; the largest range of one request, which is held in memory whole.
inline constexpr std::int64_t chunkSize = 0x800000;

/// The text of a digest in lower case, without white space, ":" and "-". Not checked.
[[nodiscard]] QString normalizedSHA256(QStringView value);

/// True when the normalised text is 64 hexadecimal characters.
[[nodiscard]] bool isValidSHA256(QStringView value);

/// The first 128 bits of a digest for people to compare, eight groups of four upper-case
/// characters; "Unavailable" when it is no digest.
[[nodiscard]] QString shortFingerprint(QStringView value);

/// Six digits of any script.
[[nodiscard]] bool isValidPairingCode(QStringView value);

/// "scheme://host:port" in lower case, the port always spelled; absent when the address has no
/// scheme, host or port, or is no address.
[[nodiscard]] std::optional<QString> origin(const QUrl &url);

/// Two addresses without an origin count as the same.
[[nodiscard]] bool isSameOrigin(const QUrl &a, const QUrl &b);

/// The address of `path`, which is plain text and not percent-encoded, at the server of `base`.
/// Throws TransferProtocolError.
[[nodiscard]] QUrl endpoint(const QUrl &base, const QString &path);

/// The address of a file that a catalog names, absolute or relative to `catalogURL`. It stays on
/// the catalog's origin, and carries no user name. Throws TransferProtocolError.
[[nodiscard]] QUrl resolvedFileURL(const QString &rawURL, const QUrl &catalogURL);

enum class ClipFile { media, timingSidecar };

/// As resolvedFileURL, for a file whose address must be the route of this clip to the letter.
/// Throws TransferProtocolError.
[[nodiscard]] QUrl resolvedClipURL(const QString &rawURL, const QString &clipId,
                                   const QUrl &catalogURL, ClipFile file);

/// Bytes `start` to `end`, both within, of a file of `total` bytes.
struct ContentRange {
    std::int64_t start = 0;
    std::int64_t end = 0;
    std::int64_t total = 0;

    bool operator==(const ContentRange &) const = default;
};

/// A Content-Range header (RFC 9110 section 14.4) that states range and total; absent when it is
/// none.
[[nodiscard]] std::optional<ContentRange> parseContentRange(QStringView header);

/// The digest in an ETag header of the form "sha256:<digest>", weak or strong, normalised; absent
/// when it holds none.
[[nodiscard]] std::optional<QString> normalizedETagDigest(QStringView header);

} // namespace vorn::TransferProtocol
