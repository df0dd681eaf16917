// SPDX-License-Identifier: Apache-2.0

#include "desktop/single_instance.h"
#include "support.h"

#include <QDir>
#include <QLocalSocket>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <dlfcn.h>
#include <sys/file.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <optional>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

int lockFailure = 0; // what the file system answers to a lock; 0 for a file system with locks

constexpr std::chrono::milliseconds shortPatience{200};

} // namespace

/// Stands before the system's.
extern "C" int flock(int descriptor, int operation) noexcept
{
    if (lockFailure != 0) {
        errno = lockFailure;
        return -1;
    }
    static const auto real = reinterpret_cast<int (*)(int, int)>(::dlsym(RTLD_NEXT, "flock"));
    return real(descriptor, operation);
}

/// Starts this program again as another instance would be; it prints its outcome and, where it is
/// to go on, waits to be ended.
class SingleInstanceTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        lockFailure = 0;
        QVERIFY(m_root.emplace().isValid());
        // Longer than the address of a socket.
        m_folder = m_root->filePath(QString(200, u'x') + u"/VORN"_s);
    }

    void aSecondStartRaisesTheFirst_data()
    {
        QTest::addColumn<int>("failure");
        QTest::newRow("lock") << 0;
        QTest::newRow("file system without locks") << ENOLCK;
    }
    void aSecondStartRaisesTheFirst()
    {
        QFETCH(const int, failure);
        lockFailure = failure;
        const SingleInstance first(m_folder);
        QCOMPARE(first.outcome(), failure == 0 ? Outcome::first : Outcome::unguarded);
        QCOMPARE(modeOf(m_folder), 0700);
        QSignalSpy raised(&first, &SingleInstance::raiseRequested);
        QProcess second;
        start(second, failure); // in other surroundings
        QCOMPARE(outcomeOf(second), QByteArray("handed over"));
        QCOMPARE(raised.count(), 1);
        QTRY_COMPARE(second.state(), QProcess::NotRunning);

        // Somebody has tidied up: who is there answers nevertheless.
        if (failure == 0)
            QVERIFY(QFile::remove(m_folder + u"/vorn-desktop.lock"_s));
        QProcess third;
        start(third, failure);
        QCOMPARE(outcomeOf(third), QByteArray("handed over"));
        QCOMPARE(raised.count(), 2);
        QTRY_COMPARE(third.state(), QProcess::NotRunning);
    }

    void aSecondStartHandsItsMoviesOver()
    {
        const SingleInstance first(m_folder);
        QSignalSpy brought(&first, &SingleInstance::moviesRequested);
        QStringList movies{u"/a b/Zoë.mov"_s};
        while (movies.size() < SingleInstance::mostMovies) // more than a socket takes at once
            movies += u'/' + QString(4000, u'x') + QString::number(movies.size());
        QProcess second;
        start(second, 0, movies);
        QCOMPARE(outcomeOf(second), QByteArray("handed over"));
        QCOMPARE(brought.count(), 1);
        QCOMPARE(brought.first().first().toStringList(), movies);
    }

    void aKilledFirstLeavesTheWayFree()
    {
        QProcess killed;
        start(killed);
        QCOMPARE(outcomeOf(killed), QByteArray("first"));
        ::kill(pid_t(killed.processId()), SIGKILL);
        QVERIFY(killed.waitForFinished());

        const SingleInstance next(m_folder);
        QCOMPARE(next.outcome(), Outcome::first);
        QSignalSpy raised(&next, &SingleInstance::raiseRequested);
        QProcess second;
        start(second);
        QCOMPARE(outcomeOf(second), QByteArray("handed over"));
        QCOMPARE(raised.count(), 1);
        QTRY_COMPARE(second.state(), QProcess::NotRunning);
    }

    void whoDoesNotAnswerIsNotJoined_data()
    {
        QTest::addColumn<bool>("hasSocket");
        QTest::addColumn<int>("failure");
        QTest::newRow("no socket") << false << 0;
        QTest::newRow("hangs") << true << 0;
        QTest::newRow("hangs, without locks") << true << ENOLCK;
    }
    void whoDoesNotAnswerIsNotJoined()
    {
        QFETCH(const bool, hasSocket);
        QFETCH(const int, failure);
        lockFailure = failure;
        const SingleInstance first(m_folder);
        if (!hasSocket)
            QVERIFY(QFile::remove(m_folder + u"/vorn-desktop.socket"_s));
        const SingleInstance second(m_folder, shortPatience); // the first one's thread waits here
        QCOMPARE(second.outcome(), Outcome::outOfReach);
        QCOMPARE(second.sentence(),
                 u"Another VORN Desktop works on this library and cannot be reached to show its "
                 "windows. This one ends."_s);
    }

    void saysWhatItMeansWhereThereIsNoLock_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("sentence");
        QTest::newRow("file system without locks")
            << u"VORN"_s
            << u"Cannot lock ROOT/VORN/vorn-desktop.lock: No locks available. Start only one VORN "
               "Desktop on this library: of two, the last to save undoes what the other has "
               "saved."_s;
        QTest::newRow("a link in the lock's place")
            << u"linked"_s
            << u"Cannot open ROOT/linked/vorn-desktop.lock: Too many levels of symbolic links. "
               "Start only one VORN Desktop on this library: of two, the last to save undoes what "
               "the other has saved."_s;
    }
    void saysWhatItMeansWhereThereIsNoLock()
    {
        QFETCH(const QString, folder);
        QFETCH(QString, sentence);
        lockFailure = ENOLCK;
        writePlain(m_root->filePath(u"file"_s), {});
        QVERIFY(QDir(m_root->path()).mkdir(u"linked"_s));
        QVERIFY(QFile::link(m_root->filePath(u"file"_s),
                            m_root->filePath(u"linked/vorn-desktop.lock"_s)));
        const SingleInstance instance(m_root->filePath(folder));
        QCOMPARE(instance.outcome(), Outcome::unguarded);
        QCOMPARE(instance.sentence(), sentence.replace(u"ROOT"_s, m_root->path()));
    }

    void endsWhereNoFolderCanBeMade()
    {
        writePlain(m_root->filePath(u"file"_s), {});
        const SingleInstance instance(m_root->filePath(u"file/VORN"_s));
        QCOMPARE(instance.outcome(), Outcome::noFolder);
        QCOMPARE(instance.sentence(),
                 u"Cannot create the folder %1/file: Not a directory. VORN Desktop keeps its "
                 "library there. See to it that this folder can be made, or set XDG_DATA_HOME to a "
                 "folder of yours."_s.arg(m_root->path()));
    }

    void goesOnInAFolderThatCannotBeWritten()
    {
        QProcess process;
        process.start(u"unshare"_s,
                      {u"--map-root-user"_s, u"--mount"_s, u"sh"_s, u"-c"_s,
                       u"mount -t tmpfs -o ro none \"$1\" && exec \"$0\" --instance \"$1\" 0"_s,
                       QCoreApplication::applicationFilePath(), m_root->path()});
        QVERIFY(process.waitForReadyRead());
        QCOMPARE(process.readLine().trimmed(), QByteArray("unguarded"));
        QCOMPARE(QString::fromUtf8(process.readLine().trimmed()),
                 u"Cannot open %1/vorn-desktop.lock: Read-only file system. While that is so, no "
                 "change of the library is kept, and a second VORN Desktop on it may go "
                 "unnoticed."_s.arg(m_root->path()));
        process.kill();
        QVERIFY(process.waitForFinished());
    }

    void strangersAreNotHeardAndNotKept_data()
    {
        QTest::addColumn<QByteArray>("words");
        QTest::newRow("another message") << QByteArray(1 << 20, 'x');
        QTest::newRow("a part of it") << QByteArray("rais");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("a path that is not absolute") << QByteArray("movie\0\0\0\5a.mov\0", 15);
        QTest::newRow("paths without an end") << QByteArray("movie\0\0\0\5/a.mo", 14);
        QTest::newRow("no UTF-8") << QByteArray("movie\0\0\0\3/\xff\0", 12);
        QTest::newRow("more than there can be") << QByteArray("movie\xff\xff\xff\xff/", 10);
    }
    void strangersAreNotHeardAndNotKept()
    {
        QFETCH(const QByteArray, words);
        const QString folder = m_root->filePath(u"VORN"_s);
        const SingleInstance first(folder, shortPatience);
        QSignalSpy raised(&first, &SingleInstance::raiseRequested);
        QSignalSpy brought(&first, &SingleInstance::moviesRequested);
        QLocalSocket stranger;
        stranger.connectToServer(folder + u"/vorn-desktop.socket"_s);
        QVERIFY(stranger.waitForConnected());
        stranger.write(words);
        QTRY_COMPARE(stranger.state(), QLocalSocket::UnconnectedState);
        QCOMPARE(raised.count() + brought.count(), 0);
    }

