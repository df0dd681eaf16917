// SPDX-License-Identifier: Apache-2.0

// What is said of work that runs, and before a download of what it needs.

#include "views/library/download_outlook.h"
#include "views/library/work_progress_view_model.h"

#include <QtTest>

#include <limits>

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
        QTest::newRow("below a kilobyte") << 999.0 << u"999 bytes"_s;
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
        QTest::newRow("rounds up") << 7591.0 << 10.0 << u"12:40 left"_s;
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

    void saysWhatWillNotFit_data()
    {
        QTest::addColumn<DownloadOutlook>("outlook");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("isWarning");
        const auto row = [](const char *name, const DownloadOutlook &outlook, const QString &text,
                            bool isWarning = true) {
            QTest::newRow(name) << outlook << text << isWarning;
        };
        const QString noRoom = u"This take needs %1, and %2 are free where recordings are kept. "
                               "Make room before you download."_s;
        const QString noTime = u"%1. The session ends in %2, which is short for that. What has "
                               "come by then is kept; pair again to go on."_s;
        row("nothing to fetch", {}, {}, false);
        row("just fits", {4, 4'000'000'000, 0, 4'000'000'000, 15min},
            u"4 recordings to fetch, 4.00 GB. The session ends in 15:00."_s, false);
        row("a byte too many", {4, 4'000'000'001, 0, 4'000'000'000, 15min},
            noRoom.arg(u"4.00 GB"_s, u"4.00 GB"_s));
        row("room that is promised to others",
            {1, 2'000'000'000, 3'000'000'000, 4'000'000'000, 15min},
            noRoom.arg(u"2.00 GB"_s, u"1.00 GB"_s));
        row("as fast as a good network", {2, 3'000'000'000, 0, {}, 60s},
            u"2 recordings to fetch, 3.00 GB. The session ends in 1:00."_s, false);
        row("late in the queue", {1, 1'000'000'000, 2'000'000'001, {}, 60s},
            noTime.arg(u"1 recording to fetch, 1.00 GB"_s, u"1:00"_s));
        row("sizes that nobody can add up",
            {2, std::numeric_limits<std::int64_t>::max(), 1, {}, 60s},
            noTime.arg(u"2 recordings to fetch, 9223372 TB"_s, u"1:00"_s));
        row("session over", {1, 100'000'000, 0, {}, 0s},
            noTime.arg(u"1 recording to fetch, 100 MB"_s, u"0:00"_s));
    }

    void saysWhatWillNotFit()
    {
        QFETCH(const DownloadOutlook, outlook);
        const DownloadNotice notice = downloadNotice(outlook);
        QTEST(notice.text, "text");
        QTEST(notice.isWarning, "isWarning");
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
