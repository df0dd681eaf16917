// SPDX-License-Identifier: Apache-2.0

#include "netcheck/network_findings.h"

#include "live/ports.h"

#include <QSet>

#include <algorithm>
#include <array>
#include <chrono>
#include <numeric>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace vorn {
namespace {

const auto joinTheWifi = u"Join the Wi-Fi that the phones are on."_s;
const auto openVorn = u"Keep VORN open in the foreground on each phone, on the same Wi-Fi."_s;

NetworkFinding titled(const QString &title)
{
    NetworkFinding finding;
    finding.title = title;
    return finding;
}

/// Roughly, as it is said.
QString ago(MonotonicClock::time_point then, MonotonicClock::time_point now)
{
    const auto seconds = std::max<std::int64_t>(
        0, std::chrono::duration_cast<std::chrono::seconds>(now - then).count());
    if (seconds < 120)
        return u"%1 s ago"_s.arg(seconds);
    return seconds < 7200 ? u"%1 min ago"_s.arg(seconds / 60) : u"%1 h ago"_s.arg(seconds / 3600);
}

QString counted(quint64 count, const QString &one, const QString &many)
{
    return u"%1 %2"_s.arg(count).arg(count == 1 ? one : many);
}

QString placeOf(const NetworkLink &link)
{
    return u"%1/%2"_s.arg(link.address).arg(link.prefixLength);
}

QString networkOf(const NetworkLink &link)
{
    const auto subnet =
        QHostAddress::parseSubnet(u"%1/%2"_s.arg(link.address).arg(link.prefixLength));
    const int bits = 32 - link.prefixLength;
    const quint32 mask = bits >= 32 ? 0 : ~quint32{0} << bits;
    return u"%1/%2"_s.arg(QHostAddress(subnet.first.toIPv4Address() & mask).toString())
        .arg(link.prefixLength);
}

/// The links that lead somewhere now.
std::vector<NetworkLink> linksThatWork(const NetworkFacts &facts)
{
    std::vector<NetworkLink> links;
    for (const LocalInterface &interface :
         facts.system.interfaces.value_or(std::vector<LocalInterface>{})) {
        if (interface.exclusion == LinkExclusion::none && interface.link.hasCarrier)
            links.push_back(interface.link);
    }
    return links;
}

bool isAnythingHeard(const NetworkFacts &facts)
{
    return facts.listening.datagrams.of(DatagramFate::heard) > 0;
}

NetworkFinding portFinding(const NetworkFacts &facts)
{
    NetworkFinding finding = titled(u"Port %1"_s.arg(statusPort));
    QStringList others;
    for (const PortUser &user : facts.system.statusPortUsers.value_or(std::vector<PortUser>{})) {
        if (!user.isThisProcess)
            others.append(user.program.isEmpty() ? u"another user's program"_s
                                                 : u"“%1”"_s.arg(user.program));
    }
    others.removeDuplicates();
    const bool isOpen = facts.listening.listeningSince.has_value();
    finding.isGood = isOpen && others.isEmpty();
    if (finding.isGood) {
        finding.statement = u"Open: status packets can come in."_s;
    } else if (isOpen) {
        finding.statement =
            u"Open, and shared with %1: answers of phones may go there."_s.arg(others.join(u", "));
        finding.advice = u"End that program."_s;
    } else if (others.isEmpty()) {
        finding.statement = facts.listeningProblem;
        finding.advice = u"Close programs that you do not need, or restart the computer. While "
                         "this page is open, it tries again by itself."_s;
    } else {
        finding.statement =
            u"%1 It is used by %2."_s.arg(facts.listeningProblem, others.join(u", "));
        finding.advice = u"End that program. While this page is open, it tries again by itself."_s;
    }
    return finding;
}

NetworkFinding linkFinding(const ListenedLink &listened, const ListeningReport &report)
{
    NetworkFinding finding = titled(u"Network %1"_s.arg(listened.link.name));
    const QString place = placeOf(listened.link);
    if (!listened.link.hasCarrier) {
        finding.isGood = false;
        finding.statement = u"%1 has no signal."_s.arg(place);
        finding.advice = u"Plug the cable in, or join the Wi-Fi again."_s;
    } else if (!report.listeningSince) {
        finding.isGood = false;
        finding.statement = u"%1 cannot be listened on while the port is not open."_s.arg(place);
        finding.advice = u"See the port, above."_s;
    } else if (!listened.isJoined) {
        finding.isGood = false;
        finding.statement =
            u"%1 is listened on, but its multicast group could not be joined."_s.arg(place);
        finding.advice = u"Leave this network and join it again."_s;
    } else if (listened.since > *report.listeningSince + 1s) {
        finding.statement = u"%1 came up %2 and is listened on since then, multicast joined."_s.arg(
            place, ago(listened.since, report.made));
    } else {
        finding.statement = u"%1 is listened on, multicast joined."_s.arg(place);
    }
    return finding;
}

void addLinkFindings(const NetworkFacts &facts, std::vector<NetworkFinding> &findings)
{
    const std::vector<ListenedLink> &listened = facts.listening.links;
    for (const ListenedLink &link : listened)
        findings.push_back(linkFinding(link, facts.listening));
    for (const NetworkLink &link : linksThatWork(facts)) {
        if (std::ranges::find(listened, link, &ListenedLink::link) != listened.end())
            continue;
        findings.push_back(
            {.title = u"Network %1"_s.arg(link.name),
             .isGood = false,
             .statement = u"%1 has come up and is not listened on yet."_s.arg(placeOf(link)),
             .advice = u"Wait a moment; if this stays, restart VORN Desktop."_s});
    }
}

QString reasonOf(LinkExclusion exclusion)
{
    switch (exclusion) {
    case LinkExclusion::none:
        return {};
    case LinkExclusion::tunnel:
        return u"tunnel or mobile link"_s;
    case LinkExclusion::container:
        return u"containers or virtual machines"_s;
    case LinkExclusion::loopback:
        return u"this computer itself"_s;
    case LinkExclusion::down:
        return u"switched off"_s;
    case LinkExclusion::pointToPoint:
        return u"leads to one other computer only"_s;
    case LinkExclusion::noAddress:
        return u"no IPv4 address"_s;
    }
    Q_UNREACHABLE();
}

NetworkFinding leftOutFinding(const NetworkFacts &facts)
{
    NetworkFinding finding = titled(u"Left out"_s);
    if (!facts.system.interfaces) {
        finding.isGood = false;
        finding.statement = u"The system does not tell which networks there are."_s;
        finding.advice = u"Close programs that you do not need, or restart the computer."_s;
        return finding;
    }
    QStringList left;
    for (const LocalInterface &interface : *facts.system.interfaces) {
        if (interface.exclusion != LinkExclusion::none)
            left.append(u"%1 (%2)"_s.arg(interface.link.name, reasonOf(interface.exclusion)));
    }
    left.removeDuplicates(); // of one with several addresses
    finding.isGood = !linksThatWork(facts).empty();
    finding.statement = left.isEmpty() ? u"Nothing."_s : left.join(u", ") + u'.';
    if (!finding.isGood) {
        finding.statement += u" There is no network where phones could be."_s;
        finding.advice = joinTheWifi;
    }
    return finding;
}

NetworkFinding packetsFinding(const NetworkFacts &facts)
{
    static const std::array<std::pair<DatagramFate, QString>, 9> refusals{{
        {DatagramFate::unreadable, u"unreadable"_s},
        {DatagramFate::otherVersion, u"of another version"_s},
        {DatagramFate::otherType, u"of another kind"_s},
        {DatagramFate::badSender, u"without a usable sender"_s},
        {DatagramFate::tooLong, u"too long"_s},
        {DatagramFate::beyond, u"from beyond the local networks"_s},
        {DatagramFate::noRoom, u"from more cameras than can be listed"_s},
        {DatagramFate::badAnswer, u"no valid answer"_s},
        {DatagramFate::nobodyWaiting, u"answers that nobody waits for"_s},
    }};
    const DatagramCounts &counts = facts.listening.datagrams;
    const quint64 all = std::reduce(counts.byFate.begin(), counts.byFate.end(), quint64{0});
    QStringList refused;
    for (const auto &[fate, words] : refusals) {
        if (counts.of(fate) > 0)
            refused.append(u"%1 %2"_s.arg(counts.of(fate)).arg(words));
    }
    NetworkFinding finding = titled(u"Status packets"_s);
    finding.isGood = isAnythingHeard(facts);
    finding.statement =
        counted(all, u"packet"_s, u"packets"_s)
        + u" in the last minute, %1 of them new."_s.arg(counts.of(DatagramFate::heard));
    if (!refused.isEmpty())
        finding.statement += u" Refused: %1."_s.arg(refused.join(u", "));
    if (finding.isGood)
        return finding;
    finding.advice = counts.of(DatagramFate::otherVersion) > 0
                         ? u"Update VORN on the phones and this program, so that both speak one "
                           "version."_s
                         : openVorn;
    return finding;
}

NetworkFinding scanFinding(const NetworkFacts &facts)
{
    NetworkFinding finding = titled(u"Last scan"_s);
    const auto &scan = facts.listening.lastScan;
    if (!scan) {
        finding.statement = facts.cameras.empty()
                                ? u"None yet."_s
                                : u"None was needed: cameras tell of themselves."_s;
        return finding;
    }
    const QString when = ago(scan->begun, facts.listening.made);
    if (scan->asked == 0) {
        finding.isGood = !facts.cameras.empty();
        finding.statement = u"%1: nobody to ask, since no network is a private one (10.*, "
                            "172.16.* to 172.31.*, 192.168.*)."_s.arg(when);
        finding.advice = finding.isGood ? QString() : joinTheWifi;
        return finding;
    }
    finding.isGood = scan->isRunning || scan->answered > 0 || !facts.cameras.empty();
    finding.statement = u"%1: %2 asked, %3 answered%4."_s.arg(when)
                            .arg(counted(scan->asked, u"address"_s, u"addresses"_s))
                            .arg(scan->answered)
                            .arg(scan->isRunning ? u" so far"_s : QString());
    if (!finding.isGood)
        finding.advice = openVorn;
    return finding;
}

NetworkFinding servicesFinding(const NetworkFacts &facts)
{
    NetworkFinding finding = titled(u"File servers (DNS-SD)"_s);
    const QString listed = counted(quint64(facts.fileServers), u"phone"_s, u"phones"_s);
    switch (facts.services) {
    case ServiceSource::daemon:
        finding.statement =
            u"Looked for through this computer's Avahi daemon; %1 listed."_s.arg(listed);
        break;
    case ServiceSource::embedded:
        finding.statement =
            u"Looked for by VORN itself, since no Avahi daemon answers; %1 listed."_s.arg(listed);
        break;
    case ServiceSource::none:
        finding.isGood = false;
        finding.statement = u"Nobody can be asked: no network lets multicast DNS (UDP port 5353) "
                            "through."_s;
        finding.advice = u"Join a network, or start avahi-daemon."_s;
        break;
    }
    return finding;
}

/// What nobody but the administrator can read is told by what does not come in.
NetworkFinding firewallFinding(const NetworkFacts &facts)
{
    NetworkFinding finding = titled(u"Firewall"_s);
    const QString names = facts.system.firewalls.join(u" and "_s);
    const auto &scan = facts.listening.lastScan;
    if (isAnythingHeard(facts)) {
        finding.statement = names.isEmpty() ? u"Status packets come in."_s
                                            : u"%1 is on, and status packets come in."_s.arg(names);
        return finding;
    }
    if (!names.isEmpty()) {
        finding.isGood = false;
        finding.statement = u"%1 is on and may keep status packets out."_s.arg(names);
        finding.advice =
            facts.system.firewalls.contains(u"ufw"_s)
                ? u"Let them in: sudo ufw allow \"VORN Desktop\""_s
                : u"Let them in: sudo firewall-cmd --permanent --add-service=vorn-desktop && sudo "
                  "firewall-cmd --reload"_s;
    } else if (scan && scan->answered > 0) {
        finding.isGood = false;
        finding.statement = u"Phones answer when they are asked, but their packets do not come in: "
                            "a firewall or the access point keeps them out."_s;
        finding.advice = u"Let UDP ports 45454 and 5353 in, and multicast through."_s;
    } else {
        finding.statement = u"Neither ufw nor firewalld was found to be on."_s;
    }
    return finding;
}

NetworkFinding severalNetworksFinding(const NetworkFacts &facts)
{
    NetworkFinding finding = titled(u"Several networks"_s);
    QStringList networks;
    for (const NetworkLink &link : linksThatWork(facts))
        networks.append(networkOf(link));
    networks.removeDuplicates();
    if (networks.size() < 2) {
        finding.statement =
            networks.isEmpty() ? u"This computer is on none."_s : u"This computer is on one."_s;
        return finding;
    }
    finding.isGood = !facts.cameras.empty();
    finding.statement =
        u"This computer is on %1, and listens on all of them."_s.arg(networks.join(u" and "_s));
    if (!finding.isGood)
        finding.advice = u"Make sure that the phones are on one of them."_s;
    return finding;
}

/// Whether what goes to phones leaves by the network that they are on.
NetworkFinding routeFinding(const NetworkFacts &facts)
{
    NetworkFinding finding = titled(u"Virtual private network"_s);
    const auto interfaces = facts.system.interfaces.value_or(std::vector<LocalInterface>{});
    const auto byAddress = [&](const QString &address) {
        return std::ranges::find_if(interfaces, [&](const LocalInterface &interface) {
            return interface.link.address == address;
        });
    };
    QStringList taken;
    for (const auto &[destination, source] : facts.system.sources) {
        const auto own = byAddress(destination);
        const QString where = own == interfaces.end() ? destination : networkOf(own->link);
        const auto way = byAddress(source);
        if (source.isEmpty())
            taken.append(u"no way is known to %1"_s.arg(where));
        else if (way != interfaces.end() && way->exclusion == LinkExclusion::tunnel)
            taken.append(u"what goes to %1 leaves by %2"_s.arg(where, way->link.name));
    }
    QStringList tunnels;
    for (const LocalInterface &interface : interfaces) {
        if (interface.exclusion == LinkExclusion::tunnel && !interface.link.address.isEmpty())
            tunnels.append(interface.link.name);
    }
    tunnels.removeDuplicates();
    finding.isGood = taken.isEmpty();
    if (!finding.isGood) {
        QString text = taken.join(u"; ");
        text[0] = text[0].toUpper();
        finding.statement = text + u'.';
        finding.advice =
            u"Switch the virtual private network off, or let it leave the local network alone."_s;
    } else if (tunnels.isEmpty()) {
        finding.statement = u"None is on."_s;
    } else {
        finding.statement =
            u"%1 is on and leaves the local networks alone."_s.arg(tunnels.join(u" and "_s));
    }
    return finding;
}

NetworkFinding previewFinding(const HeardCamera &camera, Reach reach)
{
    NetworkFinding finding = titled(u"Previews"_s);
    finding.isGood = reach == Reach::answered || reach == Reach::untried;
    const QString who =
        camera.name.isEmpty() ? camera.host : u"%1 (%2)"_s.arg(camera.name, camera.host);
    switch (reach) {
    case Reach::untried:
        finding.statement = u"%1 is heard, and is being tried."_s.arg(who);
        break;
    case Reach::answered:
        finding.statement = u"%1 is heard and can be reached."_s.arg(who);
        break;
    case Reach::unreachable:
        finding.statement = u"%1 is heard but cannot be reached."_s.arg(who);
        finding.advice = u"The access point may keep its guests apart (client isolation): use "
                         "another network, or have that switched off."_s;
        break;
    case Reach::refused:
    case Reach::silent:
        finding.statement = u"%1 is heard but gives no previews."_s.arg(who);
        finding.advice = u"Bring VORN to the foreground on that phone."_s;
        break;
    }
    return finding;
}

void addPreviewFindings(const NetworkFacts &facts, std::vector<NetworkFinding> &findings)
{
    for (const HeardCamera &camera : facts.cameras) {
        const auto reach = facts.listening.reach.find(camera.host);
        findings.push_back(previewFinding(
            camera, reach == facts.listening.reach.end() ? Reach::untried : reach->second));
    }
    if (facts.cameras.empty())
        findings.push_back({.title = u"Previews"_s,
                            .isGood = false,
                            .statement = u"No camera is heard."_s,
                            .advice = openVorn});
}

} // namespace

std::vector<NetworkFinding> networkFindings(const NetworkFacts &facts)
{
    std::vector<NetworkFinding> findings{portFinding(facts)};
    addLinkFindings(facts, findings);
    findings.push_back(leftOutFinding(facts));
    findings.push_back(packetsFinding(facts));
    findings.push_back(scanFinding(facts));
    addPreviewFindings(facts, findings);
    findings.push_back(servicesFinding(facts));
    findings.push_back(firewallFinding(facts));
    if (facts.system.interfaces) {
        findings.push_back(severalNetworksFinding(facts));
        findings.push_back(routeFinding(facts));
    }
    return findings;
}

} // namespace vorn
