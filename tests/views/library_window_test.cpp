// SPDX-License-Identifier: Apache-2.0

#include "window_probe.h"

#include <QSignalSpy>
#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

std::vector<VORNProject> manyTakes(int count)
{
    VORNProject project{u"p1"_s, u"Night Shoot"_s, 1, {}};
    for (int i = 0; i < count; ++i)
        project.takes.push_back(take(u"take-%1"_s.arg(i, 4, 10, QLatin1Char('0')), 4));
    return {project};
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
