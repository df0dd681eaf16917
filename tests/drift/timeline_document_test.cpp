// SPDX-License-Identifier: Apache-2.0

#include "drift/drift_error.h"
#include "drift/fcpxml_text.h"
#include "drift/timeline_document.h"
#include "fcpxml_faults.h"
#include "support.h"

#include <QUrl>
#include <QtTest>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

Placement placed(const QString &cameraId, const QString &path, const MediaInfo &media)
{
    Placement placement;
    placement.item.clip.cameraId = cameraId;
    placement.item.path = path;
    placement.item.media = media;
    placement.duration = media.duration;
    placement.sourceEnd = media.duration;
    return placement;
}

const MediaInfo plainMedia{
    .duration = 10, .width = 1920, .height = 1080, .fps = 30, .hasAudio = true};

} // namespace

class TimelineDocumentTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void printsRationalTimes_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<QString>("text");
        constexpr double twoToThe62 = 4611686018427387904.0;
        QTest::newRow("zero") << 0.0 << u"0/1s"_s;
        QTest::newRow("minus zero") << -0.0 << u"0/1s"_s;
        QTest::newRow("tiny") << 0.0000001 << u"0/1s"_s;
        QTest::newRow("whole") << 3.0 << u"3/1s"_s;
        QTest::newRow("half") << 1.5 << u"3/2s"_s;
        QTest::newRow("negative") << -0.5 << u"-1/2s"_s;
        QTest::newRow("decimal") << 12.345 << u"2469/200s"_s;
        QTest::newRow("frame of 30") << 1 / 30.0 << u"1/30s"_s;
        QTest::newRow("frame of 24") << 1 / 24.0 << u"1/24s"_s;
        QTest::newRow("frame of 30000/1001") << 1 / (30000 / 1001.0) << u"1001/30000s"_s;
        QTest::newRow("frame of 29.97") << 1 / 29.97 << u"100/2997s"_s;
        QTest::newRow("frame of a nominal 29.97") << 1 / double{29.97F} << u"14533/435554s"_s;
        QTest::newRow("pi") << std::numbers::pi << u"1146408/364913s"_s;
        QTest::newRow("largest denominator") << 1e-6 << u"1/1000000s"_s;
        QTest::newRow("large") << twoToThe62 << u"4611686018427387904/1s"_s;
        QTest::newRow("largest") << std::nextafter(twoToThe62 * 2, 0.0)
                                 << u"9223372036854774784/1s"_s;
        QTest::newRow("lowest") << -std::nextafter(twoToThe62 * 2, 0.0)
                                << u"-9223372036854774784/1s"_s;
        QTest::newRow("no number") << std::numeric_limits<double>::quiet_NaN() << u"0s"_s;
        QTest::newRow("endless") << std::numeric_limits<double>::infinity() << u"0s"_s;
        QTest::newRow("endless before") << -std::numeric_limits<double>::infinity() << u"0s"_s;
    }

    void printsRationalTimes()
    {
        QFETCH(const double, value);
        QFETCH(const QString, text);
        QCOMPARE(DriftEngine::seconds(value), text);
    }

    void refusesTimesBeyond64Bits()
    {
        for (const double value : {9223372036854775808.0, -9223372036854775808.0, 1e308})
            QVERIFY_THROWS_EXCEPTION(DriftExportError, (void)DriftEngine::seconds(value));
        QCOMPARE(thrownText([] { (void)DriftEngine::seconds(1e19); }),
                 u"A time of 1e+19 seconds is too large for the timeline document."_s);
    }

    void staysWithinAMicrosecondOfEveryTime()
    {
        // The error of a convergent is below 1 / (its denominator * the next one's), and the next
        // one's was above a million.
        std::mt19937_64 random(7);
        for (int round = 0; round < 20'000; ++round) {
            const double value = std::uniform_real_distribution(0.0, 40'000.0)(random);
            const QString text = DriftEngine::seconds(value);
            const qsizetype slash = text.indexOf(u'/');
            const double numerator = text.first(slash).toDouble();
            const double denominator = text.sliced(slash + 1).chopped(1).toDouble();
            QVERIFY(denominator >= 1 && denominator <= 1'000'000);
            QVERIFY(std::abs(numerator / denominator - value) <= 1e-6 / denominator + 1e-11);
        }
    }

    void replacesWhatXmlCannotHold()
    {
        const QString fine =
            u"a\t\n\rz ~\u007F\u0085\u200F\uD7FF\uE000\uFFFD\U0001F3A5\U0010FFFF"_s;
        QCOMPARE(DriftEngine::xmlText(fine), fine);
        QCOMPARE(DriftEngine::xmlText(QString(u"a"_s + QChar(u'\0') + u"\u0001\u000B\u001Fz"_s)),
                 u"a\uFFFD\uFFFD\uFFFD\uFFFDz"_s);
        QCOMPARE(DriftEngine::xmlText(QString(QChar(0xFFFE)) + QChar(0xFFFF)), u"\uFFFD\uFFFD"_s);
        QCOMPARE(DriftEngine::xmlText(QString(QChar(0xD83C)) + u'x' + QChar(0xDFA5)),
                 u"\uFFFDx\uFFFD"_s);
    }

    void writesTheWholeDocument()
    {
        Placement wide = placed(u"Cam \"A\" & <B>"_s, u"/movies/a b.mov"_s, plainMedia);
        Placement portrait =
            placed(u"it's"_s, u"/movies/R&D.mov"_s,
                   {.duration = 12.345, .width = 1080, .height = 1920, .fps = double{29.97F}});
        wide.start = 5; // the last to end, though not the last of the list
        portrait.start = 1.5;
        portrait.duration = 12;
        portrait.sourceStart = 0.005;
        portrait.sourceEnd = 12.005;

        const QString expected =
            u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<!DOCTYPE fcpxml>\n"
            "<fcpxml version=\"1.7\"><resources>"
            "<format id=\"timeline-format\" frameDuration=\"1001/30000s\" width=\"1920\" "
            "height=\"1080\"/>"
            "<format id=\"format-1\" frameDuration=\"1/30s\" width=\"1920\" height=\"1080\"/>"
            "<asset id=\"asset-1\" name=\"Cam &quot;A&quot; &amp; &lt;B&gt;\" "
            "src=\"file:///movies/a%20b.mov\" start=\"0s\" duration=\"10/1s\" hasVideo=\"1\" "
            "hasAudio=\"1\" format=\"format-1\"/>"
            "<format id=\"format-2\" frameDuration=\"14533/435554s\" width=\"1080\" "
            "height=\"1920\"/>"
            "<asset id=\"asset-2\" name=\"it's\" src=\"file:///movies/R&amp;D.mov\" start=\"0s\" "
            "duration=\"2469/200s\" hasVideo=\"1\" hasAudio=\"0\" format=\"format-2\"/>"
            "</resources><event name=\"Night &amp; %1\"><project name=\"take-1\">"
            "<sequence format=\"timeline-format\" duration=\"15/1s\" tcStart=\"0s\" "
            "tcFormat=\"NDF\" audioLayout=\"stereo\" audioRate=\"48k\"><spine>"
            "<gap name=\"VORN take\" offset=\"0s\" start=\"0s\" duration=\"15/1s\">"
            "<asset-clip ref=\"asset-1\" format=\"format-1\" name=\"Cam &quot;A&quot; &amp; "
            "&lt;B&gt;\" lane=\"1\" offset=\"5/1s\" start=\"0s\" duration=\"10/1s\" "
            "srcEnable=\"all\">"
            "<note>VORN linked A/V timing; verify head, middle and tail in Resolve.</note>"
            "<timeMap frameSampling=\"floor\" preservesPitch=\"1\">"
            "<timept time=\"0s\" value=\"0/1s\" interp=\"linear\"/>"
            "<timept time=\"10/1s\" value=\"10/1s\" interp=\"linear\"/></timeMap></asset-clip>"
            "<asset-clip ref=\"asset-2\" format=\"format-2\" name=\"it's\" lane=\"2\" "
            "offset=\"3/2s\" start=\"0s\" duration=\"12/1s\" srcEnable=\"all\">"
            "<note>VORN linked A/V timing; verify head, middle and tail in Resolve.</note>"
            "<timeMap frameSampling=\"floor\" preservesPitch=\"1\">"
            "<timept time=\"0s\" value=\"1/200s\" interp=\"linear\"/>"
            "<timept time=\"12/1s\" value=\"2401/200s\" interp=\"linear\"/></timeMap></asset-clip>"
            "</gap></spine></sequence></project></event></fcpxml>"_s;
        const QString document = DriftEngine::timelineDocument(u"Night & %1"_s, u"take-1"_s,
                                                               30000 / 1001.0, {wide, portrait});
        QCOMPARE(document, expected);
        QCOMPARE(fcpxmlFaults(document), QString());
    }

    void givesEveryPathBack_data()
    {
        QTest::addColumn<QString>("path");
        const QStringList names{u"a b.mov"_s,
                                u"100% %20%2F #1?.mov"_s,
                                u"a;b=c,d [1].mov"_s,
                                u"\"quoted\" 'single' <R&D>.mov"_s,
                                u"back\\slash|pipe^caret`.mov"_s,
                                u"user:pass@host.mov"_s,
                                u"e\u0301 \u00E9 \u6771\u4EAC \U0001F3A5 \uFFFD\uFEFF.mov"_s,
                                u"tab\tline\nbell\u0007.mov"_s,
                                u"folder/../other/./clip.mov"_s,
                                u"/double.mov"_s};
        for (const QString &name : names)
            QTest::newRow(QUrl::toPercentEncoding(name).constData()) << u'/' + name;
    }

    void givesEveryPathBack()
    {
        QFETCH(const QString, path);
        const QString document =
            DriftEngine::timelineDocument(u"p"_s, u"t"_s, 30, {placed(u"A"_s, path, plainMedia)});
        const QString source =
            document.section(u"src=\""_s, 1).section(u'"', 0, 0).replace(u"&amp;"_s, u"&"_s);
        const QUrl url(source, QUrl::StrictMode);
        QVERIFY2(url.isValid(), qPrintable(url.errorString()));
        QCOMPARE(url.host(), QString());
        QVERIFY(!url.hasQuery() && !url.hasFragment());
        QCOMPARE(QUrl::fromPercentEncoding(source.sliced(7).toLatin1()), path);
        QCOMPARE(url.toLocalFile(), path);
        QVERIFY2(!source.contains(QRegularExpression(u"[;\\[\\] ]"_s)), qPrintable(source));
    }
};

QTEST_GUILESS_MAIN(TimelineDocumentTest)
#include "timeline_document_test.moc"
