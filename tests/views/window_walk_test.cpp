// SPDX-License-Identifier: Apache-2.0

// Every state of the windows that need no phone: Library, Settings, Help, and what stands beside
// the Library.

#include "drift/checked_takes.h"
#include "recorded_session.h"
#include "rig/film/take.h"
#include "walk_probe.h"

#include <QApplication>
#include <QClipboard>
#include <QMimeData>
#include <QWidget>

using namespace vorn;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class WindowWalkTest : public WalkTest {
    Q_OBJECT
private Q_SLOTS:
    // clang-format off
    void walksAnEmptyLibrary()
    {
        Program program;
        const auto add = [&] { program.open(Qt::Key_N, u"Project name"_s); };
        walk(program, {
            {u"Library, empty"_s, [] {}},
            {u"Library, error"_s, [&] { program.fail(); }},
            {u"New Project"_s, add},
            {u"New Project, error"_s, [&] { add(); program.fail(); }},
        });
    }

    void walksTheLibrary()
    {
        Program program(fewProjects());
        AppStore &store = program.store();
        walk(program, {
            {u"Library, overview"_s, [] {}},
            {u"Library, media"_s, [&] { program.control(Qt::Key_2); }},
            {u"Library, many recordings"_s, [&] { store.setSelectedTakeID(u"take-2"_s); }},
            {u"Library, no recordings"_s, [&] { store.setSelectedTakeID(u"take-3"_s); }},
            {u"Library, resolve"_s, [&] { program.control(Qt::Key_3); }},
            {u"Library, director's cut"_s, [&] {
                const QString folder = sessionJournalFolder(program.desk().folder.path());
                const std::vector<Recording> recording{{u"Camera A"_s, u"take-1"_s}};
                writeJournal(folder, recordedSession(u"p1"_s, 1'000'000s, recording));
                writeJournal(folder, recordedSession(u"p1"_s, 2'000'000s, recording));
                writePlain(folder + u"/damaged.jsonl"_s, "{}\n");
                store.setSelectedTakeID(u"take-1"_s);
                program.control(Qt::Key_1);
                program.control(Qt::Key_3); // looks again
                program.await(u"Delete Session…"_s);
                program.focus(u"Delete Session…"_s);
            }},
            {u"Delete Session"_s, [&] {
                program.focus(u"Delete Session…"_s);
                program.press(Qt::Key_Space);
                program.awaitFocus(u"Keep"_s);
            }},
            {u"Library, editing copies"_s, [&] {
                program.focus(u"Export with editing copies"_s);
                program.press(Qt::Key_Space);
                program.await(u"What the copies take is known when all recordings are on this computer."_s);
            }},
            {u"Library, no activity"_s, [&] {
                store.setSelectedTakeID(u"take-3"_s);
                program.control(Qt::Key_4);
            }},
            {u"Library, activity"_s, [&] {
                for (int i = 0; i < 30; ++i)
                    store.renameSelectedProject(u"Night Shoot %1"_s.arg(i));
            }},
            {u"Library, package"_s, [&] {
                Q_EMIT store.exportCreated(u"/films/VORN_p_t/timeline.fcpxml"_s);
                program.await(u"Show Package"_s);
            }},
            {u"Library, smallest"_s, [&] { program.shrink(); program.control(Qt::Key_1); }},
            {u"Library, smallest, media"_s, [&] {
                store.setSelectedTakeID(u"take-2"_s);
                program.control(Qt::Key_2);
            }},
            {u"Rename Project"_s, [&] {
                program.press(Qt::Key_F2);
                program.awaitFocus(u"Project name"_s);
            }},
            {u"Library, no takes"_s, [&] { store.setSelectedProjectID(u"p2"_s); }},
            {u"Library, unassigned"_s, [&] { store.setSelectedProjectID(u"unassigned-a"_s); }},
            {u"Settings"_s, [&] {
                program.control(Qt::Key_Comma);
                program.takeUp(u"Settings"_s);
            }},
            {u"Help"_s, [&] {
                program.press(Qt::Key_F1);
                program.takeUp(u"VORN Help"_s);
            }},
        });
    }

    void walksTheCheckOfAnExport()
    {
        const CheckedTakes takes;
        Program program({takes.project()});
        const auto check = [&](const QString &take, const QString &summary) {
            program.store().setSelectedTakeID(take);
            program.choose(u"Check export"_s);
            program.takeUp(u"Check export"_s);
            program.await(summary);
        };
        walk(program, {
            {u"Check export, in order"_s, [&] { check(u"good"_s, u"Nothing stands in the way of an export."_s); }},
            {u"Check export, findings"_s, [&] {
                check(u"faulty"_s, u"6 things stand in the way of an export."_s);
                program.await(u"Checksum mismatch for Wide."_s);
                program.await(u"Timing of Later"_s, u"9 anchors from 1.5 s to 9.5 s"_s);
                program.choose(u"Copy report"_s);
                program.await(u"Copied."_s);
                QVERIFY(QGuiApplication::clipboard()->text().contains(u"\n!!  Earlier has not been downloaded.\n"));
            }},
            {u"Check export, smallest"_s, [&] {
                check(u"faulty"_s, u"6 things stand in the way of an export."_s);
                program.shrink();
            }},
            {u"Check export, running"_s, [&] {
                check(u"long"_s, u"Reading every recording and checking what an export would refuse…"_s);
                QTRY_VERIFY_WITH_TIMEOUT(program.store().exportProgress(), limitMs);
            }},
        });
        program.store().cancelExport();
        QTRY_VERIFY_WITH_TIMEOUT(!program.store().isBusy(), limitMs);
    }

    void walksMoviesOnTheirWayToATake()
    {
        rig::TakeOptions options;
        options.cameras = 2;
        options.seconds = 40;
        options.pictureSize = {128, 72};
        options.hasManifest = false;
        options.sound.emplace().distancesMetres = {0, 6};
        const QTemporaryDir folder;
        const rig::TakePlan plan = rig::makeTake(options, folder.filePath(u"take"_s));
        QStringList paths;
        for (const rig::PhonePlan &phone : plan.phones)
            paths += folder.filePath(u"take/"_s + phone.fileName);
        const QString copy = folder.filePath(u"copy.mov"_s);
        QVERIFY(QFile::copy(paths.first(), copy));

        // A take goes into the project whose name is proposed, even where it is cut short.
        Program program({{u"p"_s, u"A name that is longer than what names of takes may have, by "
                                  "far\u202E"_s, 1, {}}});
        const auto import = [&](const QStringList &files) {
            program.desk().windows.importMovies(files);
            program.takeUp(u"Import Movies"_s);
        };
        const auto movies = [&]() -> MovieImportViewModel & {
            return *program.window()->property("movies").value<MovieImportViewModel *>();
        };
        walk(program, {
            {u"Import Movies, listening"_s, [&] { import(paths); }},
            {u"Import Movies, aligned"_s, [&] {
                import({});
                program.await(u"All movies are aligned."_s);
            }},
            {u"Import Movies, one too many"_s, [&] {
                import({copy, folder.filePath(u"nowhere.mov"_s)});
                program.await(u"It is the same recording as "_s + paths.first() + u'.');
            }},
            {u"Import Movies, left out"_s, [&] {
                import({});
                for (const int row : {2, 3})
                    movies().setLeftOut(row, true);
                program.await(u"All movies are aligned."_s);
            }},
            {u"Import Movies, smallest"_s, [&] {
                import({});
                program.shrink();
            }},
        });
        if (QTest::currentTestFailed())
            return;
        import({});
        program.choose(u"Cancel"_s);
        program.takeUp(u"VORN Library"_s);
        // Two movies are dropped on the Library window, and become a take.
        QMimeData dragged;
        dragged.setUrls({QUrl::fromLocalFile(paths[0]), QUrl::fromLocalFile(paths[1])});
        QDragEnterEvent enters({600, 400}, Qt::CopyAction, &dragged, Qt::LeftButton, Qt::NoModifier);
        QDropEvent drops({600, 400}, Qt::CopyAction, &dragged, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(program.window(), &enters);
        QCoreApplication::sendEvent(program.window(), &drops);
        program.takeUp(u"Import Movies"_s);
        program.await(u"All movies are aligned."_s);
        // What may go wrong in between, one after the other.
        const QString recordings = program.store().recordingsDirectory();
        writePlain(recordings, {});
        program.choose(u"Create Take"_s);
        program.await(u"The take was not created: Cannot create the folder %1: Not a directory."_s.arg(
            recordings));
        QCOMPARE(movies().summaryIcon(), u"warning"_s);
        program.store().clearErrorMessage();
        QVERIFY(QFile::remove(recordings));
        QFile changed(paths[1]);
        QVERIFY(changed.open(QFile::ReadWrite)
                && changed.setFileTime(QDateTime::currentDateTime().addDays(1),
                                       QFile::FileModificationTime));
        program.choose(u"Create Take"_s);
        program.await(u"Some movies have changed since they were listened to. They are listened to again."_s);
        QTRY_VERIFY_WITH_TIMEOUT(movies().isAvailable(), limitMs);
        program.choose(u"Create Take"_s);
        QTRY_VERIFY_WITH_TIMEOUT(program.store().selectedTake(), limitMs);
        const VORNTake &take = *program.store().selectedTake();
        QCOMPARE(take.clips.size(), 2);
        QVERIFY(take.sourceManifestPath->startsWith(program.store().recordingsDirectory()));
        QVERIFY(take.clips[0].anchors.empty() != take.clips[1].anchors.empty());
        QCOMPARE(program.store().selectedProjectID(), u"p"_s);
    }

    void walksRunningWork()
    {
        Program program;
        walk(program, {
            {u"Library, verifying"_s, [&] {
                program.desk().verifyALongFile();
                program.control(Qt::Key_2);
                program.await(u"Verifying filmed, A  \u2022  1 of 1"_s);
            }},
            {u"Quit"_s, [&] { program.open(Qt::Key_Q, u"Keep Working"_s); }},
            {u"Library, outcome"_s, [&] { program.resizeFile(0); program.awaitFocus(u"OK"_s); }},
            {u"Library, spoilt recording"_s, [] {}},
            {u"Library, exporting"_s, [&] {
                program.resizeFile(qint64{1} << 40);
                program.store().exportSelectedTake(program.desk().folder.path());
                program.await(u"Verifying A  \u2022  1 of 1"_s);
            }},
        });
    }

    void walksTheHelp()
    {
        Program program;
        program.press(Qt::Key_F1);
        program.takeUp(u"VORN Help"_s);
        std::vector<State> pages;
        for (int i = 0; i < program.listView(u"Pages"_s)->property("count").toInt(); ++i)
            pages.push_back({u"Help, page %1"_s.arg(i + 1), [&program, i] {
                program.focus(u"Pages"_s);
                program.press(i == 0 ? Qt::Key_Home : Qt::Key_Down);
            }});
        walk(program, pages);
    }
    // clang-format on

    void reachesTheFilePanels()
    {
        Program program(fewProjects());
        for (const QString &opener : {u"Import Manifest"_s, u"Export for Resolve"_s}) {
            program.focus(opener);
            program.press(Qt::Key_Return);
            QTRY_VERIFY_WITH_TIMEOUT(QApplication::focusWidget(), limitMs);
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
            QTRY_VERIFY_WITH_TIMEOUT(!QApplication::activeModalWidget(), limitMs);
            program.takeUp(program.window());
            QCOMPARE(program.focusName(), opener);
        }
    }
};

QTEST_MAIN(WindowWalkTest)
#include "window_walk_test.moc"
