// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "net/resolved_service.h"

#include <QHostAddress>
#include <QString>
#include <QUrl>

#include <optional>

namespace vorn {

/// The DNS-SD type of cameras that share their recordings with paired computers.
inline constexpr QStringView transferServiceType = u"_vorn-transfer._tcp.";
/// The type of older cameras, which are listed and cannot pair.
inline constexpr QStringView legacyServiceType = u"_vorn._tcp.";

/// One camera's file server as it advertises itself. Nothing in it is to be trusted.
struct DiscoveredDevice {
    QString serviceName; ///< the DNS-SD instance name
    QUrl catalogURL;     ///< where the catalog is; its origin is the service's host and port
    QString serviceType = legacyServiceType.toString();
    std::optional<QString> deviceId;
    std::optional<QString> sessionId;
    std::optional<QString> certificateSHA256; ///< as advertised, in no particular form
    QString pairPath = QStringLiteral("/vorn/v1/pair");
    bool foregroundOnly = false;
    QHostAddress address; ///< IPv4, what the host name stands for; where a client connects to

    /// Tells rows of a list apart: a camera that begins a new session is a new row.
    [[nodiscard]] QString id() const;
    /// True when it advertises all that pairing needs.
    [[nodiscard]] bool supportsAuthenticatedTransfer() const;
    /// The first half of the fingerprint in groups of four, for comparing by eye, or
    /// "Unavailable".
    [[nodiscard]] QString fingerprintDisplay() const;

    bool operator==(const DiscoveredDevice &) const = default;
};

/// The record of a service. Absent when the service has no host name or port, or when its texts
/// make no address that stays on that host and port.
[[nodiscard]] std::optional<DiscoveredDevice> discoveredDevice(const ResolvedService &service);

} // namespace vorn
