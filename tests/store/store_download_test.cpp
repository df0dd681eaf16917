// SPDX-License-Identifier: Apache-2.0

// Downloads from phones in Transfer Mode, whole and broken off.

#include "base/digest.h"
#include "phone_desk.h"
#include "store/partial_recording.h"

#include <QDir>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

constexpr std::int64_t clipBytes = 20'000'000;
constexpr std::int64_t chunk = 8'388'608;

QString stateText(const TransferStatus &status)
{
    return u"%1 %2 of %3: %4"_s.arg(transferPhaseText(status.phase))
        .arg(status.completedBytes)
        .arg(status.totalBytes)
        .arg(status.message);
}

} // namespace

class StoreDownloadTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_original.isValid());
        init();
        QVERIFY(download());
        for (const VORNClip &clip : store().selectedTake()->clips)
            QVERIFY(QFile::copy(*clip.localPath, m_original.filePath(clip.fileName)));
    }

    /// Each phone with two recordings in the first take, and a session.
    void init()
    {
        m_desk.close();
        m_desk.phones.must(u"all reset"_s);
        for (const QString &camera : {u"cam-a"_s, u"cam-b"_s}) {
            const QString takes = camera + u" catalog%1 /projects/0/takes/"_s;
            m_desk.phones.must(takes.arg(u"-copy"_s) + u"1/clips/0 /projects/0/takes/0/clips/-"_s);
            m_desk.phones.must(takes.arg(QString()) + u"1 none"_s);
            // A take has one recording of a camera; a phone may have two cameras.
            m_desk.phones.must(takes.arg(QString())
                               + u"0/clips/1/cameraId \"%1-tele\""_s.arg(camera));
        }
        m_desk.phones.must(u"all server on"_s);
        m_desk.startOver();
        QVERIFY(m_desk.pair(u"cam-a"_s));
        m_logged = qsizetype(store().activities().size());
        m_states.clear();
        connect(&store(), &AppStore::transfersChanged, this,
                [this] { m_states << stateText(store().transfers().back()); });
    }

    void fetchesInRangesAndVerifies()
    {
        QVERIFY(store().canDownloadSelectedTake());
        const VORNClip clip = this->clip(0);
        std::vector<DownloadProgress> progress;
        connect(&store(), &AppStore::downloadProgressChanged, this, [&] {
            if (store().downloadProgress())
                progress.push_back(*store().downloadProgress());
        });
        const QSignalSpy ended(&store(), &AppStore::downloadsEnded);
        QVERIFY(download());
        disconnect(&store(), &AppStore::downloadProgressChanged, this, nullptr);
        QCOMPARE(ended, (QList<QVariantList>{{qulonglong(0)}}));

        const QString total = QString::number(clipBytes);
        QCOMPARE(m_states.first(6),
                 (QStringList{u"Downloading 0 of %1: Resuming"_s.arg(total),
                              u"Downloading %1 of %2: Downloading"_s.arg(chunk).arg(total),
                              u"Downloading %1 of %2: Downloading"_s.arg(2 * chunk).arg(total),
                              u"Downloading %1 of %1: Downloading"_s.arg(total),
                              u"Verifying %1 of %1: Checking SHA-256"_s.arg(total),
                              u"Ready %1 of %1: Verified"_s.arg(total)}));
        QCOMPARE(ranges().first(3), (QStringList{u"bytes=0-8388607"_s, u"bytes=8388608-16777215"_s,
                                                 u"bytes=16777216-19999999"_s}));
        QCOMPARE(messages(),
                 (QStringList{u"Downloaded and verified %1."_s.arg(clip.fileName),
                              u"Downloaded and verified %1."_s.arg(this->clip(1).fileName)}));

        const QString path = pathOf(clip);
        QCOMPARE(this->clip(0).localPath, path);
        QCOMPARE(sha256OfFile(path), clip.sha256);
        QVERIFY(!somethingExistsAt(path + u".part"_s));
        QCOMPARE(AppStore(m_desk.storage()).library(), store().library());
        QCOMPARE(progress.front().allTotalBytes, 2 * clipBytes);
        QCOMPARE(progress.back().allBytes(), 2 * clipBytes);
        QCOMPARE(progress.back().clipIndex, 1U);
        QVERIFY(!store().downloadProgress());
        // Within a stage bytes only grow; what is verified is counted by itself.
        const auto isTornBack = [](const DownloadProgress &before, const DownloadProgress &now) {
            return now.stage == before.stage
                   && (now.clipBytes < before.clipBytes
                       || now.verifiedBytes.has_value() != before.verifiedBytes.has_value());
        };
        QVERIFY(std::ranges::adjacent_find(progress, isTornBack) == progress.end());
        QVERIFY(std::ranges::count_if(
                    progress,
                    [](const DownloadProgress &now) { return now.verifiedBytes.value_or(0) > 0; })
                >= 2);

        // Nothing is left to fetch.
        QVERIFY(!store().canDownloadSelectedTake());
        const int files = fileRequests();
        QVERIFY(download());
        QCOMPARE(fileRequests(), files);
    }

    void goesOnWhereItStopped_data()
    {
        QTest::addColumn<std::int64_t>("partial"); // bytes of "<name>.part"
        QTest::addColumn<QStringList>("asked");
        QTest::newRow("middle") << std::int64_t{
            10'000'000} << QStringList{u"bytes=10000000-18388607"_s, u"bytes=18388608-19999999"_s};
        QTest::newRow("whole") << clipBytes << QStringList();
    }
    void goesOnWhereItStopped()
    {
        QFETCH(const std::int64_t, partial);
        QFETCH(const QStringList, asked);
        writeAt(pathOf(clip(0)) + u".part"_s, content(0).first(partial));
        QVERIFY(download());
        QCOMPARE(m_states.first(), u"Downloading %1 of %2: Resuming"_s.arg(partial).arg(clipBytes));
        QCOMPARE(ranges().first(asked.size()), asked);
        QCOMPARE(ranges().size(), asked.size() + 3); // those of the second recording
        QCOMPARE(sha256OfFile(pathOf(clip(0))), clip(0).sha256);
    }

    void takesWhatIsThereAlready()
    {
        const QByteArray before = m_desk.libraryText();
        for (const int index : {0, 1})
            writeAt(pathOf(clip(index)), content(index));
        QVERIFY(download());
        for (const int index : {0, 1})
            QCOMPARE(clip(index).localPath, pathOf(clip(index)));
        QCOMPARE(messages(), QStringList());
        QCOMPARE(ranges(), QStringList());
        QCOMPARE(m_states, QStringList(2, u"Ready %1 of %1: Verified"_s.arg(clipBytes)));
        QCOMPARE(m_desk.libraryText(), before); // stands in memory until the next save
    }

    void leavesWhatItDidNotExpect_data()
    {
        QTest::addColumn<QString>("suffix"); // of what lies there
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("reason");
        QTest::newRow("too large a partial file") << u".part"_s << QByteArray(clipBytes + 1, 'x')
                                                  << u"Partial file is larger than catalog size."_s;
        QTest::newRow("another file")
            << QString() << QByteArray("footage of somebody")
            << u"Existing destination hash differs; move it before retrying."_s;
    }
    void leavesWhatItDidNotExpect()
    {
        QFETCH(const QString, suffix);
        QFETCH(const QByteArray, bytes);
        QFETCH(const QString, reason);
        writeAt(pathOf(clip(0)) + suffix, bytes);
        QVERIFY(download());
        const QString text = u"Download failed for %1: %2"_s.arg(clip(0).fileName, reason);
        QCOMPARE(messages().first(), u"! "_s + text);
        QCOMPARE(store().errorMessage(), text);
        QVERIFY(readFile(pathOf(clip(0)) + suffix, clipBytes + 1) == bytes);
        QVERIFY(!isLocal(clip(0)) && isLocal(clip(1))); // the next one is fetched
        QCOMPARE(store().transferSessions().size(), 1U);
    }

    void withdrawsAfterWhatThePhoneDidWrong_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("text");
        QTest::addColumn<std::int64_t>("kept"); // bytes of the partial file
        QTest::newRow("cut in the second range")
            << u"http files body cut 1000"_s << u"The connection to the camera was lost."_s
            << chunk;
        QTest::newRow("other bytes")
            << u"http files body wrong"_s
            << u"Downloaded SHA-256 does not match the phone catalog."_s << std::int64_t{0};
    }
    void withdrawsAfterWhatThePhoneDidWrong()
    {
        QFETCH(const QString, fault);
        QFETCH(const QString, text);
        QFETCH(const std::int64_t, kept);
        if (kept > 0)
            m_desk.phones.must(u"cam-a http files good 1"_s);
        m_desk.phones.must(u"cam-a "_s + fault);
        const int before = fileRequests();
        QVERIFY(download());

        const QStringList said = messages();
        QCOMPARE(said.size(), 3);
        QVERIFY2(said[0].startsWith(u"! Download failed for %1: %2"_s.arg(clip(0).fileName, text)),
                 qPrintable(said[0]));
        QCOMPARE(said[1],
                 u"! Secure transfer authorization was cancelled after a transport failure."_s);
        QCOMPARE(said[2],
                 u"! %1 has no compatible range-download metadata."_s.arg(clip(1).fileName));
        QCOMPARE(store().transfers().size(), 1U);
        QVERIFY(stateText(store().transfers().front())
                    .startsWith(u"Failed 0 of %1: %2"_s.arg(clipBytes).arg(text)));
        QVERIFY(store().transferSessions().empty() && !store().canDownloadSelectedTake());
        QCOMPARE(partialBytes(pathOf(clip(0))), kept);
        QVERIFY(!isLocal(clip(0)) && !somethingExistsAt(pathOf(clip(0))));
        QCOMPARE(fileRequests(), before + (kept > 0 ? 2 : 3));
        QTRY_COMPARE(m_desk.phones.transfer(u"cam-a"_s)[u"open"_s].toInt(), 0);

        // The way out: pair again, go on.
        m_desk.phones.must(u"cam-a http files ok"_s);
        QVERIFY(m_desk.pair(u"cam-a"_s));
        QVERIFY(download());
        QVERIFY(isComplete(*store().selectedTake()));
    }

    void saysWhatItCannotFetch()
    {
        // A library whose clips name this phone, and addresses that it never gave.
        const QString origin = m_desk.device(u"cam-a"_s).catalogURL.toString().section(u'/', 0, 2);
        const QString files = origin + u"/vorn/v1/files/"_s;
        VORNTake take;
        take.id = u"old"_s;
        const auto add = [&](const QString &name) -> VORNClip & {
            VORNClip &added = take.clips.emplace_back(clip(0));
            added.id = name;
            added.fileName = name + u".mov"_s;
            added.remoteURL = files + name;
            return added;
        };
        add(u"empty"_s).sizeBytes = 0;
        add(u"unsized"_s).sizeBytes.reset();
        add(u"nowhere"_s).remoteURL.reset();
        add(u"garbled"_s).remoteURL = origin + u":port/vorn/v1/files/garbled"_s;
        add(u"nobody"_s).deviceId.reset();
        add(u"stranger"_s).deviceId = u"somebody else"_s;
        add(u"away"_s).remoteURL = u"https://192.0.2.1/vorn/v1/files/away"_s;
        reopenOn({{{.id = u"p"_s, .name = u"Old"_s, .revision = 1, .takes = {take}}}});
        QCOMPARE(store().selectedTake()->id, u"old"_s);
        QVERIFY(!store().canDownloadSelectedTake()); // of one, the phone has no session
        const int before = fileRequests();
        const QSignalSpy ended(&store(), &AppStore::downloadsEnded);
        QVERIFY(download());
        QCOMPARE(ended, (QList<QVariantList>{{qulonglong(7)}}));
        QStringList said = messages();
        QCOMPARE(said.size(), 7);
        for (const QString &name :
             {u"empty"_s, u"unsized"_s, u"nowhere"_s, u"garbled"_s, u"nobody"_s, u"stranger"_s})
            QCOMPARE(said.takeFirst(),
                     u"! %1.mov has no compatible range-download metadata."_s.arg(name));
        QVERIFY2(said.front().startsWith(u"! Rejected file URL for away.mov: "_s),
                 qPrintable(said.front()));
        QVERIFY(store().transfers().empty());
        QCOMPARE(store().transferSessions().size(), 1U);
        QCOMPARE(fileRequests(), before);
    }

    void fetchesOneAfterTheOther()
    {
        QVERIFY(m_desk.pair(u"cam-b"_s));
        const QStringList takes{store().selectedProject()->takes[0].id,
                                store().selectedProject()->takes[1].id};
        Outcome first(ended(store().downloadSelectedTake()));
        QVERIFY(download()); // the same again: returns at once
        store().setSelectedTakeID(takes[1]);
        QVERIFY(download());
        QVERIFY(!first.isThere());
        QCOMPARE(store().downloadProgress()->clipCount, 6U);
        QVERIFY(first.value());
        for (const QString &take : takes) {
            store().setSelectedTakeID(take);
            QVERIFY(isComplete(*store().selectedTake()));
        }
        QCOMPARE(messages().filter(u"Downloaded and verified"_s).size(), 6);
    }

    void oneFileOneClip()
    {
        QVERIFY(download());
        // Another clip, the id of which becomes the same name of a folder.
        const VORNClip first = clip(0);
        VORNClip second = first;
        second.id = first.id.toUpper();
        second.localPath.reset();
        second.sha256 = QString(64, u'b');
        second.remoteURL = second.remoteURL->replace(first.id, second.id);
        QCOMPARE(pathOf(second), pathOf(first));
        VORNLibrary library = store().library();
        QList<VORNClip> &clips = library.projects[0].takes[0].clips;
        clips[1].localPath.reset();
        VORNClip same = clips[1]; // one recording by two ids
        same.id += u'-';
        same.remoteURL->append(u'-');
        clips += {second, same};
        reopenOn(library);
        QVERIFY(download());
        QCOMPARE(messages().last(), u"! Download failed for %1: Existing destination hash differs; "
                                    "move it before retrying."_s.arg(second.fileName));
        QCOMPARE(sha256OfFile(pathOf(first)), first.sha256);

        // Nor does it go on with what the first has left, here more than either of them takes.
        const QString partial = pathOf(first) + u".part"_s;
        clips[0].localPath.reset();
        QVERIFY(QFile::rename(partial.chopped(5), partial));
        QVERIFY(QFile::resize(partial, clipBytes + 1));
        reopenOn(library);
        QVERIFY(download());
        QVERIFY(messages().first().endsWith(u"Partial file is larger than catalog size."_s));
        QCOMPARE(messages().last(), u"! Download failed for %1: Existing destination hash differs; "
                                    "move it before retrying."_s.arg(second.fileName));
    }

    void endsWithTheStoreAtAnyTime()
    {
        m_desk.phones.must(u"cam-a http files good 1"_s);
        m_desk.phones.must(u"cam-a http files body slow 1000"_s);
        const QString path = pathOf(clip(0));
        Outcome fetching(ended(store().downloadSelectedTake()));
        QTRY_COMPARE(store().transfers().empty() ? 0 : store().transfers()[0].completedBytes,
                     chunk);
        m_desk.close();
        QVERIFY(fetching.value());
        QCOMPARE(partialBytes(path), chunk);
        QTRY_COMPARE(m_desk.phones.transfer(u"cam-a"_s)[u"open"_s].toInt(), 0);

        m_desk.phones.must(u"cam-a http files ok"_s);
        endsAtAnyTurn([this] { return ended(store().downloadSelectedTake()); });
        QVERIFY(isLocal(clip(0)));
        endsAtAnyTurn([this] { return ended(store().verifySelectedTake()); });
        endsAtAnyTurn([this] { return ended(store().checkSelectedTake()); });
        endsAtAnyTurn([this] { return m_desk.pairing(u"cam-b"_s); });
    }

    void leavesANewerSessionAlone()
    {
        Outcome fetching = m_desk.slowDownload(u"cam-a"_s);
        m_desk.phones.must(u"cam-a http files ok"_s);
        QVERIFY(m_desk.pair(u"cam-a"_s));
        QVERIFY(fetching.value());
        QCOMPARE(store().transferSessions().size(), 1U);
        QVERIFY(!isLocal(clip(0)) && isLocal(clip(1)));
        QVERIFY(store().canDownloadSelectedTake());
        QVERIFY(download());
        QVERIFY(isComplete(*store().selectedTake()));
    }

