// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/files.h"

#include <QByteArray>
#include <QByteArrayList>

#include <cstdint>

namespace vorn {

/// What a stranger on the phones' side sends by multicast DNS (RFC 6762), right or wrong. Needs the
/// lab.
class MulticastDns {
public:
    static constexpr quint32 usualLifetime = 120; ///< seconds
    static constexpr quint32 goodbye = 0;

    /// From another of the phones' side's addresses, if given.
    explicit MulticastDns(const QString &from = QStringLiteral("10.77.0.26"));

    /// One response with all that was added since the last.
    void send();

    /// The service `name` of `type` exists.
    MulticastDns &pointer(const QByteArray &name, const QString &type,
                          quint32 lifetime = usualLifetime);
    /// It is at a port of a host, such as "phone".
    MulticastDns &server(const QByteArray &name, const QString &type, const QByteArray &host,
                         quint16 port);
    /// What it says of itself.
    MulticastDns &text(const QByteArray &name, const QString &type, const QByteArrayList &strings);
    /// The host is at 10.77.0.`lastByte`, or in another network.
    MulticastDns &address(const QByteArray &host, quint8 lastByte, quint32 network = 0x0A4D'0000);

private:
    MulticastDns &add(const QByteArrayList &labels, quint16 type, quint16 dnsClass,
                      quint32 lifetime, const QByteArray &data);

    FileDescriptor m_socket;
    quint16 m_count = 0;
    QByteArray m_records;
};

} // namespace vorn
