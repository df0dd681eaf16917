// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QHostAddress>
#include <QString>

#include <cstdint>
#include <optional>

namespace vorn {

/// Through what services are looked for: nothing, the machine's DNS-SD daemon, or a stack of our
/// own.
enum class ServiceSource { none, daemon, embedded };

/// What DNS-SD tells of one service (RFC 6763). All of it is text from a stranger, as received.
struct ResolvedService {
    QString name;         ///< of the instance
    QString type;         ///< with its trailing dot, such as "_http._tcp."
    QString hostName;     ///< empty when there is none
    QHostAddress address; ///< IPv4
    std::uint16_t port = 0;
    QByteArrayList txt; ///< the strings of its TXT record, in their order

    bool operator==(const ResolvedService &) const = default;
};

/// What is newly known of a service.
struct ServiceChange {
    QString name;
    QString type;                           ///< as it was asked for
    std::optional<ResolvedService> service; ///< absent: it is gone
};

/// The value of an attribute (RFC 6763 section 6.4): keys match in any case, and the first of two
/// counts. Absent when the key is missing, has no value, or the value is no valid UTF-8.
[[nodiscard]] std::optional<QString> txtValue(const QByteArrayList &txt, QByteArrayView key);

} // namespace vorn
