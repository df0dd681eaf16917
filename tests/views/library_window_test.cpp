#include "views/program_windows.h"
#include "window_probe.h"

#include <QAccessible>
#include <QApplication>
#include <QFileDialog>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QSignalSpy>
#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

VORNTake take(const QString &id, int cameras = 0, bool local = true)
{
    VORNTake result;
    result.id = id;
    for (int i = 0; i < cameras; ++i) {
        VORNClip clip;
        clip.cameraId = u"Camera %1"_s.arg(QChar(u'A' + char16_t(i)));
        clip.id = id + clip.cameraId;
        clip.fileName = clip.cameraId + u".mov"_s;
        clip.sha256 = u"0"_s.repeated(64);
        if (local)
            clip.localPath = u"/media/"_s + clip.fileName;
        result.clips.push_back(clip);
    }
    return result;
}

std::vector<VORNProject> fewProjects()
{
    return {{u"p1"_s, u"Night Shoot"_s, 1, {take(u"take-1"_s, 4), take(u"take-2"_s, 2, false)}},
            {u"p2"_s, u"Rehearsal"_s, 1, {}},
            {u"unassigned-a"_s, u"Loose"_s, {}, {take(u"loose-1"_s, 1)}}};
}

std::vector<VORNProject> manyTakes(int count)
{
    VORNProject project{u"p1"_s, u"Night Shoot"_s, 1, {}};
    for (int i = 0; i < count; ++i)
        project.takes.push_back(take(u"take-%1"_s.arg(i, 4, 10, QLatin1Char('0')), 4));
    return {project};
}

// A manifest of one take whose files are there but are not what it says.
QString writeManifest(const QString &folder, qint64 fileBytes)
{
    QJsonArray clips;
    for (const QString &camera : {u"A"_s, u"B"_s}) {
        QFile file(folder + u'/' + camera + u".mov"_s);
        if (!file.open(QIODevice::WriteOnly) || !file.resize(fileBytes))
            qFatal("no space for a recording");
        clips.append(QJsonObject{{u"cameraId"_s, camera},
                                 {u"takeId"_s, u"filmed"_s},
                                 {u"path"_s, camera + u".mov"_s},
                                 {u"sha256"_s, u"0"_s.repeated(64)}});
    }
    const QJsonObject manifest{{u"schemaVersion"_s, 1},
                               {u"projectId"_s, u"film"_s},
                               {u"takeId"_s, u"filmed"_s},
                               {u"referenceCameraId"_s, u"A"_s},
                               {u"clips"_s, clips}};
    QFile file(folder + u"/manifest.json"_s);
    if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(manifest).toJson()) < 0)
        qFatal("no space for a manifest");
    return file.fileName();
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

} // namespace

class LibraryWindowTest : public QObject {
    Q_OBJECT
public:
    static void initMain() { QQuickWindow::setGraphicsApi(QSGRendererInterface::Software); }

private Q_SLOTS:
    void initTestCase()
    {
        QAccessible::setActive(true);
        applyLook();
    }

    void hasItsTitleAndSize()
    {
        const WindowProbe probe({});
        QCOMPARE(probe.window()->title(), u"VORN Library"_s);
        QCOMPARE(probe.window()->size(), QSize(1180, 760));
        QVERIFY(probe.shows(u"0 projects"_s));
        QVERIFY(probe.shows(u"No Project"_s));
        QVERIFY(probe.shows(u"Select a Take"_s));
    }

