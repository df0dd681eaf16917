// SPDX-License-Identifier: Apache-2.0

#include "base/digest.h"
#include "base/files.h"
#include "movies.h"
#include "recorded_session.h"
#include "window_probe.h"

#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

std::vector<VORNProject> manyTakes(int count)
{
    VORNProject project{u"p1"_s, u"Night Shoot"_s, 1, {}};
    for (int i = 0; i < count; ++i)
        project.takes.push_back(take(u"take-%1"_s.arg(i, 4, 10, QLatin1Char('0')), 4));
    return {project};
}

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

/// The rows of a list, of each the texts by these names.
QString texts(QAbstractItemModel *model, const QList<QByteArray> &names)
{
    QStringList rows;
    for (int i = 0; i < model->rowCount(); ++i) {
        QStringList fields;
        for (const QByteArray &name : names)
            fields += model->data(model->index(i, 0), model->roleNames().key(name)).toString();
        rows += fields.join(u'|');
    }
    return rows.join(u'\n');
}

} // namespace

class LibraryWindowTest : public WindowTest {
    Q_OBJECT
private Q_SLOTS:
    void listsProjects()
    {
        WindowProbe probe({{u"p1"_s, u"Night Shoot"_s, 1, {take(u"a"_s), take(u"b"_s)}},
                           {u"unassigned-ada"_s, u"Unassigned"_s, {}, {take(u"c"_s)}},
                           {u"p2"_s, u"R\u00E9p\u00E9tition\n2"_s, 1, {}}});
        ProjectListViewModel &projects = *probe.view().projects();
        QCOMPARE(texts(projects.projects(), {"name", "takesText", "isUnassigned"}),
                 u"Night Shoot|2 takes|false\nUnassigned|1 takes|true\n"
                 "R\u00E9p\u00E9tition\u240A2|0 takes|false"_s);
        projects.setSearch(u" RE\u0301PE\u0301 "_s); // however the accents are written
        QCOMPARE(texts(projects.projects(), {"takesText"}), u"0 takes"_s);
        QCOMPARE(projects.selectedIndex(), -1); // still selected, but out of sight
        projects.setSearch(u"nothing like it"_s);
        QVERIFY(probe.shows(u"No matching projects"_s));
        projects.setSearch(u" \n "_s);
        QCOMPARE(projects.projects()->rowCount(), 3);
    }

    void describesATake()
    {
        VORNTake described = take(u"take-0001"_s, 2);
        described.clips[1].localPath.reset();
        described.clips[1].deviceName = u"Bo's phone"_s;
        described.clips[1].anchors = {{0, 0, 1, 1}, {1, 1, 1, 1}};
        WindowProbe probe({{u"p"_s, u"Now"_s, 1, {described}}});
        TakeDashboardViewModel &dashboard = *probe.view().dashboard();
        QCOMPARE(dashboard.timelineValue(), u"30 fps"_s);
        QCOMPARE(texts(dashboard.details(), {"label", "value"}),
                 u"Take ID|take-0001\nFrame rate|30\nReference|Not selected\nCaptured as|Now\n"
                 "Manifest|Catalog / local library"_s);
        QCOMPARE(texts(dashboard.clips(), {"fileName", "deviceName", "placeText", "anchorsText"}),
                 u"Camera A.mov||Verified on Mac|0 anchors\n"
                 "Camera B.mov|Bo's phone|On device|2 anchors"_s);
        QCOMPARE(texts(dashboard.readiness(), {"label", "ready"}),
                 u"Project identity|true\nCamera recordings|true\nVerified downloads|false\n"
                 "Reference camera|false\nTiming anchors|true"_s);
        dashboard.makeReference(1);
        QCOMPARE(texts(dashboard.clips(), {"isReference"}), u"false\ntrue"_s);
        QVERIFY(texts(dashboard.details(), {"label", "value"}).contains(u"Reference|Camera B"_s));
    }

