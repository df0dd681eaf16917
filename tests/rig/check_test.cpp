// Measures packages whose errors are known, over a real take: whatever else is held against the
// rig's truth rests on this.

#include "rig/film/check.h"
#include "rig/film/take.h"
#include "support.h"

#include <QGuiApplication>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <cmath>

using namespace Qt::StringLiterals;
using namespace vorn;
using namespace vorn::rig;

namespace {

constexpr double fps = 30;

/// What is wrong with the placement of the second camera.
struct Fault {
    double sourceShiftSeconds = 0; ///< it shows media this much later than it should
    double stretch = 1;            ///< its media runs this much faster than it should
};

QString microseconds(double value)
{
    return QString::number(std::llround(value * 1e6)) + u"/1000000s"_s;
}

QString clipText(const PhonePlan &phone, int number, const Fault &fault)
{
    const double slope = 1 + phone.driftPPM / 1e6;
    const auto first = std::int64_t(std::ceil(std::max(0.0, phone.offsetSeconds) * fps));
    const auto frames =
        std::int64_t(std::floor(phone.sceneSeconds(phone.durationSeconds()) * fps)) - first;
    const double sourceStart =
        (double(first) / fps - phone.offsetSeconds) / slope + fault.sourceShiftSeconds;
    const double sourceEnd = sourceStart + double(frames) / fps / slope * fault.stretch;
    return u"<asset-clip ref=\"asset-%1\" format=\"format-%1\" name=\"%2\" lane=\"%1\" "
           "offset=\"%3/30s\" start=\"0s\" duration=\"%4/30s\" srcEnable=\"all\"><timeMap>"
           "<timept time=\"0s\" value=\"%5\" interp=\"linear\"/>"
           "<timept time=\"%4/30s\" value=\"%6\" interp=\"linear\"/></timeMap></asset-clip>"_s
               .arg(number)
               .arg(phone.cameraId)
               .arg(first)
               .arg(frames)
               .arg(microseconds(sourceStart), microseconds(sourceEnd));
}

QString timelineText(const TakePlan &plan, const QString &folder, const Fault &fault)
{
    QString resources = u"<format id=\"timeline-format\" frameDuration=\"1/30s\"/>"_s;
    QString clips;
    int number = 0;
    for (const PhonePlan &phone : plan.phones) {
        ++number;
        const QUrl url = QUrl::fromLocalFile(folder + u'/' + phone.fileName);
        resources += u"<asset id=\"asset-%1\" name=\"%2\" src=\"%3\"/>"_s.arg(number).arg(
            phone.cameraId, QString::fromLatin1(url.toEncoded()));
        clips += clipText(phone, number, number == 2 ? fault : Fault{});
    }
    return u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE fcpxml>\n"
           "<fcpxml version=\"1.7\"><resources>%1</resources><event><project>"
           "<sequence format=\"timeline-format\"><spine><gap>%2</gap></spine></sequence>"
           "</project></event></fcpxml>"_s.arg(resources, clips);
}

} // namespace

class CheckTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_plan = makeTake({.cameras = 3, .seconds = 4, .fps = {}, .seed = 3}, m_take);
    }

    void measuresTheErrorThatIsThere_data()
    {
        QTest::addColumn<double>("shiftSeconds");
        QTest::addColumn<double>("stretch");
        QTest::addColumn<bool>("isAligned");
        QTest::newRow("right") << 0.0 << 1.0 << true;
        QTest::newRow("ahead, within a frame") << 0.030 << 1.0 << true;
        QTest::newRow("ahead by more than a frame") << 0.040 << 1.0 << false;
        QTest::newRow("behind by two frames") << -2 / fps << 1.0 << false;
        QTest::newRow("right at the head only") << 0.0 << 0.985 << false;
    }

    void measuresTheErrorThatIsThere()
    {
        QFETCH(const double, shiftSeconds);
        QFETCH(const double, stretch);
        QFETCH(const bool, isAligned);
        writeTimeline(timelineText(m_plan, m_take, {shiftSeconds, stretch}));
        const AlignmentCheck check = checkAlignment(m_package.path(), m_take + u"/truth.json"_s);
        QCOMPARE(check.framesPerSecond, fps);
        QCOMPARE(check.cameras.size(), std::size_t{3});
        for (const CameraAlignment &camera : check.cameras) {
            const bool isFaulty = camera.cameraId == m_plan.phones[1].cameraId;
            for (const AlignmentPoint &point : camera.points) {
                const double expected =
                    isFaulty ? shiftSeconds + (stretch - 1) * point.timelineSeconds : 0.0;
                // The counter's unit and the microseconds of this timeline.
                QVERIFY2(std::abs(point.errorSeconds - expected) < 0.0002,
                         qPrintable(u"%1 at %2: %3 instead of %4"_s.arg(camera.cameraId)
                                        .arg(point.timelineSeconds)
                                        .arg(point.errorSeconds)
                                        .arg(expected)));
            }
            QVERIFY(camera.points[0].timelineSeconds < 1.2);
            QVERIFY(camera.points[2].timelineSeconds > 3.5);
        }
        QCOMPARE(check.isWithinOneFrame(), isAligned);
    }

private:
    void writeTimeline(const QString &text)
    {
        writePlain(m_package.filePath(u"timeline.fcpxml"_s), text.toUtf8());
    }

    QTemporaryDir m_root;
    QTemporaryDir m_package;
    QString m_take = m_root.filePath(u"a take #1"_s);
    TakePlan m_plan;
};

QTEST_MAIN(CheckTest)
#include "check_test.moc"
