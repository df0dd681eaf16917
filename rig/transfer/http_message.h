// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <functional>
#include <optional>
#include <span>
#include <utility>

/// HTTP/1.1 (RFC 9112) as far as a phone speaks it.
namespace vorn::rig {

struct HttpHeader {
    QByteArray name;
    QByteArray value;

    bool operator==(const HttpHeader &) const = default;
};

struct HttpRequest {
    QByteArray method;
    QByteArray target;
    QList<HttpHeader> headers;
    QByteArray body;

    /// The value of the header of that name, in any case; absent also when it stands there twice.
    [[nodiscard]] std::optional<QByteArray> header(QByteArrayView name) const;
};

/// Cuts the bytes of a connection into requests.
class HttpRequestReader {
public:
    void add(const QByteArray &bytes) { m_pending += bytes; }

    /// The next request, once it is there whole. Throws RigError for what is none, for a head or a
    /// body of more than 64 KiB and for a body of unknown length.
    [[nodiscard]] std::optional<HttpRequest> next();

private:
    QByteArray m_pending;
};

/// Fills the span with the bytes of a file from that place on.
using ContentReader = std::function<void(qint64 offset, std::span<char> into)>;

/// Gives bytes that are in memory.
[[nodiscard]] ContentReader contentOf(const QByteArray &bytes);

/// How the body of an answer goes out.
enum class BodyManner {
    whole,
    chunked, ///< in chunks, without Content-Length
    endless, ///< in chunks, over and over
    cut,     ///< the connection is reset after `goodBytes`
    ended,   ///< the connection ends after `goodBytes`
    hanging, ///< nothing more comes after `goodBytes`
};

struct HttpAnswer {
    int status = 200;
    QList<HttpHeader> headers;
    ContentReader content = contentOf({});
    qint64 offset = 0; ///< the body begins there in the content
    qint64 length = 0; ///< bytes of the body
    BodyManner manner = BodyManner::whole;
    qint64 goodBytes = 0;
    qint64 bytesPerSecond = 0; ///< 0: as fast as it goes
    bool isSilent = false;     ///< nothing is answered at all
    bool endsSession = false;  ///< what the phone does once it has answered

    /// Status line and headers; Content-Length or Transfer-Encoding stand among them.
    [[nodiscard]] QByteArray head() const;
};

/// An answer with a text as its body.
[[nodiscard]] HttpAnswer textAnswer(int status, const QByteArray &type, const QByteArray &text);

/// What a Range header (RFC 9110 section 14.2) asks of so many bytes: first and last. Absent for
/// several ranges, other units, and what lies beyond the end.
[[nodiscard]] std::optional<std::pair<qint64, qint64>> requestedRange(const QByteArray &header,
                                                                      qint64 total);

} // namespace vorn::rig