    void selectsByPointerAndArrows()
    {
        WindowProbe probe(fewProjects());
        probe.click(probe.named(u"take-2, 2 cameras  \u2022  30 fps"_s));
        QCOMPARE(probe.store().selectedTakeID(), u"take-2"_s);
        QVERIFY(probe.shows(u"MEDIA PENDING"_s));
        probe.press(Qt::Key_Up); // the click gave the list the keyboard
        QCOMPARE(probe.store().selectedTakeID(), u"take-1"_s);
        QVERIFY(probe.shows(u"READY"_s));

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
        probe.press(Qt::Key_F, Qt::ControlModifier);
        QCOMPARE(probe.focusName(), u"Search projects"_s);
        probe.press(Qt::Key_N, Qt::ControlModifier);
        QTRY_COMPARE(probe.focusName(), u"Project name"_s);
        QVERIFY(probe.shows(u"New VORN Project"_s));
        probe.press(Qt::Key_N, Qt::ControlModifier); // the window behind is out of reach
        probe.type(u"Studio"_s);
        probe.press(Qt::Key_Escape);
        QTRY_VERIFY(!probe.shows(u"New VORN Project"_s));
        QCOMPARE(probe.store().library().projects.size(), 3);
        QTRY_COMPARE(probe.focusName(), u"Search projects"_s);

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
        probe.press(Qt::Key_Tab);
        QCOMPARE(probe.focusName(), u"Cancel"_s);
        probe.press(Qt::Key_Return);
        QTRY_VERIFY(!probe.shows(u"New VORN Project"_s));
        QTRY_COMPARE(probe.focusName(), u"New"_s);
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
        QTRY_VERIFY(!probe.shows(u"Night Shoot, 2 takes"_s));
        QVERIFY(probe.shows(u"Rehearsal, 0 takes"_s));
        QVERIFY(probe.shows(u"3 projects"_s));
        probe.press(Qt::Key_Escape);
        QTRY_VERIFY(probe.shows(u"Night Shoot, 2 takes"_s));
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
            probe.store().importManifest(u"/nowhere/<b>x</b>.json"_s);
            QTRY_COMPARE(probe.focusName(), u"OK"_s);
            QVERIFY(probe.shows(probe.store().errorMessage().value()));
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
    }

    void importsWhatThePanelGives()
    {
        WindowProbe probe({});
        const QString manifest = writeManifest(probe.folder(), 16);
        probe.press(Qt::Key_O, Qt::ControlModifier);
        QTRY_VERIFY(openPanel());
        QFileDialog *panel = openPanel();
        QCOMPARE(panel->windowTitle(), u"Import VORN Source Manifest"_s);
        QCOMPARE(panel->fileMode(), QFileDialog::ExistingFile);
        QVERIFY(panel->isModal());
        panel->findChild<QLineEdit *>()->setText(manifest);
        QMetaObject::invokeMethod(panel, "accept");
        QTRY_COMPARE(probe.store().selectedTakeID(), u"filmed"_s);
        QTRY_VERIFY(!openPanel());
        QVERIFY(probe.shows(u"Imported"_s));
    }

    void exportsInSight()
    {
        constexpr auto longEnoughToSee = qint64{512} * 1024 * 1024;
        WindowProbe probe({});
        QVERIFY(!probe.named(u"Export for Resolve"_s)->isEnabled());
        QCoro::waitFor(
            probe.store().importManifest(writeManifest(probe.folder(), longEnoughToSee)));
        probe.press(Qt::Key_E, Qt::ControlModifier);
        QTRY_VERIFY(openPanel());
        QFileDialog *panel = openPanel();
        QCOMPARE(panel->windowTitle(), u"Choose Parent Folder for Resolve Export"_s);
        QCOMPARE(panel->fileMode(), QFileDialog::Directory);
        panel->findChild<QLineEdit *>()->setText(probe.folder());
        QMetaObject::invokeMethod(panel, "accept");

        QTRY_VERIFY(probe.shows(u"Verifying A  \u2022  1 of 2"_s));
        QVERIFY(!probe.named(u"Export for Resolve"_s)->isEnabled());
        QVERIFY(probe.named(u"Import Manifest"_s)->isEnabled());
        QTRY_VERIFY_WITH_TIMEOUT(probe.shows(u"OK"_s), 60'000); // the digest is wrong
        QVERIFY(!probe.view().exportProgress()->running());
        QVERIFY(!probe.shows(u"Verifying A  \u2022  1 of 2"_s));
    }

    void opensSettings()
    {
        WindowProbe probe({});
        probe.click(probe.named(u"Settings"_s));
        QQuickWindow *settings = nullptr;
        QTRY_VERIFY(([&settings] {
            for (QWindow *window : QGuiApplication::topLevelWindows()) {
                if (window->title() == u"Settings"_s && window->isVisible())
                    settings = qobject_cast<QQuickWindow *>(window);
            }
            return settings != nullptr;
        }()));
        QStringList texts;
        for (QQuickItem *item : visibleItems(settings->contentItem()))
            texts += accessibleName(item);
        QVERIFY(texts.contains(u"Verified recordings: ~/Movies/VORN"_s));
        QVERIFY(texts.contains(u"On this computer: "_s + probe.store().recordingsDirectory()));
        QVERIFY(texts.contains(
            u"VORN never deletes phone recordings or overwrites an export directory."_s));
        settings->requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(settings));
        QTest::keyClick(settings, Qt::Key_Escape);
        QTRY_VERIFY(!settings->isVisible());
    }

