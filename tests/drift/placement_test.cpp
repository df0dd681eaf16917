// SPDX-License-Identifier: Apache-2.0

#include "drift/drift_error.h"
#include "drift/placement.h"
#include "support.h"

#include <QtTest>

#include <cmath>
#include <limits>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

const QString noMedia = u"No usable media remains for Side."_s;
const QString outside = u"Retiming would read outside Side."_s;

Prepared clip(double offset, double rate, double duration)
{
    Prepared item;
    item.clip.cameraId = u"Side"_s;
    item.media.duration = duration;
    item.correction.offsetSeconds = offset;
    item.correction.referenceSecondsPerSourceSecond = rate;
    return item;
}

} // namespace

class PlacementTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void laysClipsOnWholeFrames()
    {
        // A slow clock: the clip ends at 7.996, and 7.96 is the last whole frame.
        const Prepared item = clip(-0.008, 1.0005, 8);
        const Placement retimed = DriftEngine::placement(item, 25);
        QVERIFY(retimed.item == item);
        QCOMPARE(retimed.start, 0.0);
        QCOMPARE(retimed.duration, 7.96);
        QCOMPARE(retimed.sourceStart, 0.008 / 1.0005);
        QCOMPARE(retimed.sourceEnd, (7.96 + 0.008) / 1.0005);
        const Placement ntsc = DriftEngine::placement(clip(0, 1, 10), 30000.0 / 1001);
        QCOMPARE(ntsc.duration, 299 * 1001 / 30000.0);
    }

    void staysWithinTheMediaWhereRoundingLeavesIt()
    {
        // A hair after frame 11: 30 times it is 11 again, and so the clip would start before its
        // first sample. A hair before frame 23: 30 times it is 23, past the last sample.
        const double offset = std::nextafter(11 / 30.0, infinity);
        QVERIFY(30 * offset == 11);
        QVERIFY(DriftEngine::placement(clip(offset, 1, 8), 30).sourceStart == 0);
        const double duration = std::nextafter(23 / 30.0, 0.0);
        QVERIFY(30 * duration == 23);
        QVERIFY(DriftEngine::placement(clip(0, 1, duration), 30).sourceEnd == duration);
    }

    void refusesWhatCoversNoFrameOrNoMedia_data()
    {
        QTest::addColumn<double>("fps");
        QTest::addColumn<double>("offset");
        QTest::addColumn<double>("rate");
        QTest::addColumn<double>("media");
        QTest::addColumn<QString>("refusal");
        QTest::newRow("shorter than a frame") << 30.0 << 0.0 << 1.0 << 0.03 << noMedia;
        QTest::newRow("between two frames") << 30.0 << 0.01 << 1.0 << 0.05 << noMedia;
        QTest::newRow("before time zero") << 30.0 << -20.0 << 1.0 << 10.0 << noMedia;
        for (const double fps : {0.0, infinity, notANumber})
            QTest::addRow("rate %g", fps) << fps << 1.5 << 1.0 << 10.0 << noMedia;
        QTest::newRow("negative rate") << -30.0 << -20.0 << 1.0 << 10.0 << noMedia;
        QTest::newRow("frames past all numbers") << 1e308 << 0.0 << 1.0 << 10.0 << outside;
        QTest::newRow("no slope") << 30.0 << 1.49 << 0.0 << 10.0 << noMedia;
        QTest::newRow("endless slope") << 30.0 << 0.0 << infinity << 10.0 << outside;
        QTest::newRow("unknown offset") << 30.0 << notANumber << 1.0 << 10.0 << noMedia;
        QTest::newRow("unknown slope") << 30.0 << 0.0 << notANumber << 10.0 << noMedia;
    }

    void refusesWhatCoversNoFrameOrNoMedia()
    {
        QFETCH(const double, fps);
        QFETCH(const double, offset);
        QFETCH(const double, rate);
        QFETCH(const double, media);
        QFETCH(const QString, refusal);
        QCOMPARE(thrownText([&] { (void)DriftEngine::placement(clip(offset, rate, media), fps); }),
                 refusal);
    }
};

QTEST_GUILESS_MAIN(PlacementTest)
#include "placement_test.moc"
