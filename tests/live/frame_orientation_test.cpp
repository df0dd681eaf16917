#include "live/frame_orientation.h"

#include <QtTest>

#include <limits>

using namespace vorn;
using namespace Qt::StringLiterals;

class FrameOrientationTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void normalizesRotations()
    {
        QCOMPARE(CameraFrameOrientation::normalized(-90), 270);
        QCOMPARE(CameraFrameOrientation::normalized(450), 90);
        QCOMPARE(CameraFrameOrientation::normalized(-360), 0);
        QCOMPARE(CameraFrameOrientation::normalized(std::numeric_limits<std::int64_t>::min()), 352);
    }

    void readsAspects_data()
    {
        QTest::addColumn<int>("isLandscape"); // -1: neither
        QTest::newRow("16:9") << 1;
        QTest::newRow("1920x1080") << 1;
        QTest::newRow("9X16") << 0;
        QTest::newRow(" 9 ×\t16 ") << 0;
        QTest::newRow("::2.39::1") << 1;
        QTest::newRow("1:1") << -1;
        QTest::newRow("—") << -1;
        QTest::newRow("") << -1;
        QTest::newRow("16:9:1") << -1;
        QTest::newRow("16:0") << -1;
        QTest::newRow("-16:9") << -1;
        QTest::newRow("16:nan") << -1;
        QTest::newRow("16: ") << -1;
    }

    void readsAspects()
    {
        QFETCH(const int, isLandscape);
        const auto read =
            CameraFrameOrientation::isLandscape(QString::fromUtf8(QTest::currentDataTag()));
        QCOMPARE(read ? int(*read) : -1, isLandscape);
    }

    void turnsOnlyWhatLiesOtherwise_data()
    {
        QTest::addColumn<double>("width");
        QTest::addColumn<double>("height");
        QTest::addColumn<QString>("aspect");
        QTest::addColumn<qint64>("advertised");
        QTest::addColumn<qint64>("effective");
        QTest::newRow("upright") << 1920.0 << 1080.0 << u"16:9"_s << qint64{90} << qint64{0};
        QTest::newRow("upright portrait")
            << 1080.0 << 1920.0 << u"9:16"_s << qint64{-90} << qint64{0};
        QTest::newRow("lying") << 1080.0 << 1920.0 << u"16:9"_s << qint64{90} << qint64{90};
        QTest::newRow("no aspect") << 1920.0 << 1080.0 << u"—"_s << qint64{90} << qint64{90};
        QTest::newRow("half turn") << 1920.0 << 1080.0 << u"16:9"_s << qint64{180} << qint64{180};
        QTest::newRow("square") << 1080.0 << 1080.0 << u"16:9"_s << qint64{-90} << qint64{270};
        QTest::newRow("nearly square") << 1080.5 << 1080.0 << u"16:9"_s << qint64{90} << qint64{90};
        QTest::newRow("no image") << 0.0 << 1080.0 << u"9:16"_s << qint64{90} << qint64{90};
    }

    void turnsOnlyWhatLiesOtherwise()
    {
        QFETCH(const double, width);
        QFETCH(const double, height);
        QFETCH(const QString, aspect);
        QFETCH(const qint64, advertised);
        QFETCH(const qint64, effective);
        QCOMPARE(CameraFrameOrientation::effectiveRotation(width, height, aspect, advertised),
                 effective);
    }
};

QTEST_APPLESS_MAIN(FrameOrientationTest)
#include "frame_orientation_test.moc"