    void selectsByPointerAndArrows()
    {
        WindowProbe probe(fewProjects());
        probe.click(probe.named(u"take-2, 12 cameras  \u2022  30 fps"_s));
        QCOMPARE(probe.store().selectedTakeID(), u"take-2"_s);
        QVERIFY(probe.shows(u"MEDIA PENDING"_s));
        probe.press(Qt::Key_Up); // the click gave the list the keyboard
        QCOMPARE(probe.store().selectedTakeID(), u"take-1"_s);
        QVERIFY(probe.shows(u"READY"_s));
        probe.type(u"2"_s);
        QCOMPARE(probe.store().selectedTakeID(), u"take-2"_s);
        probe.press(Qt::Key_Tab);
        QVERIFY(probe.focusName() != u"Takes"_s);

        probe.click(probe.named(u"Rehearsal, 0 takes"_s));
        QCOMPARE(probe.store().selectedProjectID(), u"p2"_s);
        QVERIFY(probe.shows(u"No takes yet"_s));
        probe.press(Qt::Key_End);
        QCOMPARE(probe.store().selectedTakeID(), u"loose-1"_s);
        QVERIFY(!probe.named(u"Rename"_s)->isEnabled());
        QVERIFY(probe.named(u"New"_s)->isEnabled());
    }

    void makesAProjectByKeyboard()
    {
        WindowProbe probe(fewProjects());
        probe.press(Qt::Key_N, Qt::ControlModifier);
        QTRY_COMPARE(probe.focusName(), u"Project name"_s);
        QVERIFY(probe.shows(u"New VORN Project"_s));
        probe.press(Qt::Key_N, Qt::ControlModifier); // the window behind is out of reach
        probe.type(u"Studio"_s);
        probe.press(Qt::Key_Escape);
        QTRY_VERIFY(!probe.shows(u"New VORN Project"_s));
        QCOMPARE(probe.store().library().projects.size(), 3);

        probe.press(Qt::Key_N, Qt::ControlModifier);
        QTRY_COMPARE(probe.focusName(), u"Project name"_s);
        probe.type(u" 2"_s); // cancelling kept what had been typed
        probe.press(Qt::Key_Return);
        QTRY_VERIFY(!probe.shows(u"New VORN Project"_s));
        QCOMPARE(probe.store().selectedProject()->name, u"Studio 2"_s);
        QVERIFY(probe.shows(u"4 projects"_s));

        probe.click(probe.named(u"New"_s));
        QTRY_COMPARE(probe.focusName(), u"Project name"_s);
        QCOMPARE(probe.window()->activeFocusItem()->property("text").toString(), QString());
        probe.click(probe.named(u"Cancel"_s));
        QTRY_VERIFY(!probe.shows(u"New VORN Project"_s));
        QCOMPARE(probe.store().library().projects.size(), 4);
    }

    void renamesByKeyboard()
    {
        WindowProbe probe(fewProjects());
        probe.press(Qt::Key_F2);
        QTRY_COMPARE(probe.focusName(), u"Project name"_s);
        QCOMPARE(probe.window()->activeFocusItem()->property("text").toString(), u"Night Shoot"_s);
        probe.type(u"Day Shoot"_s); // over the selected name
        probe.press(Qt::Key_Return);
        QTRY_VERIFY(!probe.shows(u"Rename Project"_s));
        QCOMPARE(probe.store().selectedProject()->name, u"Day Shoot"_s);
        QCOMPARE(probe.store().selectedProject()->revision, 2);

        probe.store().setSelectedProjectID(u"unassigned-a"_s);
        probe.press(Qt::Key_F2);
        QVERIFY(!probe.shows(u"Rename Project"_s));
    }

    void searches()
    {
        WindowProbe probe(fewProjects());
        probe.press(Qt::Key_F, Qt::ControlModifier);
        probe.type(u"REH"_s);
        QTRY_VERIFY(!probe.shows(u"Night Shoot, 3 takes"_s));
        QVERIFY(probe.shows(u"Rehearsal, 0 takes"_s));
        QVERIFY(probe.shows(u"3 projects"_s));
        probe.press(Qt::Key_Escape);
        QTRY_VERIFY(probe.shows(u"Night Shoot, 3 takes"_s));
    }

    void turnsThePages()
    {
        WindowProbe probe(fewProjects());
        QVERIFY(probe.shows(u"Take readiness"_s));
        probe.press(Qt::Key_3, Qt::ControlModifier);
        QVERIFY(probe.shows(u"Check head sync"_s));
        probe.click(probe.named(u"Activity"_s));
        QVERIFY(probe.shows(u"No activity yet"_s));
        probe.press(Qt::Key_Left);
        probe.press(Qt::Key_Left);
        QTRY_VERIFY(probe.shows(u"No active transfers"_s));
        QTRY_VERIFY(probe.shows(u"Camera D, Camera D.mov, Verified on Mac"_s));
        QVERIFY(!probe.shows(u"REFERENCE"_s));
        probe.click(probe.named(u"Use as reference"_s));
        QCOMPARE(probe.store().selectedTake()->referenceCameraId, u"Camera A"_s);
        QTRY_VERIFY(probe.shows(u"REFERENCE"_s));
    }

