// Downloads from phones in Transfer Mode, whole and broken off.

#include "base/digest.h"
#include "phone_desk.h"

#include <QDir>

#include <sys/resource.h>

#include <csignal>

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

/// What became of the entry that was touched last, without repeats.
class StatusRecord : public QObject {
public:
    explicit StatusRecord(const AppStore &store)
    {
        connect(&store, &AppStore::transfersChanged, this,
                [this, &store] { m_lines << stateText(store.transfers().back()); });
    }
    [[nodiscard]] const QStringList &lines() const { return m_lines; }

private:
    QStringList m_lines;
};

/// Limits the size of the files that this process can write, as a full disk would.
class SmallDisk {
public:
    explicit SmallDisk(rlim_t bytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_usual);
        rlimit small = m_usual;
        small.rlim_cur = bytes;
        ::setrlimit(RLIMIT_FSIZE, &small);
    }
    ~SmallDisk() { ::setrlimit(RLIMIT_FSIZE, &m_usual); }
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;

private:
    rlimit m_usual{};
};

} // namespace

class StoreDownloadTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        m_desk.emplace(RigPhonesOptions{
            .count = 2, .clips = 3, .more = {u"--clip-bytes"_s, QString::number(clipBytes)}});
        QVERIFY(m_original.isValid());
        init();
        QVERIFY(download());
        for (const VORNClip &clip : store().selectedTake()->clips)
            QVERIFY(QFile::copy(*clip.localPath, m_original.filePath(clip.fileName)));
    }
    void cleanupTestCase() { m_desk.reset(); }

    /// Each phone with two recordings in the first take, and a session.
    void init()
    {
        desk().close();
        desk().phones.must(u"all reset"_s);
        for (const QString &camera : {u"cam-a"_s, u"cam-b"_s}) {
            const QString takes = camera + u" catalog%1 /projects/0/takes/"_s;
            desk().phones.must(takes.arg(u"-copy"_s) + u"1/clips/0 /projects/0/takes/0/clips/-"_s);
            desk().phones.must(takes.arg(QString()) + u"1 none"_s);
            // A take has one recording of a camera; a phone may have two cameras.
            desk().phones.must(takes.arg(QString())
                               + u"0/clips/1/cameraId \"%1-tele\""_s.arg(camera));
        }
        desk().phones.must(u"all server on"_s);
        desk().startOver();
        QVERIFY(desk().pair(u"cam-a"_s));
        m_logged = desk().messages().size();
    }

    void fetchesInRangesAndVerifies()
    {
        QVERIFY(store().canDownloadSelectedTake());
        const VORNClip clip = this->clip(0);
        const StatusRecord record(store());
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
        QCOMPARE(record.lines().first(6),
                 (QStringList{u"Downloading 0 of %1: Resuming"_s.arg(total),
                              u"Downloading %1 of %2: Downloading"_s.arg(chunk).arg(total),
                              u"Downloading %1 of %2: Downloading"_s.arg(2 * chunk).arg(total),
                              u"Downloading %1 of %1: Downloading"_s.arg(total),
                              u"Verifying %1 of %1: Checking SHA-256"_s.arg(total),
                              u"Ready %1 of %1: Verified"_s.arg(total)}));
        QCOMPARE(store().transfers().size(), 2U);
        QCOMPARE(ranges().first(3), (QStringList{u"bytes=0-8388607"_s, u"bytes=8388608-16777215"_s,
                                                 u"bytes=16777216-19999999"_s}));
        QCOMPARE(messages(),
                 (QStringList{u"Downloaded and verified %1."_s.arg(clip.fileName),
                              u"Downloaded and verified %1."_s.arg(this->clip(1).fileName)}));

        const QString path = pathOf(clip);
        QCOMPARE(this->clip(0).localPath, path);
        QCOMPARE(sha256OfFile(path), clip.sha256);
        QVERIFY(!somethingExistsAt(path + u".part"_s));
        QCOMPARE(AppStore(desk().storage()).library(), store().library());
        QCOMPARE(progress.front().allTotalBytes, 2 * clipBytes);
        QCOMPARE(progress.back().allBytes(), 2 * clipBytes);
        QCOMPARE(progress.back().clipIndex, 1U);
        QVERIFY(!store().downloadProgress());
        // Within a stage bytes only grow; what is verified is counted by itself.
        qsizetype verifying = 0;
        for (std::size_t i = 1; i < progress.size(); ++i) {
            const DownloadProgress &before = progress[i - 1];
            const DownloadProgress &now = progress[i];
            verifying += now.verifiedBytes.value_or(0) > 0 ? 1 : 0;
            if (now.stage == before.stage)
                QVERIFY(now.clipBytes >= before.clipBytes
                        && now.verifiedBytes.has_value() == before.verifiedBytes.has_value());
        }
        QVERIFY(verifying >= 2);

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
        const StatusRecord record(store());
        QVERIFY(download());
        QCOMPARE(record.lines().front(),
                 u"Downloading %1 of %2: Resuming"_s.arg(partial).arg(clipBytes));
        QCOMPARE(ranges().first(asked.size()), asked);
        QCOMPARE(ranges().size(), asked.size() + 3); // those of the second recording
        QCOMPARE(sha256OfFile(pathOf(clip(0))), clip(0).sha256);
    }

    void refusesAPartialThatIsTooLarge()
    {
        const QString path = pathOf(clip(0)) + u".part"_s;
        writeAt(path, QByteArray(clipBytes + 1, 'x'));
        QVERIFY(download());
        const QString text =
            u"Download failed for %1: Partial file is larger than catalog size."_s.arg(
                clip(0).fileName);
        QCOMPARE(messages().first(), u"! "_s + text);
        QCOMPARE(store().errorMessage(), text);
        QCOMPARE(fileSizeOf(path), clipBytes + 1);
        QVERIFY(isLocal(clip(1))); // the next one is fetched
        QCOMPARE(store().transferSessions().size(), 1U);
    }

    void takesWhatIsThereAlready()
    {
        const QByteArray before = desk().libraryText();
        for (const int index : {0, 1})
            writeAt(pathOf(clip(index)), content(index));
        QVERIFY(download());
        QCOMPARE(clip(1).localPath, pathOf(clip(1)));
        QCOMPARE(messages(), QStringList());
        QCOMPARE(ranges(), QStringList());
        QCOMPARE(clip(0).localPath, pathOf(clip(0)));
        QCOMPARE(store().transfers().size(), 2U);
        QCOMPARE(stateText(store().transfers().back()),
                 u"Ready %1 of %1: Verified"_s.arg(clipBytes));
        QCOMPARE(desk().libraryText(), before); // stands in memory until the next save
    }

    void neverTouchesAnotherFile()
    {
        writeAt(pathOf(clip(0)), "footage of somebody");
        QVERIFY(download());
        QCOMPARE(messages().first(),
                 u"! Download failed for %1: Existing destination hash differs; move it before "
                 "retrying."_s.arg(clip(0).fileName));
        QCOMPARE(readFile(pathOf(clip(0)), 100), QByteArray("footage of somebody"));
        QVERIFY(!isLocal(clip(0)) && isLocal(clip(1)));
        QCOMPARE(store().transferSessions().size(), 1U);
    }

    void withdrawsAfterWhatThePhoneDidWrong_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("text");
        QTest::addColumn<std::int64_t>("kept"); // bytes of the partial file
        QTest::newRow("status") << u"http files status 500"_s
                                << u"Transfer server returned HTTP 500."_s << std::int64_t{0};
        QTest::newRow("header in the second range")
            << u"http files header X-VORN-SHA256 none"_s << QString() << chunk;
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
            desk().phones.must(u"cam-a http files good 1"_s);
        desk().phones.must(u"cam-a "_s + fault);
        const int before = fileRequests();
        QVERIFY(download());

        const QStringList said = messages();
        QCOMPARE(said.size(), 3);
        QVERIFY2(said[0].startsWith(u"! Download failed for %1: %2"_s.arg(clip(0).fileName, text)),
                 qPrintable(said[0]));
        QCOMPARE(said[1],
                 u"! Secure transfer authorization was cancelled after a transport failure."_s);
        const QString next =
            u"%1 has no compatible range-download metadata."_s.arg(clip(1).fileName);
        QCOMPARE(said[2], u"! "_s + next);
        QCOMPARE(store().errorMessage(), next);
        QCOMPARE(store().transfers().size(), 1U);
        QVERIFY(stateText(store().transfers().front())
                    .startsWith(u"Failed 0 of %1: %2"_s.arg(clipBytes).arg(text)));
        QVERIFY(store().transferSessions().empty() && !store().canDownloadSelectedTake());
        QCOMPARE(fileSizeOf(pathOf(clip(0)) + u".part"_s), kept);
        QVERIFY(!isLocal(clip(0)) && !somethingExistsAt(pathOf(clip(0))));
        const int ranges = fault.contains(u"wrong"_s) ? 3 : kept > 0 ? 2 : 1;
        QCOMPARE(fileRequests(), before + ranges);
        QTRY_COMPARE(desk().phones.transfer(u"cam-a"_s)[u"open"_s].toInt(), 0);

        // The way out: pair again, go on.
        desk().phones.must(u"cam-a http files ok"_s);
        QVERIFY(desk().pair(u"cam-a"_s));
        QVERIFY(download());
        QVERIFY(isComplete(*store().selectedTake()));
    }

    void saysWhatItCannotFetch()
    {
        // A library whose clips name this phone, and addresses that it never gave.
        const QString device = store().transferSessions().front().deviceId;
        const QString origin = desk().device(u"cam-a"_s).catalogURL.toString().section(u'/', 0, 2);
        VORNTake take;
        take.id = u"old"_s;
        const auto add = [&](const QString &name, const std::optional<QString> &url,
                             std::optional<std::int64_t> bytes,
                             const std::optional<QString> &deviceId) {
            VORNClip clip;
            clip.id = name;
            clip.cameraId = u"cam-a"_s;
            clip.fileName = name + u".mov"_s;
            clip.sha256 = QString(64, u'a');
            clip.remoteURL = url;
            clip.sizeBytes = bytes;
            clip.deviceId = deviceId;
            take.clips.push_back(clip);
        };
        const QString files = origin + u"/vorn/v1/files/"_s;
        add(u"empty"_s, files + u"empty"_s, 0, device);
        add(u"unsized"_s, files + u"unsized"_s, {}, device);
        add(u"nowhere"_s, {}, 5, device);
        add(u"garbled"_s, origin + u":port/vorn/v1/files/garbled"_s, 5, device);
        add(u"nobody"_s, files + u"nobody"_s, 5, {});
        add(u"stranger"_s, files + u"stranger"_s, 5, u"somebody else"_s);
        add(u"away"_s, u"https://192.0.2.1/vorn/v1/files/away"_s, 5, device);
        desk().close();
        LibraryFile(desk().storage())
            .save({{{.id = u"p"_s, .name = u"Old"_s, .revision = 1, .takes = {take}}}});
        desk().open();
        QVERIFY(desk().pair(u"cam-a"_s));
        QCOMPARE(store().selectedTake()->id, u"old"_s);
        QVERIFY(!store().canDownloadSelectedTake()); // of one, the phone has no session
        m_logged = desk().messages().size();
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

    void startsWithLiveSessionsOnly()
    {
        QVERIFY(desk().pair(u"cam-b"_s)); // whose recordings are in the same take
        QVERIFY(store().canDownloadSelectedTake());
        QVERIFY(
            Outcome(ended(store().endTransferSession(store().transferSessions().back().deviceId)))
                .value());
        QVERIFY(!store().canDownloadSelectedTake());
        desk().phones.must(u"cam-b server on"_s);
        desk().phones.must(u"cam-b expiry 2"_s);
        QVERIFY(desk().pair(u"cam-b"_s));
        QVERIFY(store().canDownloadSelectedTake());
        QTRY_VERIFY(!store().canDownloadSelectedTake());
        QCOMPARE(store().transferSessions().size(), 2U); // stays until the user ends it
    }

    void fetchesOneAfterTheOther()
    {
        QVERIFY(desk().pair(u"cam-b"_s));
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

    void findsAPhoneThatHasMoved()
    {
        QVERIFY(desk().pair(u"cam-b"_s));
        desk().phones.must(u"cam-a http files body slow 1000"_s);
        Outcome fetching(ended(store().downloadSelectedTake()));
        QTRY_VERIFY(store().downloadProgress() && store().downloadProgress()->clipBytes > 0);
        const QUrl before = desk().device(u"cam-b"_s).catalogURL;
        desk().phones.must(u"cam-b server on"_s);
        QVERIFY(desk().device(u"cam-b"_s).catalogURL != before);
        QVERIFY(desk().pair(u"cam-b"_s));
        desk().phones.must(u"cam-a http files ok"_s);
        desk().phones.must(u"cam-a hang-up"_s);
        QVERIFY(fetching.value());
        QCOMPARE(messages().filter(u"Downloaded and verified"_s).size(), 2); // those of cam-b
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
        library.projects[0].takes[0].clips.push_back(second);
        desk().close();
        LibraryFile(desk().storage()).save(library);
        desk().open();
        QVERIFY(desk().pair(u"cam-a"_s));
        QVERIFY(download());
        QCOMPARE(messages().last(), u"! Download failed for %1: Existing destination hash differs; "
                                    "move it before retrying."_s.arg(second.fileName));
        QCOMPARE(sha256OfFile(pathOf(first)), first.sha256);

        // Nor does it go on with what the first has left, here more than either of them takes.
        const QString partial = pathOf(first) + u".part"_s;
        library.projects[0].takes[0].clips[0].localPath.reset();
        desk().close();
        LibraryFile(desk().storage()).save(library);
        QVERIFY(QFile::rename(partial.chopped(5), partial));
        QVERIFY(QFile::resize(partial, clipBytes + 1));
        desk().open();
        QVERIFY(desk().pair(u"cam-a"_s));
        m_logged = desk().messages().size();
        QVERIFY(download());
        QVERIFY(messages().first().endsWith(u"Partial file is larger than catalog size."_s));
        QCOMPARE(messages().last(), u"! Download failed for %1: Existing destination hash differs; "
                                    "move it before retrying."_s.arg(second.fileName));
    }

    void aFullDiskKeepsWhatItHas()
    {
        {
            const SmallDisk disk(10'000'000);
            QVERIFY(download());
        }
        QCOMPARE(messages().size(), 2);
        QCOMPARE(messages().first(),
                 u"! Download failed for %1: Cannot write %2.part: File too large."_s.arg(
                     clip(0).fileName, pathOf(clip(0))));
        QCOMPARE(fileSizeOf(pathOf(clip(0)) + u".part"_s), 10'000'000);
        QCOMPARE(store().transferSessions().size(), 1U);
        QVERIFY(download());
        QVERIFY(isComplete(*store().selectedTake()));
        QVERIFY(ranges().contains(u"bytes=10000000-18388607"_s));
    }

    void endsWithTheStoreAtAnyTime()
    {
        desk().phones.must(u"cam-a http files good 1"_s);
        desk().phones.must(u"cam-a http files body slow 1000"_s);
        const QString partial = pathOf(clip(0)) + u".part"_s;
        Outcome fetching(ended(store().downloadSelectedTake()));
        QTRY_COMPARE(store().transfers().empty() ? 0 : store().transfers()[0].completedBytes,
                     chunk);
        desk().close();
        QVERIFY(fetching.value());
        QCOMPARE(fileSizeOf(partial), chunk);
        QTRY_COMPARE(desk().phones.transfer(u"cam-a"_s)[u"open"_s].toInt(), 0);
    }

    void endsWithItsSession()
    {
        desk().phones.must(u"cam-a http files body slow 1000"_s);
        Outcome fetching(ended(store().downloadSelectedTake()));
        QTRY_VERIFY(store().downloadProgress() && store().downloadProgress()->clipBytes > 0);
        const int before = desk().requests(u"cam-a"_s, u"end"_s);
        Outcome ending(
            ended(store().endTransferSession(store().transferSessions().front().deviceId)));
        QVERIFY(fetching.value());
        QVERIFY(ending.value());
        QCOMPARE(desk().requests(u"cam-a"_s, u"end"_s), before + 1); // the phone knows
        QVERIFY(store().transferSessions().empty());
        QVERIFY(
            messages().first().startsWith(u"! Download failed for %1: "_s.arg(clip(0).fileName)));
    }

    void leavesANewerSessionAlone()
    {
        desk().phones.must(u"cam-a http files body slow 1000"_s);
        Outcome fetching(ended(store().downloadSelectedTake()));
        QTRY_VERIFY(store().downloadProgress() && store().downloadProgress()->clipBytes > 0);
        desk().phones.must(u"cam-a http files ok"_s);
        QVERIFY(desk().pair(u"cam-a"_s));
        QVERIFY(fetching.value());
        QCOMPARE(store().transferSessions().size(), 1U);
        QVERIFY(!isLocal(clip(0)) && isLocal(clip(1)));
        QVERIFY(store().canDownloadSelectedTake());
        QVERIFY(download());
        QVERIFY(isComplete(*store().selectedTake()));
    }

private:
    [[nodiscard]] PhoneDesk &desk() { return *m_desk; }
    [[nodiscard]] AppStore &store() { return m_desk->store(); }
    [[nodiscard]] VORNClip clip(int index) { return store().selectedTake()->clips.at(index); }

    bool download() { return Outcome(ended(store().downloadSelectedTake())).value(); }

    [[nodiscard]] QString pathOf(const VORNClip &clip)
    {
        return QStringList{desk().recordings(),        store().selectedProject()->id,
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
    static std::int64_t fileSizeOf(const QString &path) { return QFile(path).size(); }
    [[nodiscard]] int fileRequests() { return desk().requests(u"cam-a"_s, u"files"_s); }
    /// What was asked for since the session began.
    [[nodiscard]] QStringList ranges()
    {
        QStringList asked;
        for (const QJsonValue request : desk().phones.transfer(u"cam-a"_s)[u"requests"_s].toArray())
            if (request[u"route"_s] == u"pair"_s)
                asked.clear();
            else if (request[u"route"_s] == u"files"_s)
                asked << request[u"headers"_s][u"range"_s].toString();
        return asked;
    }
    [[nodiscard]] QStringList messages() { return desk().messages(m_logged); }

    std::optional<PhoneDesk> m_desk;
    QTemporaryDir m_original; ///< what the phone serves
    qsizetype m_logged = 0;   ///< messages before the test began
};

QTEST_GUILESS_MAIN(StoreDownloadTest)
#include "store_download_test.moc"
