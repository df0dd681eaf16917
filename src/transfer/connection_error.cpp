// SPDX-License-Identifier: Apache-2.0

#include "transfer/connection_error.h"

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

QString sentence(HttpsError::Case reason)
{
    using Case = HttpsError::Case;
    switch (reason) {
    case Case::unsendable:
        return u"The request to the camera holds characters that cannot be sent."_s;
    case Case::unreachable:
        return u"The camera cannot be reached. Check that it is on this network and that its "
               u"transfer is open."_s;
    case Case::timedOut:
        return u"The camera did not answer in time."_s;
    case Case::wrongCertificate:
        return u"The camera's certificate is not the one that was confirmed."_s;
    case Case::clientCertificate:
        return u"The camera asked this computer for a certificate, which it never gives."_s;
    case Case::noSecureConnection:
        return u"No secure connection to the camera could be made."_s;
    case Case::lost:
        return u"The connection to the camera was lost."_s;
    case Case::notHttp:
    case Case::malformed:
        return u"The camera's answer is not valid, or in a form that was not asked for."_s;
    case Case::tooLarge:
        return u"The camera's answer is larger than it may be."_s;
    case Case::closed:
        return u"The connection to the camera was closed."_s;
    }
    Q_UNREACHABLE();
}

} // namespace

TransferConnectionError connectionError(const HttpsError &error)
{
    return TransferConnectionError(sentence(error.reason()));
}

} // namespace vorn
