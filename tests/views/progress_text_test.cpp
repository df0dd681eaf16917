#include "views/library/work_progress_view_model.h"

#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class ProgressTextTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void keepsThreeDigits_data()
    {
        QTest::addColumn<double>("bytes");
        QTest::addColumn<QString>("text");
        QTest::newRow("none") << 0.0 << u"0 bytes"_s;
        QTest::newRow("below a kilobyte") << 999.0 << u"999 bytes"_s;
        QTest::newRow("a kilobyte") << 1000.0 << u"1.00 kB"_s;
        QTest::newRow("rounds up a digit") << 9'996'000.0 << u"10.0 MB"_s;
        QTest::newRow("rounds up a unit") << 999'600'000.0 << u"1.00 GB"_s;
        QTest::newRow("whole megabytes") << 812'345'678.0 << u"812 MB"_s;
        QTest::newRow("beyond the last unit") << 2.5e15 << u"2500 TB"_s;
    }

    void keepsThreeDigits()
    {
        QFETCH(const double, bytes);
        QFETCH(const QString, text);
        QCOMPARE(byteText(bytes), text);
    }

    void estimatesWhatIsLeft_data()
    {
        QTest::addColumn<double>("remaining");
        QTest::addColumn<double>("rate");
        QTest::addColumn<QString>("text");
        QTest::newRow("done") << 0.0 << 10.0 << u"0:00 left"_s;
        QTest::newRow("rounds up") << 61.0 << 10.0 << u"0:07 left"_s;
        QTest::newRow("minutes") << 760.0 << 1.0 << u"12:40 left"_s;
        QTest::newRow("hours") << 3723.0 << 1.0 << u"1:02:03 left"_s;
        QTest::newRow("no rate") << 10.0 << 0.0 << u"\u2013"_s;
        QTest::newRow("as good as no rate") << 1e12 << 1e-300 << u"\u2013"_s;
        QTest::newRow("more came than was told") << -5.0 << 1.0 << u"0:00 left"_s;
    }

    void estimatesWhatIsLeft()
    {
        QFETCH(const double, remaining);
        QFETCH(const double, rate);
        QFETCH(const QString, text);
        QCOMPARE(timeLeftText(remaining, rate), text);
    }

    void measuresTheLastSeconds()
    {
        const MonotonicClock::time_point start{};
        RateMeter meter;
        QCOMPARE(meter.rate(), 0.0);
        meter.restart(start, 500);
        meter.add(start + 500ms, 900);
        QCOMPARE(meter.rate(), 0.0); // too short to tell
        for (int second = 1; second <= 10; ++second)
            meter.add(start + std::chrono::seconds(second), 500 + second * 1000);
        QCOMPARE(meter.rate(), 1000.0);
        for (int second = 11; second <= 16; ++second)
            meter.add(start + std::chrono::seconds(second), 10'500); // the disk stalls
        QCOMPARE(meter.rate(), 0.0);
        QCOMPARE(rateText(meter.rate()), u"\u2013"_s);
        meter.restart(start + 20s, 0);
        QCOMPARE(meter.rate(), 0.0);
    }

    void startsAnewWhereTheBytesJump()
    {
        std::optional<WorkProgress> work;
        WorkProgressViewModel view([&] { return work; });
        QVERIFY(!view.running());
        work = WorkProgress{u"first"_s, 0, 1'000'000, 1};
        view.startOrStop();
        work->completedBytes = 1'000'000;
        QTRY_VERIFY(view.rateText() != u"\u2013"_s);
        QCOMPARE(view.fraction(), 1.0);
        // At once, not with the next tick.
        work = WorkProgress{u"second"_s, 0, 500, 2};
        view.startOrStop();
        QCOMPARE(view.title(), u"second"_s);
        QCOMPARE(view.bytesText(), u"0 bytes / 500 bytes"_s);
        QCOMPARE(view.rateText(), u"\u2013"_s);
        work.reset();
        view.startOrStop();
        QVERIFY(!view.running());
    }
};

QTEST_GUILESS_MAIN(ProgressTextTest)
#include "progress_text_test.moc"