private:
    using Outcome = SingleInstance::Outcome;

    void start(QProcess &process, int failure = 0, const QStringList &movies = {}) const
    {
        auto surroundings = QProcessEnvironment::systemEnvironment();
        surroundings.remove(u"XDG_RUNTIME_DIR"_s);
        process.setProcessEnvironment(surroundings);
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QCoreApplication::applicationFilePath(),
                      QStringList{u"--instance"_s, m_folder, QString::number(failure)} + movies);
        QVERIFY(process.waitForStarted());
    }

    static QByteArray outcomeOf(QProcess &process)
    {
        // Its events are ours, too: it may be waiting for our answer.
        if (!QTest::qWaitFor([&] { return process.canReadLine(); }, 20'000))
            return "silent";
        return process.readLine().trimmed();
    }

    std::optional<QTemporaryDir> m_root;
    QString m_folder;
};

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    if (arguments.value(1) == u"--instance"_s) {
        lockFailure = arguments.value(3).toInt();
        const SingleInstance instance(arguments.value(2), std::chrono::seconds(10),
                                      arguments.sliced(4));
        constexpr std::array names{"first", "unguarded", "handed over", "out of reach",
                                   "no folder"};
        std::printf("%s\n%s\n", names.at(std::size_t(instance.outcome())),
                    qPrintable(instance.sentence()));
        std::fflush(stdout);
        const bool goesOn = instance.outcome() == SingleInstance::Outcome::first
                            || instance.outcome() == SingleInstance::Outcome::unguarded;
        return goesOn ? QCoreApplication::exec() : 0;
    }
    SingleInstanceTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "single_instance_test.moc"
