// SPDX-License-Identifier: Apache-2.0

#include "base/files.h"
#include "base/off_thread.h"
#include "library/manifest_import.h"
#include "messages.h"
#include "store/library_file.h"
#include "support.h"

#include <QProcess>
#include <QSemaphore>
#include <QTemporaryDir>
#include <QtTest>

#include <array>
#include <limits>
#include <memory>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

const QByteArray manifestText = R"({
    "schemaVersion": 1, "projectId": "p", "projectName": "Night", "takeId": "T1",
    "referenceCameraId": "A", "timelineFPS": "25",
    "clips": [{"cameraId": "A", "takeId": "T1", "path": "a 100%#?.mov", "sha256": "ab"}]})";

const QString digestOfAbc = u"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"_s;

/// What `sha256sum --check` says of a file in its folder, and its exit code.
QString checkedBySystem(const QString &path)
{
    QProcess check;
    check.setWorkingDirectory(folderOf(path));
    check.setProcessChannelMode(QProcess::MergedChannels);
    check.start(u"sha256sum"_s, {u"--check"_s, u"--strict"_s, u"--quiet"_s, fileNameOf(path)});
    check.waitForFinished();
    return u"%1 %2"_s.arg(check.exitCode()).arg(QString::fromUtf8(check.readAll()));
}

} // namespace

class AppStoreTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() { QVERIFY(m_folder.emplace().isValid()); }
    void cleanup() { m_store.reset(); }

    void startsFreshWithAnIdentityThatLasts()
    {
        const AppStore store(root());
        QVERIFY(store.library().projects.empty());
        QVERIFY(!store.selectedProject() && !store.selectedTake() && !store.errorMessage());
        QVERIFY(store.activities().empty());
        const QByteArray identity = readFile(root() + u"/collector-id.txt"_s, 100);
        QCOMPARE(QString::fromUtf8(identity), store.collectorIdentity());
        QCOMPARE(QUuid::fromString(store.collectorIdentity()).toString(QUuid::WithoutBraces),
                 store.collectorIdentity());
        QCOMPARE(AppStore(root()).collectorIdentity(), store.collectorIdentity());
        QCOMPARE(modeOf(root()), 0700);
        QCOMPARE(modeOf(root() + u"/collector-id.txt"_s), 0600);
        QVERIFY(!somethingExistsAt(root() + u"/library.json"_s));
    }

    void readsAnIdentityAndReplacesWhatIsNone()
    {
        const QString path = m_folder->filePath(u"collector-id.txt"_s);
        const QByteArray written = " 0D5C1F60-9C71-4B4E-8C6C-51B4A7F1E0AA\n";
        writePlain(path, written);
        QCOMPARE(AppStore(m_folder->path()).collectorIdentity(),
                 u"0d5c1f60-9c71-4b4e-8c6c-51b4a7f1e0aa"_s);
        QCOMPARE(readFile(path, 100), written);

        writePlain(path, "0d5c1f60-9c71-4b4e-8c6c-51b4a7f1e0a");
        const AppStore store(m_folder->path());
        QCOMPARE(readFile(path, 100), store.collectorIdentity().toUtf8());
    }

    void goesOnWithoutAFolder()
    {
        writePlain(m_folder->filePath(u"file"_s), {});
        AppStore store(m_folder->filePath(u"file/VORN"_s));
        QVERIFY(!store.errorMessage());
        QCOMPARE(
            messages(store),
            QStringList{u"! Could not persist this Mac's collector identity; a temporary identity "
                        "will be used."_s});
        store.createProject(u"Night"_s);
        QVERIFY(
            store.errorMessage()->startsWith(u"Could not save the VORN library: Cannot create"_s));
        QCOMPARE(store.selectedProject()->name, u"Night"_s); // the memory keeps it
        QCOMPARE(messages(store).last(), u"Created project Night."_s);
    }

    void createsProjects()
    {
        AppStore store(root());
        store.createProject(u"  \n"_s);
        QVERIFY(store.library().projects.empty() && store.activities().empty());
        store.createProject(u"Zoo"_s);
        store.createProject(u"  Night Shoot \n"_s);
        const VORNProject &project = store.library().projects.back();
        QCOMPARE(project.name, u"Night Shoot"_s);
        QCOMPARE(project.revision, std::optional<std::int64_t>(1));
        QCOMPARE(store.selectedProjectID(), project.id);
        QVERIFY(!store.selectedTakeID());
        QCOMPARE(messages(store).last(), u"Created project Night Shoot."_s);

        const AppStore again(root());
        QCOMPARE(again.library(), store.library());
        QCOMPARE(again.selectedProject()->name, u"Zoo"_s);
        QCOMPARE(modeOf(root() + u"/library.json"_s), 0600);
    }

    void renamesRegularProjectsOnly()
    {
        writePlain(m_folder->filePath(u"library.json"_s),
                   R"({"projects":[{"id":"p","name":"b","takes":[]},
                                   {"id":"unassigned-x","name":"c","takes":[]}]})");
        AppStore store(m_folder->path());
        store.renameSelectedProject(u" b "_s);
        store.renameSelectedProject(u" "_s);
        QVERIFY(store.activities().empty());
        store.renameSelectedProject(u" Delta "_s);
        QCOMPARE(store.selectedProject()->name, u"Delta"_s);
        QCOMPARE(store.selectedProject()->revision, std::optional<std::int64_t>(1));
        QCOMPARE(store.library().projects.back().id, u"p"_s);
        QCOMPARE(messages(store), QStringList{u"Renamed project to Delta."_s});

        store.setSelectedProjectID(u"unassigned-x"_s);
        store.renameSelectedProject(u"mine"_s);
        store.setSelectedProjectID(u"gone"_s);
        store.renameSelectedProject(u"mine"_s);
        QVERIFY(!store.selectedProject());
        QCOMPARE(store.activities().size(), std::size_t{1});
    }

    void refusesARenameThatNoRevisionCanTell()
    {
        const QByteArray library =
            R"({"projects":[{"id":"p","name":"b","takes":[],"revision":9223372036854775807}]})";
        writePlain(m_folder->filePath(u"library.json"_s), library);
        AppStore store(m_folder->path());
        store.renameSelectedProject(u"Delta"_s);
        QCOMPARE(store.errorMessage(),
                 u"Project b cannot be renamed: its revision is the highest there is."_s);
        QCOMPARE(store.selectedProject()->name, u"b"_s);
        QCOMPARE(readFile(m_folder->filePath(u"library.json"_s), 1000), library);
    }

    void countsForeignSizesWithinBounds()
    {
        constexpr auto most = std::numeric_limits<std::int64_t>::max();
        VORNClip clip;
        clip.sizeBytes = most;
        DownloadProgress progress;
        progress.begin(clip);
        progress.count(std::array{most, most});
        QCOMPARE(progress.allTotalBytes, most);
        progress.resumeAt(1);
        QCOMPARE(progress.allBytes(), 1);
        progress.begin(clip); // the first one has failed
        progress.resumeAt(1);
        QCOMPARE(progress.allBytes(), most);
        QCOMPARE(progress.clipIndex, 1U);
        clip.sizeBytes = -5;
        QCOMPARE(knownBytes(clip), 0);
    }

    void preparesTakes()
    {
        const QString refusal =
            u"Choose a regular project and a valid take ID before starting the Director session."_s;
        AppStore store(root());
        QVERIFY(!store.prepareDirectorTake(u"T1"_s)); // no project
        QCOMPARE(store.errorMessage(), refusal);
        store.createProject(u"Night"_s);
        const auto isPrepared = [&](const QString &id) { return store.prepareDirectorTake(id); };
        QVERIFY(!isPrepared(u" "_s) && !isPrepared(QString(97, u'x'))
                && !isPrepared(QString(49, u'é')));
        QVERIFY(isPrepared(QString(48, u'é')));
        QVERIFY(isPrepared(u" T1 "_s) && isPrepared(u"T1"_s));
        QCOMPARE(messages(store).filter(u"Prepared take T1"_s),
                 QStringList{u"Prepared take T1 for Night revision 1."_s});
        const VORNTake &take = *store.selectedTake();
        QCOMPARE(take.projectNameAtCapture, u"Night"_s);
        QCOMPARE(take.timelineFPS, u"30"_s);
        QVERIFY(QDateTime::fromString(*take.createdAt, Qt::ISODate).isValid()
                && take.createdAt->size() == 20 && take.createdAt->endsWith(u'Z'));
        QCOMPARE(store.selectedProject()->takes.front().id, u"T1"_s); // sorted: é stands after T

        store.renameSelectedProject(u"Day"_s);
        QVERIFY(!isPrepared(u"T1"_s));
        QCOMPARE(store.errorMessage(), u"Take T1 is frozen to a different project revision."_s);
        QVERIFY(isPrepared(u"T2"_s));
        QCOMPARE(store.selectedTake()->projectRevisionAtCapture, std::optional<std::int64_t>(2));
        QCOMPARE(AppStore(root()).library(), store.library());
    }

    void importsBesideOtherWork()
    {
        AppStore store(root());
        const QString manifest = m_folder->filePath(u"m.json"_s);
        writePlain(manifest, manifestText);
        // It is read on one of these threads, which all wait until something else has been done.
        const int threads = fileWorkPool()->maxThreadCount();
        const auto mayWork = std::make_shared<QSemaphore>(); // the last to wake may be late
        for (int i = 0; i < threads; ++i)
            fileWorkPool()->start([mayWork] { mayWork->acquire(); });
        const auto import = store.importManifest(manifest);
        store.createProject(u"Meanwhile"_s);
        const bool isBeside = store.library().projects.size() == 1;
        mayWork->release(threads);
        QVERIFY(isBeside);
        QTRY_COMPARE(store.selectedTakeID(), u"T1"_s);
        QCOMPARE(store.library().projects.size(), 2U);
        QCOMPARE(AppStore(root()).library(), store.library());
    }

    void importsATakeOrNothing()
    {
        AppStore store(root());
        const QString manifest = m_folder->filePath(u"m 100% #1?.json"_s);
        writePlain(manifest, manifestText);
        QCoro::waitFor(store.importManifest(manifest));
        QVERIFY2(!store.errorMessage(), qPrintable(store.errorMessage().value_or(QString())));
        QCOMPARE(messages(store), QStringList{u"Imported take T1 with 1 camera clip(s)."_s});
        QCOMPARE(store.selectedTake()->clips.front().localPath,
                 m_folder->filePath(u"a 100%#?.mov"_s));
        QCOMPARE(store.selectedTake()->clips.front().id, u"T1::A"_s);
        store.setReferenceCamera(u"B"_s);
        QCOMPARE(AppStore(root()).selectedTake()->referenceCameraId, u"B"_s);

        const QByteArray before = readFile(root() + u"/library.json"_s, 1 << 20);
        QCoro::waitFor(store.importManifest(manifest));
        QCOMPARE(store.errorMessage(),
                 u"Manifest import failed: Take T1 has conflicting reference cameras."_s);
        QCoro::waitFor(store.importManifest(u"/dev/zero"_s));
        QVERIFY(store.errorMessage()->startsWith(u"Manifest import failed: "_s));
        QVERIFY(store.errorMessage()->contains(u"/dev/zero"_s));
        QCOMPARE(readFile(root() + u"/library.json"_s, 1 << 20), before);
        QCOMPARE(store.selectedTakeID(), u"T1"_s);
    }

    void createsATakeOfMoviesOrLeavesNothing()
    {
        const QString recordings = m_folder->filePath(u"recordings"_s);
        AppStore store(root(), recordings);
        SourceManifest manifest;
        manifest.projectId = u"P"_s;
        manifest.projectName = u"P"_s;
        manifest.takeId = u"T: 1"_s;
        manifest.referenceCameraId = u"A"_s;
        manifest.clips.resize(1);
        manifest.clips.front().cameraId = u"A"_s;
        manifest.clips.front().path = u"/movies/a.mov"_s;
        manifest.clips.front().sha256 = QString(64, u'a');
        const bool isIn = QCoro::waitFor(store.createMovieTake(manifest));
        QVERIFY2(isIn, qPrintable(store.errorMessage().value_or(QString())));
        QCOMPARE(store.selectedTake()->sourceManifestPath, recordings + u"/t--1/manifest.json"_s);
        QCOMPARE(readSourceManifest(*store.selectedTake()->sourceManifestPath), manifest);
        QCOMPARE(store.selectedTake()->clips.front().localPath, u"/movies/a.mov"_s);

        manifest.referenceCameraId = u"B"_s;
        QVERIFY(!QCoro::waitFor(store.createMovieTake(manifest)));
        QCOMPARE(store.errorMessage(),
                 u"Manifest import failed: Take T: 1 has conflicting reference cameras."_s);
        QCOMPARE(QDir(recordings).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList{u"t--1"_s});

        AppStore elsewhere(root(), u"/dev/null/recordings"_s);
        QVERIFY(!QCoro::waitFor(elsewhere.createMovieTake(manifest)));
        QVERIFY(elsewhere.errorMessage()->startsWith(u"The take was not created: "_s));
    }

    void logsTheLastHundred()
    {
        AppStore store(root());
        for (int i = 0; i <= 100; ++i)
            store.log(QString::number(i));
        QCOMPARE(store.activities().size(), std::size_t{100});
        QCOMPARE(messages(store).last(), u"100"_s);
        QCOMPARE(messages(store).first(), u"1"_s);
    }

    void verifiesATakeAnew()
    {
        const QString folder = m_folder->path();
        writePlain(folder + u"/changed"_s, "abd");
        writePlain(folder + u"/cut"_s, "ab");
        QVERIFY(QFile::link(u"abc"_s, folder + u"/link"_s));
        QVERIFY(QFile::link(u"/media/no-such-disk/films"_s, folder + u"/away"_s));
        AppStore &store = storeOf({u"abc"_s,
                                   u"link"_s,
                                   u"changed"_s,
                                   u"cut"_s,
                                   u"gone"_s,
                                   u"no/folder/film"_s,
                                   u"/media/no-such-disk/films/film"_s,
                                   u"away/film"_s,
                                   u"."_s,
                                   u"abc"_s,
                                   {}});
        const QByteArray before = readFile(root() + u"/library.json"_s, 1 << 20);
        QCoro::waitFor(store.verifySelectedTake());
        const QString away = u"The disk that /media/no-such-disk lies on is not connected."_s;
        const QString summary = u"Verified take t. Matching: 2. Failed: 7 (c, d, e, f, g, h, i). "
                                "Without a checksum to compare with: 1. Not on this computer: 1."_s;
        const auto said = [&](const QString &sentence) { return sentence.arg(folder); };
        QCOMPARE(messages(store),
                 (QStringList{said(u"! c: %1/changed has changed: its checksum is another one."_s),
                              said(u"! d: %1/cut has 2 bytes instead of 3."_s),
                              said(u"! e: %1/gone is not there."_s),
                              said(u"! f: %1/no is not there."_s), u"! g: "_s + away,
                              u"! h: "_s + away, said(u"! i: %1/. is not a regular file."_s),
                              u"j: No checksum of it is known: there is nothing to compare with."_s,
                              u"! "_s + summary}));
        QCOMPARE(store.takeOutcome()->text, summary);
        QCOMPARE(store.errorMessage(), summary);
        QVERIFY(!store.isBusy() && !store.checkProgress());
        QCOMPARE(readFile(root() + u"/library.json"_s, 1 << 20), before);
    }

    void endsAVerificationWithTheStore()
    {
        AppStore &store = storeOf({u"abc"_s, u"long"_s});
        QVERIFY(QFile::resize(m_folder->filePath(u"long"_s), qint64{1} << 40)); // many minutes
        store.verifySelectedTake();
        save(m_folder->filePath(u"list"_s), ExistingFile::keep); // one at a time
        QTRY_COMPARE(store.checkProgress().value_or(CheckProgress()).cameraId, u"b"_s);
        QVERIFY(store.longWork() == LongWork::verifying);
        m_store.reset();
        QVERIFY(fileWorkPool()->waitForDone(20'000));
        QVERIFY(!somethingExistsAt(m_folder->filePath(u"list"_s)));
    }

    void checksAnExportForTheTakeAsItIs()
    {
        AppStore &store = storeOf({u"abc"_s, u"gone"_s});
        QCoro::waitFor(store.checkSelectedTake());
        QVERIFY(!store.isBusy() && !store.exportProgress() && !store.errorMessage());
        QCOMPARE(messages(store).last(), u"! Checked the export of take t: 4 things stand in the "
                                         "way of an export."_s);
        QCOMPARE(store.selectedExportCheck()->clips.size(), std::size_t(2));
        store.setReferenceCamera(u"a"_s);
        QVERIFY(!store.selectedExportCheck()); // it was another take

        QVERIFY(QFile::resize(m_folder->filePath(u"abc"_s), qint64{1} << 40)); // many minutes
        store.checkSelectedTake();
        QTRY_VERIFY(store.exportProgress());
        QVERIFY(store.longWork() == LongWork::checkingExport);
        store.cancelExport();
        QTRY_VERIFY(!store.isBusy());
        QVERIFY(!store.exportProgress() && !store.selectedExportCheck() && !store.errorMessage());
        QCOMPARE(messages(store).last(), u"! The check of the export was cancelled."_s);

        store.checkSelectedTake();
        QTRY_VERIFY(store.exportProgress());
        m_store.reset(); // ends with the store
        QVERIFY(fileWorkPool()->waitForDone(20'000));
    }

    void savesChecksumsForOthersToCheck()
    {
        const QString list = m_folder->filePath(u"list.sha256"_s);
        const QTemporaryDir elsewhere;
        const QStringList names{u"plain"_s,     u"back\\slash"_s,
                                u"new\nline"_s, u"return\r"_s,
                                u"-"_s,         u" *blank"_s,
                                u"é/日本"_s,    elsewhere.filePath(u"-"_s),
                                u"unknown"_s,   {}};
        AppStore &store = storeOf(names);
        QCoro::waitFor(save(list, ExistingFile::keep));
        QCOMPARE(messages(store), QStringList{u"Saved the checksums of take t as %1."_s.arg(list)});
        QCOMPARE(checkedBySystem(list), u"0 "_s);
        const QByteArray lines = readFile(list, 1 << 16);
        QCOMPARE(lines.count('\n'), 9);
        QVERIFY(lines.contains("\n" + digestOfAbc.toLatin1() + "  é/日本\n"));
        QVERIFY(lines.contains("  " + elsewhere.filePath(u"-"_s).toUtf8() + '\n'));

        writePlain(m_folder->filePath(u"new\nline"_s), "abd");
        QVERIFY(checkedBySystem(list).startsWith(u"1 \\new\\nline: FAILED\n"_s));
        // From a folder that the recordings are not below.
        const QString other = elsewhere.filePath(u"list"_s);
        QCoro::waitFor(save(other, ExistingFile::keep));
        QVERIFY(checkedBySystem(other).contains(u"%1/new\\nline: FAILED\n"_s.arg(folderOf(list))));

        // Nothing is replaced that nobody was asked about, and no recording whatever is said.
        QCoro::waitFor(save(other, ExistingFile::keep));
        QCOMPARE(store.errorMessage(),
                 u"Checksums could not be saved: Cannot write %1: File exists."_s.arg(other));
        QCoro::waitFor(save(other, ExistingFile::replace));
        QCOMPARE(messages(store).last(), u"Saved the checksums of take t as %1."_s.arg(other));
        const QString recording = m_folder->filePath(u"plain"_s);
        QCoro::waitFor(save(recording, ExistingFile::replace));
        QCOMPARE(store.errorMessage(),
                 u"Checksums could not be saved: %1 is a recording; choose another name."_s.arg(
                     recording));
        QCOMPARE(readFile(recording, 10), "abc");
        QVERIFY(QFile::remove(m_folder->filePath(u"unknown"_s)));
        QCoro::waitFor(save(list, ExistingFile::replace));
        QVERIFY(store.errorMessage()->endsWith(u"unknown: No such file or directory."_s));
        QCOMPARE(readFile(list, 1 << 16), lines);
        QVERIFY(!store.takeOutcome());
    }

private:
    /// A store with a take of recordings at these places, all of them said to be "abc"; of the last
    /// but one the checksum is unknown, and where no name is given there is none here. What is not
    /// there is made, but for "gone", and what has a folder that is not there.
    AppStore &storeOf(const QStringList &names)
    {
        VORNTake take;
        take.id = u"t"_s;
        for (const QString &name : names) {
            VORNClip clip;
            clip.cameraId = QChar(u'a' + char16_t(take.clips.size()));
            clip.id = clip.cameraId;
            clip.sha256 = take.clips.size() + 2 == names.size() ? u"none"_s : digestOfAbc.toUpper();
            if (name != u"long"_s)
                clip.sizeBytes = 3;
            const QString path = resolvedPath(m_folder->path(), name);
            if (!name.isEmpty())
                clip.localPath = name == u'.' ? m_folder->path() + u"/."_s : path;
            if (name == u"é/日本"_s)
                QDir(m_folder->path()).mkdir(u"é"_s);
            if (name != u"gone"_s && QFileInfo(folderOf(path)).isDir() && !fileExists(path))
                writePlain(path, "abc");
            take.clips.push_back(clip);
        }
        LibraryFile(root()).save({{VORNProject{u"p"_s, u"Night"_s, 1, {take}}}});
        return m_store.emplace(root());
    }

    QCoro::Task<> save(const QString &path, ExistingFile existing)
    {
        return m_store->saveChecksums(u"p"_s, u"t"_s, path, existing);
    }

    std::optional<AppStore> m_store; // of the tests that share how it is made
    [[nodiscard]] QString root() const { return m_folder->filePath(u"data/VORN"_s); }

    std::optional<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(AppStoreTest)
#include "app_store_test.moc"
