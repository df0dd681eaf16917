// SPDX-License-Identifier: Apache-2.0

// Five minutes of one phone's statuses, one a second, during two recordings, and what is told of
// its clock meanwhile.

#include "live/phone_clock.h"
#include "live/phone_clocks.h"
#include "packets.h"

#include <QtTest>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>

using namespace vorn;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr double firstMs = 1'795'636'800'000; // the phone's clock at the beginning
constexpr double lengthMs = 300'000;

MonotonicClock::time_point at(double ms)
{
    return MonotonicClock::time_point(1h) + std::chrono::microseconds(qint64(ms * 1000));
}

/// A phone and its way to us.
struct Phone {
    double ppm = 0;
    double jitterMs = 29; ///< above the millisecond that every status takes
    double lost = 0.05;
    double stepMs = 0;   ///< of its clock in the middle of the time
    double heldUpMs = 0; ///< five statuses in a row, in the middle of the time
};

/// The errors of all moments, in milliseconds; and how many could not be told.
struct Outcome {
    double worst = 0;
    double median = 0;
    double beyond = 0; ///< by how much an error exceeds what was told
    double silentMs = 0;
};

Outcome follow(const Phone &phone)
{
    const auto clockMs = [&](double ms) {
        return firstMs + ms * (1 + phone.ppm / 1e6) + (ms >= lengthMs / 2 ? phone.stepMs : 0);
    };
    struct Arrival {
        double ms;
        double sentAt;
    };
    std::mt19937 random(15);
    const auto chance = [&] { return double(random()) / double(std::mt19937::max()); };
    std::vector<Arrival> arrivals;
    for (double sent = 300; sent < lengthMs; sent += 1000) {
        const double way = 1 + chance() * phone.jitterMs;
        const bool isHeldUp = std::abs(sent - lengthMs / 2) < 2500;
        if (chance() >= phone.lost)
            arrivals.push_back({sent + way + (isHeldUp ? phone.heldUpMs : 0), sent});
    }
    const double secondBegins = lengthMs / 2 + 20'000; // the second recording
    PhoneClock clock;
    std::optional<PhoneClockReading> reading;
    double begun = 0; // the recording that the last status told of
    Outcome outcome;
    std::vector<double> errors;
    auto next = arrivals.begin();
    for (double ms = 0; ms < lengthMs; ms += 50) {
        for (; next != arrivals.end() && next->ms <= ms; ++next) {
            begun = next->sentAt >= secondBegins ? secondBegins : 0;
            reading = clock.hear({.sentMs = qint64(clockMs(next->sentAt)),
                                  .session = {},
                                  .host = {},
                                  .recordingSinceMs = qint64(clockMs(begun))},
                                 at(next->ms));
        }
        const auto place =
            reading ? recordingPlace(*reading, qint64(clockMs(begun)), at(ms)) : std::nullopt;
        if (!place) {
            outcome.silentMs += 50;
            continue;
        }
        const double truth = (ms - begun) * (1 + phone.ppm / 1e6);
        const double error = std::abs(place->seconds * 1000 - truth);
        errors.push_back(error);
        outcome.beyond = std::max(outcome.beyond, error - place->uncertaintySeconds * 1000);
    }
    std::ranges::sort(errors);
    outcome.worst = errors.back();
    outcome.median = errors[errors.size() / 2];
    return outcome;
}

} // namespace

class PhoneClockTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void tellsWhereARecordingIs_data()
    {
        QTest::addColumn<Phone>("phone");
        QTest::addColumn<double>("worstMs");
        QTest::addColumn<double>("medianMs");
        QTest::addColumn<double>("silentMs");
        const auto row = [](const char *name, const Phone &phone, double worst, double median,
                            double silent = 2500) {
            QTest::newRow(name) << phone << worst << median << silent;
        };
        row("fast", {.ppm = 1000}, 33, 12);
        row("slow", {.ppm = -1000}, 33, 15);
        // By which clock the first recording began cannot be told any more.
        row("stepped forward", {.stepMs = 3'600'000}, 33, 12, 24'000);
        row("stepped back", {.stepMs = -7'200'000}, 33, 12, 24'000);
        row("stepped forward a little", {.stepMs = 150}, 182, 12);
        row("stepped back a little", {.stepMs = -150}, 182, 12);
        row("held up for a while", {.heldUpMs = 400}, 33, 12);
        row("held up for longer", {.heldUpMs = 900}, 932, 12, 9000);
    }

    void tellsWhereARecordingIs()
    {
        QFETCH(const Phone, phone);
        QFETCH(const double, worstMs);
        QFETCH(const double, medianMs);
        QFETCH(const double, silentMs);
        const Outcome outcome = follow(phone);
        qInfo("error: worst %.1f ms, median %.1f ms, %.1f ms beyond what was told; silent %.1f s",
              outcome.worst, outcome.median, outcome.beyond, outcome.silentMs / 1000);
        QVERIFY(outcome.worst <= worstMs);
        QVERIFY(outcome.median <= medianMs);
        QVERIFY(outcome.silentMs <= silentMs);
        QVERIFY(outcome.beyond <= 3); // one of them is what all have alike
    }

    void saysNothingOfNonsense()
    {
        using Sent = std::function<std::optional<qint64>(int second)>;
        const qint64 first = qint64(firstMs);
        const std::pair<const char *, Sent> senders[] = {
            {"none", [](int) { return std::nullopt; }},
            {"constant", [=](int) { return first; }},
            {"decreasing", [=](int second) { return first - second; }},
            {"in microseconds", [=](int second) { return first * 1000 + second * 1'000'000LL; }},
            {"before all time", [](int second) { return (second - 200) * 1000LL; }},
            {"after all time", [](int second) { return 300'000'000'000'000 + second * 1000LL; }},
            {"most", [](int second) { return std::numeric_limits<qint64>::max() - second; }},
        };
        for (const auto &[name, sent] : senders) {
            PhoneClock clock;
            for (int second = 0; second < 200; ++second)
                QVERIFY2(
                    !clock.hear(
                        {.sentMs = sent(second), .session = {}, .host = {}, .recordingSinceMs = {}},
                        at(second * 1000)),
                    name);
        }
        const PhoneClockReading reading{.phoneMs = first, .at = at(0), .uncertainty = 5ms};
        constexpr qint64 eightDaysMs = 8 * 86'400'000;
        for (const qint64 since : {std::numeric_limits<qint64>::min(), first - eightDaysMs,
                                   first + 50, std::numeric_limits<qint64>::max()})
            QVERIFY(!recordingPlace(reading, since, at(0)));
        // It has just begun, and the status that told so was late.
        QCOMPARE(recordingPlace(reading, first + 4, at(0))->seconds, 0.0);
        QCOMPARE(recordingPlace(reading, first - 4000, at(1000)),
                 (RecordingPlace{.seconds = 5, .uncertaintySeconds = 0.007}));
    }

    /// Neither one foreign number nor what is heard twice counts; a step during the recording, a
    /// new session and a moved address do.
    void weighsWhatItHears()
    {
        PhoneClock clock;
        const auto hear = [&](int second, qint64 more = 0, double lateMs = 0,
                              const QString &session = u"s"_s, const QString &host = u"h"_s) {
            return clock.hear({.sentMs = qint64(firstMs) + second * 1000LL + more,
                               .session = session,
                               .host = host,
                               .recordingSinceMs = qint64(firstMs)},
                              at(second * 1000 + lateMs));
        };
        for (int second = 0; second < 20; ++second) {
            (void)hear(second);
            QCOMPARE(hear(second, 0, 40, u"s"_s, u"other"_s).has_value(), second > 0);
        }
        QCOMPARE(hear(20)->uncertainty, 1ms);
        QVERIFY(!hear(21, 9'000'000));
        QCOMPARE(hear(22)->uncertainty, 1ms);
        QVERIFY(!hear(23, -2000));
        QCOMPARE(hear(24, -2000)->uncertainty, 2031ms);
        // A status that says nothing of the recording ends none.
        QCOMPARE(clock
                     .hear({.sentMs = qint64(firstMs) + 22'500,
                            .session = u"s"_s,
                            .host = u"h"_s,
                            .recordingSinceMs = {}},
                           at(24'500))
                     ->uncertainty,
                 2031ms);
        QVERIFY(!hear(25));
        QCOMPARE(hear(26)->uncertainty, 31ms);
        for (int second = 27; second < 40; ++second)
            (void)hear(second);
        QCOMPARE(hear(40)->uncertainty, 1ms);
        // With a delay less than before, so that what was known shows.
        QVERIFY(!hear(41, 0, 20, u"t"_s));
        QCOMPARE(hear(42, 0, 20, u"t"_s)->at, at(42'020));
        QVERIFY(!hear(43, 0, 25, u"t"_s, u"i"_s));
        QCOMPARE(hear(44, 0, 25, u"t"_s, u"i"_s)->at, at(44'025));
        // A minute of silence, and nothing of before counts.
        QVERIFY(!hear(105, 0, 50, u"t"_s, u"i"_s));
        QCOMPARE(hear(106, 0, 50, u"t"_s, u"i"_s)->at, at(106'050));
        // Of many in a minute no more than the newest: the first, the least delayed, is forgotten.
        for (int i = 0; i <= int(PhoneClock::maximumStatuses); ++i)
            (void)hear(200, i * 10, i == 0 ? 0 : i * 10 + 5);
        QVERIFY(hear(202, 0, 5)->at > at(200'000));
    }

    void forgetsAStepWithTheNextRecording()
    {
        PhoneClocks clocks;
        const auto hear = [&](int second, int stepMs, int sinceMs) {
            LiveCameraPacket status = packet(u"real"_s);
            status.sentMs = firstMs + second * 1000 + stepMs;
            status.payload[u"recordingSinceMs"_s] = firstMs + sinceMs;
            return clocks.hear(status, u"10.0.0.2"_s, at(second * 1000));
        };
        for (const int second : {0, 1})
            (void)hear(second, 0, 0);
        QVERIFY(!hear(2, 2000, 0));
        QCOMPARE(hear(3, 2000, 0)->uncertainty, 2031ms);
        QCOMPARE(hear(4, 2000, 6000)->uncertainty, 31ms);
    }

    void remembersNoMoreThanTheListHolds()
    {
        PhoneClocks clocks;
        const auto hear = [&](const QString &id, int second, const QString &session = {}) {
            LiveCameraPacket status = packet(id);
            status.sessionID = session;
            status.sentMs = firstMs + second * 1000;
            return clocks.hear(status, u"10.0.0.2"_s, at(second * 1000)).has_value();
        };
        QVERIFY(!hear(u"real"_s, 0) && hear(u"real"_s, 1));
        for (int i = 0; i < 255; ++i)
            (void)hear(QString::number(i), 2);
        QVERIFY(hear(u"real"_s, 3));
        for (int i = 0; i < 255; ++i)
            (void)hear(u"later "_s + QString::number(i), 4);
        QVERIFY(hear(u"real"_s, 5) && !hear(u"0"_s, 5));
        QVERIFY(!hear(u"real"_s, 6, u"3f2504e0-4f89-41d3-9a0c-0305e82c3301"_s));
    }
};

QTEST_APPLESS_MAIN(PhoneClockTest)
#include "phone_clock_test.moc"
