// SPDX-License-Identifier: Apache-2.0

#include "rig/transfer/tls_identity.h"

#include "rig/base/rig_error.h"

#include <QByteArray>
#include <QCryptographicHash>
#include <QRandomGenerator>
#include <QStringList>

#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

namespace vorn::rig {

using namespace Qt::StringLiterals;

namespace {

constexpr long secondsOfADay = 86'400;

void require(bool isDone)
{
    if (!isDone)
        throw RigError(u"OpenSSL cannot make a certificate."_s);
}

QByteArray derOf(X509 *certificate)
{
    unsigned char *bytes = nullptr;
    const int count = i2d_X509(certificate, &bytes);
    require(count > 0);
    const QByteArray der(reinterpret_cast<const char *>(bytes), count);
    OPENSSL_free(bytes);
    return der;
}

} // namespace

TlsIdentity::TlsIdentity(const QString &name)
    : m_key(EVP_EC_gen("P-256"), EVP_PKEY_free), m_certificate(X509_new(), X509_free)
{
    require(m_key && m_certificate);
    X509 *certificate = m_certificate.get();
    const QByteArray commonName = name.toUtf8();
    X509_NAME *subject = X509_get_subject_name(certificate);
    const auto serial = qint64(1 + (QRandomGenerator::system()->generate64() >> 2));
    require(X509_set_version(certificate, X509_VERSION_3) == 1
            && ASN1_INTEGER_set_int64(X509_get_serialNumber(certificate), serial) == 1
            && X509_gmtime_adj(X509_getm_notBefore(certificate), -secondsOfADay)
            && X509_gmtime_adj(X509_getm_notAfter(certificate), secondsOfADay)
            && X509_set_pubkey(certificate, m_key.get()) == 1
            && X509_NAME_add_entry_by_txt(
                   subject, "CN", MBSTRING_UTF8,
                   reinterpret_cast<const unsigned char *>(commonName.constData()),
                   int(commonName.size()), -1, 0)
                   == 1
            && X509_set_issuer_name(certificate, subject) == 1
            && X509_sign(certificate, m_key.get(), EVP_sha256()) > 0);
    const QByteArray digest =
        QCryptographicHash::hash(derOf(certificate), QCryptographicHash::Sha256);
    m_fingerprint = QString::fromLatin1(digest.toHex());
}

std::shared_ptr<SSL_CTX> TlsIdentity::context() const
{
    std::shared_ptr<SSL_CTX> context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
    require(context && SSL_CTX_use_certificate(context.get(), m_certificate.get()) == 1
            && SSL_CTX_use_PrivateKey(context.get(), m_key.get()) == 1);
    SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION);
    SSL_CTX_set_mode(context.get(),
                     SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    return context;
}

QString shownFingerprint(const QString &fingerprint)
{
    QStringList groups;
    for (int offset = 0; offset < 32; offset += 4)
        groups += fingerprint.sliced(offset, 4).toUpper();
    return groups.join(u' ');
}

} // namespace vorn::rig
