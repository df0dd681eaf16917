// SPDX-License-Identifier: Apache-2.0

// Downloads that are killed at any instant, again and again.

#include "base/digest.h"
#include "base/files.h"
#include "rig_phones.h"
#include "store/library_file.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <optional>
#include <random>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

constexpr int limitMs = 60'000;
constexpr int clipBytes = 40'000'000; // five chunks

/// A folder of a library and its recordings, and the program that fetches into it.
class Collector {
public:
    explicit Collector(RigPhones &phones) : m_phones(phones) {}

    void start()
    {
        m_phones.must(u"cam-a code"_s);
        const QJsonObject shown = m_phones.transfer(u"cam-a"_s);
        m_process.start(QStringLiteral(VORN_TAKE_FETCHER),
                        {storage(), recordings(), shown[u"catalogURL"_s].toString(),
                         shown[u"fingerprint"_s].toString(), shown[u"sessionId"_s].toString(),
                         shown[u"code"_s].toString()});
        if (!m_process.waitForStarted(limitMs))
            qFatal("the collector does not start");
    }

    /// Whether it had ended by itself before.
    bool kill()
    {
        const bool hadEnded = m_process.state() == QProcess::NotRunning;
        m_process.kill();
        m_process.waitForFinished(limitMs);
        return hadEnded;
    }

    [[nodiscard]] bool finishes()
    {
        return m_process.waitForFinished(limitMs) && m_process.exitStatus() == QProcess::NormalExit
               && m_process.exitCode() == 0;
    }
    [[nodiscard]] bool waits(int ms) { return m_process.waitForFinished(ms); }
    [[nodiscard]] QByteArray words() { return m_process.readAllStandardError(); }

    [[nodiscard]] VORNLibrary library() const { return LibraryFile(storage()).load(); }
    [[nodiscard]] QString recordings() const { return m_folder.filePath(u"recordings"_s); }

private:
    [[nodiscard]] QString storage() const { return m_folder.filePath(u"storage"_s); }

    RigPhones &m_phones;
    QTemporaryDir m_folder;
    QProcess m_process;
};

/// What is wrong with what lies on the disk; empty when nothing is.
QString faultOf(const Collector &collector)
{
    int partials = 0;
    for (const VORNProject &project : collector.library().projects)
        for (const VORNTake &take : project.takes)
            for (const VORNClip &clip : take.clips) {
                if (clip.localPath && !fileExists(*clip.localPath))
                    return u"the library names a file that is not there"_s;
                QDirIterator files(collector.recordings(), QDir::Files,
                                   QDirIterator::Subdirectories);
                while (files.hasNext()) {
                    const QString path = files.next();
                    if (path.endsWith(u".part"_s))
                        ++partials;
                    else if (sha256OfFile(path) != clip.sha256)
                        return u"a file bears its final name and is not whole"_s;
                }
            }
    return partials > 1 ? u"more than one partial file"_s : QString();
}

/// What has come of the one recording, under whichever name.
qint64 bytesOf(const Collector &collector)
{
    qint64 bytes = 0;
    QDirIterator files(collector.recordings(), QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext())
        bytes += QFileInfo(files.next()).size();
    return bytes;
}

} // namespace

class DownloadKillTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void endsWithTheRightFile()
    {
        bool isNumber = false;
        const int wanted = qEnvironmentVariableIntValue("VORN_KILLS", &isNumber);
        const int kills = isNumber ? wanted : 100;
        RigPhonesOptions options{.count = 1};
        options.clips = 1;
        options.more = {u"--clip-bytes"_s, QString::number(clipBytes)};
        RigPhones phones(options);
        phones.must(u"cam-a server on"_s);

        auto collector = std::make_unique<Collector>(phones);
        QElapsedTimer timer;
        timer.start();
        collector->start();
        QVERIFY2(collector->finishes(), collector->words().constData());
        const int wholeMs = int(timer.elapsed());
        QCOMPARE(faultOf(*collector), QString());

        std::mt19937 dice(20261125);
        int rounds = 0;
        int killed = 0;
        qint64 kept = 0;
        collector = std::make_unique<Collector>(phones);
        while (killed < kills) {
            collector->start();
            // A little longer than it takes, so that the last moments are hit as well.
            static_cast<void>(collector->waits(int(dice() % unsigned(wholeMs + wholeMs / 8))));
            const bool hadEnded = collector->kill();
            QCOMPARE(faultOf(*collector), QString());
            const qint64 bytes = bytesOf(*collector);
            QVERIFY2(bytes >= kept, "what had come was fetched again");
            kept = bytes;
            killed += !hadEnded;
            const VORNLibrary library = collector->library();
            if (!library.projects.empty() && isComplete(library.projects.front().takes.front())) {
                ++rounds;
                kept = 0;
                collector = std::make_unique<Collector>(phones);
            }
        }
        collector->start();
        QVERIFY2(collector->finishes(), collector->words().constData());
        QCOMPARE(faultOf(*collector), QString());
        qInfo("%d kills, %d downloads completed between them, %d ms for one at ease", killed,
              rounds, wholeMs);
    }
};

QTEST_GUILESS_MAIN(DownloadKillTest)
#include "download_kill_test.moc"
