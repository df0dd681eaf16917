// SPDX-License-Identifier: Apache-2.0

// Browsing through a real avahi-daemon on a system bus of its own, which come and go.

#include "phones_side.h"
#include "support.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <signal.h>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

constexpr int limitMs = 30'000;

// True when this process listens on the multicast DNS port itself, on this side of the lab.
bool hasOwnStack()
{
    QStringList own;
    const QDir descriptors(u"/proc/self/fd"_s);
    for (const QString &name : descriptors.entryList(QDir::System | QDir::Files))
        own.append(QFile::symLinkTarget(descriptors.filePath(name)));
    QFile sockets(u"/proc/self/net/udp"_s);
    if (!sockets.open(QFile::ReadOnly))
        qFatal("no list of sockets");
    for (const QByteArray &line : sockets.readAll().split('\n')) {
        const QByteArrayList columns = line.simplified().split(' ');
        if (columns.size() > 9 && columns[1].endsWith(":14E9")
            && own.join(u' ').contains(u"socket:["_s + QString::fromLatin1(columns[9]) + u']'))
            return true;
    }
    return false;
}

class Daemon {
public:
    ~Daemon() { end(); }

    void end()
    {
        m_process.terminate();
        if (m_process.state() != QProcess::NotRunning && !m_process.waitForFinished(limitMs))
            qFatal("a daemon did not end");
    }

    /// It does not answer any more, and does not end.
    void hang() { ::kill(pid_t(m_process.processId()), SIGSTOP); }
    void wake() { ::kill(pid_t(m_process.processId()), SIGCONT); }

protected:
    void start(const QStringList &command, const QByteArray &ready)
    {
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.start(command.first(), command.sliced(1));
        QByteArray output;
        while (!output.contains(ready)) {
            if (!m_process.waitForReadyRead(limitMs))
                qFatal("%s did not become ready: %s", qPrintable(command.first()),
                       output.constData());
            output += m_process.readAll();
        }
    }

private:
    QProcess m_process;
};

/// A system bus on which everything is allowed, at the address that the environment names.
class SystemBus : public Daemon {
public:
    SystemBus()
    {
        const QString address = qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS");
        const QString file = m_folder.filePath(u"bus.conf"_s);
        writePlain(file, u"<busconfig><listen>%1</listen><auth>EXTERNAL</auth>"
                         "<policy context='default'><allow send_destination='*'/>"
                         "<allow receive_sender='*'/><allow own='*'/><allow user='*'/></policy>"
                         "</busconfig>"_s.arg(address)
                             .toUtf8());
        start({u"dbus-daemon"_s, u"--nofork"_s, u"--print-address"_s, u"--config-file"_s, file},
              "unix:");
    }

private:
    QTemporaryDir m_folder;
};

/// The machine's service daemon, with its folder /run and its user replaced where it looks for
/// them.
class ServiceDaemon : public Daemon {
public:
    ServiceDaemon() { start(); }

    void start()
    {
        const QString script = m_folder.filePath(u"start"_s);
        const QString settings = m_folder.filePath(u"settings"_s);
        writePlain(settings, "[server]\nuse-ipv6=no\n[wide-area]\nenable-wide-area=no\n");
        writePlain(script, "set -e\n"
                           "mount -t tmpfs tmpfs /run\n"
                           "echo \"avahi:x:$(id -u):$(id -g)::/:/bin/false\" >/run/passwd\n"
                           "echo \"avahi:x:$(id -g):\" >/run/group\n"
                           "mount --bind /run/passwd /etc/passwd\n"
                           "mount --bind /run/group /etc/group\n"
                           "exec avahi-daemon --file=\"$1\" --no-drop-root --no-chroot "
                           "--no-rlimits --no-proc-title\n");
        Daemon::start({u"unshare"_s, u"--mount"_s, u"--keep-caps"_s, u"sh"_s, script, settings},
                      "Server startup complete");
    }

private:
    QTemporaryDir m_folder;
};

} // namespace

class ServiceDaemonTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(qEnvironmentVariableIsSet("VORN_LAB_PHONES"), "no lab");
        // The address of the system bus is read once in the life of a process.
        qputenv("DBUS_SYSTEM_BUS_ADDRESS",
                "unix:path=" + QFile::encodeName(m_busFolder.filePath(u"bus"_s)));
        // Whoever starts the daemon may not have its folder in the path.
        qputenv("PATH", qgetenv("PATH") + ":/usr/sbin");
    }

    void init()
    {
        m_phones = std::make_unique<PhonesSide>();
        m_phones->announce(u"a"_s, transfer, 11, 8443);
        m_phones->announce(u"b"_s, transfer, 12, 8443);
    }

    void cleanup() { m_phones.reset(); }

    void asksTheDaemon()
    {
        const SystemBus bus;
        const ServiceDaemon daemon;
        LANDiscovery discovery;
        QTRY_COMPARE_WITH_TIMEOUT(names(discovery), QStringList({u"a"_s, u"b"_s}), limitMs);
        QVERIFY(!hasOwnStack());
        m_phones->setText(u"a"_s, transfer, {{u"sessionId"_s, "2"}});
        QTRY_COMPARE_WITH_TIMEOUT(discovery.devices().front().sessionId, u"2"_s, limitMs);
        m_phones->withdraw(u"a"_s, transfer);
        QTRY_COMPARE_WITH_TIMEOUT(names(discovery), QStringList({u"b"_s}), limitMs);
        discovery.restart();
        QVERIFY(discovery.devices().empty());
        QTRY_COMPARE_WITH_TIMEOUT(names(discovery), QStringList({u"b"_s}), limitMs);
        QVERIFY(!hasOwnStack());
    }

    void outlivesARestartOfTheDaemon()
    {
        const SystemBus bus;
        ServiceDaemon daemon;
        LANDiscovery discovery;
        QTRY_COMPARE_WITH_TIMEOUT(names(discovery), QStringList({u"a"_s, u"b"_s}), limitMs);
        // What stays on the network stays in the list all the while.
        std::size_t fewest = 2;
        connect(&discovery, &LANDiscovery::devicesChanged, this,
                [&] { fewest = std::min(fewest, discovery.devices().size()); });
        for (const QString &name : {u"c"_s, u"d"_s}) {
            daemon.end();
            m_phones->announce(name, transfer, 13, 8443);
            daemon.start();
            QTRY_VERIFY_WITH_TIMEOUT(names(discovery).contains(name), limitMs);
            QVERIFY(!hasOwnStack());
        }
        QVERIFY(discovery.isSearching() && fewest == 2);
        m_phones->withdraw(u"c"_s, transfer);
        QTRY_COMPARE_WITH_TIMEOUT(names(discovery), QStringList({u"a"_s, u"b"_s, u"d"_s}), limitMs);
    }

    void goesOnWithoutTheDaemonAndBack()
    {
        const SystemBus bus;
        ServiceDaemon daemon;
        LANDiscovery discovery;
        QTRY_COMPARE_WITH_TIMEOUT(names(discovery), QStringList({u"a"_s, u"b"_s}), limitMs);
        daemon.end();
        m_phones->withdraw(u"a"_s, transfer);
        m_phones->announce(u"c"_s, transfer, 13, 8443);
        QTRY_COMPARE_WITH_TIMEOUT(names(discovery), QStringList({u"b"_s, u"c"_s}), limitMs);
        QVERIFY(hasOwnStack());
        daemon.start();
        QTRY_VERIFY_WITH_TIMEOUT(!hasOwnStack(), limitMs);
        m_phones->withdraw(u"b"_s, transfer);
        QTRY_COMPARE_WITH_TIMEOUT(names(discovery), QStringList({u"c"_s}), limitMs);
    }

    void stopsBesideADaemonThatHangs()
    {
        const SystemBus bus;
        ServiceDaemon daemon;
        auto discovery = std::make_unique<LANDiscovery>();
        QTRY_COMPARE_WITH_TIMEOUT(names(*discovery), QStringList({u"a"_s, u"b"_s}), limitMs);
        daemon.hang();
        // A question that waits for its answer waits for 25 seconds.
        discovery->restart();
        QElapsedTimer clock;
        clock.start();
        discovery->stop();
        discovery.reset();
        const qint64 elapsed = clock.elapsed();
        daemon.wake();
        QVERIFY(elapsed < 20'000);
    }

    void goesOnWithoutTheSystemBus()
    {
        SystemBus bus;
        const ServiceDaemon daemon;
        LANDiscovery discovery;
        QTRY_COMPARE_WITH_TIMEOUT(names(discovery), QStringList({u"a"_s, u"b"_s}), limitMs);
        bus.end();
        m_phones->withdraw(u"a"_s, transfer);
        QTRY_COMPARE_WITH_TIMEOUT(names(discovery), QStringList({u"b"_s}), limitMs);
        QVERIFY(hasOwnStack());
    }

    void doesNotWaitForADaemonThatIsNotThere()
    {
        const SystemBus bus;
        LANDiscovery discovery;
        QTRY_COMPARE_WITH_TIMEOUT(names(discovery), QStringList({u"a"_s, u"b"_s}), limitMs);
        QVERIFY(hasOwnStack());
        discovery.stop();
        QTRY_VERIFY_WITH_TIMEOUT(!hasOwnStack(), limitMs);
    }

private:
    QTemporaryDir m_busFolder;
    std::unique_ptr<PhonesSide> m_phones;
};

QTEST_GUILESS_MAIN(ServiceDaemonTest)
#include "service_daemon_test.moc"
