#include "phones_side.h"

#include <QHostAddress>

#include <arpa/inet.h>
#include <fcntl.h>
#include <sched.h>
#include <sys/socket.h>

#include <thread>

using namespace Qt::StringLiterals;

namespace vorn {

void enterPhonesSide()
{
    const QByteArray path = "/proc/" + qgetenv("VORN_LAB_PHONES") + "/ns/net";
    const FileDescriptor side(::open(path.constData(), O_RDONLY | O_CLOEXEC));
    if (::setns(side.get(), CLONE_NEWNET) != 0)
        qFatal("run this test in scripts/lab");
}

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
    std::thread([&] {
        enterPhonesSide();
        made = FileDescriptor(::socket(AF_INET, type | SOCK_CLOEXEC, 0));
    }).join();
    const int on = 1;
    ::setsockopt(made.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const sockaddr_in address = endpoint(host, port);
    if (::bind(made.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        qFatal("cannot bind %s", qPrintable(host));
    if (type == SOCK_DGRAM)
        ::setsockopt(made.get(), IPPROTO_IP, IP_MULTICAST_IF, &address.sin_addr,
                     sizeof address.sin_addr);
    return made;
}

PhonesSide::PhonesSide()
    : m_thread(u"phones-side"_s, [] {
          enterPhonesSide();
          return std::make_unique<AnnouncedServices>();
      })
{
}

void PhonesSide::announce(const QString &name, const QString &type, int lastByte, quint16 port,
                          const rig::ServiceText &text, const std::function<void()> &published)
{
    m_thread.post([=](AnnouncedServices &services) {
        auto made = std::make_unique<rig::Announcement>(
            name, type, QHostAddress(u"10.77.0.%1"_s.arg(lastByte)), port, text);
        if (published)
            QObject::connect(made.get(), &rig::Announcement::published, published);
        services.announcements.insert_or_assign({name, type}, std::move(made));
    });
}

void PhonesSide::setText(const QString &name, const QString &type, const rig::ServiceText &text)
{
    m_thread.post([=](AnnouncedServices &services) {
        services.announcements.at({name, type})->setText(text);
    });
}

void PhonesSide::withdraw(const QString &name, const QString &type)
{
    m_thread.post([=](AnnouncedServices &services) { services.announcements.erase({name, type}); });
}

void PhonesSide::withdrawAll()
{
    m_thread.post([](AnnouncedServices &services) { services.announcements.clear(); });
}

QStringList names(const LANDiscovery &discovery)
{
    QStringList list;
    for (const DiscoveredDevice &device : discovery.devices())
        list.append(device.serviceName);
    return list;
}

const DiscoveredDevice *find(const LANDiscovery &discovery, const QString &name)
{
    const auto found = std::ranges::find(discovery.devices(), name, &DiscoveredDevice::serviceName);
    return found == discovery.devices().end() ? nullptr : &*found;
}

void hideSystemBus()
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent");
}

} // namespace vorn
