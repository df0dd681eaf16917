#include "base/files.h"
#include "library/record_json.h"
#include "store/app_store.h"
#include "support.h"

#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/mount.h>

#include <csignal>

using namespace vorn;
using namespace Qt::StringLiterals;

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
    void savingOnlyWhatChangedWritesTheSameText()
    {
        QTemporaryDir folder;
        LibraryFile file(folder.path());
        VORNLibrary library;
        const auto isWhole = [&] {
            file.save(library);
            return readFile(folder.filePath(u"library.json"_s), 1 << 24)
                       == prettyJson(jsonFromRecord(library))
                   && LibraryFile(folder.path()).load() == library;
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
        QTemporaryDir folder;
        LibraryFile(folder.path()).save(sampleLibrary(200));
        QRandomGenerator random(11);
        for (int round = 0; round < 40; ++round) {
            QProcess writer;
            writer.start(QCoreApplication::applicationFilePath(), {u"--write"_s, folder.path()});
            QTRY_VERIFY_WITH_TIMEOUT(writer.bytesAvailable() > 0, 20'000);
            QTest::qWait(random.bounded(20)); // a random instant, not a wait for something
            ::kill(pid_t(writer.processId()), SIGKILL);
            QVERIFY(writer.waitForFinished());
            const QByteArrayList promised = writer.readAllStandardOutput().split('\n');
            const qint64 last = promised.at(promised.size() - 2).toLongLong();

            AppStore store(folder.path());
            QVERIFY2(!store.errorMessage(), qPrintable(store.errorMessage().value_or(QString())));
            const qint64 found = store.selectedProject()->name.toLongLong();
            QVERIFY2(found == last || found == last + 1,
                     qPrintable(u"promised %1, found %2"_s.arg(last).arg(found)));
            QCOMPARE(store.library().projects[0].takes.size()
                         + store.library().projects[1].takes.size(),
                     std::size_t{200});
        }
        const auto files = [&] {
            return QDir(folder.path())
                .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
        };
        QVERIFY2(files().size() > 2, "no kill has left anything");
        QStringList others{u"collector-id.txt"_s, u"library.json"_s};
        const QString ours = u"vorn-desktop-0123456789abcdef0123456789abcde"_s;
        for (const QString &name : {u"library.json.tmp"_s, ours + u".tmp"_s, ours + u"f.tmp\n"_s}) {
            writePlain(folder.filePath(name), "somebody's");
            others << name;
        }
        others << ours + u"0.tmp"_s << ours + u"1.tmp"_s;
        QVERIFY(QDir(folder.path()).mkdir(ours + u"0.tmp"_s));
        QVERIFY(QFile::link(folder.filePath(others[1]), folder.filePath(ours + u"1.tmp"_s)));
        AppStore(folder.path()).removeAbandonedSaves();
        others.sort();
        QCOMPARE(files(), others);
    }

    void aLateMountIsNotWrittenOver()
    {
        QTemporaryDir folder;
        QProcess process;
        process.start(u"unshare"_s,
                      {u"--map-root-user"_s, u"--mount"_s, QCoreApplication::applicationFilePath(),
                       u"--late-mount"_s, folder.path()});
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitCode(), 0);
    }
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
