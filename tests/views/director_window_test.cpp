// SPDX-License-Identifier: Apache-2.0

// The Director window with simulated phones on the lab's network.

#include "base/display_text.h"
#include "rig_phones.h"
#include "support.h"
#include "window_probe.h"

#include <QApplication>
#include <QClipboard>
#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

bool isCut(QQuickItem *label)
{
    return label->property("truncated").toBool();
}

/// The Director window alone.
class DirectorProbe : public WindowHands {
public:
    DirectorProbe() { takeUp(m_window.get()); }

    void reopen()
    {
        m_window.reset();
        m_opening.emplace(m_desk.store, m_desk.catalogs, m_desk.cameras, m_desk.settings);
        m_window = makeDirectorWindow(m_engine, *m_opening);
        takeUp(m_window.get());
    }

    [[nodiscard]] AppStore &store() { return m_desk.store; }
    [[nodiscard]] QSettings &settings() { return m_desk.settings; }
    [[nodiscard]] const LiveEditTimeline &timeline() const
    {
        return m_opening->session().timeline();
    }
    [[nodiscard]] DirectorViewModel &director() { return *m_opening; }

    /// Where the item of this name is in the window.
    [[nodiscard]] QRectF placeOf(const QString &name) const
    {
        QQuickItem *item = named(name);
        return item->mapRectToScene(item->boundingRect());
    }

    /// Moves the handle to the left of what has this name.
    void drag(const QString &name, int by)
    {
        const QRectF pane = placeOf(name);
        const QPoint handle(int(pane.left()) - 8, int(pane.center().y()));
        QTest::mousePress(window(), Qt::LeftButton, {}, handle);
        for (const int step : {by / 2, by})
            QTest::mouseMove(window(), handle + QPoint(step, 0));
        QTest::mouseRelease(window(), Qt::LeftButton, {}, handle + QPoint(by, 0));
    }
    /// Width by height of the places of the wall.
    [[nodiscard]] double placeRatio() const
    {
        for (QQuickItem *item : visibleItems(window()->contentItem())) {
            if (item->inherits("vorn::CameraFrameImage") && !item->property("monitor").toBool())
                return item->width() / item->height();
        }
        return 0;
    }

    [[nodiscard]] qsizetype framesShown() const
    {
        return std::ranges::count_if(visibleItems(window()->contentItem()), [](QQuickItem *item) {
            return item->inherits("vorn::CameraFrameImage") && item->property("hasFrame").toBool();
        });
    }
    void goToTheEndOfTheTake()
    {
        const auto items = visibleItems(window()->contentItem());
        const auto field = std::ranges::find_if(
            items, [](QQuickItem *item) { return item->inherits("QQuickTextField"); });
        click(*field);
        press(Qt::Key_End);
    }

    /// From then on the tiles keep their places.
    void awaitCameras()
    {
        QTRY_COMPARE_WITH_TIMEOUT(director().cameraCountText(), u"4 CAMERAS"_s, limitMs);
    }
    void startSession()
    {
        awaitCameras();
        click(named(u"Start Director Session"_s));
        QVERIFY(director().isSessionRunning());
    }

private:
    Desk m_desk{fewProjects()};
    std::optional<DirectorViewModel> m_opening{std::in_place, m_desk.store, m_desk.catalogs,
                                               m_desk.cameras, m_desk.settings};
    QQmlEngine m_engine;
    std::unique_ptr<QWindow> m_window = makeDirectorWindow(m_engine, *m_opening);
};

// The hidden ones too.
int stripsUnder(QQuickItem *item)
{
    int count = QByteArray(item->metaObject()->className()).startsWith("CompactAudioChannel");
    for (QQuickItem *child : item->childItems())
        count += stripsUnder(child);
    return count;
}

} // namespace

