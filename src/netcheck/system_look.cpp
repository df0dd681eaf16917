// SPDX-License-Identifier: Apache-2.0

#include "netcheck/system_look.h"

#include "live/ports.h"
#include "net/ipv4_socket.h"

#include <QFile>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

/// Their rules are for the administrator alone to read.
QStringList firewallsThatAreOn()
{
    QStringList found;
    QFile settings(u"/etc/ufw/ufw.conf"_s);
    if (settings.open(QIODevice::ReadOnly) && isUfwEnabled(QString::fromUtf8(settings.readAll())))
        found.append(u"ufw"_s);
    if (isProgramRunning(u"firewalld"_s))
        found.append(u"firewalld"_s);
    return found;
}

} // namespace

QString neighbourOf(const NetworkLink &link)
{
    constexpr int longestPrefixWithNeighbours = 30;
    if (link.prefixLength < 1 || link.prefixLength > longestPrefixWithNeighbours)
        return {};
    const quint32 own = QHostAddress(link.address).toIPv4Address();
    const quint32 network = own & (~quint32{0} << (32 - link.prefixLength));
    const quint32 first = network + 1;
    return QHostAddress(first == own ? first + 1 : first).toString();
}

bool isUfwEnabled(const QString &settings)
{
    return std::ranges::any_of(settings.split(u'\n'), [](const QString &line) {
        return line.trimmed().compare(u"ENABLED=yes", Qt::CaseInsensitive) == 0;
    });
}

SystemLook lookAtSystem(const std::vector<QString> &hosts)
{
    SystemLook look{.interfaces = localInterfaces(),
                    .sources = {},
                    .statusPortUsers = udpPortUsers(statusPort),
                    .firewalls = firewallsThatAreOn()};
    for (const QString &host : hosts)
        look.sources.insert_or_assign(host, sourceAddressTo(host).value_or(QString()));
    for (const LocalInterface &interface :
         look.interfaces.value_or(std::vector<LocalInterface>{})) {
        const QString neighbour = neighbourOf(interface.link);
        if (interface.exclusion == LinkExclusion::none && !neighbour.isEmpty())
            look.sources.insert_or_assign(interface.link.address,
                                          sourceAddressTo(neighbour).value_or(QString()));
    }
    return look;
}

} // namespace vorn
