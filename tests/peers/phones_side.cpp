// SPDX-License-Identifier: Apache-2.0

#include "phones_side.h"

#include <QHostAddress>
#include <QProcess>

#include <fcntl.h>
#include <sched.h>
#include <sys/socket.h>

#include <thread>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

void run(const QString &program, const QStringList &arguments)
{
    if (QProcess::execute(program, arguments) != 0)
        qFatal("%s %s failed", qPrintable(program), qPrintable(arguments.join(u' ')));
}

} // namespace

void enterPhonesSide()
{
    const QByteArray path = "/proc/" + qgetenv("VORN_LAB_PHONES") + "/ns/net";
    const FileDescriptor side(::open(path.constData(), O_RDONLY | O_CLOEXEC));
    if (::setns(side.get(), CLONE_NEWNET) != 0)
        qFatal("run this test in scripts/lab");
}

FileDescriptor boundOnPhonesSide(int type, const QString &host, std::uint16_t port)
{
    FileDescriptor made;
    std::thread([&] {
        enterPhonesSide();
        made = boundTo(type, host, port);
    }).join();
    if (type == SOCK_DGRAM) {
        const in_addr address = endpoint(host, port).sin_addr;
        ::setsockopt(made.get(), IPPROTO_IP, IP_MULTICAST_IF, &address, sizeof address);
    }
    return made;
}

void ip(const QString &arguments)
{
    run(u"ip"_s, arguments.split(u' '));
}

void ipBeyond(const QString &arguments)
{
    run(u"nsenter"_s,
        QStringList{u"--target"_s, qEnvironmentVariable("VORN_LAB_PHONES"), u"--net"_s, u"ip"_s}
            + arguments.split(u' '));
}

PhonesSide::PhonesSide()
    : m_thread(u"phones-side"_s, [] {
          enterPhonesSide();
          return std::make_unique<AnnouncedServices>();
      })
{
}

void PhonesSide::announce(const QString &name, const QString &type, int lastByte, quint16 port,
                          const rig::ServiceText &text)
{
    m_thread.post([=](AnnouncedServices &services) {
        auto made = std::make_unique<rig::Announcement>(
            name, type, QHostAddress(u"10.77.0.%1"_s.arg(lastByte)), port, text);
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