    void speaksToAssistiveTools()
    {
        WindowProbe probe(fewProjects());
        for (const Qt::Key tab : {Qt::Key_1, Qt::Key_2, Qt::Key_3, Qt::Key_4}) {
            probe.press(tab, Qt::ControlModifier);
            QCOMPARE(accessibilityFaults(probe.window()), QString());
        }
        // Newest first, as on the screen.
        for (const QString &name : {u"One"_s, u"Two"_s, u"Three"_s}) {
            probe.store().renameSelectedProject(name);
            QTRY_COMPARE(std::size_t(probe.spokenRows(u"Recent activity"_s).size()),
                         probe.store().activities().size());
        }
        const auto isSpokenAsShown = [&probe] {
            const QStringList rows = probe.spokenRows(u"Recent activity"_s);
            return rows[0].endsWith(u"Three."_s) && rows[1].endsWith(u"Two."_s)
                   && rows[2].endsWith(u"One."_s);
        };
        QTRY_VERIFY(isSpokenAsShown());
        QAccessibleInterface *download =
            QAccessible::queryAccessibleInterface(probe.named(u"Download Take"_s));
        QCOMPARE(download->text(QAccessible::Description),
                 u"All recordings of this take are on this computer."_s);

        QQuickItem *make = probe.named(u"New"_s);
        const QSignalSpy pressed(make, SIGNAL(clicked()));
        QAccessible::queryAccessibleInterface(make)->actionInterface()->doAction(
            QAccessibleActionInterface::pressAction());
        QTRY_COMPARE(probe.focusName(), u"Project name"_s);
        QCOMPARE(pressed.count(), 1);
        QCOMPARE(accessibilityFaults(probe.window()), QString());
        probe.store().importManifest(u"/nowhere.json"_s);
        QTRY_COMPARE(probe.focusName(), u"OK"_s);
        QCOMPARE(accessibilityFaults(probe.window()), QString());
    }

    void explainsADisabledButtonUnderThePointer()
    {
        WindowProbe probe(fewProjects());
        QVERIFY(probe.pointAt(u"Download Take"_s));
        QTRY_VERIFY(probe.shows(u"Resume and verify every pending camera recording in this take\n"
                                "All recordings of this take are on this computer."_s));
    }

    void isWalkedByTab()
    {
        WindowProbe probe(fewProjects());
        QStringList stops;
        do {
            probe.press(Qt::Key_Tab);
            stops += probe.focusName();
        } while (stops.size() < 20 && (stops.size() == 1 || stops.last() != stops.first()));
        QCOMPARE(stops.join(u", "_s),
                 u"Search projects, PROJECTS, New, Rename, Settings, Connect, Director, Takes, "
                 u"Director, "
                 "Import Manifest, Export for Resolve, Take view, Search projects"_s);
    }
};

QTEST_MAIN(LibraryWindowTest)
#include "library_window_test.moc"
