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

    void makesFailuresFitForShowing()
    {
        Desk desk({});
        QCoro::waitFor(desk.store.importManifest(u"/nowhere/a\u202Eb.json"_s));
        QVERIFY(desk.view.hasError());
        QVERIFY(desk.view.errorMessage().startsWith(u"Manifest import failed: "_s));
        QVERIFY(!desk.view.errorMessage().contains(QChar(0x202E)));
    }
};

QTEST_GUILESS_MAIN(LibraryViewModelTest)
#include "library_view_model_test.moc"
