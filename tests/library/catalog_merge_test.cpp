// SPDX-License-Identifier: Apache-2.0

#include "catalog_samples.h"
#include "library/catalog_merge.h"
#include "support.h"

#include <QtTest>

#include <functional>
#include <initializer_list>
#include <utility>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

using Change = std::function<void(DeviceCatalog &)>;

const auto address = u"https://cam-1.local:8443/vorn/v1/files/"_s;

VORNLibrary merged(const DeviceCatalog &catalog, const VORNLibrary &library = {})
{
    return mergeCatalog(catalog, sampleCatalogURL, library);
}

/// What the sample catalog becomes in an empty library, but for its second take and project.
DeviceCatalog oneTake()
{
    DeviceCatalog catalog = sampleCatalog();
    catalog.projects.resize(1);
    catalog.projects[0].takes.resize(1);
    catalog.unassignedTakes.reset();
    return catalog;
}

CatalogTake &firstTake(DeviceCatalog &catalog)
{
    return catalog.projects.front().takes.front();
}

QStringList ids(const auto &records)
{
    QStringList ids;
    for (const auto &record : records)
        ids << record.id;
    return ids;
}

QStringList names(const VORNLibrary &library)
{
    QStringList names;
    for (const VORNProject &project : library.projects)
        names << project.name;
    return names;
}

} // namespace

class CatalogMergeTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void fillsAnEmptyLibrary()
    {
        DeviceCatalog catalog = sampleCatalog();
        CatalogTake &take = catalog.projects[0].takes[0];
        take.projectNameAtCapture = u"Then"_s;
        take.projectRevisionAtCapture = 2;
        take.createdAt = u"2026-11-24T20:00:00Z"_s;
        take.referenceCameraId = u"A"_s;
        take.timelineFPS = u"24"_s;
        CatalogClip &clip = take.clips[0];
        clip.cameraId = u"a"_s; // before "B" in the user's language
        clip.hasAudio = true;
        clip.anchorMeaning = u"same"_s;
        clip.anchors = {{1, 2, 1, 1}};
        clip.timingSidecarURL = u"files/x.timing.json"_s;
        clip.timingSidecarSHA256 = u"bb"_s;
        std::swap(take.clips[0], take.clips[1]);
        std::swap(catalog.projects[0].takes[0], catalog.projects[0].takes[1]);
        const VORNLibrary library = merged(catalog);

        QCOMPARE(names(library),
                 (QStringList{u"Day"_s, u"Night"_s, u"Unassigned \u2014 Cam 01"_s}));
        const VORNProject &night = library.projects[1];
        QCOMPARE(night.id, sampleUuid(1));
        QCOMPARE(night.revision, std::optional<std::int64_t>(3));
        QCOMPARE(ids(night.takes), (QStringList{u"t1"_s, u"t2"_s}));

        VORNClip expected;
        expected.id = sampleUuid(10);
        expected.cameraId = u"a"_s;
        expected.fileName = u"clip 10.mov"_s;
        expected.remoteURL = address + expected.id;
        expected.sizeBytes = 1010;
        expected.sha256 = QString(64, u'a');
        expected.anchorMeaning = u"same"_s;
        expected.anchors = {{1, 2, 1, 1}};
        expected.mediaKind = u"video"_s;
        expected.hasVideo = true;
        expected.hasAudio = true;
        expected.timingSidecarURL = u"files/x.timing.json"_s;
        expected.timingSidecarSHA256 = u"bb"_s;
        expected.deviceId = sampleUuid(100);
        expected.deviceName = u"Cam 01"_s;
        expected.originCatalogRevision = 7;
        VORNTake stored;
        stored.id = u"t1"_s;
        stored.projectNameAtCapture = u"Then"_s;
        stored.projectRevisionAtCapture = 2;
        stored.createdAt = u"2026-11-24T20:00:00Z"_s;
        stored.referenceCameraId = u"A"_s;
        stored.timelineFPS = u"24"_s;
        stored.clips = night.takes[0].clips;
        QCOMPARE(night.takes[0], stored);
        QCOMPARE(ids(stored.clips), (QStringList{sampleUuid(10), sampleUuid(11)}));
        QCOMPARE(stored.clips[0], expected);

        const VORNProject &unassigned = library.projects[2];
        QCOMPARE(unassigned.id, u"unassigned-"_s + sampleUuid(100));
        QCOMPARE(unassigned.revision, std::optional<std::int64_t>(1));
        QCOMPARE(unassigned.takes[0].timelineFPS, u"30"_s);
        QCOMPARE(ids(unassigned.takes[0].clips), QStringList{sampleUuid(14)});
        QVERIFY(unassigned.takes[0].clips[0].anchors.empty());

        QCOMPARE(merged(catalog, library), library);
    }

    void anEmptyCatalogChangesNothing()
    {
        DeviceCatalog catalog = sampleCatalog();
        catalog.projects.clear();
        catalog.unassignedTakes->clear();
        VORNLibrary unsorted;
        unsorted.projects = {{.id = u"z"_s, .name = u"z"_s, .revision = {}, .takes = {}},
                             {.id = u"a"_s, .name = u"a"_s, .revision = {}, .takes = {}}};
        QCOMPARE(merged(catalog, unsorted), unsorted);
    }

    void reconcilesTheProject_data()
    {
        using Revision = std::optional<std::int64_t>;
        QTest::addColumn<Revision>("stored");
        QTest::addColumn<qint64>("incoming");
        QTest::addColumn<QString>("nameAfter"); // null: refused
        QTest::addColumn<Revision>("revisionAfter");
        QTest::newRow("later") << Revision(2) << qint64{3} << u"Night"_s << Revision(3);
        QTest::newRow("earlier") << Revision(5) << qint64{3} << u"Old name"_s << Revision(5);
        QTest::newRow("same") << Revision(3) << qint64{3} << QString() << Revision();
        QTest::newRow("none counts as 0") << Revision() << qint64{1} << u"Night"_s << Revision(1);
        QTest::newRow("none and 0") << Revision() << qint64{0} << QString() << Revision();
    }

    void reconcilesTheProject()
    {
        using Revision = std::optional<std::int64_t>;
        QFETCH(const Revision, stored);
        QFETCH(const qint64, incoming);
        QFETCH(const QString, nameAfter);
        const VORNLibrary library{
            {{.id = sampleUuid(1), .name = u"Old name"_s, .revision = stored, .takes = {}}}};
        DeviceCatalog catalog = oneTake();
        catalog.projects[0].revision = incoming;
        if (nameAfter.isNull()) {
            QCOMPARE(thrownText([&] { (void)merged(catalog, library); }),
                     u"Project ID %1 has conflicting names at revision %2."_s.arg(
                         sampleUuid(1), QString::number(incoming)));
            return;
        }
        const VORNProject project = merged(catalog, library).projects.front();
        QCOMPARE(project.name, nameAfter);
        QTEST(project.revision, "revisionAfter");
        QCOMPARE(project.takes.front().clips.size(), 2);
    }

    void refusesACatalogThatContradictsItself_data()
    {
        QTest::addColumn<Change>("change");
        QTest::addColumn<QString>("message");
        const auto row = [](const char *name, const Change &change, const QString &message) {
            QTest::newRow(name) << change << message;
        };
        const auto noDevice = u"Catalog device identity is missing."_s;
        const auto noProject = u"Catalog project identity is missing."_s;
        const auto notFinal =
            u"Catalog clip %1 is not finalized video media."_s.arg(sampleUuid(10));
        row("no device id", [](DeviceCatalog &c) { c.deviceId.clear(); }, noDevice);
        row("no device name", [](DeviceCatalog &c) { c.deviceName.clear(); }, noDevice);
        row("no project id", [](DeviceCatalog &c) { c.projects[1].projectId.clear(); }, noProject);
        row("no project name", [](DeviceCatalog &c) { c.projects[1].name.clear(); }, noProject);
        row(
            "no take id", [](DeviceCatalog &c) { firstTake(c).takeId.clear(); },
            u"Catalog take ID is missing."_s);
        row(
            "another project's take",
            [](DeviceCatalog &c) { firstTake(c).projectId = sampleUuid(2); },
            u"Take t1 carries the wrong project ID."_s);
        row(
            "unassigned with a project",
            [](DeviceCatalog &c) { c.unassignedTakes->front().projectId = sampleUuid(1); },
            u"An unassigned take unexpectedly carries a project ID."_s);
        row(
            "not closed", [](DeviceCatalog &c) { firstTake(c).clips[0].finalized = false; },
            notFinal);
        row("no video", [](DeviceCatalog &c) { firstTake(c).clips[0].hasVideo = false; }, notFinal);
        row(
            "clip in two takes",
            [](DeviceCatalog &c) { c.projects[0].takes[1].clips[0].clipId = sampleUuid(10); },
            u"Immutable clip ID %1 appears in multiple takes."_s.arg(sampleUuid(10)));
        row(
            "clip also unassigned",
            [](DeviceCatalog &c) { c.unassignedTakes->front().clips[0].clipId = sampleUuid(10); },
            u"Immutable clip ID %1 appears in multiple projects."_s.arg(sampleUuid(10)));
        row(
            "camera twice", [](DeviceCatalog &c) { firstTake(c).clips[1].cameraId = u"A"_s; },
            u"Take t1 has more than one finalized clip for camera A."_s);
        row(
            "first fault in order",
            [](DeviceCatalog &c) {
                firstTake(c).clips[1].cameraId = u"A"_s;
                c.projects[0].takes[1].clips[0].finalized = false;
            },
            u"Take t1 has more than one finalized clip for camera A."_s);
    }

    void refusesACatalogThatContradictsItself()
    {
        QFETCH(const Change, change);
        DeviceCatalog catalog = sampleCatalog();
        change(catalog);
        QTEST(thrownText([&] { (void)merged(catalog); }), "message");
    }

    void refusesAContradictionToTheLibrary_data()
    {
        QTest::addColumn<Change>("change");
        QTest::addColumn<QString>("message");
        const auto row = [](const char *name, const Change &change, const QString &message) {
            QTest::newRow(name) << change << message;
        };
        row(
            "project name at capture",
            [](DeviceCatalog &c) { firstTake(c).projectNameAtCapture = u"x"_s; },
            u"Take t1 has conflicting captured project names."_s);
        row(
            "project revision at capture",
            [](DeviceCatalog &c) { firstTake(c).projectRevisionAtCapture = 9; },
            u"Take t1 has conflicting captured project revisions."_s);
        row(
            "time", [](DeviceCatalog &c) { firstTake(c).createdAt = u"x"_s; },
            u"Take t1 has conflicting creation times."_s);
        row(
            "reference camera", [](DeviceCatalog &c) { firstTake(c).referenceCameraId = u"B"_s; },
            u"Take t1 has conflicting reference cameras."_s);
        row(
            "rate", [](DeviceCatalog &c) { firstTake(c).timelineFPS = u"30"_s; },
            u"Take t1 has conflicting timeline frame rates."_s);
    }

    void refusesAContradictionToTheLibrary()
    {
        QFETCH(const Change, change);
        DeviceCatalog catalog = oneTake();
        CatalogTake &take = firstTake(catalog);
        take.projectNameAtCapture = u"Then"_s;
        take.projectRevisionAtCapture = 2;
        take.createdAt = u"2026"_s;
        take.referenceCameraId = u"A"_s;
        take.timelineFPS = u"24"_s;
        const VORNLibrary library = merged(catalog);
        change(catalog);
        QTEST(thrownText([&] { (void)merged(catalog, library); }), "message");
    }

    void whatACatalogDoesNotStateStays()
    {
        DeviceCatalog catalog = oneTake();
        CatalogTake &take = firstTake(catalog);
        take.createdAt = u"2026"_s;
        VORNLibrary library = merged(catalog);
        library.projects[0].takes[0].clips[0].localPath = u"/verified.mov"_s;
        library.projects[0].takes[0].clips[1].deviceId = u"another phone"_s;
        library.projects[0].takes[0].sourceManifestPath = u"/m.json"_s;
        take.createdAt.reset();
        take.timelineFPS = u"25"_s; // nothing had stated a rate
        take.clips = {take.clips[0]};
        take.clips[0].fileName = u"renamed.mov"_s;
        take.clips[0].downloadURL = u"https://[bad"_s;
        const VORNTake after = merged(catalog, library).projects[0].takes[0];
        QCOMPARE(after.createdAt, u"2026"_s);
        QCOMPARE(after.sourceManifestPath, u"/m.json"_s);
        QCOMPARE(after.timelineFPS, u"25"_s);
        QCOMPARE(ids(after.clips), (QStringList{sampleUuid(10), sampleUuid(11)}));
        QCOMPARE(after.clips[1].deviceId, u"another phone"_s);
        QCOMPARE(after.clips[0].localPath, u"/verified.mov"_s);
        QCOMPARE(after.clips[0].fileName, u"renamed.mov"_s);
        QVERIFY(!after.clips[0].remoteURL);
    }

    void aDeviceHasOneCollection()
    {
        DeviceCatalog catalog = sampleCatalog();
        catalog.projects.clear();
        catalog.deviceId = u"Cam 01"_s;
        VORNLibrary library = merged(catalog);
        QCOMPARE(ids(library.projects), QStringList{u"unassigned-cam-01"_s});
        library.projects[0].revision = 4;
        catalog.deviceName = u"Renamed"_s;
        catalog.unassignedTakes = {{catalogTake(u"t0"_s, {}, {catalogClip(15, u"A"_s)})}};
        library = merged(catalog, library);
        QCOMPARE(names(library), QStringList{u"Unassigned \u2014 Cam 01"_s});
        QCOMPARE(library.projects[0].revision, std::optional<std::int64_t>(4));
        QCOMPARE(ids(library.projects[0].takes), (QStringList{u"t0"_s, u"t1"_s}));
    }

    // The time limit of the test is far beyond what a search in each step would take.
    void mergesALargeCatalog()
    {
        DeviceCatalog catalog = oneTake();
        std::vector<CatalogTake> takes = catalog.projects[0].takes;
        CatalogTake large = catalogTake(u"long"_s, {}, {});
        for (int n = 1000; n < 151'000; ++n) {
            const QString number = QString::number(n);
            large.clips.push_back(catalogClip(n, number));
            takes.push_back(catalogTake(number, {}, {}));
            catalog.projects.push_back(
                {.projectId = sampleUuid(n), .name = number, .revision = 1, .takes = {}});
        }
        takes.push_back(std::move(large));
        catalog.projects[0].takes = std::move(takes);
        const VORNLibrary library = merged(catalog);
        QCOMPARE(library.projects.size(), catalog.projects.size());
        QVERIFY(merged(catalog, library) == library);
    }
};

QTEST_GUILESS_MAIN(CatalogMergeTest)
#include "catalog_merge_test.moc"
