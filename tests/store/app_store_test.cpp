// SPDX-License-Identifier: Apache-2.0

#include "base/files.h"
#include "base/off_thread.h"
#include "library/manifest_import.h"
#include "messages.h"
#include "store/library_file.h"
#include "support.h"

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

} // namespace

class AppStoreTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() { QVERIFY(m_folder.emplace().isValid()); }

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

private:
    [[nodiscard]] QString root() const { return m_folder->filePath(u"data/VORN"_s); }

    std::optional<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(AppStoreTest)
#include "app_store_test.moc"
