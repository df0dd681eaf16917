// SPDX-License-Identifier: Apache-2.0

#include "live/frame_orientation.h"

#include <QSizeF>
#include <QtTest>

#include <limits>

using namespace vorn;
using namespace Qt::StringLiterals;

class FrameOrientationTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void turnsOnlyWhatLiesOtherwise_data()
    {
        QTest::addColumn<QSizeF>("image");
        QTest::addColumn<QString>("aspect");
        QTest::addColumn<qint64>("advertised");
        QTest::addColumn<qint64>("effective");
        const QSizeF wide(1920, 1080);
        const QSizeF tall(1080, 1920);
        const auto row = [](const char *name, QSizeF image, const QString &aspect,
                            qint64 advertised, qint64 effective) {
            QTest::newRow(name) << image << aspect << advertised << effective;
        };
        row("upright", wide, u"16:9"_s, 90, 0);
        row("upright portrait", tall, u"9:16"_s, -90, 0);
        row("lying", tall, u"16:9"_s, 90, 90);
        row("half turn", wide, u"16:9"_s, 180, 180);
        row("square", {1080, 1080}, u"16:9"_s, -90, 270);
        row("nearly square", {1080.5, 1080}, u"16:9"_s, 90, 90);
        row("no image", {0, 1080}, u"9:16"_s, 90, 90);
        row("more than a turn", wide, u"9:16"_s, 450, 90);
        row("a whole turn back", wide, u"16:9"_s, -360, 0);
        row("the least", wide, u"16:9"_s, std::numeric_limits<qint64>::min(), 352);
        // An aspect that says "wide" makes of this picture one that is upright, "tall" or nothing
        // one that lies.
        for (const auto &aspect : {u"1920x1080"_s, u" 16 ×\t9 "_s, u"16X9"_s, u"::2.39::1"_s})
            row(qPrintable(aspect), wide, aspect, 90, 0);
        for (const auto &aspect : {u"—"_s, u""_s, u"1:1"_s, u"16:9:1"_s, u"16:0"_s, u"16:-9"_s,
                                   u"inf:9"_s, u"16:nan"_s, u"16: "_s})
            row(qPrintable(aspect), wide, aspect, 90, 90);
    }

    void turnsOnlyWhatLiesOtherwise()
    {
        QFETCH(const QSizeF, image);
        QFETCH(const QString, aspect);
        QFETCH(const qint64, advertised);
        QTEST(qint64{CameraFrameOrientation::effectiveRotation(image.width(), image.height(),
                                                               aspect, advertised)},
              "effective");
    }
};

QTEST_APPLESS_MAIN(FrameOrientationTest)
#include "frame_orientation_test.moc"
