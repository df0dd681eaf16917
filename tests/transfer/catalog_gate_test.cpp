// SPDX-License-Identifier: Apache-2.0

#include "catalog_samples.h"
#include "support.h"
#include "transfer/catalog_gate.h"

#include <QtTest>

#include <functional>
#include <initializer_list>
#include <utility>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

using Change = std::function<void(DeviceCatalog &)>;

QString refusal(const DeviceCatalog &catalog)
{
    return thrownText(
        [&] { TransferProtocol::validateAuthenticatedCatalog(catalog, sampleCatalogURL); });
}

CatalogTake &firstTake(DeviceCatalog &catalog)
{
    return catalog.projects.front().takes.front();
}

CatalogClip &firstClip(DeviceCatalog &catalog)
{
    return firstTake(catalog).clips.front();
}

void addRows(const QString &message, std::initializer_list<std::pair<const char *, Change>> changes)
{
    for (const auto &[name, change] : changes)
        QTest::newRow(name) << change << message;
}

/// Rows that set one field of one record. `record` finds it.
template <class Record, class Value>
Change set(Record &(*record)(DeviceCatalog &), Value Record::*field, const Value &value)
{
    return [=](DeviceCatalog &catalog) { record(catalog).*field = value; };
}

DeviceCatalog &whole(DeviceCatalog &catalog)
{
    return catalog;
}

CatalogProject &firstProject(DeviceCatalog &catalog)
{
    return catalog.projects.front();
}

Change timing(const std::optional<QString> &url, const std::optional<QString> &digest)
{
    return [=](DeviceCatalog &catalog) {
        firstClip(catalog).timingSidecarURL = url;
        firstClip(catalog).timingSidecarSHA256 = digest;
    };
}

/// `count` characters of two bytes each.
QString wide(qsizetype count)
{
    return QString(count, u'ä');
}

} // namespace

class CatalogGateTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    // Each row breaks one rule alone.
    void refusesWhatBreaksARule_data()
    {
        QTest::addColumn<Change>("change");
        QTest::addColumn<QString>("message");
        addRows(
            u"Authenticated catalog device metadata is invalid."_s,
            {{"device id is no UUID", set(whole, &DeviceCatalog::deviceId, u"phone"_s)},
             {"device id in braces",
              set(whole, &DeviceCatalog::deviceId, u'{' + sampleUuid(1) + u'}')},
             {"no device name", set(whole, &DeviceCatalog::deviceName, {})},
             {"device name of 129 bytes", set(whole, &DeviceCatalog::deviceName, wide(64) + u'b')},
             {"revision below 0", set(whole, &DeviceCatalog::catalogRevision, std::int64_t{-1})}});
        addRows(u"Authenticated catalog project metadata is invalid."_s,
                {{"project id is no UUID", set(firstProject, &CatalogProject::projectId, u"p"_s)},
                 {"project twice",
                  [](DeviceCatalog &catalog) {
                      catalog.projects.push_back(firstProject(catalog));
                      catalog.projects.back().takes.clear();
                  }},
                 {"no project name", set(firstProject, &CatalogProject::name, {})},
                 {"project name of 257 bytes",
                  set(firstProject, &CatalogProject::name, wide(128) + u'b')},
                 {"project revision 0",
                  set(firstProject, &CatalogProject::revision, std::int64_t{0})}});
        addRows(u"Authenticated catalog repeats a take ID."_s,
                {{"take twice in a project", [](DeviceCatalog &catalog) {
                      firstProject(catalog).takes[1].takeId = u"t1"_s;
                  }}});
        addRows(u"Authenticated catalog repeats an unassigned take ID."_s,
                {{"unassigned take twice", [](DeviceCatalog &catalog) {
                      catalog.unassignedTakes->push_back(catalogTake(u"t1"_s, {}, {}));
                  }}});
        addRows(u"Authenticated catalog take identity is invalid."_s,
                {{"no take id", set(firstTake, &CatalogTake::takeId, {})},
                 {"take id of 97 bytes", set(firstTake, &CatalogTake::takeId, wide(48) + u'b')},
                 {"take id with a lone surrogate",
                  set(firstTake, &CatalogTake::takeId, QString(QChar(char16_t(0xD800))))},
                 {"take without its project", set(firstTake, &CatalogTake::projectId, {})},
                 {"take of another project",
                  set(firstTake, &CatalogTake::projectId, std::optional(sampleUuid(2)))},
                 {"unassigned take with a project", [](DeviceCatalog &catalog) {
                      catalog.unassignedTakes->front().projectId = sampleUuid(1);
                  }}});
    }

    void refusesWhatBreaksARule()
    {
        QFETCH(const Change, change);
        DeviceCatalog catalog = sampleCatalog();
        change(catalog);
        QTEST(refusal(catalog), "message");
    }

    void refusesAClipThatBreaksARule_data()
    {
        QTest::addColumn<Change>("change");
        QTest::addColumn<QString>("message");
        addRows(
            u"Authenticated catalog clip metadata is invalid."_s,
            {{"clip id is no UUID",
              [](DeviceCatalog &catalog) {
                  firstClip(catalog).clipId = u"clip"_s;
                  firstClip(catalog).downloadURL = u"/vorn/v1/files/clip"_s;
              }},
             {"not closed", set(firstClip, &CatalogClip::finalized, false)},
             {"no video", set(firstClip, &CatalogClip::hasVideo, false)},
             {"no bytes", set(firstClip, &CatalogClip::sizeBytes, std::int64_t{0})},
             {"no digest", set(firstClip, &CatalogClip::sha256, QString(63, u'a'))},
             {"no camera", set(firstClip, &CatalogClip::cameraId, {})},
             {"camera id of 129 bytes", set(firstClip, &CatalogClip::cameraId, wide(64) + u'b')},
             {"camera twice in a take", set(firstClip, &CatalogClip::cameraId, u"B"_s)},
             {"clip twice in a take",
              [](DeviceCatalog &catalog) {
                  firstTake(catalog).clips.push_back(catalogClip(10, u"C"_s));
              }},
             {"clip in two projects",
              [](DeviceCatalog &catalog) {
                  catalog.projects[1].takes[0].clips.push_back(catalogClip(10, u"C"_s));
              }},
             {"clip also unassigned", [](DeviceCatalog &catalog) {
                  catalog.unassignedTakes->front().clips.push_back(catalogClip(10, u"C"_s));
              }}});
        const auto fileName = [](const QString &name) {
            return set(firstClip, &CatalogClip::fileName, name);
        };
        addRows(u"Authenticated catalog clip metadata is invalid."_s,
                {{"no file name", fileName({})},
                 {"file name of 256 bytes", fileName(wide(128))},
                 {"file name: dot", fileName(u"."_s)},
                 {"file name: parent", fileName(u".."_s)},
                 {"file name: below", fileName(u"a/b.mov"_s)},
                 {"file name: NUL", fileName(QString(u"a\u0000.mov"_s))},
                 {"file name: half a character", fileName(u"a"_s + QChar(char16_t(0xDC00)))}});
        const QString timingRoute = u"/vorn/v1/files/"_s + sampleUuid(10) + u".timing.json"_s;
        const QString digest(64, u'B');
        addRows(u"Catalog file URL must remain on the authenticated HTTPS origin."_s,
                {{"timing on another host", timing(u"//evil"_s + timingRoute, digest)}});
        addRows(u"Catalog file route does not match its immutable clip ID."_s,
                {{"another clip's file",
                  set(firstClip, &CatalogClip::downloadURL, u"/vorn/v1/files/"_s + sampleUuid(11))},
                 {"timing at the media's route", timing(timingRoute.chopped(12), digest)}});
        addRows(u"Timing sidecar identity is incomplete."_s,
                {{"timing without digest", timing(timingRoute, {})},
                 {"timing with half a digest", timing(timingRoute, digest.first(32))}});
        addRows(u"Timing sidecar digest has no matching URL."_s,
                {{"digest without timing", timing({}, digest)}});
    }

    void refusesAClipThatBreaksARule() { refusesWhatBreaksARule(); }

    void passesWhatKeepsTheRules_data()
    {
        QTest::addColumn<Change>("change");
        QTest::addColumn<QString>("message");
        addRows({}, {{"as it is", [](DeviceCatalog &) {}},
                     {"nothing in it",
                      [](DeviceCatalog &catalog) {
                          catalog.projects.clear();
                          catalog.unassignedTakes.reset();
                          catalog.catalogRevision = 0;
                      }},
                     {"all at their bounds",
                      [](DeviceCatalog &catalog) {
                          catalog.deviceId = catalog.deviceId.toUpper();
                          catalog.deviceName = wide(64);
                          firstProject(catalog).name = wide(128);
                          firstProject(catalog).revision = 1;
                          firstTake(catalog).takeId = wide(48);
                          firstClip(catalog).cameraId = wide(64);
                          firstClip(catalog).fileName = wide(127) + u'b';
                          firstClip(catalog).sizeBytes = 1;
                          firstClip(catalog).sha256 = u"AA:"_s.repeated(32);
                      }},
                     {"an upper-case id with its route",
                      [](DeviceCatalog &catalog) {
                          firstClip(catalog).clipId = u"ABCDEF00-0000-4000-8000-000000000000"_s;
                          firstClip(catalog).downloadURL =
                              u"files/ABCDEF00-0000-4000-8000-000000000000"_s;
                      }},
                     {"timing", timing(u"/vorn/v1/files/"_s + sampleUuid(10) + u".timing.json"_s,
                                       QString(64, u'B'))}});
    }

    void passesWhatKeepsTheRules() { refusesWhatBreaksARule(); }

    // The time limit of the test is far beyond what a search in each step would take.
    void passesALargeCatalog()
    {
        constexpr int clipCount = 200'000;
        DeviceCatalog catalog = sampleCatalog();
        catalog.projects.resize(1);
        catalog.projects[0].takes = {catalogTake(u"t"_s, sampleUuid(1), {})};
        for (int n = 0; n < clipCount / 2; ++n)
            firstTake(catalog).clips.push_back(catalogClip(n, QString::number(n)));
        std::vector<CatalogTake> takes;
        for (int n = clipCount / 2; n < clipCount; ++n)
            takes.push_back(catalogTake(QString::number(n), {}, {catalogClip(n, u"A"_s)}));
        catalog.unassignedTakes = std::move(takes);
        QCOMPARE(refusal(catalog), QString());
    }
};

QTEST_GUILESS_MAIN(CatalogGateTest)
#include "catalog_gate_test.moc"
