// SPDX-License-Identifier: Apache-2.0

// What takes its time, or asks for a file or a folder, in the Library window.

#include "base/digest.h"
#include "base/files.h"
#include "base/off_thread.h"
#include "movies.h"
#include "recorded_session.h"
#include "window_probe.h"

#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

QFileDialog *openPanel()
{
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        auto *panel = qobject_cast<QFileDialog *>(widget);
        if (panel && panel->isVisible())
            return panel;
    }
    return nullptr;
}

void answerPanel(const QString &title, QFileDialog::FileMode mode, const QString &path)
{
    QTRY_VERIFY(openPanel());
    QFileDialog *panel = openPanel();
    QCOMPARE(panel->windowTitle(), title);
    QCOMPARE(panel->fileMode(), mode);
    QVERIFY(panel->isModal());
    panel->findChild<QLineEdit *>()->setText(path);
    QMetaObject::invokeMethod(panel, "accept");
    QTRY_VERIFY(!openPanel());
}

const auto longToCopy = u"-f lavfi -i testsrc2=s=1920x1080:r=30 -t 20 X264"_s;

/// A take of one recording, which is made as `arguments` say.
VORNTake filmedTake(const QTemporaryDir &media, const QString &arguments)
{
    VORNTake filmed = take(u"take-1"_s, 1);
    VORNClip &clip = filmed.clips[0];
    makeMovie(media.path(), clip.fileName, arguments);
    filmed.referenceCameraId = clip.cameraId;
    clip.localPath = media.filePath(clip.fileName);
    clip.sha256 = sha256OfFile(*clip.localPath);
    return filmed;
}

