#include "lab_phones.h"

#include <QProcess>
#include <QtEndian>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

sockaddr_in endpoint(const QString &host, std::uint16_t port)
{
    sockaddr_in made{};
    made.sin_family = AF_INET;
    made.sin_port = htons(port);
    if (::inet_pton(AF_INET, host.toLatin1().constData(), &made.sin_addr) != 1)
        qFatal("no address: %s", qPrintable(host));
    return made;
}

FileDescriptor boundOnPhonesSide(int type, const QString &host, std::uint16_t port)
{
    FileDescriptor made;
    onPhonesSide([&] {
        made = FileDescriptor(::socket(AF_INET, type | SOCK_CLOEXEC, 0));
        const int on = 1;
        ::setsockopt(made.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        const sockaddr_in address = endpoint(host, port);
        if (::bind(made.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
            qFatal("cannot bind %s", qPrintable(host));
        const in_addr from = address.sin_addr;
        if (type == SOCK_DGRAM)
            ::setsockopt(made.get(), IPPROTO_IP, IP_MULTICAST_IF, &from, sizeof from);
    });
    return made;
}

} // namespace

void onPhonesSide(const std::function<void()> &work)
{
    std::thread([&] {
        const QByteArray path = "/proc/" + qgetenv("VORN_LAB_PHONES") + "/ns/net";
        const FileDescriptor side(::open(path.constData(), O_RDONLY | O_CLOEXEC));
        if (::setns(side.get(), CLONE_NEWNET) != 0)
            qFatal("run this test in scripts/lab");
        work();
    }).join();
}

FileDescriptor phoneSocket(const QString &host, std::uint16_t port)
{
    return boundOnPhonesSide(SOCK_DGRAM, host, port);
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

PhoneServer::PhoneServer(const QString &host, std::function<void(int)> serve)
    : m_listener(boundOnPhonesSide(SOCK_STREAM, host, 45455))
{
    ::listen(m_listener.get(), 8);
    m_thread = std::thread([this, serve = std::move(serve)] {
        // The destructor's shutdown ends the wait.
        for (;;) {
            const FileDescriptor connection(
                ::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
            if (!connection.isOpen())
                return;
            ++m_connections;
            serve(connection.get());
        }
    });
}

PhoneServer::~PhoneServer()
{
    ::shutdown(m_listener.get(), SHUT_RDWR);
    m_thread.join();
}

namespace {

// All of the lab's network but the desktop's and the phones' ends.
void setNeighbours(const char *verb)
{
    for (const char *network : {"10.77.0.32/27", "10.77.0.64/26", "10.77.0.128/25"}) {
        QProcess::execute(u"nsenter"_s,
                          {u"--target"_s, qEnvironmentVariable("VORN_LAB_PHONES"), u"--net"_s,
                           u"ip"_s, u"route"_s, QString::fromLatin1(verb), u"local"_s,
                           QString::fromLatin1(network), u"dev"_s, u"lab1"_s});
    }
}

} // namespace

LabNeighbours::LabNeighbours()
{
    setNeighbours("add");
}

LabNeighbours::~LabNeighbours()
{
    setNeighbours("delete");
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

void serveIdentity(int connection, const QByteArray &body)
{
    char request = 0;
    if (::recv(connection, &request, 1, 0) != 1 || request != 3)
        return;
    QByteArray answer(4, '\0');
    qToBigEndian(quint32(body.size()), answer.data());
    answer += body;
    ::send(connection, answer.constData(), std::size_t(answer.size()), MSG_NOSIGNAL);
}

} // namespace vorn