    void alertsOverASheet()
    {
        WindowProbe probe(fewProjects());
        probe.press(Qt::Key_N, Qt::ControlModifier);
        QTRY_COMPARE(probe.focusName(), u"Project name"_s);
        for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Escape}) {
            probe.store().importManifest(u"/nowhere/<b>x</b>\u202E.json"_s);
            QTRY_COMPARE(probe.focusName(), u"OK"_s);
            QVERIFY(probe.view().errorMessage().contains(u"/<b>x</b>\u27E8U+202E\u27E9.json"_s));
            QVERIFY(probe.shows(probe.view().errorMessage()));
            probe.press(key);
            QTRY_VERIFY(!probe.shows(u"OK"_s));
            QVERIFY(!probe.store().errorMessage());
            QTRY_COMPARE(probe.focusName(), u"Project name"_s); // the sheet is still up
        }
    }

    void keepsItsPlaceWhenTheLibraryChanges()
    {
        WindowProbe probe(manyTakes(2000));
        QQuickItem *list = probe.listView(u"Takes"_s);
        QVERIFY(list);
        probe.view().takes()->select(1000);
        QTRY_VERIFY(probe.shows(u"take-1000, 4 cameras  \u2022  30 fps"_s));
        list->setProperty("contentY", list->property("contentY").toReal() + 96);
        const qreal place = list->property("contentY").toReal();

        probe.store().setReferenceCamera(u"Camera B"_s);
        probe.store().renameSelectedProject(u"Renamed"_s);
        QTRY_VERIFY(probe.shows(u"Renamed, 2000 takes"_s));
        QCOMPARE(list->property("contentY").toReal(), place);
        QCOMPARE(probe.store().selectedTakeID(), u"take-1000"_s);

        QVERIFY(probe.store().prepareDirectorTake(u"take-9999"_s)); // selects what it prepares
        QTRY_VERIFY(probe.shows(u"take-9999, 0 cameras  \u2022  30 fps"_s));
        QCOMPARE(probe.view().takes()->selectedIndex(), 2000);
        QCOMPARE(probe.view().downloadObstacle(), u"This take has no recordings."_s);
    }

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
        makeMovie(media.path(), u"Camera A.mov"_s, u"PICTURE:30 -t 10 X264"_s);
        VORNTake filmed = take(u"take-1"_s, 1);
        filmed.referenceCameraId = u"Camera A"_s;
        filmed.clips[0].localPath = media.filePath(u"Camera A.mov"_s);
        filmed.clips[0].sha256 = sha256OfFile(*filmed.clips[0].localPath);
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
        makeMovie(media.path(), u"Camera A.mov"_s,
                  u"-f lavfi -i testsrc2=s=1920x1080:r=30 -t 20 X264"_s);
        VORNTake filmed = take(u"take-1"_s, 1);
        filmed.referenceCameraId = u"Camera A"_s;
        filmed.clips[0].localPath = media.filePath(u"Camera A.mov"_s);
        filmed.clips[0].sha256 = sha256OfFile(*filmed.clips[0].localPath);
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
        QCOMPARE(
            QDir(media.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
            QStringList{u"Camera A.mov"_s});

        probe.store().setSelectedTakeID(u"take-2"_s); // nobody has asked for copies of this one
        QVERIFY(!copies.isWanted());
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

    void saysWhereThePackageLies()
    {
        WindowProbe probe(manyTakes(2));
        Q_EMIT probe.store().exportCreated(u"/films/%2\u202E/VORN_p_t1/timeline.fcpxml"_s);
        QVERIFY(probe.shows(u"The Resolve package is in /films/%2\u27E8U+202E\u27E9/VORN_p_t1"_s));
        probe.view().takes()->select(1);
        QVERIFY(!probe.view().hasPackage());
    }

    void isPressedByAssistiveTools()
    {
        WindowProbe probe(fewProjects());
        QQuickItem *make = probe.named(u"New"_s);
        const QSignalSpy pressed(make, SIGNAL(clicked()));
        pressAccessibly(make);
        QTRY_COMPARE(probe.focusName(), u"Project name"_s);
        QCOMPARE(pressed.count(), 1);
    }
};

QTEST_MAIN(LibraryWindowTest)
#include "library_window_test.moc"
