// SPDX-License-Identifier: Apache-2.0

#include "base/files.h"
#include "library/record_json.h"
#include "messages.h"
#include "support.h"

#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

#include <dlfcn.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <functional>

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

/// A library of several takes, so that a write takes a while.
VORNLibrary sampleLibrary(int takes)
{
    VORNProject project{.id = u"p"_s, .name = u"Night"_s, .revision = 1, .takes = {}};
    for (int index = 0; index < takes; ++index) {
        VORNClip clip;
        clip.id = u"clip-%1"_s.arg(index);
        clip.cameraId = u"A/\n\"[{"_s;
        clip.anchors.assign(10, {1.5, 2.25, 0.9, 1});
        VORNTake take;
        take.id = u"take-%1"_s.arg(index);
        take.clips.fill(clip, 4);
        project.takes.push_back(take);
    }
    return {{project, {.id = u"q"_s, .name = u"empty"_s, .revision = {}, .takes = {}}}};
}

/// The other process: renames a project again and again, and prints each name once the call that
/// promises durability has returned.
int writeForEver(const QString &folder)
{
    AppStore store(folder);
    for (qint64 round = 0;; ++round) {
        store.renameSelectedProject(QString::number(round));
        std::printf("%lld\n", static_cast<long long>(round));
        std::fflush(stdout);
    }
}

/// In a mount namespace of its own: a disk comes over the folder after the first save.
int saveAcrossALateMount(const QString &folder)
{
    const QByteArray library = R"({"projects":[]})";
    AppStore store(folder);
    store.createProject(u"Night"_s);
    if (store.errorMessage()
        || ::mount("tmpfs", QFile::encodeName(folder).constData(), "tmpfs", 0, "size=1m") != 0)
        return 2;
    writePlain(folder + u"/library.json"_s, library);
    store.createProject(u"Day"_s);
    return store.errorMessage() && readFile(folder + u"/library.json"_s, 100) == library ? 0 : 1;
}

} // namespace

class LibraryDurabilityTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        QVERIFY(m_folder.emplace().isValid());
        lookFailure = 0;
        renameFailure = 0;
    }

    void savingOnlyWhatChangedWritesTheSameText()
    {
        LibraryFile file(m_folder->path());
        VORNLibrary library;
        const auto isWhole = [&] {
            file.save(library);
            return readFile(m_folder->filePath(u"library.json"_s), 1 << 24)
                       == jsonFromRecord(library)
                   && LibraryFile(m_folder->path()).load() == library;
        };
        QVERIFY(isWhole());
        library = sampleLibrary(20);
        file.adopt(LibraryFile::encodedTakes(library));
        QVERIFY(isWhole());
        library.projects[0].takes[7].clips[0].anchors[0].confidence = 0.8;
        library.projects[0].takes.erase(library.projects[0].takes.begin() + 3);
        library.projects[0].name = u"a [ \"takes\": ["_s;
        QVERIFY(isWhole());
        library.projects[0].takes.push_back(library.projects[0].takes[0]); // twice the same id
        library.projects[0].takes.back().timelineFPS = u"25"_s;
        QVERIFY(isWhole());
        library.projects.erase(library.projects.begin());
        QVERIFY(isWhole());
    }

    void aKillLeavesAWholeLibraryWithAllThatWasPromised()
    {
        LibraryFile(m_folder->path()).save(sampleLibrary(200));
        QRandomGenerator random(11);
        for (int round = 0; round < 40; ++round) {
            QProcess writer;
            writer.start(QCoreApplication::applicationFilePath(), {u"--write"_s, m_folder->path()});
            QTRY_VERIFY_WITH_TIMEOUT(writer.bytesAvailable() > 0, 20'000);
            QTest::qWait(random.bounded(20)); // a random instant, not a wait for something
            ::kill(pid_t(writer.processId()), SIGKILL);
            QVERIFY(writer.waitForFinished());
            const QByteArrayList promised = writer.readAllStandardOutput().split('\n');
            const qint64 last = promised.at(promised.size() - 2).toLongLong();

            AppStore store(m_folder->path());
            QVERIFY2(!store.errorMessage(), qPrintable(store.errorMessage().value_or(QString())));
            const qint64 found = store.selectedProject()->name.toLongLong();
            QVERIFY2(found == last || found == last + 1,
                     qPrintable(u"promised %1, found %2"_s.arg(last).arg(found)));
            QCOMPARE(store.library().projects[0].takes.size()
                         + store.library().projects[1].takes.size(),
                     std::size_t{200});
        }
        const auto files = [&] {
            return QDir(m_folder->path())
                .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
        };
        QVERIFY2(files().size() > 2, "no kill has left anything");
        QStringList others{u"collector-id.txt"_s, u"library.json"_s};
        const QString ours = u"vorn-desktop-0123456789abcdef0123456789abcde"_s;
        for (const QString &name : {u"library.json.tmp"_s, ours + u".tmp"_s, ours + u"f.tmp\n"_s}) {
            writePlain(m_folder->filePath(name), "somebody's");
            others << name;
        }
        others << ours + u"0.tmp"_s << ours + u"1.tmp"_s;
        QVERIFY(QDir(m_folder->path()).mkdir(ours + u"0.tmp"_s));
        QVERIFY(QFile::link(m_folder->filePath(others[1]), m_folder->filePath(ours + u"1.tmp"_s)));
        AppStore(m_folder->path()).removeAbandonedSaves();
        others.sort();
        QCOMPARE(files(), others);
    }

    void aLateMountIsNotWrittenOver()
    {
        QProcess process;
        process.start(u"unshare"_s,
                      {u"--map-root-user"_s, u"--mount"_s, QCoreApplication::applicationFilePath(),
                       u"--late-mount"_s, m_folder->path()});
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitCode(), 0);
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

    void keepsWhatIsNoReadableLibrary_data()
    {
        QTest::addColumn<std::function<int(const char *)>>("make");
        QTest::addColumn<QString>("reason");
        QTest::addColumn<int>("kept");
        const auto row = [](const char *name, auto make, const QString &reason, int kept = 1) {
            QTest::newRow(name) << std::function<int(const char *)>(make) << reason << kept;
        };
        const auto writes = [](const QByteArray &bytes) {
            return [bytes](const char *at) {
                writePlain(QFile::decodeName(at), bytes);
                return 0;
            };
        };
        const QString noFile = u"PATH is not a regular file."_s;
        const QString noProjects = u"library.json: projects is missing (a list was expected)"_s;
        row("no projects", writes("{}"), noProjects);
        row("cut off", writes("{\"projects\": ["),
            u"library.json is not valid JSON: unterminated array at line 1, byte 14"_s);
        row("folder", [](const char *at) { return ::mkdir(at, 0700); }, noFile);
        row("pipe", [](const char *at) { return ::mkfifo(at, 0600); }, noFile);
        row(
            "circle", [](const char *at) { return ::symlink("library.json", at); },
            u"Cannot open PATH: Too many levels of symbolic links."_s);
        row("link to a device", [](const char *at) { return ::symlink("/dev/zero", at); }, noFile);
        row("gone at the first save", writes("{}"), noProjects, 0);
        row("cannot be looked at", writes("{}"), u"Cannot open PATH: Input/output error."_s);
    }
    void keepsWhatIsNoReadableLibrary()
    {
        QFETCH(const std::function<int(const char *)>, make);
        QFETCH(QString, reason);
        QFETCH(const int, kept);
        const QString path = m_folder->filePath(u"library.json"_s);
        QCOMPARE(make(QFile::encodeName(path).constData()), 0);
        const bool hasBytes = QFileInfo(path).isFile() && kept > 0;
        const QByteArray bytes = hasBytes ? readFile(path, 100) : QByteArray();
        lookFailure = qstrcmp(QTest::currentDataTag(), "cannot be looked at") == 0 ? EIO : 0;
        AppStore store(m_folder->path());
        lookFailure = 0;
        QCOMPARE(store.errorMessage(),
                 u"Could not load the VORN library: "_s + reason.replace(u"PATH"_s, path));
        QVERIFY(store.library().projects.empty());
        store.clearErrorMessage();
        if (kept == 0)
            QVERIFY(QFile::remove(path));
        QVERIFY(unreadableFiles().isEmpty());
        store.createProject(u"Night"_s);
        store.createProject(u"Day"_s);
        QCOMPARE(store.errorMessage(), std::nullopt);
        QCOMPARE(unreadableFiles().size(), kept);
        if (hasBytes)
            QCOMPARE(readFile(m_folder->filePath(unreadableFiles()[0]), 100), bytes);
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
        const QString root = m_folder->filePath(u"data/VORN"_s);
        QVERIFY(QDir().mkpath(root));
        const QString path = root + u"/library.json"_s;
        QVERIFY(QFile::link(u"../link"_s, path));
        QVERIFY(QFile::link(real, m_folder->filePath(u"data/link"_s)));
        AppStore absent(root);
        QCOMPARE(absent.errorMessage(),
                 u"Could not load the VORN library: %1 leads to %2, where nothing is."_s.arg(path,
                                                                                             real));
        absent.createProject(u"Night"_s);
        QCOMPARE(absent.errorMessage(),
                 u"Could not save the VORN library: Cannot write %1: No such "
                 "file or directory."_s.arg(real));
        QVERIFY(QDir().mkpath(disk));
        absent.createProject(u"Day"_s);
        QCOMPARE(AppStore(root).library(), absent.library());

        writePlain(real, "spoilt");
        writePlain(disk + u"/vorn-desktop-"_s + QString(32, u'0') + u".tmp"_s, "of a killed save");
        AppStore store(root);
        store.removeAbandonedSaves();
        store.createProject(u"Night"_s);
        QCOMPARE(AppStore(root).library(), store.library());
        QCOMPARE(QDir(disk).entryList(QDir::Files).size(), 2); // the library, and the one kept
        QVERIFY(
            messages(store).contains(u"The library that could not be read was kept as %1/%2."_s.arg(
                disk, QDir(disk).entryList(QDir::Files)[0])));
        QVERIFY(QFileInfo(path).isSymLink());
    }

private:
    [[nodiscard]] QStringList unreadableFiles() const
    {
        return QDir(m_folder->path())
            .entryList({u"library.json.unreadable-*"_s},
                       QDir::AllEntries | QDir::System | QDir::Hidden, QDir::Name);
    }

    std::optional<QTemporaryDir> m_folder;
};

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    if (arguments.value(1) == u"--write"_s)
        return writeForEver(arguments.value(2));
    if (arguments.value(1) == u"--late-mount"_s)
        return saveAcrossALateMount(arguments.value(2));
    LibraryDurabilityTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "library_durability_test.moc"
