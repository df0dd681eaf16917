// SPDX-License-Identifier: Apache-2.0

#include "drift/director_cut_document.h"
#include "drift/timeline_document.h"
#include "fcpxml_faults.h"
#include "rig/film/cut_reader.h"
#include "support.h"

#include <QtTest>

#include <random>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

using Kind = CutDecision::Kind;

constexpr double fps = 30;

/// Ten seconds of media, on the timeline from `startSeconds` on.
Placement placed(const QString &cameraId, double startSeconds, double ppm = 0)
{
    Placement placement;
    placement.item.clip.cameraId = cameraId;
    placement.item.path = u'/' + cameraId + u".mov"_s;
    placement.item.media = {
        .duration = 10, .width = 640, .height = 360, .fps = 30, .hasAudio = true};
    placement.item.correction.offsetSeconds = startSeconds;
    placement.item.correction.referenceSecondsPerSourceSecond = 1 + ppm / 1e6;
    return DriftEngine::placement(placement.item, fps);
}

/// A decision at that second of the reference camera, as cameras tell it which are off by so many
/// milliseconds and may be by ten.
CutDecision decided(Kind kind, const QString &cameraId, double second,
                    const std::map<QString, double> &offMs, double fadeSeconds = 0)
{
    CutDecision decision{.kind = kind,
                         .sessionSeconds = second + 100,
                         .cameraId = cameraId,
                         .fadeSeconds = fadeSeconds,
                         .label = u"Edit marker"_s,
                         .then = {}};
    const std::map<QString, double> starts{{u"A"_s, 0}, {u"B"_s, 2}, {u"C"_s, -1}};
    for (const auto &[camera, off] : offMs)
        decision.then.push_back({.cameraId = camera,
                                 .seconds = second - starts.at(camera) + off / 1000,
                                 .uncertaintySeconds = 0.01});
    return decision;
}

CutDecision cut(const QString &cameraId, double second)
{
    return decided(Kind::cut, cameraId, second, {{u"A"_s, 0}});
}

CutDecision fade(const QString &cameraId, double second, double length)
{
    return decided(Kind::fade, cameraId, second, {{u"A"_s, 0}}, length);
}

CutDecision marker(double second)
{
    return decided(Kind::marker, {}, second, {{u"A"_s, 0}});
}

CutDecision untold(const QString &cameraId, double second)
{
    return decided(Kind::cut, cameraId, second, {});
}

// A from 0 to 10 s, B from 2 to 12, C, which began before, from 0 to 9.
std::vector<Placement> cameras()
{
    return {placed(u"A"_s, 0), placed(u"B"_s, 2), placed(u"C"_s, -1)};
}

QString shown(const DirectorCut &cut, const std::vector<Placement> &placements)
{
    QStringList words;
    for (const CutPiece &piece : cut.pieces)
        words += u"%1 %2"_s.arg(piece.begin)
                     .arg(piece.clip ? placements[*piece.clip].item.clip.cameraId : u"-"_s)
                 + (piece.fadeFrames > 0 ? u" ~%1"_s.arg(piece.fadeFrames) : QString());
    return words.join(u", "_s);
}

} // namespace

class DirectorCutTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void laysDecisionsOnTheTimeline_data()
    {
        QTest::addColumn<std::vector<CutDecision>>("decisions");
        QTest::addColumn<QString>("pieces");
        const auto row = [](const char *name, const std::vector<CutDecision> &decisions,
                            const QString &pieces) { QTest::newRow(name) << decisions << pieces; };
        row("cuts", {cut(u"A"_s, 1), cut(u"B"_s, 4), cut(u"C"_s, 5.51)},
            u"0 -, 30 A, 120 B, 165 C, 270 -"_s);
        row("before the recording", {untold(u"A"_s, -20), untold(u"C"_s, -3), cut(u"A"_s, 3)},
            u"0 C, 90 A, 300 -"_s);
        row("by the neighbour's clock", {cut(u"A"_s, 1), untold(u"C"_s, 2), cut(u"A"_s, 9)},
            u"0 -, 30 A, 60 C, 270 A, 300 -"_s);
        row("behind the end", {cut(u"A"_s, 1), untold(u"B"_s, 60)}, u"0 -, 30 A, 300 -"_s);
        row("not yet recording", {cut(u"B"_s, 1)}, u"0 -, 30 -, 60 B"_s);
        row("no recording", {cut(u"D"_s, 1), cut(u"A"_s, 8)}, u"0 -, 30 -, 240 A, 300 -"_s);
        row("the same frame", {cut(u"A"_s, 1), cut(u"C"_s, 5), cut(u"B"_s, 5.01)},
            u"0 -, 30 A, 150 B"_s);
        row("there and back in a frame", {cut(u"A"_s, 1), cut(u"C"_s, 5), cut(u"A"_s, 5.01)},
            u"0 -, 30 A, 300 -"_s);
        row("later is not earlier",
            {cut(u"A"_s, 1), cut(u"C"_s, 5), decided(Kind::cut, u"B"_s, 5.01, {{u"A"_s, -90}})},
            u"0 -, 30 A, 150 B"_s);
        row("dissolve", {cut(u"A"_s, 1), fade(u"C"_s, 5, 1)}, u"0 -, 30 A, 150 C ~30, 270 -"_s);
        row("out of nothing", {fade(u"A"_s, 1, 1)}, u"0 -, 30 A ~30, 300 -"_s);
        row("to what has just begun", {cut(u"A"_s, 1), fade(u"B"_s, 2.2, 1)},
            u"0 -, 30 A, 66 B ~12"_s);
        row("from what ends", {cut(u"C"_s, 1), fade(u"A"_s, 8.9, 2)},
            u"0 -, 30 C, 267 A ~6, 300 -"_s);
        row("at the beginning", {untold(u"A"_s, -1), fade(u"C"_s, 0, 1), marker(3)},
            u"0 C, 270 -"_s);
        row("one after the other",
            {cut(u"A"_s, 1), fade(u"C"_s, 5, 1), fade(u"B"_s, 5.4, 1), cut(u"A"_s, 6)},
            u"0 -, 30 A, 150 C ~12, 162 B ~12, 180 A, 300 -"_s);
        // Two of the three are right; a fourth is in another recording of that name.
        CutDecision late = decided(Kind::cut, u"A"_s, 4, {{u"A"_s, 4}, {u"B"_s, -6}});
        late.then.push_back({.cameraId = u"C"_s, .seconds = 9, .uncertaintySeconds = 0.01});
        late.then.push_back({.cameraId = u"B"_s, .seconds = 3000, .uncertaintySeconds = 0.01});
        row("the median", {late}, u"0 -, 120 A, 300 -"_s);
    }

    void laysDecisionsOnTheTimeline()
    {
        QFETCH(const std::vector<CutDecision>, decisions);
        QFETCH(const QString, pieces);
        const auto result = DriftEngine::directorCut(decisions, cameras(), fps);
        QVERIFY(result);
        QCOMPARE(shown(*result, cameras()), pieces);
        QCOMPARE(result->decisions.size(), decisions.size());
    }

    void tellsHowFarOffPlacesMayBe_data()
    {
        QTest::addColumn<std::vector<CutDecision>>("decisions");
        QTest::addColumn<QString>("outlook"); // decisions, by clock, frames
        const auto at = [](double second, const std::map<QString, double> &offMs) {
            return decided(Kind::cut, u"A"_s, second, offMs);
        };
        // Ten milliseconds are 0.3 frames, and half a frame is added by rounding.
        QTest::newRow("one") << std::vector{at(1, {{u"A"_s, 3}})} << u"1 0 1"_s;
        QTest::newRow("two agree") << std::vector{at(1, {{u"A"_s, 8}, {u"B"_s, -8}})} << u"1 0 1"_s;
        QTest::newRow("two do not")
            << std::vector{at(1, {{u"A"_s, 100}, {u"C"_s, -100}})} << u"1 0 4"_s;
        QTest::newRow("the worst")
            << std::vector{at(1, {{u"A"_s, 0}}), at(2, {{u"A"_s, 0}, {u"C"_s, 90}})} << u"2 0 2"_s;
        QTest::newRow("outside, and by the clock")
            << std::vector{untold(u"A"_s, -5), cut(u"A"_s, 1), untold(u"C"_s, 2), marker(3),
                           untold(u"C"_s, 50)}
            << u"3 1 1"_s;
    }

    void tellsHowFarOffPlacesMayBe()
    {
        QFETCH(const std::vector<CutDecision>, decisions);
        const auto result = DriftEngine::directorCut(decisions, cameras(), fps);
        QVERIFY(result);
        const CutOutlook outlook = DriftEngine::cutOutlook(*result, fps);
        QTEST(u"%1 %2 %3"_s.arg(outlook.decisions)
                  .arg(outlook.bySessionClock)
                  .arg(outlook.withinFrames),
              "outlook");
    }

    void writesTheWholeDocument()
    {
        const std::vector<CutDecision> decisions{
            cut(u"A"_s, 1), decided(Kind::fade, u"B"_s, 5, {{u"A"_s, 8}, {u"B"_s, -8}}, 1),
            marker(6), untold(u"D\u0001"_s, 7)};
        const std::vector placements{placed(u"A"_s, 0), placed(u"B"_s, 2, 100)};
        const auto result = DriftEngine::directorCut(decisions, placements, fps);
        const QString map = u"<timeMap frameSampling=\"floor\" preservesPitch=\"1\"><timept "
                            "time=\"0s\" value=\"0/1s\" interp=\"linear\"/><timept "
                            "time=\"10/1s\" value=\"%1\" interp=\"linear\"/></timeMap>"_s;
        const QString mapA = map.arg(u"10/1s"_s);
        const QString mapB = map.arg(u"100000/10001s"_s);
        const QString expected =
            u"<spine><gap name=\"Gap\" offset=\"0/1s\" start=\"0s\" duration=\"1/1s\">"
            "<note>No decision had been made yet.</note>"
            "<asset-clip ref=\"asset-1\" format=\"format-1\" name=\"A\" lane=\"-1\" "
            "offset=\"0/1s\" start=\"0s\" duration=\"10/1s\" srcEnable=\"audio\">"_s
            + mapA
            + u"</asset-clip>"
              "<asset-clip ref=\"asset-1\" format=\"format-1\" name=\"A\" lane=\"-2\" "
              "offset=\"0/1s\" start=\"0s\" duration=\"10/1s\" enabled=\"0\" "
              "srcEnable=\"all\">"_s
            + mapA
            + u"</asset-clip>"
              "<asset-clip ref=\"asset-2\" format=\"format-2\" name=\"B\" lane=\"-3\" "
              "offset=\"2/1s\" start=\"0s\" duration=\"10/1s\" enabled=\"0\" "
              "srcEnable=\"all\">"_s
            + mapB
            + u"</asset-clip></gap>"
              "<asset-clip ref=\"asset-1\" format=\"format-1\" name=\"A\" offset=\"1/1s\" "
              "start=\"1/1s\" duration=\"4/1s\" srcEnable=\"video\">"
              "<note>VORN director's cut. CUT at 101.00 s of the session, placed within 1 "
              "frame.</note>"_s
            + mapA
            + u"</asset-clip>"
              "<transition name=\"Cross Dissolve\" offset=\"9/2s\" duration=\"1/1s\"/>"
              "<asset-clip ref=\"asset-2\" format=\"format-2\" name=\"B\" offset=\"5/1s\" "
              "start=\"3/1s\" duration=\"2/1s\" srcEnable=\"video\">"
              "<note>VORN director's cut. FADE at 105.00 s of the session, placed within 1 "
              "frame.</note>"_s
            + mapB
            + u"<marker start=\"4/1s\" duration=\"1/30s\" value=\"Edit marker\" note=\"at "
              "106.00 s of the session, placed within 1 frame.\"/></asset-clip>"
              "<gap name=\"Gap\" offset=\"7/1s\" start=\"0s\" duration=\"5/1s\">"
              "<note>D\uFFFD was on Program, and has no recording in this take. CUT at 107.00 s "
              "of the session, placed by the clock of the computer alone.</note></gap></spine>"
              "</sequence></project></event></fcpxml>"_s;
        const QString document =
            DriftEngine::directorCutDocument(u"Night"_s, u"take-1"_s, fps, placements, *result, 0);
        QCOMPARE(document.sliced(document.indexOf(u"<spine>"_s)), expected);
        QCOMPARE(fcpxmlFaults(document), QString());
        // Resources and lengths are those of the take's own timeline.
        const QString timeline =
            DriftEngine::timelineDocument(u"Night"_s, u"take-1"_s, fps, placements);
        QCOMPARE(document.section(u"<spine>"_s, 0, 0),
                 timeline.section(u"<spine>"_s, 0, 0)
                     .replace(u"\"take-1\""_s, u"\"take-1 director's cut\""_s));
    }

    // Whatever is decided, an editor can follow: what stands in the spine abuts on whole frames,
    // and shows what the camera's lane does; dissolves have their material and leave each other
    // alone.
    void writesWhatAnEditorCanFollow()
    {
        const double rates[] = {24, 25, 30, 30000 / 1001.0, 24000 / 1001.0, 29.97, 59.94, 120};
        std::mt19937_64 random(5);
        const auto between = [&](double least, double most) {
            return std::uniform_real_distribution(least, most)(random);
        };
        const auto camera = [&] { return QString(QChar(u'A' + char16_t(between(0, 4)))); };
        for (std::size_t round = 0; round < 400; ++round) {
            const double rate = rates[round % std::size(rates)];
            std::vector<Placement> placements;
            for (char16_t name = u'A'; name < u'A' + 1 + char16_t(round % 4); ++name) {
                Prepared item = placed(QString(QChar(name)), 0).item;
                item.media.duration = between(2, 1000);
                item.correction.offsetSeconds = name == u'A' ? 0 : between(-1, 5);
                item.correction.referenceSecondsPerSourceSecond = 1 + between(-0.001, 0.001);
                placements.push_back(DriftEngine::placement(item, rate));
            }
            std::vector<CutDecision> decisions{decided(Kind::cut, camera(), 1, {{u"A"_s, 0}})};
            for (double second = -2; decisions.size() < 60; second += between(0, 0.5))
                decisions.push_back({.kind = Kind(int(between(0, 3))),
                                     .sessionSeconds = second + 100,
                                     .cameraId = camera(),
                                     .fadeSeconds = between(0.1, 3),
                                     .label = u"<&\u0001>"_s,
                                     .then = {{u"A"_s, second + between(-0.1, 0.1), 0.02}}});
            const auto result = DriftEngine::directorCut(decisions, placements, rate);
            const QString document = DriftEngine::directorCutDocument(u"Night"_s, u"take-1"_s, rate,
                                                                      placements, *result, 0);
            const QString fault = thrownText([&] {
                QCOMPARE(rig::readCutTimeline(document.toUtf8()).pieces.size(),
                         result->pieces.size());
            });
            QVERIFY2(fault.isEmpty(), qPrintable(QString::number(round) + u": "_s + fault));
        }
    }

    void hasNoCutWithoutAPlace()
    {
        QVERIFY(!DriftEngine::directorCut({}, cameras(), fps));
        QVERIFY(!DriftEngine::directorCut({untold(u"A"_s, 1)}, cameras(), fps));
        // Two recordings of one camera: nobody knows in which it was.
        const std::vector twice{placed(u"A"_s, 0), placed(u"A"_s, 0)};
        QVERIFY(!DriftEngine::directorCut({cut(u"A"_s, 1)}, twice, fps));
    }
};

QTEST_GUILESS_MAIN(DirectorCutTest)
#include "director_cut_test.moc"
