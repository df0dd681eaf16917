#include "base/files.h"
#include "base/off_thread.h"
#include "library/record_json.h"
#include "store/app_store.h"
#include "support.h"

#include <QSemaphore>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <functional>
#include <limits>
#include <memory>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

// What the system answers about the library while it is not 0.
int lookFailure = 0;
int renameFailure = 0;

} // namespace

// Stand before the system's.
extern "C" {
int lstat(const char *path, struct stat *status) noexcept
{
    if (lookFailure != 0 && QByteArrayView(path).endsWith("/library.json")) {
        errno = lookFailure;
        return -1;
    }
    static const auto real =
        reinterpret_cast<int (*)(const char *, struct stat *)>(::dlsym(RTLD_NEXT, "lstat"));
    return real(path, status);
}
int rename(const char *from, const char *to) noexcept
{
    if (renameFailure != 0 && QByteArrayView(to).endsWith("/library.json")) {
        errno = renameFailure;
        return -1;
    }
    static const auto real =
        reinterpret_cast<int (*)(const char *, const char *)>(::dlsym(RTLD_NEXT, "rename"));
    return real(from, to);
}
}

namespace {

QStringList messages(const AppStore &store)
{
    QStringList texts;
    for (const ActivityEntry &entry : store.activities())
        texts << (entry.isError ? u"! "_s : QString()) + entry.message;
    return texts;
}

const QByteArray manifestText = R"({
    "schemaVersion": 1, "projectId": "p", "projectName": "Night", "takeId": "T1",
    "referenceCameraId": "A", "timelineFPS": "25",
    "clips": [{"cameraId": "A", "takeId": "T1", "path": "a 100%#?.mov", "sha256": "ab"}]})";

} // namespace

class AppStoreTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        QVERIFY(m_folder.emplace().isValid());
        lookFailure = 0;
        renameFailure = 0;
    }

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
        QCOMPARE(messages(store).first(), u"Created project Night."_s);
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
        QCOMPARE(messages(store).first(), u"Created project Night Shoot."_s);

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
        for (const QString &path :
             {m_folder->path(), m_folder->filePath(u"gone.json"_s), u"/dev/zero"_s}) {
            QCoro::waitFor(store.importManifest(path));
            QVERIFY(store.errorMessage()->startsWith(u"Manifest import failed: "_s));
            QVERIFY(store.errorMessage()->contains(path));
        }
        writePlain(manifest,
                   QByteArray(manifestText).replace("\"sha256\": \"ab\"", "\"sha256\": 1"));
        QCoro::waitFor(store.importManifest(manifest));
        QCOMPARE(store.errorMessage(),
                 u"Manifest import failed: m 100% #1?.json: clips[0].sha256 is not a text"_s);
        QCOMPARE(readFile(root() + u"/library.json"_s, 1 << 20), before);
        QCOMPARE(store.selectedTakeID(), u"T1"_s);
    }

    void reportsAnExport()
    {
        AppStore store(root());
        writePlain(m_folder->filePath(u"m.json"_s), manifestText);
        QCoro::waitFor(store.importManifest(m_folder->filePath(u"m.json"_s)));
        QSignalSpy busy(&store, &AppStore::isBusyChanged);
        store.exportSelectedTake(m_folder->path());
        QTRY_VERIFY(!store.isBusy());
        QCOMPARE(busy.count(), 2);
        QCOMPARE(store.errorMessage(), u"Resolve export failed: Missing source: %1"_s.arg(
                                           m_folder->filePath(u"a 100%#?.mov"_s)));
        QCOMPARE(messages(store).first(), u"! "_s + *store.errorMessage());
        store.clearErrorMessage();
        QVERIFY(!store.errorMessage());
    }

    void keepsALibraryThatCannotBeRead_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("reason");
        QTest::newRow("no projects")
            << QByteArray("{}") << u"library.json: projects is missing (a list was expected)"_s;
        QTest::newRow("cut off")
            << QByteArray("{\"projects\": [")
            << u"library.json is not valid JSON: unterminated array at line 1, byte 14"_s;
    }

    void keepsALibraryThatCannotBeRead()
    {
        QFETCH(const QByteArray, bytes);
        QFETCH(const QString, reason);
        const QString path = m_folder->filePath(u"library.json"_s);
        writePlain(path, bytes);
        AppStore store(m_folder->path());
        QCOMPARE(store.errorMessage(), u"Could not load the VORN library: "_s + reason);
        QVERIFY(store.library().projects.empty());
        QCOMPARE(readFile(path, 100), bytes);

        store.createProject(u"Night"_s);
        store.createProject(u"Day"_s);
        const QStringList kept = unreadableFiles();
        QCOMPARE(kept.size(), 1);
        QCOMPARE(readFile(m_folder->filePath(kept.first()), 100), bytes);
        QCOMPARE(
            messages(store).filter(u"could not be read"_s),
            QStringList{u"The library that could not be read was kept as %1."_s.arg(kept.first())});
        QCOMPARE(AppStore(m_folder->path()).library(), store.library());
    }

    void keepsTheLastThreeUnreadableLibraries()
    {
        for (const char *bytes : {"1", "2", "3", "4"}) {
            writePlain(m_folder->filePath(u"library.json"_s), bytes);
            AppStore(m_folder->path()).createProject(u"Night"_s);
        }
        QByteArray all;
        for (const QString &name : unreadableFiles())
            all += readFile(m_folder->filePath(name), 10);
        QCOMPARE(all, QByteArray("234"));
    }

    void keepsOnceWhatItKeeps()
    {
        const QString path = m_folder->filePath(u"library.json"_s);
        const QString older = path + u".unreadable-20260101-000000-000"_s;
        writePlain(older, "older");
        writePlain(path, "newer");
        AppStore store(m_folder->path());
        renameFailure = EIO;
        for (int save = 0; save < 4; ++save)
            store.createProject(u"Night"_s);
        QCOMPARE(unreadableFiles().size(), 2);
        QCOMPARE(readFile(older, 10), QByteArray("older"));
        QCOMPARE(readFile(path, 10), QByteArray("newer"));
        renameFailure = 0;
        store.createProject(u"Day"_s);
        QCOMPARE(messages(store).filter(u"was kept as"_s),
                 QStringList{u"The library that could not be read was kept as %1."_s.arg(
                     unreadableFiles()[1])});
        QCOMPARE(AppStore(m_folder->path()).library(), store.library());
    }

    void whatIsNoReadableLibraryIsMovedAside_data()
    {
        QTest::addColumn<std::function<int(const char *)>>("make");
        QTest::addColumn<QString>("reason");
        QTest::addColumn<int>("kept");
        const auto row = [](const char *name, auto make, const QString &reason, int kept) {
            QTest::newRow(name) << std::function<int(const char *)>(make) << reason << kept;
        };
        const auto writesNothing = [](const char *at) {
            writePlain(QFile::decodeName(at), "{}");
            return 0;
        };
        row(
            "folder", [](const char *at) { return ::mkdir(at, 0700); },
            u"PATH is not a regular file."_s, 1);
        row(
            "pipe", [](const char *at) { return ::mkfifo(at, 0600); },
            u"PATH is not a regular file."_s, 1);
        row(
            "circle", [](const char *at) { return ::symlink("library.json", at); },
            u"Cannot open PATH: Too many levels of symbolic links."_s, 1);
        row(
            "link to a device", [](const char *at) { return ::symlink("/dev/zero", at); },
            u"PATH is not a regular file."_s, 1);
        row("gone at the first save", writesNothing,
            u"library.json: projects is missing (a list was expected)"_s, 0);
        row("cannot be looked at", writesNothing, u"Cannot open PATH: Input/output error."_s, 1);
    }
    void whatIsNoReadableLibraryIsMovedAside()
    {
        QFETCH(const std::function<int(const char *)>, make);
        QFETCH(QString, reason);
        QFETCH(const int, kept);
        const QString path = m_folder->filePath(u"library.json"_s);
        QCOMPARE(make(QFile::encodeName(path).constData()), 0);
        lookFailure = qstrcmp(QTest::currentDataTag(), "cannot be looked at") == 0 ? EIO : 0;
        AppStore store(m_folder->path());
        lookFailure = 0;
        QCOMPARE(store.errorMessage(),
                 u"Could not load the VORN library: "_s + reason.replace(u"PATH"_s, path));
        store.clearErrorMessage();
        if (kept == 0)
            QVERIFY(QFile::remove(path));
        store.createProject(u"Night"_s);
        QCOMPARE(store.errorMessage(), std::nullopt);
        QCOMPARE(QDir(m_folder->path())
                     .entryList({u"library.json.unreadable-*"_s},
                                QDir::AllEntries | QDir::System | QDir::Hidden)
                     .size(),
                 kept);
        QCOMPARE(AppStore(m_folder->path()).library(), store.library());
    }

    void aLibraryThatAppearsIsNotReplaced()
    {
        AppStore store(m_folder->path());
        const QString path = m_folder->filePath(u"library.json"_s);
        writePlain(path, R"({"projects":[]})");
        store.createProject(u"Night"_s);
        QCOMPARE(
            store.errorMessage(),
            u"Could not save the VORN library: %1 was not there when VORN Desktop started, and "
            "is not replaced. Start it again to work with that library."_s.arg(path));
        QCOMPARE(readFile(path, 100), QByteArray(R"({"projects":[]})"));
        QVERIFY(unreadableFiles().isEmpty());
        QVERIFY(QFile::remove(path));
        store.createProject(u"Day"_s);
        QCOMPARE(AppStore(m_folder->path()).library(), store.library());
    }

    void aLinkStaysALink()
    {
        const QString disk = m_folder->filePath(u"disk"_s);
        const QString real = disk + u"/my library"_s;
        QVERIFY(QDir().mkpath(root()));
        const QString path = root() + u"/library.json"_s;
        QVERIFY(QFile::link(u"../link"_s, path));
        QVERIFY(QFile::link(real, m_folder->filePath(u"data/link"_s)));
        AppStore absent(root());
        QCOMPARE(absent.errorMessage(),
                 u"Could not load the VORN library: %1 leads to %2, where nothing is."_s.arg(path,
                                                                                             real));
        absent.createProject(u"Night"_s);
        QCOMPARE(absent.errorMessage(),
                 u"Could not save the VORN library: Cannot write %1: No such "
                 "file or directory."_s.arg(real));
        QVERIFY(QDir().mkpath(disk));
        absent.createProject(u"Day"_s);
        QCOMPARE(AppStore(root()).library(), absent.library());

        writePlain(real, "spoilt");
        writePlain(disk + u"/vorn-desktop-"_s + QString(32, u'0') + u".tmp"_s, "of a killed save");
        AppStore store(root());
        store.removeAbandonedSaves();
        store.createProject(u"Night"_s);
        QCOMPARE(AppStore(root()).library(), store.library());
        QCOMPARE(QDir(disk).entryList(QDir::Files).size(), 2); // the library, and the one kept
        QVERIFY(
            messages(store).contains(u"The library that could not be read was kept as %1/%2."_s.arg(
                disk, QDir(disk).entryList(QDir::Files)[0])));
        QVERIFY(QFileInfo(path).isSymLink());
    }

    void logsTheLastHundred()
    {
        AppStore store(root());
        for (int i = 0; i <= 100; ++i)
            store.log(QString::number(i));
        QCOMPARE(store.activities().size(), std::size_t{100});
        QCOMPARE(messages(store).first(), u"100"_s);
        QCOMPARE(messages(store).last(), u"1"_s);
    }

private:
    [[nodiscard]] QString root() const { return m_folder->filePath(u"data/VORN"_s); }
    [[nodiscard]] QStringList unreadableFiles() const
    {
        return QDir(m_folder->path())
            .entryList({u"library.json.unreadable-*"_s}, QDir::Files, QDir::Name);
    }

    std::optional<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(AppStoreTest)
#include "app_store_test.moc"
