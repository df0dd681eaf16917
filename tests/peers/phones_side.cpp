#include "phones_side.h"

#include "base/files.h"

#include <QHostAddress>

#include <fcntl.h>
#include <sched.h>

using namespace Qt::StringLiterals;

namespace vorn {

void enterPhonesSide()
{
    const QByteArray path = "/proc/" + qgetenv("VORN_LAB_PHONES") + "/ns/net";
    const FileDescriptor side(::open(path.constData(), O_RDONLY | O_CLOEXEC));
    if (::setns(side.get(), CLONE_NEWNET) != 0)
        qFatal("run this test in scripts/lab");
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

void hideSystemBus()
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent");
}

} // namespace vorn