private:
    [[nodiscard]] AppStore &store() { return m_desk.store(); }
    [[nodiscard]] VORNClip clip(int index) { return store().selectedTake()->clips.at(index); }

    void reopenOn(const VORNLibrary &library)
    {
        m_desk.close();
        LibraryFile(m_desk.storage()).save(library);
        m_desk.open();
        QVERIFY(m_desk.pair(u"cam-a"_s));
        m_logged = qsizetype(store().activities().size());
    }
    /// Ends the store in each turn of the event loop that the task takes.
    void endsAtAnyTurn(const std::function<QCoro::Task<bool>()> &begin)
    {
        for (int turns = 0;; ++turns) {
            m_desk.open();
            QVERIFY(m_desk.pair(u"cam-a"_s));
            if (!isLocal(clip(0))) // what has come shortens the way
                QDir(m_desk.recordings()).removeRecursively();
            Outcome outcome(begin());
            for (int turn = 0; turn < turns && !outcome.isThere(); ++turn)
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
            if (outcome.isThere())
                return;
            m_desk.close();
            (void)outcome.value();
        }
    }
    bool download() { return Outcome(ended(store().downloadSelectedTake())).value(); }

    [[nodiscard]] QString pathOf(const VORNClip &clip)
    {
        return QStringList{m_desk.recordings(),        store().selectedProject()->id,
                           store().selectedTake()->id, clip.cameraId,
                           clip.id.toLower(),          clip.fileName}
            .join(u'/');
    }
    /// What the phone serves.
    [[nodiscard]] QByteArray content(int index)
    {
        return readFile(m_original.filePath(clip(index).fileName), clipBytes);
    }
    static void writeAt(const QString &path, const QByteArray &bytes)
    {
        QDir().mkpath(path.section(u'/', 0, -2));
        writePlain(path, bytes);
    }
    [[nodiscard]] int fileRequests() { return m_desk.requests(u"cam-a"_s, u"files"_s); }
    /// What was asked for since the session began.
    [[nodiscard]] QStringList ranges()
    {
        QStringList asked;
        for (const QJsonValue request : m_desk.phones.transfer(u"cam-a"_s)[u"requests"_s].toArray())
            if (request[u"route"_s] == u"pair"_s)
                asked.clear();
            else if (request[u"route"_s] == u"files"_s)
                asked << request[u"headers"_s][u"range"_s].toString();
        return asked;
    }
    [[nodiscard]] QStringList messages() { return vorn::messages(store(), m_logged); }

    PhoneDesk m_desk{
        {.count = 2, .clips = 3, .more = {u"--clip-bytes"_s, QString::number(clipBytes)}}};
    QTemporaryDir m_original; ///< what the phone serves
    qsizetype m_logged = 0;   ///< messages before the test began
    QStringList m_states;     ///< what became of the transfer that was touched last
};

QTEST_GUILESS_MAIN(StoreDownloadTest)
#include "store_download_test.moc"