QStringList allIn(const QTemporaryDir &folder)
{
    return QDir(folder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

/// Processes of ffmpeg that this one has started.
qsizetype helpers()
{
    return std::ranges::count_if(
        QDir(u"/proc"_s).entryList({u"[0-9]*"_s}, QDir::Dirs), [](const QString &process) {
            QFile file(u"/proc/%1/stat"_s.arg(process));
            const QByteArray line = file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
            // "42 (ffmpeg) S 7 ...": its state, and who has started it.
            return line.contains("(ffmpeg) ")
                   && line.split(' ').value(3).toLongLong() == QCoreApplication::applicationPid();
        });
}

} // namespace

class LibraryWorkTest : public WindowTest {
    Q_OBJECT
private Q_SLOTS:
    void importsAndExportsInSight()
    {
        constexpr auto longEnoughToSee = qint64{512} * 1024 * 1024;
        WindowProbe probe;
        QVERIFY(probe.shows(u"No Project"_s));
        QVERIFY(!probe.named(u"Export for Resolve"_s)->isEnabled());
        const QString manifest = filmedManifest(probe.folder(), longEnoughToSee);
        probe.press(Qt::Key_O, Qt::ControlModifier);
        answerPanel(u"Import VORN Source Manifest"_s, QFileDialog::ExistingFile, manifest);
        QTRY_COMPARE(probe.store().selectedTakeID(), u"filmed"_s);
        QVERIFY(probe.shows(u"Imported"_s));

        probe.takeUp(probe.window());
        probe.press(Qt::Key_E, Qt::ControlModifier);
        answerPanel(u"Choose Parent Folder for Resolve Export"_s, QFileDialog::Directory,
                    probe.folder());
        QTRY_VERIFY(probe.shows(u"Verifying A  \u2022  1 of 1"_s));
        QVERIFY(!probe.named(u"Export for Resolve"_s)->isEnabled());
        QVERIFY(probe.named(u"Import Manifest"_s)->isEnabled());
        QTRY_VERIFY_WITH_TIMEOUT(probe.shows(u"OK"_s), limitMs); // the digest is wrong
        QVERIFY(probe.store().errorMessage()->startsWith(u"Resolve export failed: "_s));
        QVERIFY(!probe.store().isBusy() && !probe.view().exportProgress()->running());
        QVERIFY(!probe.shows(u"Verifying A  \u2022  1 of 1"_s));
    }

    void exportsTheDirectorsCutOfTheChosenSession()
    {
        const QTemporaryDir media;
        const VORNTake filmed = filmedTake(media, u"PICTURE:30 -t 10 X264"_s);
        WindowProbe probe({{u"p"_s, u"Now"_s, 1, {filmed}}});
        probe.press(Qt::Key_3, Qt::ControlModifier);
        QTRY_VERIFY(probe.shows(u"No session of the Director has decisions for this take."_s));

        const QString folder = sessionJournalFolder(probe.folder());
        const std::vector<Recording> recording{{u"Camera A"_s, u"take-1"_s}};
        const QString early = writeJournal(folder, recordedSession(u"p"_s, 1'000'000s, recording));
        SessionJournal late = recordedSession(u"p"_s, 2'000'000s, recording);
        late.entries.resize(1); // no decision
        const QString idle = writeJournal(folder, late);
        DirectorCutViewModel &cut = *probe.view().dashboard()->cut();
        cut.refresh();
        QTRY_VERIFY(probe.shows(u"Their places are right within 2 frames."_s));
        QVERIFY(cut.summary().startsWith(u"4 decisions of the session of "_s));
        QCOMPARE(cut.sessionIndex(), 1);

        const auto packages = [&] { return QDir(media.path()).entryList({u"VORN_*"_s}); };
        const auto exported = [&](const QStringList &files) {
            const QStringList before = packages();
            probe.takeUp(probe.window());
            probe.press(Qt::Key_E, Qt::ControlModifier);
            answerPanel(u"Choose Parent Folder for Resolve Export"_s, QFileDialog::Directory,
                        media.path());
            QTRY_COMPARE_WITH_TIMEOUT(packages().size(), before.size() + 1, limitMs);
            QTRY_VERIFY(!probe.store().isBusy());
            const QDir package(media.filePath(packages().last()));
            QCOMPARE(package.entryList(QDir::Files), files);
            // Packages of one second would have one name.
            QVERIFY(QDir(media.path()).rename(packages().last(), u"done"_s)
                    && QDir(media.filePath(u"done"_s)).removeRecursively());
        };
        QStringList files{u"alignment-report.json"_s, u"director-cut.fcpxml"_s,
                          u"source-manifest.json"_s, u"timeline.fcpxml"_s};
        exported(files);
        QCOMPARE(probe.store().activities().front().message,
                 u"The director's cut is in it as director-cut.fcpxml."_s);

        files.removeAt(1);
        const auto press = [&](const QString &control) { // it may be out of sight
            probe.named(control)->forceActiveFocus(Qt::TabFocusReason);
            probe.press(Qt::Key_Space);
        };
        press(u"Include the director's cut"_s);
        QVERIFY(!cut.isIncluded());
        exported(files);
        cut.setIncluded(true);
        cut.choose(0);
        QVERIFY(!cut.isIncluded() && !probe.shows(u"Include the director's cut"_s));

        cut.choose(1);
        press(u"Delete Session…"_s);
        QTRY_COMPARE(probe.focusName(), u"Keep"_s);
        cut.choose(0); // not what was asked about
        probe.click(probe.named(u"Delete"_s));
        QTRY_VERIFY(!QFile::exists(early));
        QTRY_COMPARE(cut.sessionTitles().size(), 1);
        QVERIFY(QFile::exists(idle));
    }

    void makesEditingCopiesUntilCancelled()
    {
        const QTemporaryDir media;
        const VORNTake filmed = filmedTake(media, longToCopy);
        VORNTake other = filmed;
        other.id = u"take-2"_s;
        WindowProbe probe({{u"p"_s, u"Now"_s, 1, {filmed, other}}});
        probe.press(Qt::Key_3, Qt::ControlModifier);
        QTRY_VERIFY(probe.shows(u"The export will have no copies."_s));
        probe.named(u"Export with editing copies"_s)->forceActiveFocus(Qt::TabFocusReason);
        probe.press(Qt::Key_Space);
        EditingCopiesViewModel &copies = *probe.view().dashboard()->copies();
        // 600 pictures of 917,504 bytes.
        QTRY_VERIFY_WITH_TIMEOUT(
            copies.summary().startsWith(u"The copies take about 551 MB, and to make them about "_s),
            limitMs);

        probe.press(Qt::Key_E, Qt::ControlModifier);
        answerPanel(u"Choose Parent Folder for Resolve Export"_s, QFileDialog::Directory,
                    media.path());
        QTRY_VERIFY_WITH_TIMEOUT(probe.shows(u"Making editing copy of Camera A  \u2022  1 of 1"_s),
                                 limitMs);
        probe.takeUp(probe.window());
        probe.click(probe.named(u"Cancel"_s));
        QTRY_VERIFY_WITH_TIMEOUT(!probe.store().isBusy(), limitMs);
        QCOMPARE(probe.store().activities().front().message,
                 u"The Resolve export was cancelled. Nothing of it is left."_s);
        QVERIFY(!probe.store().errorMessage() && !probe.shows(u"Cancel"_s));
        QCOMPARE(allIn(media), QStringList{u"Camera A.mov"_s});

        probe.store().setSelectedTakeID(u"take-2"_s); // nobody has asked for copies of this one
        QVERIFY(!copies.isWanted());
    }

    void asksBeforeWorkEnds_data()
    {
        QTest::addColumn<QString>("work");
        QTest::addColumn<QString>("fate");
        QTest::newRow("check") << u"check"_s
                               << u"The check of the export stops without a result."_s;
        QTest::newRow("copies") << u"copies"_s << u"The export stops and leaves nothing behind."_s;
        QTest::newRow("movies") << u"movies"_s
                                << u"The movies to import are forgotten, and what was heard of "
                                   "them. No take has been created."_s;
    }

    void asksBeforeWorkEnds()
    {
        QFETCH(const QString, work);
        QFETCH(const QString, fate);
        const QTemporaryDir media;
        const VORNTake filmed = filmedTake(
            media, work == u"copies" ? longToCopy : u"PICTURE:30 -f lavfi -i sine -t 2 X264"_s);
        const QString movie = *filmed.clips[0].localPath;
        {
            Desk desk({{u"p"_s, u"Now"_s, 1, {filmed}}});
            const int code = runProgram([&] {
                desk.windows.showLibrary();
                WindowHands library(u"VORN Library"_s);
                if (work == u"check") {
                    QVERIFY(QFile::resize(movie, qint64{1} << 40)); // takes longer than any test
                    desk.store.checkSelectedTake();
                    QTRY_VERIFY(desk.store.exportProgress());
                } else if (work == u"copies") {
                    desk.store.exportSelectedTake(media.path(), {}, EditingCopies::make);
                    QTRY_VERIFY_WITH_TIMEOUT(helpers() > 0, limitMs);
                } else {
                    desk.windows.importMovies({movie});
                    WindowHands import(u"Import Movies"_s);
                    QTRY_VERIFY_WITH_TIMEOUT(import.shows(u"A take needs two movies or more."_s),
                                             limitMs);
                    import.press(Qt::Key_W, Qt::ControlModifier); // what was heard is kept
                    QTRY_VERIFY(!import.window()->isVisible());
                    library.takeUp(library.window());
                }
                library.press(Qt::Key_Q, Qt::ControlModifier);
                QTRY_COMPARE(library.focusName(), u"Keep Working"_s);
                QVERIFY(library.shows(fate));
                library.click(library.named(u"Quit"_s));
            });
            QCOMPARE(code, 0);
        }
        QVERIFY(fileWorkPool()->waitForDone(limitMs));
        QCOMPARE(helpers(), 0);
        QCOMPARE(allIn(media), QStringList{u"Camera A.mov"_s});
    }

    void importsNoMovieUnheard()
    {
        const QTemporaryDir media;
        // Large for its length: it takes a while to read.
        makeMovie(media.path(), u"a.mov"_s,
                  u"PICTURE:10 -f lavfi -i sine=r=96000 -t 100 X264 -c:a pcm_s32le -ac 2"_s);
        const QStringList paths{media.filePath(u"a.mov"_s), media.filePath(u"b.mov"_s)};
        QVERIFY(QFile::copy(paths[0], paths[1]));
        WindowProbe probe;
        MovieImportViewModel &movies = *probe.view().movieImport();
        movies.addFiles({QUrl(u"https://somewhere/a.mov"_s)});
        QCOMPARE(movies.summary(),
                 u"Only files of this computer can be imported. Save the others first."_s);
        movies.addPaths(paths);
        movies.cancel();
        movies.addPaths(paths); // the threads are still with what was cancelled
        QCOMPARE(movies.obstacle(), u"Wait until all movies have been listened to."_s);

        // What could not be used is looked at anew when it comes again.
        movies.cancel();
        QVERIFY(QFile::remove(paths[1]));
        movies.addPaths(paths);
        const auto second = [&] { return texts(movies.movies(), {"stateText"}).section(u'\n', 1); };
        QTRY_COMPARE_WITH_TIMEOUT(
            second(), u"Cannot open %1: No such file or directory."_s.arg(paths[1]), limitMs);
        QVERIFY(QFile::copy(paths[0], paths[1]));
        movies.addPaths(paths);
        QTRY_COMPARE_WITH_TIMEOUT(second(), u"It is the same recording as %1."_s.arg(paths[0]),
                                  limitMs);

        // Nobody waits for what is left out.
        QFile large(paths[1]);
        QVERIFY(large.open(QFile::Append));
        large.write(QByteArray("\0\0\0\1free\0\0\1\0\0\0\0\0", 16)); // 2^40 bytes
        QVERIFY(large.flush() && large.resize(large.size() - 16 + (qint64{1} << 40)));
        movies.cancel();
        movies.addPaths(paths);
        QTRY_VERIFY_WITH_TIMEOUT(movies.fraction() > 0, limitMs);
        movies.setLeftOut(1, true);
        QTRY_COMPARE_WITH_TIMEOUT(movies.obstacle(), u"A take needs two movies or more."_s,
                                  limitMs);
    }

    /// A movie that shares nothing with the reference lies by way of one that shares with both.
    void findsAMovieThroughAnother()
    {
        const QTemporaryDir media;
        const auto scene = [](int seed) { // noise that comes and goes
            return u"-f lavfi -i anoisesrc=r=48000:seed=%1:d=52,volume=eval=frame:volume='if(eq(n\\,0)\\,st(0\\,%1)\\,0)+gt(random(0)\\,0.5)' "_s
                .arg(seed);
        };
        makeMovie(media.path(), u"near.mov"_s, u"PICTURE:10 "_s + scene(1) + u"-t 52 X264"_s);
        makeMovie(media.path(), u"between.mov"_s,
                  u"PICTURE:10 "_s + scene(1) + scene(2)
                      + u"-filter_complex [1][2]amix -t 50 X264"_s);
        makeMovie(media.path(), u"far.mov"_s, u"PICTURE:10 "_s + scene(2) + u"-t 50 X264"_s);
        WindowProbe probe;
        MovieImportViewModel &movies = *probe.view().movieImport();
        movies.addPaths({media.filePath(u"near.mov"_s), media.filePath(u"far.mov"_s),
                         media.filePath(u"between.mov"_s)});
        QTRY_COMPARE_WITH_TIMEOUT(movies.obstacle(), QString(), limitMs);
        const QStringList states = texts(movies.movies(), {"stateText"}).split(u'\n');
        QVERIFY(states[1].contains(u" Found through between, not in the reference itself."_s));
        QVERIFY(states[2].endsWith(u", distance aside."_s));
        // What is left out still says where others lie.
        movies.setLeftOut(2, true);
        QCOMPARE(movies.obstacle(), QString());
    }

    void verifiesAndSavesChecksumsInSight()
    {
        constexpr auto longEnoughToSee = qint64{512} * 1024 * 1024;
        const QTemporaryDir media;
        VORNTake filmed = take(u"take-1"_s, 2);
        for (VORNClip &clip : filmed.clips)
            clip.localPath = media.filePath(clip.fileName);
        writePlain(media.filePath(u"Camera A.mov"_s), {});
        QVERIFY(QFile::resize(media.filePath(u"Camera A.mov"_s), longEnoughToSee));
        WindowProbe probe({{u"p"_s, u"Now"_s, 1, {filmed, take(u"take-2"_s, 1, false)}}});
        probe.press(Qt::Key_2, Qt::ControlModifier);
        probe.click(probe.named(u"Verify Again"_s));
        QTRY_VERIFY(probe.shows(u"Verifying take-1, Camera A  \u2022  1 of 2"_s));
        QCOMPARE(descriptionOf(probe.named(u"Save Checksums…"_s)),
                 u"Another operation is running."_s);
        QTRY_COMPARE_WITH_TIMEOUT(probe.focusName(), u"OK"_s, limitMs);
        const QString outcome =
            u"Verified take take-1. Matching: 0. Failed: 2 (Camera A, Camera B)."_s;
        QCOMPARE(probe.view().errorMessage(), outcome);
        probe.press(Qt::Key_Escape);
        QTRY_VERIFY(!probe.shows(u"OK"_s));
        QVERIFY(probe.shows(outcome));
        QVERIFY(probe.shows(u"Camera B, Camera B.mov, Verified on Mac, %1 is not there."_s.arg(
            media.filePath(u"Camera B.mov"_s))));

        const QString list = media.filePath(u"take-1.sha256"_s);
        probe.click(probe.named(u"Save Checksums…"_s));
        QTRY_VERIFY(openPanel());
        QCOMPARE(openPanel()->selectedFiles(), QStringList{list}); // beside the recordings
        answerPanel(u"Save Checksums"_s, QFileDialog::AnyFile, list);
        QTRY_VERIFY(probe.shows(u"Saved the checksums of take take-1 as %1."_s.arg(list)));
        const QByteArray lines = readFile(list, 1 << 16);
        QCOMPARE(lines, QByteArray("0").repeated(64) + "  Camera A.mov\n"
                            + QByteArray("0").repeated(64) + "  Camera B.mov\n");

        writePlain(list, "somebody's");
        probe.takeUp(probe.window());
        probe.click(probe.named(u"Save Checksums…"_s));
        QTRY_VERIFY(openPanel());
        bool isAsked = false;
        QTimer answer; // within the loop of the question
        connect(&answer, &QTimer::timeout, &answer, [&isAsked] {
            auto *question = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            isAsked = isAsked || question;
            if (question)
                question->button(QMessageBox::No)->click();
        });
        answer.start();
        QMetaObject::invokeMethod(openPanel(), "accept");
        QVERIFY(isAsked);
        QCOMPARE(readFile(list, 1 << 16), "somebody's");
        openPanel()->reject();

        probe.view().takes()->select(1);
        QVERIFY(!probe.shows(u"Saved the checksums of take take-1 as %1."_s.arg(list)));
        QCOMPARE(descriptionOf(probe.named(u"Verify Again"_s)),
                 u"No recording of this take is on this computer."_s);
    }
};

QTEST_MAIN(LibraryWorkTest)
#include "library_work_test.moc"
