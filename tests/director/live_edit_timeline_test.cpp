// SPDX-License-Identifier: Apache-2.0

#include "director/edit_log_text.h"
#include "director/edit_timeline_json.h"
#include "director/live_edit_timeline.h"
#include "support.h"

#include <QtTest>

#include <set>

using namespace vorn;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto cut = DirectorTransition::cut;
constexpr auto fade = DirectorTransition::fade;

// 2026-11-25T20:00:00.250Z
constexpr WallTime begin{std::chrono::milliseconds{1795636800250}};

LiveEditTimeline running(std::optional<QString> preview, std::optional<QString> program)
{
    LiveEditTimeline timeline;
    timeline.start(begin);
    timeline.previewCameraID = std::move(preview);
    timeline.programCameraID = std::move(program);
    return timeline;
}

/// All of an event but its identity.
QString line(const DirectorEditEvent &event)
{
    const auto camera = [](const std::optional<QString> &id) { return id.value_or(u"-"_s); };
    return u"%1 %2 %3>%4 %5 %6 %7"_s.arg(
        text(event.kind), QString::number(event.elapsedSeconds), camera(event.fromCameraID),
        camera(event.toCameraID), event.transition ? text(*event.transition) : u"-"_s,
        event.durationSeconds ? QString::number(*event.durationSeconds) : u"-"_s,
        event.label.value_or(u"-"_s));
}

QStringList lines(const LiveEditTimeline &timeline)
{
    QStringList all;
    for (const DirectorEditEvent &event : timeline.events)
        all << line(event);
    return all;
}

} // namespace

class LiveEditTimelineTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void logsAShow()
    {
        LiveEditTimeline timeline;
        timeline.selectPreview(u"A"_s); // before the session, too
        QVERIFY(!timeline.take(cut, 0, begin) && !timeline.addMarker(u"early"_s, begin));
        timeline.start(begin);
        timeline.start(begin + 1h); // neither moves the start nor logs
        QVERIFY(timeline.addMarker(u"Edit marker"_s, begin + 500ms)); // nothing on Program
        QVERIFY(timeline.take(cut, 2, begin + 1s));                   // leaves Preview empty
        QVERIFY(!timeline.take(cut, 0, begin + 2s));
        timeline.selectPreview(u"A"_s); // on Program already
        QVERIFY(!timeline.take(cut, 0, begin + 3s));
        timeline.selectPreview(u"B"_s);
        QVERIFY(timeline.take(fade, 1.5, begin + 4s));
        QVERIFY(timeline.take(cut, 0, begin + 5s));        // the monitors trade places
        QVERIFY(timeline.addMarker(u"Tor"_s, begin - 1s)); // the clock was set back

        QCOMPARE(timeline.startedAt, begin);
        QCOMPARE(timeline.programCameraID, u"A"_s);
        QCOMPARE(timeline.previewCameraID, u"B"_s);
        QCOMPARE(lines(timeline), (QStringList{
                                      u"sessionStarted 0 ->- - - Director session started"_s,
                                      u"marker 0.5 ->- - - Edit marker"_s,
                                      u"transition 1 ->A CUT 0 -"_s,
                                      u"transition 4 A>B FADE 1.5 -"_s,
                                      u"transition 5 B>A CUT 0 -"_s,
                                      u"marker 0 ->A - - Tor"_s,
                                  }));
        std::set<QUuid> ids;
        for (const DirectorEditEvent &event : timeline.events)
            ids.insert(event.id);
        QCOMPARE(ids.size(), timeline.events.size());
    }

    void boundsTheLengthOfAFade()
    {
        using Lengths = std::initializer_list<std::pair<double, double>>;
        for (const auto &[asked, logged] :
             Lengths{{0.05, 0.1}, {-1.0, 0.1}, {qQNaN(), 0.1}, {2.0, 2.0}}) {
            LiveEditTimeline timeline = running(u"B"_s, u"A"_s);
            QVERIFY(timeline.take(fade, asked, begin));
            QCOMPARE(timeline.events.back().durationSeconds, logged);
        }
    }

    void keepsEveryFieldThroughJson()
    {
        LiveEditTimeline timeline = running(u"B"_s, u"A"_s);
        QVERIFY(timeline.take(fade, 0.5, begin + 90250ms));
        QVERIFY(timeline.addMarker(u"Tor"_s, begin + 2h));
        timeline.events.front().id = QUuid(u"3f2504e0-4f89-41d3-9a0c-0305e82c3301"_s);
        const QByteArray text = jsonFromRecord(timeline);
        QCOMPARE(recordFromJson<LiveEditTimeline>(text, u"the edit log"_s), timeline);
        const QJsonDocument json = QJsonDocument::fromJson(text);
        QCOMPARE(json[u"startedAt"_s], QJsonValue(u"2026-11-25T20:00:00.250Z"_s));
        QCOMPARE(json[u"events"_s][0].toObject(),
                 (QJsonObject{{u"id"_s, u"3f2504e0-4f89-41d3-9a0c-0305e82c3301"_s},
                              {u"kind"_s, u"sessionStarted"_s},
                              {u"elapsedSeconds"_s, 0},
                              {u"label"_s, u"Director session started"_s}}));
        QCOMPARE(json[u"events"_s][1][u"transition"_s], QJsonValue(u"FADE"_s));
        QCOMPARE(lineFromRecord(LiveEditTimeline()), R"({"events":[]})");
    }

    void refusesJsonThatIsNone()
    {
        for (const char *text :
             {R"({"startedAt": "yesterday", "events": []})",
              R"({"startedAt": "9999-01-01T00:00:00Z", "events": []})",
              R"({"events": [{"id": "x", "kind": "marker", "elapsedSeconds": 0}]})",
              R"({"events": [{"id": "3f2504e0-4f89-41d3-9a0c-0305e82c3301", "kind": "Marker",
                              "elapsedSeconds": 0}]})"})
            QVERIFY_THROWS_EXCEPTION(
                JsonError, (void)recordFromJson<LiveEditTimeline>(text, u"the edit log"_s));
    }

    void tellsTimesInWholeSeconds()
    {
        QCOMPARE(elapsedText(0), u"00:00:00"_s);
        QCOMPARE(elapsedText(3725.9), u"01:02:05"_s);
        QCOMPARE(elapsedText(360000), u"100:00:00"_s);
    }

    void makesATableOfTheLog()
    {
        LiveEditTimeline timeline = running(u"evil"_s, {});
        QVERIFY(timeline.take(cut, 0, begin + 3725875ms));
        QVERIFY(timeline.addMarker(u"a\tb\r\nc\u2028d\u0085e"_s, begin + 2h));
        timeline.selectPreview(u"gone"_s);
        QVERIFY(timeline.take(fade, 1, begin + 2h));
        timeline.events.push_back(timeline.events[2]);
        timeline.events.back().label.reset();
        const auto nameOf = [](const std::optional<QString> &id) {
            return id == u"evil"_s ? u"Ada\n00:00\tCUT é"_s : id.value_or(u"?"_s);
        };
        QCOMPARE(editLogTable(std::span(timeline.events).subspan(1), nameOf),
                 u"Time\tEdit\tCamera or label\n"
                 "01:02:05.875\tCUT\tAda 00:00 CUT é\n"
                 "02:00:00.000\tMARK\ta b  c d e\n"
                 "02:00:00.000\tFADE\tgone\n"
                 "02:00:00.000\tMARK\tMarker\n"_s);
    }
};

QTEST_GUILESS_MAIN(LiveEditTimelineTest)
#include "live_edit_timeline_test.moc"
