// SPDX-License-Identifier: Apache-2.0

// What the program asks of the desktop, on a bus of its own.

#include "desktop/desktop_notification.h"
#include "desktop/display_inhibitor.h"
#include "desktop/sleep_inhibitor.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QDBusUnixFileDescriptor>
#include <QProcess>
#include <QtTest>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <optional>

using namespace vorn;
using namespace Qt::StringLiterals;

/// Gives out locks as the login manager does: ends of pipes.
class LoginManager : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")
public:
    /// Whether the lock that was given out is held still.
    [[nodiscard]] bool isLocked() const
    {
        char byte = 0;
        return m_ours >= 0 && read(m_ours, &byte, 1) != 0; // 0: the other end is closed
    }
    QStringList asked;

public Q_SLOTS:
    QDBusUnixFileDescriptor Inhibit(const QString &what, const QString &who, const QString &why,
                                    const QString &mode)
    {
        asked = {what, who, why, mode};
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0)
            qFatal("no pipe");
        m_ours = ends[0];
        QDBusUnixFileDescriptor lock(ends[1]); // a copy
        close(ends[1]);
        return lock;
    }

private:
    int m_ours = -1;
};

class ScreenSaver : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.ScreenSaver")
public:
    QStringList asked;
    QSet<uint> held;

public Q_SLOTS:
    uint Inhibit(const QString &who, const QString &why)
    {
        asked += who + u'|' + why;
        held += uint(asked.size());
        return uint(asked.size());
    }
    void UnInhibit(uint cookie) { held -= cookie; }
};

class NotificationService : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    QString shown;

public Q_SLOTS:
    uint Notify(const QString &, uint, const QString &, const QString &summary, const QString &body,
                const QStringList &, const QVariantMap &, int)
    {
        shown = summary + u'|' + body;
        return 1;
    }
};

class DesktopServicesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_daemon.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address"_s});
        QVERIFY(m_daemon.waitForReadyRead());
        m_address = m_daemon.readLine().trimmed();
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_address);
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_address);
    }

    void cleanupTestCase()
    {
        m_daemon.terminate();
        m_daemon.waitForFinished();
    }

    void doesWithoutTheServices()
    {
        const SleepInhibitor inhibitor(u"nobody hears"_s);
        const DisplayInhibitor displays(u"nobody hears"_s);
        showDesktopNotification(u"nobody"_s, u"hears"_s);
        QVERIFY(QDBusConnection::systemBus().isConnected());
    }

    void holdsTheLockForItsLife()
    {
        QDBusConnection bus = service(u"login"_s, u"org.freedesktop.login1"_s);
        LoginManager manager;
        QVERIFY(bus.registerObject(u"/org/freedesktop/login1"_s, &manager,
                                   QDBusConnection::ExportAllSlots));
        std::optional<SleepInhibitor> inhibitor(std::in_place, u"Downloading"_s);
        QTRY_COMPARE(manager.asked,
                     QStringList({u"sleep:idle"_s, u"VORN"_s, u"Downloading"_s, u"block"_s}));
        // Answers come in order: after this one the lock has come, too.
        QVERIFY(
            QDBusConnection::systemBus().interface()->serviceOwner(bus.baseService()).isValid());
        QCoreApplication::processEvents();
        QVERIFY(manager.isLocked());
        inhibitor.reset();
        QTRY_VERIFY(!manager.isLocked());
        // Given up before the answer.
        inhibitor.emplace(u"Short"_s);
        inhibitor.reset();
        QTRY_COMPARE(manager.asked.value(2), u"Short"_s);
        QTRY_VERIFY(!manager.isLocked());
    }

    void keepsTheDisplaysOnForItsLife()
    {
        QDBusConnection bus = service(u"saver"_s, u"org.freedesktop.ScreenSaver"_s);
        ScreenSaver saver;
        QVERIFY(bus.registerObject(u"/org/freedesktop/ScreenSaver"_s, &saver,
                                   QDBusConnection::ExportAllSlots));
        std::optional<DisplayInhibitor> inhibitor(std::in_place, u"Showing"_s);
        QTRY_COMPARE(saver.asked, QStringList(u"VORN|Showing"_s));
        QCOMPARE(saver.held.size(), 1);
        inhibitor.reset();
        QTRY_VERIFY(saver.held.isEmpty());
        // Given up before the answer.
        inhibitor.emplace(u"Short"_s);
        inhibitor.reset();
        QTRY_COMPARE(saver.asked.size(), 2);
        QTRY_VERIFY(saver.held.isEmpty());
    }

    void notifies()
    {
        QDBusConnection bus = service(u"notifications"_s, u"org.freedesktop.Notifications"_s);
        NotificationService notifications;
        QVERIFY(bus.registerObject(u"/org/freedesktop/Notifications"_s, &notifications,
                                   QDBusConnection::ExportAllSlots));
        showDesktopNotification(u"Download complete"_s, u"4 recordings"_s);
        QTRY_COMPARE(notifications.shown, u"Download complete|4 recordings"_s);
    }

private:
    [[nodiscard]] QDBusConnection service(const QString &connection, const QString &name) const
    {
        QDBusConnection bus =
            QDBusConnection::connectToBus(QString::fromLatin1(m_address), connection);
        if (!bus.registerService(name))
            qFatal("no service");
        return bus;
    }

    QProcess m_daemon;
    QByteArray m_address;
};

QTEST_GUILESS_MAIN(DesktopServicesTest)
#include "desktop_services_test.moc"
