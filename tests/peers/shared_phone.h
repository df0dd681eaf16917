// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "transfer/discovered_device.h"

namespace vorn {

/// What discovery lists of a simulated phone in Transfer Mode, where no network announces it.
inline DiscoveredDevice sharedPhone(const QString &name, const QString &catalogURL,
                                    const QString &fingerprint, const QString &sessionId)
{
    DiscoveredDevice device;
    device.serviceName = name;
    device.serviceType = transferServiceType.toString();
    device.catalogURL = QUrl(catalogURL);
    device.address = QHostAddress(device.catalogURL.host());
    device.certificateSHA256 = fingerprint;
    device.sessionId = sessionId;
    device.foregroundOnly = true;
    return device;
}

} // namespace vorn
