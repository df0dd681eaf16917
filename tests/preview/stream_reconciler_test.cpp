// SPDX-License-Identifier: Apache-2.0

#include "preview/frame_mailbox.h"
#include "preview/stream_reconciler.h"

#include <QtTest>

using namespace vorn;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {

constexpr auto wall = VORNPreviewProfile::wall;

/// A reconciler with cameras and clocks that the test moves.
struct Desk {
    StreamReconciler reconciler;
    PreviewMoment now{WallTime(1'000'000s), MonotonicClock::time_point(1'000s)};

    void pass(std::chrono::milliseconds time)
    {
        now.wall += time;
        now.monotonic += time;
    }
    LiveCamera camera(const QString &id, const QString &host = u"10.0.0.1"_s) const
    {
        LiveCamera record;
        record.id = id;
        record.host = host;
        record.lastSeen = now.wall;
        return record;
    }
    /// Starts with one camera, "a", and gives its run.
    StreamRun startOne() { return reconciler.start({camera(u"a"_s)}, now).started.at(0); }
    StreamChanges update(const std::vector<LiveCamera> &cameras)
    {
        return reconciler.update(cameras, now);
    }
    /// The run ends; gives the delay until the next, if there is to be one.
    std::optional<std::chrono::milliseconds> end(const StreamRun &run,
                                                 std::optional<Transport> transport = {})
    {
        const auto ending = reconciler.end(run, transport, now);
        return ending.retry ? std::optional(ending.retry->delay) : std::nullopt;
    }
    /// The run that follows an ended one.
    StreamRun next(const StreamRun &run) { return reconciler.retry(run, now).started.at(0); }
};

// Such as "a wall 10.0.0.1", for each.
QStringList names(const std::vector<StreamRun> &runs)
{
    QStringList texts;
    for (const StreamRun &run : runs)
        texts << run.key.cameraID + (run.key.profile == wall ? u" wall "_s : u" selected "_s)
                     + run.host;
    return texts;
}

bool isNothing(const StreamChanges &changes)
{
    return changes == StreamChanges{};
}

PreviewFrame frameAt(std::chrono::milliseconds time)
{
    PreviewFrame frame;
    frame.receivedAt = MonotonicClock::time_point(time);
    return frame;
}

} // namespace

class StreamReconcilerTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void runsWhatIsWanted()
    {
        Desk desk;
        const std::vector cameras{desk.camera(u"a"_s), desk.camera(u"b"_s, u"10.0.0.2"_s)};
        QVERIFY(isNothing(desk.update(cameras))); // not started yet
        QCOMPARE(names(desk.reconciler.start(cameras, desk.now).started),
                 (QStringList{u"a wall 10.0.0.1"_s, u"b wall 10.0.0.2"_s}));
        QVERIFY(isNothing(desk.update(cameras)));

        const auto selecting = desk.reconciler.select({u"b"_s, u"unknown"_s}, desk.now);
        QCOMPARE(names(selecting.started), QStringList{u"b selected 10.0.0.2"_s});
        QVERIFY(selecting.stopped.empty());
        const auto deselecting = desk.reconciler.select({}, desk.now);
        QCOMPARE(names(deselecting.stopped), QStringList{u"b selected 10.0.0.2"_s});
        QVERIFY(deselecting.started.empty());

        const auto leaving = desk.update({cameras.at(0)});
        QCOMPARE(names(leaving.stopped), QStringList{u"b wall 10.0.0.2"_s});
        QCOMPARE(desk.reconciler.eligibleIDs(), std::set{u"a"_s});
        QCOMPARE(names(desk.reconciler.stop().stopped), QStringList{u"a wall 10.0.0.1"_s});
        QVERIFY(isNothing(desk.update(cameras)));
        QCOMPARE(desk.reconciler.start(cameras, desk.now).started.size(), std::size_t{2});
    }

    void aFifthCameraWaitsForAPlace()
    {
        Desk desk;
        std::vector<LiveCamera> cameras;
        for (const auto &id : {u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s})
            cameras.push_back(desk.camera(id));
        QCOMPARE(desk.reconciler.start(cameras, desk.now).started.size(), std::size_t{4});
        cameras.at(1).lastSeen -= 7s;
        const auto changes = desk.update(cameras);
        QCOMPARE(names(changes.stopped), QStringList{u"b wall 10.0.0.1"_s});
        QCOMPARE(names(changes.started), QStringList{u"e wall 10.0.0.1"_s});
    }

    void anotherAddressIsAnotherRun()
    {
        Desk desk;
        const StreamRun first = desk.startOne();
        QVERIFY(desk.reconciler.publish(first, Transport::persistent));
        const auto changes = desk.update({desk.camera(u"a"_s, u"10.0.0.9"_s)});
        QCOMPARE(changes.stopped, std::vector{first});
        QCOMPARE(names(changes.started), QStringList{u"a wall 10.0.0.9"_s});
        // What the first run still has to say is stale.
        QVERIFY(!desk.reconciler.publish(first, Transport::persistent));
        QVERIFY(!desk.end(first));
        QVERIFY(desk.reconciler.publish(changes.started.at(0), Transport::persistent));
    }

    void restsLongerWithEachFailure()
    {
        Desk desk;
        StreamRun run = desk.startOne();
        for (const auto delay : {500ms, 1000ms, 2000ms, 4000ms, 8000ms, 8000ms, 8000ms}) {
            QCOMPARE(desk.end(run), delay);
            QVERIFY(!desk.reconciler.publish(run, Transport::persistent));
            // It rests for all of that time, whatever the camera says meanwhile.
            QVERIFY(isNothing(desk.update({desk.camera(u"a"_s)})));
            desk.pass(delay);
            QVERIFY(isNothing(desk.update({desk.camera(u"a"_s)})));
            run = desk.next(run);
        }
        QVERIFY(desk.reconciler.publish(run, Transport::persistent));
        QCOMPARE(desk.end(run), 500ms);
    }

    void aNewAddressIsTriedAtOnce()
    {
        Desk desk;
        const StreamRun run = desk.startOne();
        QCOMPARE(desk.end(run), 500ms);
        const auto changes = desk.update({desk.camera(u"a"_s, u"10.0.0.9"_s)});
        QVERIFY(changes.stopped.empty());
        QCOMPARE(names(changes.started), QStringList{u"a wall 10.0.0.9"_s});
        // The rest of the old run is over without effect.
        QVERIFY(isNothing(desk.reconciler.retry(run, desk.now)));
        QCOMPARE(desk.end(changes.started.at(0)), 500ms);
    }

    void aCameraThatComesBackIsTriedAtOnce()
    {
        Desk desk;
        const StreamRun run = desk.startOne();
        QCOMPARE(desk.end(run), 500ms);
        desk.pass(7s); // silent for that long
        QVERIFY(isNothing(desk.reconciler.retry(run, desk.now)));
        QCOMPARE(desk.update({desk.camera(u"a"_s)}).started.size(), std::size_t{1});
    }

    void aStreamThatNobodyWantsRestsForGood()
    {
        Desk desk;
        const StreamRun run = desk.startOne();
        desk.pass(6500ms); // the camera has aged out, though no list has told so
        QVERIFY(!desk.end(run));

        Desk stopped;
        const StreamRun waiting = stopped.startOne();
        QVERIFY(stopped.end(waiting));
        QVERIFY(isNothing(stopped.reconciler.stop()));
        QVERIFY(isNothing(stopped.reconciler.retry(waiting, stopped.now)));
    }

    void prefersTheLegacyTransportForAWhile()
    {
        Desk desk;
        StreamRun run = desk.startOne();
        QVERIFY(!run.prefersLegacy);
        // Each picture renews the preference.
        for (int i = 0; i < 3; ++i) {
            QVERIFY(desk.reconciler.publish(run, Transport::legacy));
            QCOMPARE(desk.end(run, Transport::legacy), 350ms);
            desk.pass(20s);
            (void)desk.update({desk.camera(u"a"_s)});
            run = desk.next(run);
            QVERIFY(run.prefersLegacy);
        }
        // Failures do not.
        desk.pass(9999ms);
        (void)desk.update({desk.camera(u"a"_s)});
        QVERIFY(desk.end(run));
        run = desk.next(run);
        QVERIFY(run.prefersLegacy);
        desk.pass(1ms);
        QVERIFY(desk.end(run));
        run = desk.next(run);
        QVERIFY(!run.prefersLegacy);
    }

    void preferenceEndsWithAStreamAndHoldsForOneAddress()
    {
        Desk desk;
        const StreamRun first = desk.startOne();
        QCOMPARE(desk.end(first, Transport::legacy), 350ms);
        const auto moved = desk.update({desk.camera(u"a"_s, u"10.0.0.9"_s)});
        QVERIFY(!moved.started.at(0).prefersLegacy);
        const auto back = desk.update({desk.camera(u"a"_s)});
        QVERIFY(back.started.at(0).prefersLegacy);
        // A picture over a stream, from a run that began before.
        QVERIFY(desk.reconciler.publish(back.started.at(0), Transport::persistent));
        QVERIFY(desk.end(back.started.at(0)));
        QVERIFY(!desk.next(back.started.at(0)).prefersLegacy);
        // Large pictures come oftener.
        const StreamRun large = desk.reconciler.select({u"a"_s}, desk.now).started.at(0);
        QCOMPARE(desk.end(large, Transport::legacy), 180ms);
    }

    void anAddressThatFlapsMakesNoMoreThanSixteenRuns()
    {
        Desk desk;
        std::vector<StreamRun> runs{desk.startOne()};
        const auto note = [&runs](const StreamChanges &changes) {
            runs.insert(runs.end(), changes.started.begin(), changes.started.end());
        };
        for (int i = 0; i < 1000; ++i)
            note(desk.update({desk.camera(u"a"_s, u"10.0.0.%1"_s.arg(i % 250))}));
        QCOMPARE(runs.size(), std::size_t{16});
        QCOMPARE(runs.back().host, u"10.0.0.14"_s);
        // Once a stopped run has ended, the latest address has its turn.
        const auto ending = desk.reconciler.end(runs.front(), std::nullopt, desk.now);
        QVERIFY(!ending.retry);
        QCOMPARE(names(ending.changes.started), QStringList{u"a wall 10.0.0.249"_s});
        QVERIFY(isNothing(desk.reconciler.end(runs.at(1), std::nullopt, desk.now).changes));
    }

    void onePictureAtATimeIsUnderWay()
    {
        FrameMailbox mailbox;
        QCOMPARE(mailbox.put(frameAt(0ms))->receivedAt, frameAt(0ms).receivedAt);
        QVERIFY(!mailbox.put(frameAt(10ms)));
        QVERIFY(!mailbox.put(frameAt(50ms)));
        QVERIFY(!mailbox.put(frameAt(60ms)));
        QCOMPARE(mailbox.taken()->receivedAt, frameAt(60ms).receivedAt);
        QVERIFY(!mailbox.taken());
        QVERIFY(mailbox.put(frameAt(70ms)));
        QCOMPARE(
            mailbox.statistics(),
            (StreamStatistics{.received = 5, .replaced = 2, .published = 3, .maximumGap = 40ms}));

        // A stop drops what waits; the time until the next start is nobody's fault.
        QVERIFY(!mailbox.put(frameAt(80ms)));
        mailbox.clear();
        QVERIFY(!mailbox.taken());
        QVERIFY(mailbox.put(frameAt(9000ms)));
        QCOMPARE(mailbox.statistics().maximumGap, 40ms);
    }
};

QTEST_GUILESS_MAIN(StreamReconcilerTest)
#include "stream_reconciler_test.moc"
