// SPDX-License-Identifier: Apache-2.0

// Measures a package whose errors are known, over a real take: whatever else is held against the
// rig's truth rests on this.

#include "base/files.h"
#include "base/json_text.h"
#include "drift/export_package.h"
#include "library/manifest_import.h"
#include "rig/film/check.h"
#include "rig/film/take.h"
#include "support.h"

#include <QGuiApplication>
#include <QJsonArray>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>

using namespace Qt::StringLiterals;
using namespace vorn;
using namespace vorn::rig;

namespace {

/// A timeline whose second camera shows media `shift` seconds later than it should, and at this
/// many times the speed.
QString withFault(QString timeline, double shift, double stretch)
{
    static const QRegularExpression times(
        u"lane=\"2\".*? value=\"(\\d+)/(\\d+)s\".*? value=\"(\\d+)/(\\d+)s\""_s);
    const auto match = times.match(timeline);
    const auto ratio = [&](int group) {
        return match.captured(group).toDouble() / match.captured(group + 1).toDouble();
    };
    const auto replace = [&](int group, double seconds) {
        const auto begin = match.capturedStart(group);
        timeline.replace(begin, match.capturedEnd(group + 1) - begin,
                         QString::number(std::llround(seconds * 1e6)) + u"/1000000"_s);
    };
    replace(3, ratio(1) + shift + (ratio(3) - ratio(1)) * stretch);
    replace(1, ratio(1) + shift);
    return timeline;
}

} // namespace

class CheckTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        (void)makeTake({.cameras = 3, .seconds = 4, .fps = {}, .seed = 3}, m_take);
        const QString manifest = m_take + u"/manifest.json"_s;
        const VORNProject project =
            importedTake(readSourceManifest(manifest), manifest, {}).project;
        m_package = DriftEngine::exportPackage(project, project.takes.front(), m_root.path());
        m_timeline = QString::fromUtf8(readFile(m_package + u"/timeline.fcpxml"_s, 1 << 20));
        m_right = checked();
        QVERIFY(m_right.isWithinBound());
        QCOMPARE(m_right.framesPerSecond, 30.0);
        QCOMPARE(m_right.cameras.size(), std::size_t{3});
    }

    void measuresTheErrorThatIsThere_data()
    {
        QTest::addColumn<double>("shiftSeconds");
        QTest::addColumn<double>("stretch");
        QTest::addColumn<bool>("isAligned");
        QTest::newRow("ahead, within a frame") << 0.030 << 1.0 << true;
        QTest::newRow("ahead by more than a frame") << 0.040 << 1.0 << false;
        QTest::newRow("behind by two frames") << -2 / 30.0 << 1.0 << false;
        QTest::newRow("right at the head only") << 0.0 << 0.985 << false;
    }

    void measuresTheErrorThatIsThere()
    {
        QFETCH(const double, shiftSeconds);
        QFETCH(const double, stretch);
        QFETCH(const bool, isAligned);
        writePlain(m_package + u"/timeline.fcpxml"_s,
                   withFault(m_timeline, shiftSeconds, stretch).toUtf8());
        const AlignmentCheck check = checked();
        for (std::size_t camera = 0; camera < check.cameras.size(); ++camera) {
            const auto &points = check.cameras[camera].points;
            for (std::size_t point = 0; point < points.size(); ++point) {
                const double fault =
                    camera == 1 ? shiftSeconds + (stretch - 1) * points[point].timelineSeconds : 0;
                const double right = m_right.cameras[camera].points[point].errorSeconds;
                QVERIFY(std::abs(right) < 0.002); // what the noise of the anchors leaves
                const double error = points[point].errorSeconds - right;
                // The counter's unit and the microseconds of this timeline.
                QVERIFY2(std::abs(error - fault) < 0.0002, qPrintable(QString::number(error)));
            }
            QVERIFY(points[0].timelineSeconds < 1.2);
            QVERIFY(points[2].timelineSeconds > 3.5);
        }
        QCOMPARE(check.isWithinBound(), isAligned);
    }

    /// Who aligned by sound has a camera 10 m away show what was 29 ms before it was heard.
    void takesAwayWhatDistanceExplains()
    {
        const QString truth = m_take + u"/distant.json"_s;
        QJsonObject document = parseJsonObject(readFile(m_take + u"/truth.json"_s, 1 << 20), truth);
        QJsonArray cameras = document.value(u"cameras"_s).toArray();
        QJsonObject camera = cameras[1].toObject();
        camera.insert(u"sound"_s, QJsonObject{{u"soundDelaySeconds"_s, 10 / 343.0}});
        cameras[1] = camera;
        document.insert(u"cameras"_s, cameras);
        writePlain(truth, QJsonDocument(document).toJson());
        writePlain(m_package + u"/by-ear.fcpxml"_s, withFault(m_timeline, 10 / 343.0, 1).toUtf8());
        AlignmentQuestion question{.packageFolder = m_package,
                                   .truthPath = truth,
                                   .timelineName = u"by-ear.fcpxml"_s,
                                   .by = AlignedBy::anchors,
                                   .boundFrames = 0.1};
        QVERIFY(!checkAlignment(question).isWithinBound());
        question.by = AlignedBy::sound;
        QVERIFY(checkAlignment(question).isWithinBound());
    }

    void refusesThePicturesOfAnotherCamera()
    {
        QString timeline = m_timeline;
        timeline.replace(u"ref=\"asset-2\""_s, u"ref=\"asset-3\""_s);
        writePlain(m_package + u"/timeline.fcpxml"_s, timeline.toUtf8());
        const QString text = thrownText([this] { (void)checked(); });
        QVERIFY2(text.endsWith(u"shows cam-c, but by the timeline it shows cam-b."_s),
                 qPrintable(text));
    }

private:
    [[nodiscard]] AlignmentCheck checked() const
    {
        return checkAlignment({m_package, m_take + u"/truth.json"_s});
    }

    QTemporaryDir m_root;
    QString m_take = m_root.filePath(u"a take #1"_s);
    QString m_package;
    QString m_timeline;
    AlignmentCheck m_right;
};

QTEST_MAIN(CheckTest)
#include "check_test.moc"
