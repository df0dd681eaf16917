// SPDX-License-Identifier: Apache-2.0

#include "https/library_versions.h"

#include <curl/curl.h>
#include <openssl/crypto.h>

namespace vorn {

QString curlVersion()
{
    return QString::fromUtf8(curl_version_info(CURLVERSION_NOW)->version);
}

QString opensslVersion()
{
    return QString::fromUtf8(OpenSSL_version(OPENSSL_VERSION_STRING));
}

} // namespace vorn
