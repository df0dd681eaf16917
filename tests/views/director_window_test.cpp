// The Director window with simulated phones on the lab's network.

#include "base/display_text.h"
#include "live/live_camera_discovery.h"
#include "rig_phones.h"
#include "transfer/lan_discovery.h"
#include "views/program_windows.h"
#include "window_probe.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QSettings>
#include <QSignalSpy>
#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

constexpr int limitMs = 30'000;

bool isCut(QQuickItem *label)
{
    return label->property("truncated").toBool();
}

/// The window over a store with one project.
class DirectorProbe : public WindowHands {
public:
    DirectorProbe()
        : m_store(m_folder.path(), m_folder.path()),
          m_settings(m_folder.filePath(u"settings.ini"_s), QSettings::IniFormat)
    {
        m_store.createProject(u"Night Shoot"_s);
        m_director.emplace(m_store, m_catalogs, m_discovery, m_settings);
        m_window = makeDirectorWindow(m_engine, *m_director);
        takeUp(m_window.get());
    }

    [[nodiscard]] AppStore &store() { return m_store; }
    [[nodiscard]] const LiveEditTimeline &timeline() const
    {
        return m_director->session().timeline();
    }
    [[nodiscard]] DirectorViewModel &director() { return *m_director; }

    /// Where the item of this name is in the window.
    [[nodiscard]] QRectF placeOf(const QString &name) const
    {
        QQuickItem *item = named(name);
        return item->mapRectToScene(item->boundingRect());
    }

    void startSession()
    {
        QTRY_COMPARE_WITH_TIMEOUT(m_director->cameraCountText(), u"4 CAMERAS"_s, limitMs);
        click(named(u"Start Director Session"_s));
        QVERIFY(m_director->isSessionRunning());
    }

private:
    QTemporaryDir m_folder;
    AppStore m_store;
    LANDiscovery m_catalogs;
    LiveCameraDiscovery m_discovery;
    QSettings m_settings;
    std::optional<DirectorViewModel> m_director;
    QQmlEngine m_engine;
    std::unique_ptr<QWindow> m_window;
};

// The hidden ones too.
int stripsUnder(QQuickItem *item)
{
    int count = QByteArray(item->metaObject()->className()).startsWith("CompactAudioChannel");
    for (QQuickItem *child : item->childItems())
        count += stripsUnder(child);
    return count;
}

void pressRepeatedly(QQuickWindow *window)
{
    for (int i = 0; i < 5; ++i)
        QTest::simulateEvent(window, true, Qt::Key_Space, Qt::NoModifier, u" "_s, true);
}

void pressAccessibly(QQuickItem *item)
{
    QAccessible::queryAccessibleInterface(item)->actionInterface()->doAction(
        QAccessibleActionInterface::pressAction());
}

} // namespace

