// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <openssl/ssl.h>

#include <memory>

namespace vorn::rig {

/// A fresh key (EC P-256, FIPS 186-5) and the certificate that it signed for itself, ready for
/// connections. Two calls never give the same.
class TlsIdentity {
public:
    /// `name` is the certificate's common name. Throws RigError.
    explicit TlsIdentity(const QString &name);

    /// SHA-256 of the certificate's DER, 64 lower-case hexadecimal characters.
    [[nodiscard]] const QString &fingerprint() const { return m_fingerprint; }

    /// What a server's connections are made from. Throws RigError.
    [[nodiscard]] std::shared_ptr<SSL_CTX> context() const;

private:
    std::shared_ptr<EVP_PKEY> m_key;
    std::shared_ptr<X509> m_certificate;
    QString m_fingerprint;
};

/// The first half of a fingerprint as a phone shows it: eight groups of four, upper case.
[[nodiscard]] QString shownFingerprint(const QString &fingerprint);

} // namespace vorn::rig
