// SPDX-License-Identifier: Apache-2.0

#include "https/certificate_pin.h"

#include "base/digest.h"

#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <vector>

namespace vorn {
namespace {

/// Of the DER form; empty when there is no certificate.
QString fingerprint(X509 *certificate)
{
    const int size = certificate ? i2d_X509(certificate, nullptr) : 0;
    if (size <= 0)
        return {};
    std::vector<unsigned char> der(std::size_t{unsigned(size)});
    unsigned char *end = der.data();
    i2d_X509(certificate, &end);
    Sha256 digest;
    digest.add(std::as_bytes(std::span(der)));
    return digest.finish();
}

} // namespace

/// Called by OpenSSL, and so without exceptions on their way out.
struct CertificatePin::Callbacks {
    static int verify(X509_STORE_CTX *store, void *argument)
    {
        auto &pin = *static_cast<CertificatePin *>(argument);
        bool isExpected = false;
        try {
            isExpected = fingerprint(X509_STORE_CTX_get0_cert(store)) == pin.m_sha256;
        } catch (...) {
            isExpected = false; // out of memory
        }
        pin.m_isRefused = !isExpected;
        X509_STORE_CTX_set_error(store, isExpected ? X509_V_OK : X509_V_ERR_CERT_REJECTED);
        return isExpected ? 1 : 0;
    }

    static int showNone(SSL *, void *argument)
    {
        static_cast<CertificatePin *>(argument)->m_isAskedForOurs = true;
        return 0; // ends the handshake
    }
};

void CertificatePin::applyTo(ssl_ctx_st *context)
{
    SSL_CTX_set_verify(context, SSL_VERIFY_PEER, nullptr);
    SSL_CTX_set_cert_verify_callback(context, &Callbacks::verify, this);
    SSL_CTX_set_cert_cb(context, &Callbacks::showNone, this);
    SSL_CTX_set_session_cache_mode(context, SSL_SESS_CACHE_OFF);
    SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION);
    // What was read is overwritten at once: an answer may hold a token.
    SSL_CTX_set_options(context,
                        SSL_OP_NO_TICKET | SSL_OP_NO_RENEGOTIATION | SSL_OP_CLEANSE_PLAINTEXT);
    // An environment variable would otherwise name a file for the keys.
    SSL_CTX_set_keylog_callback(context, nullptr);
}

} // namespace vorn
