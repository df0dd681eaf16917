// SPDX-License-Identifier: Apache-2.0

// Every state of every window, walked by keyboard and by what a screen reader is given. Leaves a
// picture of each state.

#include "drift/checked_takes.h"
#include "phones_side.h"
#include "recorded_session.h"
#include "rig/film/take.h"
#include "rig_phones.h"
#include "walked_item.h"
#include "window_walker.h"

#include <QApplication>
#include <QClipboard>
#include <QMimeData>
#include <QWidget>
#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const auto toggle = u"This 128-bit fingerprint matches the fingerprint shown on the phone"_s;
const auto programTitle = u"VORN Program"_s;
const auto codeField = u"Six-digit code from phone"_s;

/// The program's windows over a library of their own.
class Program : public WindowHands {
public:
    explicit Program(const std::vector<VORNProject> &projects = {}) : m_desk(projects)
    {
        m_desk.windows.showLibrary();
        takeUp(u"VORN Library"_s);
    }

    [[nodiscard]] AppStore &store() { return m_desk.store; }
    [[nodiscard]] Desk &desk() { return m_desk; }

    void control(Qt::Key key) { press(key, Qt::ControlModifier); }
    void awaitFocus(const QString &name) { QTRY_COMPARE_WITH_TIMEOUT(focusName(), name, limitMs); }
    /// Waits for a control, and for what is told of it.
    void await(const QString &name, const QString &told = {})
    {
        const auto isSo = [&] { return shows(name) && descriptionOf(named(name)).contains(told); };
        QVERIFY2(QTest::qWaitFor(isSo, limitMs), qPrintable(name + u": "_s + told));
    }
    void choose(const QString &name)
    {
        await(name);
        click(named(name));
    }
    void focus(const QString &name)
    {
        await(name);
        if (QQuickItem *item = named(name))
            item->forceActiveFocus(Qt::TabFocusReason);
    }
    void open(Qt::Key key, const QString &focus)
    {
        control(key);
        awaitFocus(focus);
    }
    void fail()
    {
        store().importManifest(u"/nowhere.json"_s);
        awaitFocus(u"OK"_s);
    }
    void shrink()
    {
        window()->resize(window()->minimumSize());
        QTRY_COMPARE(window()->contentItem()->size().toSize(), window()->minimumSize());
    }
    /// With a phone whose server is on: turned on again, it would be another record, in the middle
    /// of the walk.
    void pair(RigPhones &phones, const QString &camera)
    {
        phones.must(camera + u" code"_s);
        const std::size_t before = store().transferSessions().size();
        store().pairAndConnect(phones.shared(camera), phones.transfer(camera)[u"code"_s].toString(),
                               true);
        QTRY_COMPARE_WITH_TIMEOUT(store().transferSessions().size(), before + 1, limitMs);
        QTRY_VERIFY_WITH_TIMEOUT(!store().isBusy(), limitMs);
    }
    /// The length of what verifyALongFile() verifies.
    void resizeFile(qint64 bytes)
    {
        QVERIFY(QFile::resize(m_desk.folder.filePath(u"A.mov"_s), bytes));
    }

private:
    Desk m_desk;
};

/// How a state comes about from the one before.
struct State {
    QString name;
    std::function<void()> enter;
};

} // namespace

class WindowWalkTest : public WindowTest {
    Q_OBJECT
private:
    /// Walks one state after the other. Escape leads back from a sheet or another window, to where
    /// the keyboard was.
    void walk(Program &program, const std::vector<State> &states)
    {
        QStringList faults;
        QQuickWindow *window = program.window();
        std::map<QQuickItem *, QString> focus; // in the window and in each sheet
        const auto remember = [&] {
            QQuickItem *item = window->activeFocusItem();
            if (item && item != window->contentItem())
                focus[sheetOf(window)] = program.focusName();
        };
        for (const State &state : states) {
            const auto watch =
                connect(window, &QQuickWindow::activeFocusItemChanged, this, remember);
            program.press(Qt::Key_Tab); // somewhere
            state.enter();
            if (QTest::currentTestFailed())
                QFAIL(qPrintable(state.name));
            faults += walkState(program, state.name);
            disconnect(watch);
            leave(program, window);
            const QString left = focus[nullptr];
            if (!QTest::qWaitFor([&] { return program.focusName() == left; }))
                faults += state.name + u" | left by Escape, the keyboard is not at: "_s + left;
        }
        for (const QString &fault : faults)
            qWarning("%s", qPrintable(fault));
        QCOMPARE(faults.size(), 0);
    }

