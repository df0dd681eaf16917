// SPDX-License-Identifier: Apache-2.0

#include "multicast_dns.h"

#include "phones_side.h"

#include <QtEndian>

#include <sys/socket.h>

namespace vorn {
namespace {

constexpr quint16 mdnsPort = 5353;
const auto group = QStringLiteral("224.0.0.251");

enum RecordType : quint16 { a = 1, ptr = 12, txt = 16, srv = 33 };
constexpr quint16 internet = 1;
constexpr quint16 internetUnique = 0x8001; // replaces what was known, RFC 6762 section 10.2

QByteArray bigEndian(auto value)
{
    QByteArray bytes(sizeof value, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

QByteArray encoded(const QByteArrayList &labels)
{
    QByteArray name;
    for (const QByteArray &label : labels)
        name += char(label.size()) + label;
    return name + '\0';
}

QByteArrayList labelsOf(const QString &type)
{
    return type.toLatin1().split('.') + QByteArrayList{"local"};
}

} // namespace

MulticastDns::MulticastDns(const QString &from)
    : m_socket(boundOnPhonesSide(SOCK_DGRAM, from, mdnsPort))
{
    const int farthest = 255;
    ::setsockopt(m_socket.get(), IPPROTO_IP, IP_MULTICAST_TTL, &farthest, sizeof farthest);
}

void MulticastDns::send()
{
    const QByteArray header = bigEndian(quint16(0)) + bigEndian(quint16(0x8400))
                              + bigEndian(quint16(0)) + bigEndian(std::exchange(m_count, 0))
                              + bigEndian(quint32(0));
    const QByteArray packet = header + std::exchange(m_records, {});
    const sockaddr_in to = endpoint(group, mdnsPort);
    if (::sendto(m_socket.get(), packet.constData(), std::size_t(packet.size()), 0,
                 reinterpret_cast<const sockaddr *>(&to), sizeof to)
        != packet.size())
        qFatal("cannot send %lld bytes", static_cast<long long>(packet.size()));
}

MulticastDns &MulticastDns::pointer(const QByteArray &name, const QString &type, quint32 lifetime)
{
    const QByteArrayList domain = labelsOf(type);
    return add(domain, ptr, internet, lifetime, encoded(QByteArrayList{name} + domain));
}

MulticastDns &MulticastDns::server(const QByteArray &name, const QString &type,
                                   const QByteArray &host, quint16 port)
{
    // Priority and weight come first.
    return add(QByteArrayList{name} + labelsOf(type), srv, internetUnique, usualLifetime,
               bigEndian(quint32(0)) + bigEndian(port) + encoded({host, "local"}));
}

MulticastDns &MulticastDns::text(const QByteArray &name, const QString &type,
                                 const QByteArrayList &strings)
{
    QByteArray data;
    for (const QByteArray &string : strings)
        data += char(string.size()) + string;
    return add(QByteArrayList{name} + labelsOf(type), txt, internetUnique, usualLifetime, data);
}

MulticastDns &MulticastDns::address(const QByteArray &host, quint8 lastByte, quint32 network)
{
    return add({host, "local"}, a, internetUnique, usualLifetime, bigEndian(network + lastByte));
}

MulticastDns &MulticastDns::add(const QByteArrayList &labels, quint16 type, quint16 dnsClass,
                                quint32 lifetime, const QByteArray &data)
{
    ++m_count;
    m_records += encoded(labels) + bigEndian(type) + bigEndian(dnsClass) + bigEndian(lifetime)
                 + bigEndian(quint16(data.size())) + data;
    return *this;
}

} // namespace vorn
