// SPDX-License-Identifier: Apache-2.0

// Any TXT record, and any host name, as a service that was resolved: the record stays on the host
// and port, and reads the same from its text. The first line is the host name; each other line is
// a string of the TXT record.

#include "base/text_form.h"
#include "check.h"
#include "transfer/discovered_device.h"

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

void checkDevice(const DiscoveredDevice &device, const ResolvedService &service)
{
    const QUrl url = device.catalogURL;
    QString host = service.hostName;
    if (host.endsWith(u'.'))
        host.chop(1);
    check(url.isValid() && !url.scheme().isEmpty(), "the address is whole");
    // In the form that letters other than ASCII have there.
    check(url.host(QUrl::FullyEncoded) == QString::fromLatin1(QUrl::toAce(host)),
          "the host is the service's");
    check(url.port() == service.port, "the port is the service's");
    check(url.userInfo().isEmpty() && !url.hasQuery() && !url.hasFragment(),
          "there is no more to the address than a path");
    check(url.path().startsWith(u'/') && device.pairPath.startsWith(u'/'), "paths are absolute");

    const QUrl again(url.toString(QUrl::FullyEncoded), QUrl::StrictMode);
    check(again.isValid() && again.scheme() == url.scheme() && again.host() == url.host()
              && again.port() == url.port() && again.path() == url.path()
              && again.userInfo().isEmpty() && !again.hasQuery() && !again.hasFragment(),
          "the text of the address is the same address");
    check(!device.supportsAuthenticatedTransfer()
              || (service.type == transferServiceType && url.scheme() == u"https"
                  && device.fingerprintDisplay().size() == 39),
          "who can pair shows a fingerprint");
    check(discoveredDevice(service) == device, "the same service is the same record");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    QByteArrayList lines = inputBytes(data, size).split('\n');
    const QString host = utf8Text(lines.takeFirst()).value_or(QString());
    for (const QStringView type : {transferServiceType, legacyServiceType}) {
        const ResolvedService service{.name = u"Camera"_s,
                                      .type = type.toString(),
                                      .hostName = host,
                                      .address = QHostAddress(u"10.0.0.2"_s),
                                      .port = 8443,
                                      .txt = lines};
        if (const auto device = discoveredDevice(service))
            checkDevice(*device, service);
    }
    return 0;
}
