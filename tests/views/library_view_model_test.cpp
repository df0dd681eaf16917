#include "live/live_camera_discovery.h"
#include "store/app_store.h"
#include "store/library_file.h"
#include "transfer/lan_discovery.h"
#include "views/library/library_view_model.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

VORNClip clip(const QString &camera, bool local)
{
    VORNClip result;
    result.id = u"clip-"_s + camera;
    result.cameraId = camera;
    result.fileName = camera + u".mov"_s;
    result.sha256 = u"0"_s.repeated(64);
    if (local)
        result.localPath = u"/media/"_s + result.fileName;
    return result;
}

VORNTake take(const QString &id, QList<VORNClip> clips = {})
{
    VORNTake result;
    result.id = id;
    result.clips = std::move(clips);
    return result;
}

// A store over a library of its own, and what the window would show of it.
class Desk {
public:
    explicit Desk(std::vector<VORNProject> projects)
        : store((save(m_folder.path(), std::move(projects)), m_folder.path()), m_folder.path()),
          view(store, m_catalogs, m_cameras)
    {
    }

    QTemporaryDir m_folder;
    AppStore store;
    LANDiscovery m_catalogs;
    LiveCameraDiscovery m_cameras;
    LibraryViewModel view;

private:
    static void save(const QString &folder, std::vector<VORNProject> projects)
    {
        LibraryFile(folder).save({std::move(projects)});
    }
};

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

class LibraryViewModelTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void listsProjects()
    {
        Desk desk({{u"p1"_s, u"Night Shoot"_s, 1, {take(u"a"_s), take(u"b"_s)}},
                   {u"unassigned-ada"_s, u"Unassigned"_s, {}, {take(u"c"_s)}},
                   {u"p2"_s, u"R\u00E9p\u00E9tition\n2"_s, 1, {}}});
        ProjectListViewModel &projects = *desk.view.projects();
        QCOMPARE(texts(projects.projects(), {"name", "takesText", "isUnassigned"}),
                 u"Night Shoot|2 takes|false\nUnassigned|1 takes|true\n"
                 "R\u00E9p\u00E9tition\u240A2|0 takes|false"_s);
        QCOMPARE(projects.countText(), u"3 projects"_s);

        projects.setSearch(u"  NIGHT "_s);
        QCOMPARE(texts(projects.projects(), {"name"}), u"Night Shoot"_s);
        QCOMPARE(projects.countText(), u"3 projects"_s);
        QCOMPARE(projects.selectedIndex(), 0);
        projects.setSearch(u"RE\u0301PE\u0301"_s); // however the accents are written
        QCOMPARE(texts(projects.projects(), {"takesText"}), u"0 takes"_s);
        projects.setSearch(u"unassigned"_s);
        QCOMPARE(projects.selectedIndex(), -1); // still selected, but out of sight
        projects.setSearch(u"nothing like it"_s);
        QCOMPARE(projects.emptyText(), u"No matching projects"_s);
        projects.setSearch(u" \n "_s);
        QCOMPARE(projects.projects()->rowCount(), 3);
        QCOMPARE(projects.emptyText(), QString());
    }

    void selectsTheFirstTakeOfAnotherProject()
    {
        Desk desk({{u"p1"_s, u"One"_s, 1, {take(u"a"_s), take(u"b"_s)}},
                   {u"p2"_s, u"Two"_s, 1, {take(u"c"_s), take(u"d"_s)}},
                   {u"p3"_s, u"Three"_s, 1, {}}});
        ProjectListViewModel &projects = *desk.view.projects();
        desk.view.takes()->select(1);
        projects.select(0); // the same project: the take stays
        QCOMPARE(desk.store.selectedTakeID(), u"b"_s);
        projects.select(1);
        QCOMPARE(desk.store.selectedTakeID(), u"c"_s);
        QCOMPARE(desk.view.takes()->selectedIndex(), 0);
        projects.select(2);
        QCOMPARE(desk.store.selectedTakeID(), std::nullopt);
        QVERIFY(!desk.view.dashboard()->hasTake());
        projects.select(7);
        QCOMPARE(desk.store.selectedProjectID(), u"p3"_s);
        desk.store.setSelectedProjectID(u"p1"_s); // by whatever window
        QCOMPARE(desk.store.selectedTakeID(), u"a"_s);
        desk.store.setSelectedProjectID(std::nullopt);
        QCOMPARE(desk.store.selectedTakeID(), std::nullopt);
    }

    void renamesOnlyRegularProjects()
    {
        Desk desk({{u"p1"_s, u"One"_s, 1, {}}, {u"unassigned-x"_s, u"Loose"_s, {}, {}}});
        ProjectListViewModel &projects = *desk.view.projects();
        QVERIFY(projects.canRename());
        QCOMPARE(projects.selectedName(), u"One"_s);
        projects.rename(u" Uno "_s);
        QCOMPARE(projects.selectedName(), u"Uno"_s);
        projects.select(projects.selectedIndex() == 0 ? 1 : 0);
        QVERIFY(!projects.canRename());
        QVERIFY(!projects.renameObstacle().isEmpty());
        desk.store.setSelectedProjectID(std::nullopt);
        QVERIFY(!projects.canRename());
        QCOMPARE(projects.selectedName(), QString());
        QVERIFY(!desk.view.takes()->hasProject());
    }

    void listsTakes()
    {
        VORNTake rated = take(u"t2"_s, {clip(u"A"_s, true), clip(u"B"_s, true)});
        rated.timelineFPS = u"29.97"_s;
        Desk desk(
            {{u"p"_s,
              u"P"_s,
              1,
              {take(u"t1"_s, {clip(u"A"_s, true), clip(u"B"_s, false)}), rated, take(u"t3"_s)}}});
        QCOMPARE(texts(desk.view.takes()->takes(), {"takeId", "detail", "complete"}),
                 u"t1|2 cameras  \u2022  30 fps|false\nt2|2 cameras  \u2022  29.97 fps|true\n"
                 "t3|0 cameras  \u2022  30 fps|false"_s);
        QCOMPARE(desk.view.takes()->countText(), u"3 takes"_s);
    }

    void judgesATake_data()
    {
        QTest::addColumn<int>("clips");
        QTest::addColumn<int>("local");
        QTest::addColumn<QString>("status");
        QTest::addColumn<QString>("onMac");
        QTest::addColumn<QString>("ready");
        QTest::addColumn<QString>("media");
        const QString missing = u"Download all camera media before export"_s;
        QTest::newRow("none") << 0 << 0 << u"MEDIA PENDING"_s << u"0/0"_s << u"10000"_s << missing;
        QTest::newRow("some") << 2 << 1 << u"MEDIA PENDING"_s << u"1/2"_s << u"11000"_s << missing;
        QTest::newRow("all") << 2 << 2 << u"READY"_s << u"2/2"_s << u"11100"_s
                             << u"Media is present on this Mac"_s;
    }

    void judgesATake()
    {
        QFETCH(const int, clips);
        QFETCH(const int, local);
        VORNTake judged = take(u"t"_s);
        for (int i = 0; i < clips; ++i)
            judged.clips.push_back(clip(u"camera %1"_s.arg(i), i < local));
        Desk desk({{u"p"_s, u"P"_s, 1, {judged}}});
        TakeDashboardViewModel &dashboard = *desk.view.dashboard();
        QTEST(dashboard.statusText(), "status");
        QTEST(dashboard.onMacValue(), "onMac");
        QTEST(dashboard.mediaText(), "media");
        QCOMPARE(dashboard.camerasValue(), QString::number(clips));
        QString ready;
        for (int i = 0; i < dashboard.readiness()->rowCount(); ++i) {
            auto *model = dashboard.readiness();
            ready += model->data(model->index(i, 0), model->roleNames().key("ready")).toBool()
                         ? u'1'
                         : u'0';
        }
        QTEST(ready, "ready");
    }

    void describesATake()
    {
        VORNTake described = take(u"take-0001"_s, {clip(u"A"_s, true), clip(u"B"_s, false)});
        described.clips[1].deviceName = u"Bo's phone"_s;
        described.clips[1].anchors = {{0, 0, 1, 1}, {1, 1, 1, 1}};
        Desk desk({{u"p"_s, u"Now"_s, 1, {described}}});
        TakeDashboardViewModel &dashboard = *desk.view.dashboard();
        QCOMPARE(dashboard.takeTitle(), u"Take take-0001"_s);
        QCOMPARE(dashboard.timelineValue(), u"30 fps"_s);
        QCOMPARE(texts(dashboard.details(), {"label", "value"}),
                 u"Take ID|take-0001\nFrame rate|30\nReference|Not selected\nCaptured as|Now\n"
                 "Manifest|Catalog / local library"_s);
        const QList<QByteArray> columns{"cameraId",  "fileName",    "deviceName",
                                        "placeText", "anchorsText", "isReference"};
        QCOMPARE(texts(dashboard.clips(), columns),
                 u"A|A.mov||Verified on Mac|0 anchors|false\n"
                 "B|B.mov|Bo's phone|On device|2 anchors|false"_s);
        QCOMPARE(texts(dashboard.readiness(), {"label", "ready"}),
                 u"Project identity|true\nCamera recordings|true\nVerified downloads|false\n"
                 "Reference camera|false\nTiming anchors|true"_s);

        dashboard.makeReference(1);
        QCOMPARE(desk.store.selectedTake()->referenceCameraId, u"B"_s);
        QCOMPARE(texts(dashboard.clips(), {"cameraId", "isReference"}), u"A|false\nB|true"_s);
        QVERIFY(texts(dashboard.details(), {"label", "value"}).contains(u"Reference|B"_s));
    }

    void saysWhyNothingCanBeDone()
    {
        Desk desk({{u"p"_s, u"P"_s, 1, {}}});
        QVERIFY(!desk.view.canDownload());
        QCOMPARE(desk.view.downloadObstacle(), u"No take is selected."_s);
        QVERIFY(!desk.view.canExport());
        QCOMPARE(desk.view.exportObstacle(), u"No take is selected."_s);
        QVERIFY(desk.store.prepareDirectorTake(u"t"_s));
        QVERIFY(desk.view.canExport());
        QCOMPARE(desk.view.downloadObstacle(), u"This take has no recordings."_s);

        VORNTake take;
        take.id = u"t"_s;
        take.clips = {clip(u"A"_s, true), clip(u"B"_s, false)};
        Desk pending({{u"p"_s, u"P"_s, 1, {take}}});
        QCOMPARE(pending.view.downloadObstacle(),
                 u"Connect to the phones that hold this take's recordings."_s);
        take.clips = {clip(u"A"_s, true)};
        Desk complete({{u"p"_s, u"P"_s, 1, {take}}});
        QCOMPARE(complete.view.downloadObstacle(),
                 u"All recordings of this take are on this computer."_s);
    }

    void showsFailuresAndActivity()
    {
        Desk desk({});
        QVERIFY(!desk.view.hasError());
        QVERIFY(!desk.view.activity()->hasEntries());
        QCoro::waitFor(desk.store.importManifest(u"/nowhere/a\u202Eb.json"_s));
        QVERIFY(desk.view.hasError());
        QVERIFY(desk.view.errorMessage().startsWith(u"Manifest import failed: "_s));
        QVERIFY(!desk.view.errorMessage().contains(QChar(0x202E)));
        desk.view.dismissError();
        QVERIFY(!desk.view.hasError());
        QVERIFY(!desk.store.errorMessage());
        desk.store.createProject(u"New"_s);
        const QString lines = texts(desk.view.activity()->entries(), {"message", "isError"});
        QVERIFY2(lines.startsWith(u"Created project New.|false\nManifest import failed: "_s),
                 qPrintable(lines));
        QVERIFY(lines.endsWith(u"|true"_s));
    }

    void saysWhereThePackageLies()
    {
        Desk desk({{u"p"_s, u"P"_s, 1, {take(u"t1"_s), take(u"t2"_s)}}});
        QVERIFY(!desk.view.hasPackage());
        Q_EMIT desk.store.exportCreated(u"/films/%2\u202E/VORN_p_t1/timeline.fcpxml"_s);
        QVERIFY(desk.view.hasPackage());
        QCOMPARE(desk.view.packageText(),
                 u"The Resolve package is in /films/%2\u27E8U+202E\u27E9/VORN_p_t1"_s);
        desk.view.takes()->select(1);
        QVERIFY(!desk.view.hasPackage());
    }
};

QTEST_GUILESS_MAIN(LibraryViewModelTest)
#include "library_view_model_test.moc"
