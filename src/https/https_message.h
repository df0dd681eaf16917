// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "https/secret_bytes.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <cstdint>
#include <exception>
#include <functional>
#include <optional>
#include <vector>

namespace vorn {

/// One server, and the one certificate that it must show.
struct HttpsOrigin {
    QByteArray host; ///< as its addresses name it, in ASCII
    std::uint16_t port = 0;
    QByteArray address;        ///< dotted IPv4: where the host is; no resolver is asked
    QString certificateSHA256; ///< of the leaf's DER form, 64 lower-case hexadecimal characters
};

/// Status and headers of an answer.
struct HttpsHead {
    struct Header {
        QByteArray name;
        QByteArray value; ///< without surrounding white space
    };

    int status = 0;
    std::vector<Header> headers; ///< as they came, repeated ones too

    [[nodiscard]] int count(QByteArrayView name) const;
    /// The value of a header that stands there once; names match in any case. Absent otherwise.
    [[nodiscard]] std::optional<QString> single(QByteArrayView name) const;
    /// The length of the body in bytes, if it is declared (RFC 9112 section 6.3) without doubt.
    [[nodiscard]] std::optional<std::int64_t> contentLength() const;
};

struct HttpsRequest {
    enum class Method { get, post };

    Method method = Method::get;
    QByteArray target;                 ///< path and query, percent-encoded
    std::vector<SecretBytes> headers;  ///< lines "Name: value", printable ASCII
    SecretBytes body;                  ///< of a post
    std::int64_t maximumBodyBytes = 0; ///< of the answer, which fails at the first byte more
    /// Looks at the head before any of the body is taken; what it throws ends the request and
    /// reaches the asker. Called on another thread.
    std::function<void(const HttpsHead &)> checkHead;
    /// The bytes of the body so far, now and then.
    std::function<void(std::int64_t)> received;
};

struct HttpsAnswer {
    HttpsHead head;
    QByteArray body;
};

/// Why a request got no answer.
class HttpsError : public std::exception {
public:
    enum class Case {
        unsendable,         ///< the request itself: a header or target that is no printable ASCII
        unreachable,        ///< no connection
        timedOut,           ///< silence, or too slow as a whole
        wrongCertificate,   ///< not the pinned one; nothing was sent
        clientCertificate,  ///< the server asked for one, which it never gets
        noSecureConnection, ///< TLS failed for another reason
        lost,               ///< the connection ended before the answer
        notHttp,            ///< what came is no HTTP at all
        malformed,          ///< no sound HTTP, or a form of it that was not asked for
        tooLarge,           ///< headers or body
        closed,             ///< by this side
    };

    explicit HttpsError(Case reason) : m_reason(reason) {}
    [[nodiscard]] Case reason() const noexcept { return m_reason; }
    /// For developers: no part of the exchange.
    [[nodiscard]] const char *what() const noexcept override { return "HTTPS request failed"; }

private:
    Case m_reason;
};

/// Throws HttpsError when the head leaves the length of the body in doubt, as two servers in a row
/// could read it differently (RFC 9112 section 11.2), or when the body is compressed or in parts.
void requireSoundBody(const HttpsHead &head);

} // namespace vorn
