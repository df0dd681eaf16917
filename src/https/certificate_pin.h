// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

struct ssl_ctx_st;

namespace vorn {

/// Lets a TLS connection come about with one certificate only, whoever issued it, and tells
/// afterwards why one did not. Used by one connection attempt at a time.
class CertificatePin {
public:
    /// `sha256` of the leaf's DER form, 64 lower-case hexadecimal characters.
    explicit CertificatePin(QString sha256) : m_sha256(std::move(sha256)) {}

    /// Makes `context` ask this pin, and nothing else, in every handshake; never resume a session,
    /// since that would skip the question; never show a certificate of this side; and write its
    /// keys nowhere. The pin must outlive the context.
    void applyTo(ssl_ctx_st *context);

    /// Before an attempt.
    void forget() noexcept { m_isRefused = m_isAskedForOurs = false; }
    /// The server has shown another certificate.
    [[nodiscard]] bool isRefused() const noexcept { return m_isRefused; }
    /// The server has asked for a certificate of this side.
    [[nodiscard]] bool isAskedForOurs() const noexcept { return m_isAskedForOurs; }

private:
    struct Callbacks;

    QString m_sha256;
    bool m_isRefused = false;
    bool m_isAskedForOurs = false;
};

} // namespace vorn