    void leave(Program &program, QQuickWindow *window)
    {
        while (QQuickItem *sheet = sheetOf(program.window())) {
            program.press(Qt::Key_Escape);
            const auto isLeft = [&] { return sheetOf(program.window()) != sheet; };
            QVERIFY(QTest::qWaitFor(isLeft, limitMs));
        }
        if (program.window() == window)
            return;
        if (program.window()->title() == programTitle)
            program.control(Qt::Key_W); // Escape does not take it off the air
        else
            program.press(Qt::Key_Escape);
        QTRY_VERIFY_WITH_TIMEOUT(!program.window()->isVisible(), limitMs);
        program.takeUp(window);
    }

private Q_SLOTS:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u"^(?!This plugin does not)"_s));
        m_phones.must(u"all reset"_s);
    }

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

        Program program;
        const auto import = [&](const QStringList &files) {
            program.desk().windows.importMovies(files);
            program.takeUp(u"Import Movies"_s);
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
            {u"Import Movies, smallest"_s, [&] {
                import({});
                program.shrink();
            }},
        });
        import({});
        program.choose(u"Cancel"_s);
        program.takeUp(u"VORN Library"_s);
        // Two movies are dropped on the Library window, and become a take.
        QMimeData movies;
        movies.setUrls({QUrl::fromLocalFile(paths[0]), QUrl::fromLocalFile(paths[1])});
        QDragEnterEvent enters({600, 400}, Qt::CopyAction, &movies, Qt::LeftButton, Qt::NoModifier);
        QDropEvent drops({600, 400}, Qt::CopyAction, &movies, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(program.window(), &enters);
        QCoreApplication::sendEvent(program.window(), &drops);
        program.takeUp(u"Import Movies"_s);
        program.await(u"All movies are aligned."_s);
        program.choose(u"Create Take"_s);
        QTRY_VERIFY_WITH_TIMEOUT(program.store().selectedTake(), limitMs);
        const VORNTake &take = *program.store().selectedTake();
        QCOMPARE(take.clips.size(), 2);
        QVERIFY(take.sourceManifestPath->startsWith(program.store().recordingsDirectory()));
        QVERIFY(take.clips[0].anchors.empty() != take.clips[1].anchors.empty());
    }

    void walksTheConnectSheet()
    {
        Program program;
        PhonesSide others;
        m_phones.must(u"all sleep"_s);
        const auto open = [&] { program.open(Qt::Key_K, u"Scan Again"_s); };
        walk(program, {
            {u"Connect, waiting"_s, open},
            {u"Connect, phones to ask"_s, [&] {
                m_phones.must(u"all wake"_s);
                m_phones.must(u"cam-b record take-1"_s);
                open();
                for (const QString &name : {u"Ada's phone"_s, u"Mara's phone"_s, u"Tarek's phone"_s})
                    program.await(name, u"Ask"_s);
                program.await(u"Jonas's phone"_s, u"recording"_s);
            }},
            {u"Connect, rows"_s, [&] {
                m_phones.must(u"cam-a server on"_s);
                m_phones.must(u"cam-d server on"_s);
                others.announce(u"Incomplete"_s, transfer, 14, 8444, {});
                open();
                program.await(u"Mara's phone"_s, u"HTTPS"_s);
                program.await(u"Tarek's phone"_s, u"HTTPS"_s);
                program.await(u"Incomplete"_s, u"Incomplete"_s);
            }},
            {u"Connect, fingerprint"_s, [&] {
                open();
                program.choose(u"Mara's phone"_s);
                program.await(codeField);
            }},
            {u"Connect, code"_s, [&] {
                open();
                program.choose(toggle);
                program.choose(codeField);
                program.type(u"123456"_s);
            }},
            {u"Connect, sessions"_s, [&] {
                program.pair(m_phones, u"cam-a"_s);
                program.pair(m_phones, u"cam-d"_s);
                open();
            }},
            {u"Connect, another phone"_s, [&] {
                open();
                program.choose(u"Ask another phone…"_s);
                program.await(u"Ada's phone"_s, u"Ask"_s);
            }},
            {u"Connect, smallest"_s, [&] {
                program.shrink();
                open();
                program.focus(codeField);
                program.press(Qt::Key_Escape);
                QTRY_VERIFY(!program.shows(codeField));
                open(); // not at what had the keyboard
                QVERIFY(isInSight(program.named(u"ACTIVE SESSIONS"_s)));
            }},
            {u"Connect, fast hands"_s, [&] {
                open();
                program.choose(u"Scan Again"_s); // without a choice again
                program.await(u"Tarek's phone"_s, u"HTTPS"_s);
                program.focus(u"Tarek's phone"_s);
                program.press(Qt::Key_Space);
                // They are in the block of the choice before it has its place.
                for (int i = 0; i < 12 && program.focusName() != toggle; ++i)
                    program.press(Qt::Key_Tab);
            }},
        });
    }

    void walksADownload()
    {
        Program program;
        walk(program, {
            {u"Library, to download"_s, [&] {
                m_phones.must(u"cam-a server on"_s);
                program.pair(m_phones, u"cam-a"_s);
            }},
            {u"Library, downloading"_s, [&] {
                m_phones.must(u"cam-a http files body slow 100000"_s);
                program.choose(u"Download Take"_s);
                program.control(Qt::Key_2);
                QTRY_VERIFY_WITH_TIMEOUT(program.store().downloadProgress(), limitMs);
            }},
            {u"Library, smallest, downloading"_s, [&] { program.shrink(); }},
            {u"Library, failed"_s, [&] {
                m_phones.must(u"cam-a hang-up"_s);
                program.awaitFocus(u"OK"_s);
            }},
            {u"Library, failed transfer"_s, [] {}},
        });
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

    void walksTheDirector()
    {
        Program program(fewProjects());
        m_phones.must(u"all sleep"_s);
        program.desk().windows.showDirector();
        program.takeUp(u"VORN Director"_s);
        const auto wake = [&](const QString &camera, const QString &count) {
            m_phones.must(camera + u" wake"_s);
            program.await(count + u" CAMERAS"_s);
        };
        const auto showProgram = [&] {
            program.press(Qt::Key_P, Qt::ControlModifier | Qt::ShiftModifier);
            program.takeUp(programTitle);
        };
        walk(program, {
            {u"Director, no cameras"_s, [] {}},
            {u"Program, black"_s, showProgram},
            {u"Director, nothing heard"_s, [&] { program.await(u"Check network"_s); }},
            {u"Check network"_s, [&] {
                program.choose(u"Check network"_s);
                program.takeUp(u"Check network"_s);
                QTRY_VERIFY_WITH_TIMEOUT(!program.spokenRows(u"Findings"_s).isEmpty(), limitMs);
            }},
            {u"Director, one camera"_s, [&] { wake(u"cam-a"_s, u"1"_s); }},
            {u"Director, two cameras"_s, [&] { wake(u"cam-b"_s, u"2"_s); }},
            {u"Director, three cameras"_s, [&] { wake(u"cam-c"_s, u"3"_s); }},
            {u"Director, four cameras"_s, [&] { wake(u"cam-d"_s, u"4"_s); }},
            {u"Director, recording"_s, [&] {
                m_phones.must(u"cam-b record tape-1"_s);
                program.await(u"Jonas's phone"_s, u"REC"_s);
            }},
            {u"Director, audio"_s, [&] { program.choose(u"Audio"_s); }},
            {u"Director, camera"_s, [&] { program.choose(u"Camera"_s); }},
            {u"Director, no edits"_s, [&] { program.choose(u"Edits"_s); }},
            {u"Director, session"_s, [&] {
                program.choose(u"Session"_s);
                program.choose(u"Start Director Session"_s);
                program.await(u"Session Running"_s);
            }},
            {u"Director, edits"_s, [&] {
                program.choose(u"Edits"_s);
                program.press(Qt::Key_Space);
                program.choose(u"Marker"_s);
                program.await(u"2 events in this session"_s);
            }},
            {u"Director, many edits"_s, [&] {
                for (int i = 0; i < 30; ++i)
                    program.choose(u"Marker"_s);
            }},
            {u"Director, frozen"_s, [&] {
                m_phones.must(u"cam-c preview silent"_s);
                program.await(u"Ada's phone"_s, u"Picture"_s);
            }},
            {u"Program, frozen"_s, [&] {
                m_phones.must(u"all preview silent"_s);
                showProgram();
                program.await(u"PROGRAM, Mara's phone"_s, u"Picture"_s);
            }},
            {u"Director, offline"_s, [&] {
                m_phones.must(u"all preview ok"_s);
                m_phones.must(u"cam-d sleep"_s);
                program.await(u"Tarek's phone"_s, u"OFFLINE"_s);
            }},
            {u"Director, error"_s, [&] { program.fail(); }},
            {u"End Session"_s, [&] { program.open(Qt::Key_W, u"Keep Working"_s); }},
            {u"Director, smallest"_s, [&] { program.shrink(); program.choose(u"Camera"_s); }},
            {u"Director, smallest, audio"_s, [&] { program.choose(u"Audio"_s); }},
            {u"Director, folded"_s, [&] { program.choose(u"Hide Inspector"_s); }},
        });
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

private:
    RigPhones m_phones{
        {.transfer = u"ask"_s, .clips = 1, .more = {u"--clip-bytes"_s, u"20000000"_s}}};
};

QTEST_MAIN(WindowWalkTest)
#include "window_walk_test.moc"