class DirectorWindowTest : public WindowTest {
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
    void init()
    {
        m_phones.must(u"all reset"_s);
        m_phones.must(u"storm 0"_s);
        m_phones.must(u"all hold landscape"_s); // else the places move when the pictures have come
    }

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
        probe.press(Qt::Key_Space); // not a cut
        QVERIFY(!probe.timeline().programCameraID);
        probe.press(Qt::Key_Escape);
        QVERIFY(probe.window()->isVisible());
    }

    void explainsUnderThePointer()
    {
        m_phones.must(u"cam-a record tape-1"_s);
        DirectorProbe probe;
        probe.awaitCameras();
        QTRY_VERIFY_WITH_TIMEOUT(probe.shows(u"REC"_s), limitMs);
        const std::vector<std::pair<QString, QString>> helps{
            {u"REC"_s, u"Camera recording"_s},
            {u"ARM"_s, u"Unavailable until authenticated camera pairing is implemented"_s},
            {u"Marker"_s, u"Add a timestamped marker to the Director edit log\n"
                          "Start a Director session first."_s}};
        for (const auto &[control, help] : helps) {
            probe.pointAt(probe.named(control));
            QTRY_VERIFY2(probe.shows(help), qPrintable(control));
        }
    }

    void keepsItsPanesApart()
    {
        DirectorProbe probe;
        probe.awaitCameras();
        for (const QSize size : {QSize(2400, 1200), QSize(1120, 700)}) {
            probe.window()->resize(size);
            const auto follows = [&] {
                return probe.placeOf(u"Edits"_s).right() > size.width() - 40;
            };
            QTRY_VERIFY(follows() && probe.placeOf(u"Edits"_s).right() < size.width());
            QVERIFY(probe.placeOf(u"Tarek's phone"_s).right() < probe.placeOf(u"CUT"_s).left());
            QVERIFY(probe.placeOf(u"Marker"_s).right() < probe.placeOf(u"Session"_s).left());
        }
        // A long name takes no room from the other texts.
        probe.store().renameSelectedProject(u"A very long name "_s.repeated(15));
        const QString name = probe.store().selectedProject()->name;
        QTRY_VERIFY(probe.placeOf(name).width() > 200 && isCut(probe.named(name)));
        for (const QString &text : {u"Live network active"_s, probe.director().policyText(),
                                    u"Audio meters only"_s, probe.director().catalogsText()})
            QVERIFY2(!isCut(probe.named(text)), qPrintable(text));
    }

    void foldsTheInspectorAway()
    {
        DirectorProbe probe;
        probe.startSession();
        const qreal left = probe.placeOf(u"SWITCHER"_s).right();
        probe.press(Qt::Key_Backtab, Qt::ShiftModifier);
        QCOMPARE(probe.focusName(), u"Take"_s);
        probe.press(Qt::Key_F9);
        QCOMPARE(probe.focusName(), u"Show Inspector"_s);
        QVERIFY(!probe.shows(u"Session Running"_s));
        QTRY_VERIFY(probe.placeOf(u"SWITCHER"_s).right() > left + 300);
        // The show goes on, and its edits are there when somebody looks.
        probe.press(Qt::Key_Space);
        QTRY_VERIFY(probe.timeline().programCameraID);
        probe.click(probe.named(u"Marker"_s));
        QVERIFY(!probe.shows(u"Edits"_s));
        probe.click(probe.named(u"Show Inspector"_s));
        QTRY_COMPARE(probe.spokenRows(u"Edit Decisions"_s).size(), 2);
        QTRY_COMPARE(probe.placeOf(u"SWITCHER"_s).right(), left);
        probe.click(probe.named(u"Hide Inspector"_s));
        probe.reopen();
        QVERIFY(!probe.shows(u"Inspector"_s));
    }

    void keepsTheSplit()
    {
        DirectorProbe probe;
        probe.awaitCameras();
        const auto widths = [&probe] {
            return std::pair(std::lround(probe.placeOf(u"MULTIVIEW"_s).width()),
                             std::lround(probe.placeOf(u"Inspector"_s).width()));
        };
        probe.drag(u"SWITCHER"_s, 0);
        QVERIFY(!probe.settings().contains(DeskViewModel::wallShareKey)); // a mere click
        probe.drag(u"Inspector"_s, -60);
        QTRY_COMPARE(widths().second, 400);
        const auto before = std::pair(widths().first - 50, widths().second);
        probe.drag(u"SWITCHER"_s, -50);
        QTRY_COMPARE(widths(), before);
        probe.reopen();
        QTRY_COMPARE(widths(), before);
        // A smaller window takes what it needs, and no more than for the time being.
        probe.window()->resize(1120, 700);
        QTRY_VERIFY(widths().first < before.first);
        probe.window()->resize(1320, 820);
        QTRY_COMPARE(widths(), before);
    }

    void bearsAnySettings()
    {
        DirectorProbe probe;
        const auto places = [&probe] {
            return QList{probe.placeOf(u"MULTIVIEW"_s), probe.placeOf(u"Inspector"_s)};
        };
        const auto usual = places();
        for (const char *measure : {"nan", "inf", "-5", "0", "1e300", "wide", "true"}) {
            for (const QStringView key :
                 {DeskViewModel::inspectorWidthKey, DeskViewModel::wallShareKey})
                probe.settings().setValue(key, QString::fromLatin1(measure));
            probe.settings().setValue(DeskViewModel::inspectorFoldedKey, u"perhaps"_s);
            probe.reopen();
            QVERIFY2(probe.shows(u"Inspector"_s) && places() == usual, measure);
        }
    }

    void givesPlacesTheShapeOfTheirPictures()
    {
        DirectorProbe probe;
        probe.startSession();
        const CameraWallViewModel *wall = probe.director().wall();
        QTRY_VERIFY_WITH_TIMEOUT(std::abs(probe.placeRatio() - 16.0 / 9) < 0.03, limitMs);
        const QRectF cut = probe.placeOf(u"CUT"_s);
        m_phones.must(u"all hold turned"_s);
        QTRY_VERIFY_WITH_TIMEOUT(probe.placeRatio() < 1 && wall->widestRatio() < 1, limitMs);
        probe.window()->grabWindow();           // with it the layout is done
        QCOMPARE(probe.placeOf(u"CUT"_s), cut); // while a session runs
        // A phone that is not heard for a while keeps the places as they are.
        for (const QString &phone : {u"cam-a"_s, u"cam-c"_s, u"cam-d"_s})
            m_phones.must(phone + u" hold landscape"_s);
        QTRY_VERIFY_WITH_TIMEOUT(wall->widestRatio() > 1, limitMs);
        const double mixed = probe.placeRatio();
        QVERIFY(mixed < 1);
        m_phones.must(u"cam-b sleep"_s);
        QTRY_VERIFY_WITH_TIMEOUT(
            descriptionOf(probe.named(u"Jonas's phone"_s)).startsWith(u"Offline"_s), limitMs);
        m_phones.must(u"cam-a wall 640x240@15"_s);
        QTRY_VERIFY_WITH_TIMEOUT(wall->widestRatio() > 2, limitMs);
        QCOMPARE(probe.placeRatio(), mixed);
    }

    void opensOnceAndLeavesTheLibraryAlone()
    {
        Desk desk;
        desk.windows.showLibrary();
        desk.windows.showDirector();
        const QPointer<QWindow> first = shownWindow(u"VORN Director"_s);
        desk.windows.showDirector();
        QCOMPARE(std::ranges::count_if(QGuiApplication::topLevelWindows(), &QWindow::isVisible), 2);
        first->close();
        QTRY_VERIFY(!first); // and with it its streams and its timeline
        QVERIFY(shownWindow(u"VORN Library"_s));
        desk.windows.showDirector();
        QVERIFY(shownWindow(u"VORN Director"_s));
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

    void quitsFromEitherWindow_data()
    {
        QTest::addColumn<QString>("window");
        QTest::addColumn<bool>("session");
        QTest::newRow("Director") << u"VORN Director"_s << false;
        QTest::newRow("Library, asks") << u"VORN Library"_s << true;
    }

    void quitsFromEitherWindow()
    {
        QFETCH(const QString, window);
        QFETCH(const bool, session);
        Desk desk(fewProjects());
        desk.windows.showLibrary();
        desk.windows.showDirector();
        const auto quit = [&window] {
            WindowHands hands(window);
            hands.press(Qt::Key_Q, Qt::ControlModifier);
        };
        bool hasAsked = false;
        const int code = runProgram([&] {
            if (session) {
                WindowHands director(u"VORN Director"_s);
                director.click(director.named(u"Start Director Session"_s));
                quit();
                QTRY_COMPARE(director.focusName(), u"Keep Working"_s);
                director.press(Qt::Key_Escape);
                QTRY_VERIFY(!director.shows(u"Keep Working"_s));
                quit();
                QTRY_VERIFY(director.shows(u"End Session"_s));
                hasAsked = true;
                director.click(director.named(u"End Session"_s));
            } else {
                quit();
            }
        });
        QCOMPARE(code, 0);
        QCOMPARE(hasAsked, session);
    }

    void asksBeforeWorkEnds_data()
    {
        QTest::addColumn<bool>("byKey"); // with both windows, instead of closing the last one
        QTest::newRow("last window") << false;
        QTest::newRow("key") << true;
    }

    void asksBeforeWorkEnds()
    {
        QFETCH(const bool, byKey);
        Desk desk(fewProjects());
        bool isSecond = false; // time that the work may end
        const int code = runProgram([&] {
            desk.windows.showDirector();
            WindowHands director(u"VORN Director"_s);
            director.click(director.named(u"Start Director Session"_s));
            if (byKey)
                desk.windows.showLibrary();
            WindowHands asked; // about the work
            desk.verifyALongFile();
            // What is kept for one reason is asked for anew for both.
            for (const QString &answer : {u"Keep Working"_s, u"Quit"_s, u"Quit"_s}) {
                asked.takeUp(byKey ? u"VORN Library"_s : u"VORN Director"_s);
                if (byKey)
                    asked.press(Qt::Key_Q, Qt::ControlModifier);
                else
                    asked.window()->close();
                QTRY_COMPARE(asked.focusName(), u"Keep Working"_s);
                QVERIFY(asked.shows(u"The verification stops without a result."_s));
                asked.click(asked.named(answer));
                QTRY_VERIFY(!asked.shows(u"Quit while work is running?"_s));
                QVERIFY(desk.store.isBusy() && director.window()->isVisible());
                QCOMPARE(director.shows(u"End Session"_s), answer == u"Quit"_s);
                if (answer == u"Quit"_s && isSecond)
                    director.click(director.named(u"End Session"_s));
                else if (answer == u"Quit"_s)
                    director.press(Qt::Key_Escape);
                isSecond = answer == u"Quit"_s;
            }
        });
        QCOMPARE(code, 0);
        QVERIFY(isSecond);
    }

    void asksOnlyWhereWorkWouldEnd()
    {
        Desk desk;
        desk.windows.showLibrary();
        desk.windows.showDirector();
        desk.verifyALongFile();
        const QPointer<QWindow> director = shownWindow(u"VORN Director"_s);
        director->close();
        QTRY_VERIFY(!director);
        WindowHands library(u"VORN Library"_s);
        library.window()->close();
        QTRY_COMPARE(library.focusName(), u"Keep Working"_s);
        // It ends by itself: there is nothing left to ask.
        QVERIFY(QFile::resize(desk.folder.filePath(u"A.mov"_s), 0));
        QTRY_VERIFY_WITH_TIMEOUT(!library.shows(u"Quit while work is running?"_s), limitMs);
        QVERIFY(library.window()->isVisible() && !desk.store.isBusy());
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

    void makesOnlyTheAudioStripsThatFit()
    {
        constexpr int cameras = 40;
        m_phones.must(u"storm %1 %1"_s.arg(cameras - 4));
        DirectorProbe probe;
        const QAbstractItemModel *strips = probe.director().audioPage()->strips();
        QTRY_COMPARE_WITH_TIMEOUT(strips->rowCount(), cameras, limitMs);
        QVERIFY(stripsUnder(probe.window()->contentItem()) < cameras / 2);
        probe.click(probe.named(u"Audio"_s));
        QTRY_VERIFY(stripsUnder(probe.window()->contentItem()) > 0);
        QVERIFY(stripsUnder(probe.window()->contentItem()) < cameras / 2);
    }

private:
    RigPhones m_phones;
};

QTEST_MAIN(DirectorWindowTest)
#include "director_window_test.moc"
