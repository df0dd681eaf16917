// SPDX-License-Identifier: Apache-2.0

// How a show is directed, with simulated phones on the lab's network.

#include "base/display_text.h"
#include "director_probe.h"
#include "support.h"

#include <QApplication>
#include <QClipboard>

using namespace vorn;
using namespace Qt::StringLiterals;

class DirectorShowTest : public DirectorTest {
    Q_OBJECT
public:
    /// With two displays.
    static void initMain()
    {
        WindowTest::initMain();
        static QTemporaryFile displays;
        if (!displays.open())
            qFatal("no file");
        displays.write(R"({"screens": [{"name": "left", "x": 0, "width": 1600, "height": 1000},
                                       {"name": "right", "x": 1600, "width": 1600, "height": 1000}]})");
        displays.close();
        qputenv("QT_QPA_PLATFORM",
                "offscreen:configfile=" + QFile::encodeName(displays.fileName()));
    }

private Q_SLOTS:
    void cutsByTheSpaceBar()
    {
        DirectorProbe probe;
        probe.startSession();
        const auto preview = probe.timeline().previewCameraID;
        QVERIFY(preview);

        // Wherever the focus is: on the button that has just been pressed, too.
        probe.press(Qt::Key_Space);
        QTRY_COMPARE(probe.timeline().programCameraID, preview);
        const std::size_t events = probe.timeline().events.size();
        // Preview is empty: nothing to cut to, and nothing else that the key could do.
        probe.press(Qt::Key_Space);
        QCOMPARE(probe.timeline().events.size(), events);

        probe.click(probe.named(*preview == u"cam-a"_s ? u"Jonas's phone"_s : u"Mara's phone"_s));
        QVERIFY(probe.director().canTake());
        for (int repetition = 0; repetition < 5; ++repetition)
            QTest::simulateEvent(probe.window(), true, Qt::Key_Space, {}, u" "_s, true);
        QCOMPARE(probe.timeline().events.size(), events);
        probe.press(Qt::Key_Space);
        QTRY_COMPARE(probe.timeline().events.size(), events + 1);

        // A text field takes its blanks.
        probe.goToTheEndOfTheTake();
        probe.press(Qt::Key_Space);
        probe.press(Qt::Key_X);
        QVERIFY(probe.director().sessionPage()->plannedTakeID().endsWith(u" x"_s));
        QCOMPARE(probe.timeline().events.size(), events + 1);
    }

    void choosesPreviewByTheNumberOfThePlace()
    {
        DirectorProbe probe;
        probe.awaitCameras();
        const auto preview = [&probe] { return probe.timeline().previewCameraID.value_or(u""_s); };
        const std::vector<std::tuple<Qt::Key, Qt::KeyboardModifiers, QString>> presses{
            {Qt::Key_4, {}, u"cam-d"_s},
            {Qt::Key_2, Qt::KeypadModifier, u"cam-b"_s},
            {Qt::Key_3, {}, u"cam-a"_s},
            {Qt::Key_1, {}, u"cam-c"_s}};
        for (const auto &[key, modifiers, camera] : presses) {
            probe.press(key, modifiers);
            QCOMPARE(preview(), camera);
        }
        QVERIFY(descriptionOf(probe.named(u"Ada's phone"_s)).endsWith(u", key 1"_s));
        probe.click(probe.named(u"Fade duration, 1.0 s"_s));
        probe.press(Qt::Key_4);
        probe.press(Qt::Key_Escape);
        QTRY_VERIFY(!probe.shows(u"2.0 s"_s));
        const QString take = probe.director().sessionPage()->plannedTakeID();
        probe.goToTheEndOfTheTake();
        probe.press(Qt::Key_4);
        QCOMPARE(probe.director().sessionPage()->plannedTakeID(), take + u'4');
        QCOMPARE(preview(), u"cam-c"_s);
    }

    void leavesTheSpaceBarToAnOpenPicker()
    {
        DirectorProbe probe;
        probe.startSession();
        const QString before = probe.focusName();
        probe.click(probe.named(u"Fade duration, 1.0 s"_s));
        probe.press(Qt::Key_Down);
        probe.press(Qt::Key_Space);
        QTRY_VERIFY(probe.shows(u"Fade duration, 1.5 s"_s));
        QVERIFY(!probe.timeline().programCameraID);
        QCOMPARE(probe.focusName(), before);
        // Also one that was opened by an assistive tool; Escape leaves things as they are.
        pressAccessibly(probe.named(u"Fade duration, 1.5 s"_s));
        QCOMPARE(probe.focusName(), u"Fade duration, 1.5 s"_s);
        probe.press(Qt::Key_Down);
        probe.press(Qt::Key_Escape);
        QTRY_VERIFY(!probe.shows(u"2.0 s"_s));
        QVERIFY(probe.shows(u"Fade duration, 1.5 s"_s));
        QCOMPARE(probe.focusName(), before);
        probe.press(Qt::Key_Space);
        QTRY_VERIFY(probe.timeline().programCameraID);
    }

    void cutsEachTimeAfterAPickerWasUsed()
    {
        DirectorProbe probe;
        probe.startSession();
        probe.click(probe.named(u"Mara's phone"_s));
        probe.press(Qt::Key_Space);
        probe.click(probe.named(u"Jonas's phone"_s));
        const auto cutsEachTime = [&probe] {
            const std::size_t events = probe.timeline().events.size();
            for (int i = 0; i < 12; ++i)
                probe.press(Qt::Key_Space);
            return probe.timeline().events.size() == events + 12;
        };
        probe.click(probe.named(u"Fade duration, 1.0 s"_s));
        QTRY_VERIFY(probe.shows(u"1.5 s"_s));
        probe.click(probe.named(u"1.5 s"_s));
        QTRY_VERIFY(probe.shows(u"Fade duration, 1.5 s"_s));
        QCOMPARE(probe.focusName(), u"Jonas's phone"_s);
        QVERIFY(cutsEachTime());
        pressAccessibly(probe.named(u"Fade duration, 1.5 s"_s));
        QTRY_VERIFY(probe.shows(u"1.0 s"_s));
        pressAccessibly(probe.named(u"1.0 s"_s));
        QTRY_VERIFY(probe.shows(u"Fade duration, 1.0 s"_s));
        QCOMPARE(probe.focusName(), u"Jonas's phone"_s);
        QVERIFY(cutsEachTime());
        // The keyboard's focus stays on the picker.
        probe.named(u"Fade duration, 1.0 s"_s)->forceActiveFocus(Qt::TabFocusReason);
        for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Down, Qt::Key_Return})
            probe.press(key);
        QTRY_COMPARE(probe.focusName(), u"Fade duration, 1.5 s"_s);
        QVERIFY(cutsEachTime());
    }

    void showsWhatIsInPreviewAndOnProgram()
    {
        DirectorProbe probe;
        probe.startSession();
        QTRY_COMPARE_WITH_TIMEOUT(probe.framesShown(), 5, limitMs); // four tiles and Preview
        QTRY_VERIFY_WITH_TIMEOUT(probe.widestDecoded(), limitMs);
        const int before = *probe.widestDecoded();
        probe.window()->resize(probe.window()->size() * 1.7);
        QTRY_VERIFY_WITH_TIMEOUT(probe.widestDecoded() > before, limitMs);
        probe.click(probe.named(u"Mara's phone"_s));
        probe.press(Qt::Key_Space);
        QTRY_VERIFY(probe.shows(u"PROGRAM, Mara's phone"_s));
        QTRY_VERIFY(probe.shows(u"PREVIEW, No camera selected"_s));
        QVERIFY(descriptionOf(probe.named(u"Mara's phone"_s)).startsWith(u"PGM, "_s));
        // What is said of a camera is not lost behind its name.
        const QString name = u"m"_s.repeated(longestLine - 1);
        m_phones.must(uR"(cam-a set name "%1")"_s.arg(name));
        QTRY_VERIFY_WITH_TIMEOUT(probe.shows(u"PROGRAM, "_s + name), limitMs);
        m_phones.must(u"cam-a sleep"_s);
        QTRY_VERIFY_WITH_TIMEOUT(probe.shows(u"PROGRAM, %1 \u2022 OFFLINE"_s.arg(name)), limitMs);
        m_phones.must(u"cam-a wake"_s);
    }

    void saysHowOldAFrozenPictureIs()
    {
        DirectorProbe probe;
        probe.startSession();
        probe.click(probe.named(u"Mara's phone"_s));
        probe.press(Qt::Key_Space);
        // As the wall says it of two cameras, and the monitor of Program.
        const auto ages = [&probe] {
            QStringList said;
            for (const QString &name :
                 {u"Jonas's phone"_s, u"Mara's phone"_s, u"PROGRAM, Mara's phone"_s})
                said += descriptionOf(probe.named(name)).section(u',', 0, 0);
            said.replaceInStrings(QRegularExpression(u"^(?!Picture).*$"_s), u"live"_s);
            said.replaceInStrings(QRegularExpression(u"^Picture \\d+ s old$"_s), u"old"_s);
            return said.join(u' ');
        };
        QTRY_COMPARE_WITH_TIMEOUT(probe.framesShown(), 5, limitMs); // four tiles and Program
        QCOMPARE(ages(), u"live live live"_s);
        m_phones.must(u"cam-a preview silent"_s);
        QTRY_COMPARE_WITH_TIMEOUT(ages(), u"live old old"_s, limitMs);
        m_phones.must(u"cam-a preview ok"_s);
        QTRY_COMPARE_WITH_TIMEOUT(ages(), u"live live live"_s, limitMs);
    }

    void asksBeforeASessionIsLost()
    {
        DirectorProbe probe;
        probe.startSession();
        probe.window()->close();
        QTRY_COMPARE(probe.focusName(), u"Keep Working"_s);
        QVERIFY(
            probe.shows(u"The list closes with this window. Its edits stay on the disk, for the "
                        "export of the take."_s));
        probe.press(Qt::Key_Space); // not a cut
        QVERIFY(!probe.timeline().programCameraID);
        probe.press(Qt::Key_Escape);
        QVERIFY(probe.window()->isVisible());
    }

    void showsProgramAlone()
    {
        Desk desk(fewProjects());
        desk.windows.showDirector();
        WindowHands director(u"VORN Director"_s);
        QTRY_VERIFY_WITH_TIMEOUT(director.shows(u"Live network active"_s), limitMs);
        director.click(director.named(u"Start Director Session"_s));
        director.click(director.named(u"Open Program"_s));
        WindowHands program(u"VORN Program"_s);
        const auto light = [&program] { // the share of it that is not black
            const QImage picture = program.window()->grabWindow();
            qsizetype count = 0;
            for (int y = 0; y < picture.height(); ++y)
                for (int x = 0; x < picture.width(); ++x)
                    count += (picture.pixel(x, y) & 0xFFFFFF) != 0;
            return double(count) / double(picture.width() * picture.height());
        };
        QCOMPARE(light(), 0);
        // On the display where the desk is not.
        QVERIFY(program.window()->screen() != director.window()->screen());
        QVERIFY(program.window()->screen()->geometry().contains(program.window()->geometry()));
        // The show goes on where the keyboard is.
        program.press(Qt::Key_Space);
        QTRY_VERIFY_WITH_TIMEOUT(light() > 0.5, limitMs);
        const auto isFull = [&program] {
            return program.window()->visibility() == QWindow::FullScreen;
        };
        program.press(Qt::Key_F11);
        QTRY_VERIFY(isFull());
        program.press(Qt::Key_Escape);
        QTRY_VERIFY(!isFull());
        program.press(Qt::Key_Escape);
        QVERIFY(program.window()->isVisible());
        QTest::mouseDClick(program.window(), Qt::LeftButton, {}, {100, 100});
        QTRY_VERIFY(isFull());
        // Its display is unplugged: full screen it would lie over the desk.
        Q_EMIT qGuiApp->screenRemoved(program.window()->screen());
        QTRY_VERIFY(!isFull());
        director.window()->setProperty("mayClose", true);
        director.window()->close();
        QTRY_VERIFY(!shownWindow(u"VORN Program"_s));
    }

    void copiesTheEdits()
    {
        DirectorProbe probe;
        const QString sessions = probe.store().supportDirectory() + u"/sessions"_s;
        writePlain(sessions, "a file in the way");
        probe.startSession();
        probe.press(Qt::Key_Space);
        probe.click(probe.named(u"Edits"_s));
        const QString problem =
            u"Not saved. Cannot create the folder %1: Not a directory."_s.arg(sessions);
        QTRY_VERIFY(probe.shows(problem));
        QCOMPARE(probe.director().editsPage()->closingText(),
                 u"The last edits are not saved. Copy the list on the Edits page to keep them."_s);
        QVERIFY(QFile::remove(sessions));
        probe.click(probe.named(u"Marker"_s));
        QTRY_VERIFY(probe.shows(u"2 events in this session"_s));
        QVERIFY(!probe.shows(problem));
        // The list has nothing to do with what cameras say, unless it is a name.
        const QSignalSpy told(probe.director().editsPage(), &EditsPageViewModel::changed);
        const QSignalSpy heard(&probe.director().session(), &DirectorSession::camerasChanged);
        QTRY_VERIFY_WITH_TIMEOUT(heard.count() > 2, limitMs);
        QCOMPARE(told.count(), 0);
        m_phones.must(uR"(all set name "Nell")"_s);
        QTRY_VERIFY_WITH_TIMEOUT(
            probe.spokenRows(u"Edit Decisions"_s).last().endsWith(u", CUT, Nell"_s), limitMs);
        probe.click(probe.named(u"Copy"_s));
        const QStringList lines =
            QGuiApplication::clipboard()->text().split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 3);
        QVERIFY(lines.last().endsWith(u"\tMARK\tEdit marker"_s));
    }
};

QTEST_MAIN(DirectorShowTest)
#include "director_show_test.moc"
