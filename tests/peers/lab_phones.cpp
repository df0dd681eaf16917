// SPDX-License-Identifier: Apache-2.0

#include "lab_phones.h"

#include "phones_side.h"

#include <poll.h>
#include <sys/socket.h>

using namespace Qt::StringLiterals;

namespace vorn {

FileDescriptor phoneSocket(const QString &host)
{
    return boundOnPhonesSide(SOCK_DGRAM, host, 45454);
}

void sendToGroup(const FileDescriptor &phone, const QByteArray &data)
{
    sendTo(phone, u"239.255.71.42"_s, data);
}

void sendTo(const FileDescriptor &phone, const QString &host, const QByteArray &data)
{
    const sockaddr_in to = endpoint(host, 45454);
    // A full queue or a cable that is out is nothing to a phone.
    static_cast<void>(::sendto(phone.get(), data.constData(), std::size_t(data.size()), 0,
                               reinterpret_cast<const sockaddr *>(&to), sizeof to));
}

QByteArray receivedBy(const FileDescriptor &phone)
{
    pollfd waiting{.fd = phone.get(), .events = POLLIN, .revents = 0};
    if (::poll(&waiting, 1, 5000) != 1)
        return {};
    QByteArray data(65536, '\0');
    data.resize(::recv(phone.get(), data.data(), std::size_t(data.size()), 0));
    return data;
}

PhoneServer::PhoneServer(const QString &host, Serve serve)
    : TcpServer(boundOnPhonesSide(SOCK_STREAM, host, 45455), std::move(serve))
{
}

namespace {

// All of the lab's network but the desktop's and the phones' ends.
void setNeighbours(const QString &verb)
{
    for (const auto &network : {u"10.77.0.32/27"_s, u"10.77.0.64/26"_s, u"10.77.0.128/25"_s})
        ipBeyond(u"route %1 local %2 dev lab1"_s.arg(verb, network));
}

} // namespace

LabNeighbours::LabNeighbours()
{
    setNeighbours(u"add"_s);
}

LabNeighbours::~LabNeighbours()
{
    setNeighbours(u"delete"_s);
}

QByteArray status(const QString &id, int battery, const QByteArray &stamps)
{
    const QByteArray text = "{'v':1,'type':'status','sender':'" + id.toUtf8() + '\'' + stamps
                            + ",'payload':{'battery':" + QByteArray::number(battery) + "}}";
    return QByteArray(text).replace('\'', '"');
}

QByteArray sequenced(const char *sessionId, int sequence)
{
    return QByteArray(",'sessionId':'") + sessionId + "','seq':" + QByteArray::number(sequence);
}

const LiveCamera *find(const LiveCameraDiscovery &discovery, const QString &id)
{
    const auto found = std::ranges::find(discovery.cameras(), id, &LiveCamera::id);
    return found == discovery.cameras().end() ? nullptr : &*found;
}

std::optional<std::int64_t> batteryOf(const LiveCameraDiscovery &discovery, const QString &id)
{
    const LiveCamera *camera = find(discovery, id);
    return camera ? camera->battery : std::nullopt;
}

TcpServer::Serve answering(const QByteArray &body)
{
    return [body](TcpPeer &peer) {
        if (peer.receive(1) == "\x03")
            peer.sendFrame(body);
    };
}

} // namespace vorn
