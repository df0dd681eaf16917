#include "desktop/single_instance.h"

#include <QLocalSocket>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

using namespace vorn;
using namespace Qt::StringLiterals;

/// Starts this program again as another instance would be; it prints "first" or "second" and, as
/// the first, waits to be ended.
class SingleInstanceTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        QVERIFY(m_runtime.emplace().isValid());
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_runtime->path()));
    }

    void aSecondStartRaisesTheFirst()
    {
        const SingleInstance first;
        QVERIFY(first.isFirst());
        QSignalSpy raised(&first, &SingleInstance::raiseRequested);
        QProcess second;
        start(second);
        QTRY_COMPARE(raised.count(), 1);
        QTRY_COMPARE(second.state(), QProcess::NotRunning);
        QCOMPARE(second.readAllStandardOutput(), QByteArray("second\n"));
    }

    void aKilledFirstLeavesTheWayFree()
    {
        QProcess killed;
        start(killed);
        QTRY_VERIFY(killed.bytesAvailable() > 0);
        QCOMPARE(killed.readAllStandardOutput(), QByteArray("first\n"));
        ::kill(pid_t(killed.processId()), SIGKILL);
        QTRY_COMPARE(killed.state(), QProcess::NotRunning);

        const SingleInstance next;
        QVERIFY(next.isFirst());
        QSignalSpy raised(&next, &SingleInstance::raiseRequested);
        QProcess second;
        start(second);
        QTRY_COMPARE(raised.count(), 1);
        QTRY_COMPARE(second.state(), QProcess::NotRunning);
    }

    void onlyTheOneMessageIsTaken()
    {
        const SingleInstance first;
        QSignalSpy raised(&first, &SingleInstance::raiseRequested);
        QLocalSocket stranger;
        stranger.connectToServer(m_runtime->filePath(u"vorn-desktop.socket"_s));
        QVERIFY(stranger.waitForConnected());
        stranger.write(QByteArray(1 << 20, 'x'));
        QTRY_COMPARE(stranger.state(), QLocalSocket::UnconnectedState);
        QCOMPARE(raised.count(), 0);
    }

private:
    static void start(QProcess &process)
    {
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QCoreApplication::applicationFilePath(), {u"--instance"_s});
        QVERIFY(process.waitForStarted());
    }

    std::optional<QTemporaryDir> m_runtime;
};

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (app.arguments().contains(u"--instance"_s)) {
        const SingleInstance instance;
        std::puts(instance.isFirst() ? "first" : "second");
        std::fflush(stdout);
        return instance.isFirst() ? QCoreApplication::exec() : 0;
    }
    SingleInstanceTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "single_instance_test.moc"
