#include "views/library/download_outlook.h"

#include <QtTest>

#include <limits>

using namespace vorn;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class DownloadOutlookTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void saysWhatWillNotFit_data()
    {
        QTest::addColumn<DownloadOutlook>("outlook");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("isWarning");
        QTest::newRow("nothing to fetch") << DownloadOutlook{} << QString() << false;
        QTest::newRow("just fits")
            << DownloadOutlook{4, 4'000'000'000, 0, 4'000'000'000, 15min}
            << u"4 recordings to fetch, 4.00 GB. The session ends in 15:00."_s << false;
        QTest::newRow("a byte too many")
            << DownloadOutlook{4, 4'000'000'001, 0, 4'000'000'000, 15min}
            << u"This take needs 4.00 GB, and 4.00 GB are free where recordings are kept. Make "
               "room before you download."_s
            << true;
        QTest::newRow("room that is promised to others")
            << DownloadOutlook{1, 2'000'000'000, 3'000'000'000, 4'000'000'000, 15min}
            << u"This take needs 2.00 GB, and 1.00 GB are free where recordings are kept. Make "
               "room before you download."_s
            << true;
        QTest::newRow("late in the queue")
            << DownloadOutlook{1, 1'000'000'000, 2'000'000'001, {}, 60s}
            << u"1 recording to fetch, 1.00 GB. The session ends in 1:00, which is short for that. "
               "What has come by then is kept; pair again to go on."_s
            << true;
        QTest::newRow("as fast as a good network")
            << DownloadOutlook{2, 3'000'000'000, 0, {}, 60s}
            << u"2 recordings to fetch, 3.00 GB. The session ends in 1:00."_s << false;
        QTest::newRow("sizes that nobody can add up")
            << DownloadOutlook{2, std::numeric_limits<std::int64_t>::max(), 1, {}, 60s}
            << u"2 recordings to fetch, 9223372 TB. The session ends in 1:00, which is short "
               "for that. What has come by then is kept; pair again to go on."_s
            << true;
        QTest::newRow("session over") << DownloadOutlook{1, 100'000'000, 0, {}, 0s}
                                      << u"1 recording to fetch, 100 MB. The session ends in 0:00, "
                                         "which is short for that. What has come by then is kept; "
                                         "pair again to go on."_s
                                      << true;
    }
    void saysWhatWillNotFit()
    {
        QFETCH(const DownloadOutlook, outlook);
        const DownloadNotice notice = downloadNotice(outlook);
        QTEST(notice.text, "text");
        QTEST(notice.isWarning, "isWarning");
    }
};

QTEST_GUILESS_MAIN(DownloadOutlookTest)
#include "download_outlook_test.moc"
