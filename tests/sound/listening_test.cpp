// SPDX-License-Identifier: Apache-2.0

#include "movies.h"
#include "sound/listening.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

class ListeningTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        const auto make = [this](const QString &name, const QString &sound) {
            makeMovie(m_folder.path(), name, u"-f lavfi -i "_s + sound + u" -c:a aac -b:a 96k"_s);
        };
        make(u"scene.mov"_s, u"anoisesrc=c=pink:d=60:seed=1"_s);
        make(u"other.mov"_s, u"anoisesrc=c=pink:d=60:seed=2"_s);
        make(u"silence.mov"_s, u"anullsrc=d=60"_s);
        make(u"hum.mov"_s, u"sine=f=50:d=60"_s);
    }

    void tellsInPlainWords_data()
    {
        QTest::addColumn<QString>("movie");
        QTest::addColumn<double>(
            "offsetSeconds"); // where the timeline has it, though it began with it
        QTest::addColumn<double>("rate");
        QTest::addColumn<double>("seconds"); // of the timeline
        QTest::addColumn<QString>("text");
        QTest::newRow("in step") << u"scene.mov"_s << 0.0 << 1.0 << 60.0
                                 << u"By ear: in step throughout."_s;
        QTest::newRow("further away")
            << u"scene.mov"_s << 0.012 << 1.0 << 60.0
            << u"By ear: 12 ms late throughout, as from 4 m further away."_s;
        QTest::newRow("closer by") << u"scene.mov"_s << -0.052 << 1.0 << 60.0
                                   << u"By ear: 52 ms early throughout, as from 18 m closer by."_s;
        QTest::newRow("slipping")
            << u"scene.mov"_s << -0.002 << 1.0005 << 60.0
            << u"By ear: in step at the head, 26 ms late at the tail: 0.8 frames apart; the clock "
               "line does not hold."_s;
        QTest::newRow("off") << u"scene.mov"_s << -2.4 << 1.0 << 60.0
                             << u"By ear: 2.4 s early: this may be another take's recording."_s;
        QTest::newRow("another moment")
            << u"other.mov"_s << 0.0 << 1.0 << 60.0
            << u"By ear: cannot tell: the two recordings have nothing in common there. They may be "
               "of different moments."_s;
        QTest::newRow("silence") << u"silence.mov"_s << 0.0 << 1.0 << 60.0
                                 << u"By ear: cannot tell: it is too quiet."_s;
        QTest::newRow("hum") << u"hum.mov"_s << 0.0 << 1.0 << 60.0
                             << u"By ear: cannot tell: it is a steady tone or hum."_s;
        QTest::newRow("short") << u"scene.mov"_s << 0.0 << 1.0 << 1.5
                               << u"By ear: cannot tell: what both have on the timeline is too "
                                  "short."_s;
    }

    void tellsInPlainWords()
    {
        QFETCH(const QString, movie);
        QFETCH(const double, offsetSeconds);
        QFETCH(const double, rate);
        QFETCH(const double, seconds);
        QFETCH(const QString, text);
        const LaidRecording reference{.path = m_folder.filePath(u"scene.mov"_s),
                                      .offsetSeconds = 0,
                                      .timelineSecondsPerSecond = 1,
                                      .beginSeconds = 0,
                                      .endSeconds = seconds};
        LaidRecording other = reference;
        other.path = m_folder.filePath(movie);
        other.offsetSeconds = offsetSeconds;
        other.timelineSecondsPerSecond = rate;
        other.endSeconds = std::min(seconds, 60 + offsetSeconds);
        QCOMPARE(listeningText(listen(reference, other, {}), 30), text);
    }

private:
    QTemporaryDir m_folder;
};

QTEST_GUILESS_MAIN(ListeningTest)
#include "listening_test.moc"