class DirectorWindowTest : public QObject {
    Q_OBJECT
public:
    static void initMain() { QQuickWindow::setGraphicsApi(QSGRendererInterface::Software); }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(qEnvironmentVariableIsSet("VORN_LAB_PHONES"), "no lab");
        QAccessible::setActive(true);
        applyLook();
        m_phones.emplace();
    }
    void init()
    {
        m_phones->must(u"all reset"_s);
        m_phones->must(u"storm 0"_s);
    }
    void cleanupTestCase() { m_phones.reset(); }

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
        pressRepeatedly(probe.window());
        QCOMPARE(probe.timeline().events.size(), events);
        probe.press(Qt::Key_Space);
        QTRY_COMPARE(probe.timeline().events.size(), events + 1);
    }

    void typesBlanksInATextField()
    {
        DirectorProbe probe;
        probe.startSession();
        const auto items = visibleItems(probe.window()->contentItem());
        const auto field = std::ranges::find_if(
            items, [](QQuickItem *item) { return item->inherits("QQuickTextField"); });
        probe.click(*field);
        probe.press(Qt::Key_End);
        probe.press(Qt::Key_Space);
        probe.press(Qt::Key_X);
        QVERIFY(probe.director().sessionPage()->plannedTakeID().endsWith(u" x"_s));
        QVERIFY(!probe.timeline().programCameraID);
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

    void cutsEachTimeAfterAPickerWasUsed_data()
    {
        QTest::addColumn<int>("way");
        QTest::newRow("mouse") << 0;
        QTest::newRow("assistive tool") << 1;
        QTest::newRow("keyboard") << 2; // whose focus stays on the picker
    }

    void cutsEachTimeAfterAPickerWasUsed()
    {
        QFETCH(const int, way);
        DirectorProbe probe;
        probe.startSession();
        probe.click(probe.named(u"Mara's phone"_s));
        probe.press(Qt::Key_Space);
        probe.click(probe.named(u"Jonas's phone"_s));
        QQuickItem *picker = probe.named(u"Fade duration, 1.0 s"_s);
        if (way == 0) {
            probe.click(picker);
            QTRY_VERIFY(probe.shows(u"1.5 s"_s));
            probe.click(probe.named(u"1.5 s"_s));
        } else if (way == 1) {
            pressAccessibly(picker);
            QTRY_VERIFY(probe.shows(u"1.5 s"_s));
            pressAccessibly(probe.named(u"1.5 s"_s));
        } else {
            picker->forceActiveFocus(Qt::TabFocusReason);
            for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Down, Qt::Key_Return})
                probe.press(key);
        }
        QVERIFY(probe.shows(u"Fade duration, 1.5 s"_s));
        QCOMPARE(probe.focusName(), way == 2 ? u"Fade duration, 1.5 s"_s : u"Jonas's phone"_s);
        const std::size_t events = probe.timeline().events.size();
        for (int i = 0; i < 12; ++i)
            probe.press(Qt::Key_Space);
        QCOMPARE(probe.timeline().events.size(), events + 12);
    }

    void showsWhatIsInPreviewAndOnProgram()
    {
        DirectorProbe probe;
        probe.startSession();
        QTRY_VERIFY_WITH_TIMEOUT(
            [&] {
                int pictures = 0;
                for (QQuickItem *item : visibleItems(probe.window()->contentItem()))
                    pictures += item->inherits("vorn::CameraFrameImage")
                                && item->property("hasFrame").toBool();
                return pictures == 5; // four tiles and Preview
            }(),
            limitMs);
        probe.click(probe.named(u"Mara's phone"_s));
        probe.press(Qt::Key_Space);
        QTRY_VERIFY(probe.shows(u"PROGRAM, Mara's phone"_s));
        QTRY_VERIFY(probe.shows(u"PREVIEW, No camera selected"_s));
        QAccessibleInterface *tile =
            QAccessible::queryAccessibleInterface(probe.named(u"Mara's phone"_s));
        QVERIFY(tile->text(QAccessible::Description).startsWith(u"PGM, "_s));
        // What is said of a camera is not lost behind its name.
        const QString name = u"m"_s.repeated(longestLine - 1);
        m_phones->must(uR"(cam-a set name "%1")"_s.arg(name));
        QTRY_VERIFY_WITH_TIMEOUT(probe.shows(u"PROGRAM, "_s + name), limitMs);
        m_phones->must(u"cam-a sleep"_s);
        QTRY_VERIFY_WITH_TIMEOUT(probe.shows(u"PROGRAM, %1 \u2022 OFFLINE"_s.arg(name)), limitMs);
        m_phones->must(u"cam-a wake"_s);
    }

    void asksBeforeASessionIsLost()
    {
        DirectorProbe probe;
        const QSignalSpy closed(probe.window(), SIGNAL(closed()));
        probe.startSession();
        probe.window()->close();
        QTRY_COMPARE(probe.focusName(), u"Keep Working"_s);
        probe.press(Qt::Key_Space); // not a cut
        QVERIFY(!probe.timeline().programCameraID);
        probe.press(Qt::Key_Escape);
        QVERIFY(probe.window()->isVisible());
        probe.window()->close();
        QTRY_VERIFY(probe.shows(u"End Session"_s));
        probe.click(probe.named(u"End Session"_s));
        QTRY_COMPARE(closed.count(), 1);
    }

    void closesAtOnceWithoutASession()
    {
        DirectorProbe probe;
        const QSignalSpy closed(probe.window(), SIGNAL(closed()));
        probe.window()->close();
        QTRY_COMPARE(closed.count(), 1);
    }

    void explainsUnderThePointer_data()
    {
        QTest::addColumn<QString>("control");
        QTest::addColumn<QString>("help");
        const QString locked = u"Unavailable until authenticated camera pairing is implemented"_s;
        QTest::newRow("a badge on a tile") << u"REC"_s << u"Camera recording"_s;
        QTest::newRow("what is locked") << u"ARM"_s << locked;
        QTest::newRow("what is locked for now")
            << u"Marker"_s
            << u"Add a timestamped marker to the Director edit log\n"
               "Start a Director session first."_s;
    }

    void explainsUnderThePointer()
    {
        QFETCH(const QString, control);
        QFETCH(const QString, help);
        m_phones->must(u"cam-a record tape-1"_s);
        DirectorProbe probe;
        QTRY_VERIFY_WITH_TIMEOUT(probe.shows(u"REC"_s), limitMs);
        QTRY_VERIFY(probe.pointAt(control));
        QTRY_VERIFY(probe.shows(help));
    }

    void movesTheFocusAsTheEyeMoves()
    {
        DirectorProbe probe;
        probe.startSession();
        const QStringList round{u"Scan"_s,          u"Library"_s,      u"Ada's phone"_s,
                                u"Jonas's phone"_s, u"Mara's phone"_s, u"Tarek's phone"_s,
                                u"CUT"_s,           u"FADE"_s,         u"Fade duration, 1.0 s"_s,
                                u"Marker"_s,        u"Inspector"_s,    u"Project, Night Shoot"_s,
                                u"Take"_s};
        for (const QString &stop : round + round) {
            probe.press(Qt::Key_Tab);
            QCOMPARE(probe.focusName(), stop);
        }
        probe.press(Qt::Key_Backtab, Qt::ShiftModifier);
        QCOMPARE(probe.focusName(), u"Project, Night Shoot"_s);
    }

    void keepsEveryControlWithinTheSmallestWindow()
    {
        DirectorProbe probe;
        QTRY_COMPARE_WITH_TIMEOUT(probe.director().cameraCountText(), u"4 CAMERAS"_s, limitMs);
        for (const QSize size : {QSize(2400, 1200), QSize(1120, 700)}) {
            probe.window()->resize(size);
            const auto fits = [&](const QString &name) {
                return QRectF(QPointF(), size).contains(probe.placeOf(name));
            };
            QTRY_VERIFY(fits(u"Edits"_s)); // the layout follows the size
            for (const QString &page : DirectorViewModel::inspectorTitles()) {
                probe.click(probe.named(page));
                for (const QString &name : {u"Library"_s, u"Marker"_s, u"Tarek's phone"_s, page})
                    QVERIFY2(fits(name), qPrintable(name));
            }
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

    void opensOnceAndLeavesTheLibraryAlone()
    {
        const QTemporaryDir folder;
        AppStore store(folder.path(), folder.path());
        LANDiscovery catalogs;
        LiveCameraDiscovery cameras;
        QSettings settings(folder.filePath(u"settings.ini"_s), QSettings::IniFormat);
        ProgramWindows windows(store, catalogs, cameras, settings);
        const auto shown = [](const QString &title) {
            QWindowList found = QGuiApplication::topLevelWindows();
            erase_if(found, [&](QWindow *window) {
                return window->title() != title || !window->isVisible();
            });
            return found;
        };
        windows.showLibrary();
        windows.showDirector();
        windows.showDirector();
        QCOMPARE(shown(u"VORN Director"_s).size(), 1);
        const QPointer<QWindow> first = shown(u"VORN Director"_s).first();
        first->close();
        QTRY_VERIFY(!first); // and with it its streams and its timeline
        QCOMPARE(shown(u"VORN Library"_s).size(), 1);
        windows.showDirector();
        QCOMPARE(shown(u"VORN Director"_s).size(), 1);
    }

    void quitsFromEitherWindow_data()
    {
        QTest::addColumn<QString>("window");
        QTest::addColumn<bool>("session");
        QTest::newRow("Director") << u"VORN Director"_s << false;
        QTest::newRow("Library") << u"VORN Library"_s << false;
        QTest::newRow("Director, asks") << u"VORN Director"_s << true;
        QTest::newRow("Library, asks") << u"VORN Library"_s << true;
    }

    void quitsFromEitherWindow()
    {
        QFETCH(const QString, window);
        QFETCH(const bool, session);
        const QTemporaryDir folder;
        AppStore store(folder.path(), folder.path());
        store.createProject(u"Night Shoot"_s);
        LANDiscovery catalogs;
        LiveCameraDiscovery cameras;
        QSettings settings(folder.filePath(u"settings.ini"_s), QSettings::IniFormat);
        ProgramWindows windows(store, catalogs, cameras, settings);
        windows.showLibrary();
        windows.showDirector();

        class Hands : public WindowHands {
        public:
            explicit Hands(const QString &title)
            {
                for (QWindow *window : QGuiApplication::topLevelWindows()) {
                    if (window->title() == title)
                        takeUp(window);
                }
            }
        };
        // Only a running program can quit; one that does not is ended by the limit.
        QTimer limit;
        connect(&limit, &QTimer::timeout, qApp, [] { QCoreApplication::exit(1); });
        limit.start(limitMs);
        bool hasAsked = false;
        QTimer::singleShot(0, qApp, [&] {
            if (session) {
                Hands director(u"VORN Director"_s);
                director.click(director.named(u"Start Director Session"_s));
                Hands(window).press(Qt::Key_Q, Qt::ControlModifier);
                QTRY_COMPARE(director.focusName(), u"Keep Working"_s);
                director.press(Qt::Key_Escape);
                QTRY_VERIFY(!director.shows(u"Keep Working"_s));
                Hands(window).press(Qt::Key_Q, Qt::ControlModifier);
                QTRY_VERIFY(director.shows(u"End Session"_s));
                hasAsked = true;
                director.click(director.named(u"End Session"_s));
            } else {
                Hands(window).press(Qt::Key_Q, Qt::ControlModifier);
            }
        });
        QCOMPARE(QCoreApplication::exec(), 0);
        QCOMPARE(hasAsked, session);
    }

    void copiesTheEdits()
    {
        DirectorProbe probe;
        probe.startSession();
        probe.press(Qt::Key_Space);
        probe.click(probe.named(u"Marker"_s));
        QTRY_VERIFY(probe.shows(u"2 events in this session"_s));
        const auto areSpokenAsShown = [&probe] {
            const QStringList rows = probe.spokenRows(u"Edit Decisions"_s);
            return rows.size() == 2 && rows[0].contains(u"MARK"_s) && rows[1].contains(u"CUT"_s);
        };
        QTRY_VERIFY(areSpokenAsShown());
        probe.click(probe.named(u"Copy"_s));
        const QStringList lines =
            QGuiApplication::clipboard()->text().split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 3);
        QVERIFY(lines.last().endsWith(u"\tMARK\tEdit marker"_s));
    }

    void alertsWhenTheTakeCannotBeUsed()
    {
        DirectorProbe probe;
        QTRY_VERIFY_WITH_TIMEOUT(probe.director().hasOnlineCamera(), limitMs);
        probe.store().importManifest(u"/nowhere.json"_s);
        QTRY_COMPARE(probe.focusName(), u"OK"_s);
        probe.press(Qt::Key_Return);
        QTRY_VERIFY(!probe.director().hasError());
    }

    void makesOnlyTheAudioStripsThatFit()
    {
        constexpr int cameras = 40;
        m_phones->must(u"storm %1 %1"_s.arg(cameras - 4));
        DirectorProbe probe;
        const QAbstractItemModel *strips = probe.director().audioPage()->strips();
        QTRY_COMPARE_WITH_TIMEOUT(strips->rowCount(), cameras, limitMs);
        QVERIFY(stripsUnder(probe.window()->contentItem()) < cameras / 2);
        probe.click(probe.named(u"Audio"_s));
        QTRY_VERIFY(probe.shows(u"Ada's phone"_s));
        QVERIFY(stripsUnder(probe.window()->contentItem()) < cameras / 2);
    }

    void speaksToAssistiveTools()
    {
        DirectorProbe probe;
        probe.startSession();
        probe.click(probe.named(u"Marker"_s));
        for (const QString &page : DirectorViewModel::inspectorTitles()) {
            probe.click(probe.named(page));
            QCOMPARE(accessibilityFaults(probe.window()), QString());
        }
    }

private:
    std::optional<RigPhones> m_phones;
};

QTEST_MAIN(DirectorWindowTest)
#include "director_window_test.moc"
