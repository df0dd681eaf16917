#include "catalog_samples.h"
#include "library/record_json.h"
#include "support.h"

#include <QJsonDocument>
#include <QtTest>

#include <limits>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

/// Every field of every record, and keys of a later version.
const QByteArray fullText = R"({
    "schemaVersion": 1, "deviceId": "D", "deviceName": "Cam ä", "catalogRevision": 9007199254740993,
    "generatedAt": "2026-11-24T20:00:00Z", "later": {"a": [null]},
    "projects": [{"projectId": "P", "name": "Night", "revision": 9223372036854775807, "later": 1,
        "takes": [{"takeId": "t", "projectId": "P", "projectNameAtCapture": "Then",
            "projectRevisionAtCapture": 2, "createdAt": "2026", "referenceCameraId": "A",
            "timelineFPS": "25", "later": 1,
            "clips": [{"clipId": "c", "cameraId": "A", "fileName": "a.mov", "sizeBytes": 5,
                "sha256": "00", "downloadURL": "/c", "finalized": true, "mediaKind": "video",
                "hasVideo": true, "hasAudio": true, "timingSidecarURL": "/c.timing.json",
                "timingSidecarSHA256": "11", "anchorMeaning": "same", "later": 1,
                "anchors": [{"source_seconds": 0.1, "reference_seconds": 2, "confidence": 1,
                    "uncertainty_ms": 1.5, "later": 1}]}]}]}],
    "unassignedTakes": [{"takeId": "u", "clips": []}]})";

/// The text of a catalog with one clip, with `from` replaced by `to`, which must occur once.
QByteArray changed(const QByteArray &from, const QByteArray &to)
{
    QByteArray text = fullText;
    if (text.count(from) != 1)
        qFatal("\"%s\" does not occur once", from.constData());
    return text.replace(from, to);
}

} // namespace

class DeviceCatalogTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void readsEveryField()
    {
        CatalogClip clip;
        clip.clipId = u"c"_s;
        clip.cameraId = u"A"_s;
        clip.fileName = u"a.mov"_s;
        clip.sizeBytes = 5;
        clip.sha256 = u"00"_s;
        clip.downloadURL = u"/c"_s;
        clip.finalized = true;
        clip.mediaKind = u"video"_s;
        clip.hasVideo = true;
        clip.hasAudio = true;
        clip.timingSidecarURL = u"/c.timing.json"_s;
        clip.timingSidecarSHA256 = u"11"_s;
        clip.anchorMeaning = u"same"_s;
        clip.anchors = {{0.1, 2, 1, 1.5}};
        CatalogTake take = catalogTake(u"t"_s, u"P"_s, {clip});
        take.projectNameAtCapture = u"Then"_s;
        take.projectRevisionAtCapture = 2;
        take.createdAt = u"2026"_s;
        take.referenceCameraId = u"A"_s;
        take.timelineFPS = u"25"_s;
        DeviceCatalog expected;
        expected.deviceId = u"D"_s;
        expected.deviceName = u"Cam ä"_s;
        expected.catalogRevision = 9007199254740993; // no double holds it
        expected.generatedAt = u"2026-11-24T20:00:00Z"_s;
        expected.projects = {{.projectId = u"P"_s,
                              .name = u"Night"_s,
                              .revision = std::numeric_limits<std::int64_t>::max(),
                              .takes = {take}}};
        expected.unassignedTakes = {{catalogTake(u"u"_s, {}, {})}};
        QCOMPARE(recordFromJson<DeviceCatalog>(fullText, u"f"_s), expected);
        QCOMPARE(recordFromJson<DeviceCatalog>(prettyJson(jsonFromRecord(expected)), u"f"_s),
                 expected);
    }

    void leavesOutWhatIsAbsent()
    {
        const QByteArray text =
            R"({"catalogRevision":0,"deviceId":"","deviceName":"","projects":[{"name":"",)"
            R"("projectId":"","revision":0,"takes":[{"clips":[{"cameraId":"","clipId":"",)"
            R"("downloadURL":"","fileName":"","finalized":false,"hasAudio":false,)"
            R"("hasVideo":false,"mediaKind":"","sha256":"","sizeBytes":0}],"takeId":""}]}],)"
            R"("schemaVersion":2})";
        const auto catalog = recordFromJson<DeviceCatalog>(text, u"f"_s);
        QVERIFY(!catalog.unassignedTakes);
        QCOMPARE(QJsonDocument(jsonFromRecord(catalog)).toJson(QJsonDocument::Compact), text);
    }

    // Each required key of each record, once missing and once of another type.
    void refusesWhatIsMissing_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("place");
        QTest::addColumn<QString>("expected");
        const auto rows = [](const QString &place, const QString &expected,
                             const QStringList &keys) {
            for (const QString &key : keys)
                QTest::newRow(qUtf8Printable(place + key)) << key << place + key << expected;
        };
        const auto whole = u"a whole number of 64 bits"_s;
        const auto clip = u"projects[0].takes[0].clips[0]."_s;
        rows({}, whole, {u"schemaVersion"_s, u"catalogRevision"_s});
        rows({}, u"a text"_s, {u"deviceId"_s, u"deviceName"_s});
        rows({}, u"a list"_s, {u"projects"_s});
        rows(u"projects[0]."_s, u"a text"_s, {u"name"_s});
        rows(u"projects[0]."_s, whole, {u"revision"_s});
        rows(u"projects[0]."_s, u"a list"_s, {u"takes"_s});
        rows(u"projects[0].takes[0]."_s, u"a list"_s, {u"clips"_s});
        rows(u"projects[0].takes[0]."_s, u"a text"_s, {u"takeId"_s});
        rows(clip, u"a text"_s,
             {u"clipId"_s, u"cameraId"_s, u"fileName"_s, u"sha256"_s, u"downloadURL"_s,
              u"mediaKind"_s});
        rows(clip, whole, {u"sizeBytes"_s});
        rows(clip, u"true or false"_s, {u"finalized"_s, u"hasVideo"_s, u"hasAudio"_s});
    }

    void refusesWhatIsMissing()
    {
        QFETCH(const QString, key);
        QFETCH(const QString, place);
        QFETCH(const QString, expected);
        QByteArray text = fullText;
        text.truncate(
            text.lastIndexOf(",\n    \"unassignedTakes\"")); // so that each key is there once
        text += '}';
        const QByteArray quoted = '"' + key.toUtf8() + "\":";
        QCOMPARE(text.count(quoted), 1);
        const auto refusal = [&](const QByteArray &replacement) {
            QByteArray bad = text;
            bad.replace(quoted, replacement);
            return thrownText([&] { (void)recordFromJson<DeviceCatalog>(bad, u"f"_s); });
        };
        QCOMPARE(refusal("\"later2\":"),
                 u"f: %1 is missing (%2 was expected)"_s.arg(place, expected));
        QCOMPARE(refusal(quoted + "{}, \"later2\":"), u"f: %1 is not %2"_s.arg(place, expected));
    }

    void refusesAnotherType_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("message");
        const auto row = [](const char *name, const QByteArray &from, const QByteArray &to,
                            const QString &message) {
            QTest::newRow(name) << changed(from, to) << message;
        };
        const auto clip = u"f: projects[0].takes[0].clips[0]"_s;
        row("a fraction", "\"sizeBytes\": 5", "\"sizeBytes\": 5.5",
            clip + u".sizeBytes is not a whole number of 64 bits"_s);
        row("2^63", "9223372036854775807", "9223372036854775808",
            u"f: projects[0].revision is not a whole number of 64 bits"_s);
        row("a number as text", "\"sizeBytes\": 5", "\"sizeBytes\": \"5\"",
            clip + u".sizeBytes is not a whole number of 64 bits"_s);
        row("0 for false", "\"hasAudio\": true", "\"hasAudio\": 0",
            clip + u".hasAudio is not true or false"_s);
        row("an optional text", "\"anchorMeaning\": \"same\"", "\"anchorMeaning\": 1",
            clip + u".anchorMeaning is not a text"_s);
        row("an anchor's key", "source_seconds", "sourceSeconds",
            clip + u".anchors[0].source_seconds is missing (a number was expected)"_s);
        row("an optional list", "[{\"takeId\": \"u\", \"clips\": []}]", "{}",
            u"f: unassignedTakes is not a list"_s);
        row("in an unassigned take", "\"u\", \"clips\": []", "\"u\", \"clips\": [[]]",
            u"f: unassignedTakes[0].clips[0] is not an object"_s);
        QTest::newRow("too deep")
            << changed("\"later\": {\"a\": [null]}",
                       "\"later\": " + QByteArray(2000, '[') + QByteArray(2000, ']'))
            << u"f is not valid JSON: too deeply nested document at line 3, byte 1180"_s;
    }

    void refusesAnotherType()
    {
        QFETCH(const QByteArray, text);
        QTEST(thrownText([&] { (void)recordFromJson<DeviceCatalog>(text, u"f"_s); }), "message");
    }
};

QTEST_GUILESS_MAIN(DeviceCatalogTest)
#include "device_catalog_test.moc"
