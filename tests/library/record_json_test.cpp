// SPDX-License-Identifier: Apache-2.0

#include "library/record_json.h"
#include "support.h"

#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

VORNLibrary sampleLibrary()
{
    VORNClip full;
    full.id = u"\uFEFFclip-1"_s; // what begins a text is part of it, also a byte order mark
    full.cameraId = u"Kamera Ä/1 \u202E"_s;
    full.fileName = u"a \"b\".mov"_s;
    full.localPath = u"/m/a b.mov"_s;
    full.remoteURL = u"https://phone:1/x"_s;
    full.sizeBytes = 9007199254740993; // no double holds it
    full.sha256 = QString(64, u'0');
    full.anchorMeaning = u"same-event-reference-media-seconds"_s;
    full.anchors = {{0.1, 3600.0000000000005, 0.95, 1.5}, {-0.0, 1e-300, 1e-5, 1e20}};
    full.mediaKind = u"video"_s;
    full.hasVideo = true;
    full.hasAudio = false;
    full.timingSidecarURL = u"timing.json"_s;
    full.timingSidecarSHA256 = QString(64, u'1');
    full.deviceId = u"device"_s;
    full.deviceName = u"Mara's phone 📱\\\u0001"_s + QChar(0xD83D) + u"x"_s + QChar(0xDE00);
    full.originCatalogRevision = std::numeric_limits<std::int64_t>::min();
    VORNClip bare;
    bare.id = u"clip-1"_s;
    bare.fileName = u"\uFEFF\uFEFF"_s;
    bare.cameraId = u"\"\uFEFF"_s;

    VORNTake take;
    take.id = u"take-1"_s;
    take.projectNameAtCapture = u"Night"_s;
    take.projectRevisionAtCapture = std::numeric_limits<std::int64_t>::max();
    take.createdAt = u"2026-11-24T20:00:00Z"_s;
    take.referenceCameraId = u"A"_s;
    take.timelineFPS = u"30000/1001"_s;
    take.sourceManifestPath = u"/m/manifest.json"_s;
    take.clips = {full, bare};
    return {{{.id = u"p"_s, .name = u"Night"_s, .revision = 3, .takes = {take, VORNTake{}}},
             {.id = u"q"_s, .name = QString(), .revision = {}, .takes = {}}}};
}

} // namespace

class RecordJsonTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void keepsEveryFieldThroughAFile()
    {
        const QByteArray text = jsonFromRecord(sampleLibrary());
        QCOMPARE(recordFromJson<VORNLibrary>(text, u"library.json"_s), sampleLibrary());
        // Sorted keys, one a line, escaped slashes, absent fields left out, never null.
        QVERIFY(text.startsWith("{\n\t\"projects\": [\n\t\t{\n\t\t\t\"id\": \"p\",\n"));
        QVERIFY(text.contains("\"localPath\": \"\\/m\\/a b.mov\""));
        QVERIFY(text.contains("\"sizeBytes\": 9007199254740993"));
        QVERIFY(text.contains("\"source_seconds\": 0.1"));
        QCOMPARE(text.count("localPath"), 1);
        QVERIFY(!text.contains("null"));
        QByteArray asQtHasIt = text;
        asQtHasIt.replace('\t', "    ").replace("\\/", "/");
        QCOMPARE(asQtHasIt, parseJson(text).toJson());
        QCOMPARE(lineFromRecord(sampleLibrary()).replace("\\/", "/"),
                 parseJson(text).toJson(QJsonDocument::Compact));
    }

    void namesThePlaceOfAFault_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("message");
        const auto row = [](const char *name, const char *text, const char16_t *message) {
            QTest::newRow(name) << QByteArray(text) << QString::fromUtf16(message);
        };
        row("no JSON", "{\n \"projects\": [,",
            u"f is not valid JSON: illegal value at line 2, byte 17");
        row("empty", "", u"f is not valid JSON: illegal value at line 1, byte 0");
        row("root is a list", "[]", u"f: an object was expected at the root");
        row("no projects", "{}", u"f: projects is missing (a list was expected)");
        row("no rate", R"({"projects":[{"id":"p","name":"n","takes":[{"id":"t","clips":[]}]}]})",
            u"f: projects[0].takes[0].timelineFPS is missing (a text was expected)");
        row("a required null", R"({"projects":[{"id":null,"name":"n","takes":[]}]})",
            u"f: projects[0].id is not a text");
        row("an optional of the wrong type",
            R"({"projects":[{"id":"p","name":"n","takes":[],"revision":"2"}]})",
            u"f: projects[0].revision is not a whole number of 64 bits");
        row("a fraction", R"({"projects":[{"id":"p","name":"n","takes":[],"revision":1.5}]})",
            u"f: projects[0].revision is not a whole number of 64 bits");
        row("2^63",
            R"({"projects":[{"id":"p","name":"n","takes":[],"revision":9223372036854775808}]})",
            u"f: projects[0].revision is not a whole number of 64 bits");
        row("-2^63-1 beside texts that look like it",
            "{\"projects\":[{\"id\":\"\\\"-9223372036854775809\",\"takes\":[],\"name\":\"n\","
            "\"revision\":-9223372036854775809}]}",
            u"f: projects[0].revision is not a whole number of 64 bits");
        row("a number that rounds to -2^63",
            R"({"projects":[{"id":"p","name":"n","takes":[],"revision":-9223372036854776832}]})",
            u"f: projects[0].revision is not a whole number of 64 bits");
        row("a project that is a text", R"({"projects":["p"]})",
            u"f: projects[0] is not an object");
        row("0 for false",
            R"({"projects":[{"id":"p","name":"n","takes":[{"id":"t","timelineFPS":"30","clips":[{
                "id":"c","cameraId":"A","fileName":"f","sha256":"0","anchors":[],"hasVideo":0}]}]}]})",
            u"f: projects[0].takes[0].clips[0].hasVideo is not true or false");
        row("an anchor in camel case",
            R"({"projects":[{"id":"p","name":"n","takes":[{"id":"t","timelineFPS":"30","clips":[{
                "id":"c","cameraId":"A","fileName":"f","sha256":"0","anchors":[{"sourceSeconds":1,
                "reference_seconds":1,"confidence":1,"uncertainty_ms":1}]}]}]}]})",
            u"f: projects[0].takes[0].clips[0].anchors[0].source_seconds is missing (a number was "
            "expected)");
    }

    void namesThePlaceOfAFault()
    {
        QFETCH(const QByteArray, text);
        QTEST(thrownText([&] { (void)recordFromJson<VORNLibrary>(text, u"f"_s); }), "message");
    }

    void readsWhatALaterVersionWrites()
    {
        // Larger than those that are mended.
        QCOMPARE(parseJson("[-9223372036854775809,-9999999999999999999]")[1].toDouble(), -1e19);
        const auto library = recordFromJson<VORNLibrary>(
            R"({"future":{"a":[1]},"projects":[{"id":"p","name":"n","takes":[],"colour":"red",
                "revision":2.0}]})",
            u"f"_s);
        QCOMPARE(library.projects.front().revision, std::optional<std::int64_t>(2));
        const auto withNull = recordFromJson<VORNLibrary>(
            R"({"projects":[{"id":"p","name":"n","takes":[],"revision":null}]})", u"f"_s);
        QVERIFY(!withNull.projects.front().revision);
    }

    void keepsTextsApartThatDifferInAByteOrderMark()
    {
        // In a file the mark may stand as it is or escaped, and before a key it makes another key.
        const auto library = recordFromJson<VORNLibrary>(
            "\xEF\xBB\xBF{\"projects\":[{\"id\":\"\xEF\xBB\xBFp\",\"name\":\"\\ufeffn\",\"takes\":["
            "],"
            "\"\xEF\xBB\xBFname\":\"x\",\"revision\":-9223372036854775808}]}",
            u"f"_s);
        QCOMPARE(library.projects.front().id, u"\uFEFFp"_s);
        QCOMPARE(library.projects.front().name, u"\uFEFFn"_s);
        QCOMPARE(library.projects.front().revision, std::numeric_limits<std::int64_t>::min());
    }

    void progressStaysBetweenNothingAndAll()
    {
        TransferStatus status;
        status.completedBytes = 5;
        QCOMPARE(status.progress(), 0.0);
        status.totalBytes = 10;
        QCOMPARE(status.progress(), 0.5);
        status.completedBytes = 11;
        QCOMPARE(status.progress(), 1.0);
    }
};

QTEST_GUILESS_MAIN(RecordJsonTest)
#include "record_json_test.moc"
