// SPDX-License-Identifier: Apache-2.0

#include "catalog_samples.h"
#include "library/record_json.h"
#include "support.h"

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
        QCOMPARE(recordFromJson<DeviceCatalog>(jsonFromRecord(expected), u"f"_s), expected);
    }

    // Each required key of each record, once missing and once of another type.
    void refusesWhatIsMissing()
    {
        QByteArray text = fullText; // so that each key is there once
        text = text.first(text.lastIndexOf(",\n    \"unassignedTakes\"")) + '}';
        const auto take = u"projects[0].takes[0]."_s;
        const auto clip = take + u"clips[0]."_s;
        for (const QString &place :
             {u"schemaVersion"_s,        u"deviceId"_s,          u"deviceName"_s,
              u"catalogRevision"_s,      u"projects"_s,          u"projects[0].name"_s,
              u"projects[0].revision"_s, u"projects[0].takes"_s, take + u"takeId"_s,
              take + u"clips"_s,         clip + u"clipId"_s,     clip + u"cameraId"_s,
              clip + u"fileName"_s,      clip + u"sizeBytes"_s,  clip + u"sha256"_s,
              clip + u"downloadURL"_s,   clip + u"finalized"_s,  clip + u"mediaKind"_s,
              clip + u"hasVideo"_s,      clip + u"hasAudio"_s}) {
            const QByteArray quoted = '"' + place.section(u'.', -1).toUtf8() + "\":";
            QCOMPARE(text.count(quoted), 1);
            const auto refusal = [&](const QByteArray &replacement) {
                const QByteArray bad = QByteArray(text).replace(quoted, replacement);
                return thrownText([&] { (void)recordFromJson<DeviceCatalog>(bad, u"f"_s); });
            };
            const QString missing = refusal("\"later2\":");
            QVERIFY2(missing.startsWith(u"f: "_s + place + u" is missing"_s), qPrintable(missing));
            const QString other = refusal(quoted + "{}, \"later2\":");
            QVERIFY2(other.startsWith(u"f: "_s + place + u" is not a"_s)
                         || other.startsWith(u"f: "_s + place + u" is not true or false"_s),
                     qPrintable(other));
        }
    }
};

QTEST_GUILESS_MAIN(DeviceCatalogTest)
#include "device_catalog_test.moc"
