// Looks at the previews of the rig's phones, with a reader of its own.

#include "phone_ear.h"
#include "preview_viewer.h"
#include "rig/film/counter.h"
#include "rig_phones.h"

#include <QGuiApplication>
#include <QJsonDocument>
#include <QTest>
#include <QTransform>

#include <chrono>
#include <cmath>
#include <optional>

using namespace Qt::StringLiterals;
using namespace vorn;

class PhonePreviewsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_rig.must(u"all reset"_s); }

    void allModesGiveWhatTheyShould_data()
    {
        QTest::addColumn<int>("phone");
        QTest::addColumn<int>("mode");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<int>("turn");
        QTest::newRow("wall, one") << 0 << 1 << QSize(640, 360) << 0;
        QTest::newRow("selected, one") << 0 << 2 << QSize(1280, 720) << 0;
        QTest::newRow("wall") << 2 << 4 << QSize(640, 360) << 0;
        QTest::newRow("selected") << 2 << 5 << QSize(1280, 720) << 0;
        QTest::newRow("upright, to be turned") << 1 << 4 << QSize(640, 360) << 90;
        QTest::newRow("upright already") << 3 << 5 << QSize(720, 1280) << 0;
    }

    void allModesGiveWhatTheyShould()
    {
        QFETCH(const int, phone);
        QFETCH(const int, mode);
        QFETCH(const QSize, size);
        QFETCH(const int, turn);
        const qint64 before = std::chrono::steady_clock::now().time_since_epoch().count();
        Viewer viewer(addressOf(phone), char(mode));
        qint64 lastFrame = -1;
        qint64 lastTime = before;
        for (int number = 0; number < (mode > 3 ? 5 : 1); ++number) {
            QCOMPARE(viewer.next(), u"picture"_s);
            QCOMPARE(viewer.image.size(), size);
            QVERIFY(rig::readCounter(viewer.image.transformed(QTransform().rotate(turn))));
            const auto [frame, time] = viewer.stamp();
            QVERIFY(frame > lastFrame);
            QVERIFY(time > lastTime);
            QVERIFY(time < std::chrono::steady_clock::now().time_since_epoch().count());
            lastFrame = frame;
            lastTime = time;
        }
        if (mode < 3)
            QCOMPARE(viewer.next(), u"end"_s);
    }

    void theCounterTellsThePlaceInTheLoop()
    {
        m_rig.must(u"all selected 320x180@30"_s);
        m_rig.must(u"all wall 320x180@30"_s);
        m_rig.render();
        for (const int phone : {0, 2, 0}) {
            Viewer viewer(addressOf(phone), 2);
            QCOMPARE(viewer.next(), u"picture"_s);
            const std::optional<double> seconds = rig::readCounter(viewer.image);
            QVERIFY(seconds);
            QCOMPARE(std::round(*seconds * 30), double(viewer.stamp().first % 120));
        }
    }

    void modeThreeTellsWhoItIs()
    {
        Viewer viewer(addressOf(2), 3);
        (void)viewer.next();
        const QJsonObject identity = QJsonDocument::fromJson(viewer.bytes).object();
        QCOMPARE(identity[u"sender"_s].toString(), u"cam-c"_s);
        QCOMPARE(identity[u"sessionId"_s], m_rig.phone(u"cam-c"_s)[u"sessionId"_s]);
        QVERIFY(!viewer.hasBytes());
        QCOMPARE(Viewer(addressOf(2), 9).next(), u"end"_s);
    }

    void picturesAreSpoiledAsAsked_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("result");
        QTest::newRow("drop") << u"drop"_s << u"end inside"_s;
        QTest::newRow("truncate") << u"truncate"_s << u"no JPEG"_s;
        QTest::newRow("huge") << u"huge"_s << u"length 2097153"_s;
        QTest::newRow("largest") << u"largest"_s << u"picture"_s;
        QTest::newRow("wrong length") << u"wrong-length"_s << u"no JPEG"_s;
        QTest::newRow("zero") << u"zero"_s << u"length 0"_s;
        QTest::newRow("claim") << u"claim"_s << u"length 4294967295"_s;
        QTest::newRow("garbage") << u"garbage"_s << u"no JPEG"_s;
        QTest::newRow("bomb") << u"bomb"_s << u"no picture"_s;
    }

    void picturesAreSpoiledAsAsked()
    {
        QFETCH(const QString, fault);
        QFETCH(const QString, result);
        m_rig.must(u"cam-a preview %1 2"_s.arg(fault));
        Viewer viewer(addressOf(0), 4);
        QCOMPARE(viewer.next(), u"picture"_s);
        QCOMPARE(viewer.next(), u"picture"_s);
        QCOMPARE(viewer.next(), result);
        if (fault == u"largest")
            QCOMPARE(viewer.bytes.size(), 2'097'152);
        QCOMPARE(Viewer(addressOf(1), 1).next(), u"picture"_s);
    }

    void connectionsFailAsAsked()
    {
        m_rig.must(u"cam-a preview refuse"_s);
        QCOMPARE(Viewer(addressOf(0), 3).next(), u"refused"_s);
        m_rig.must(u"cam-a preview legacy-only"_s);
        QCOMPARE(Viewer(addressOf(0), 5).next(), u"end"_s);
        QCOMPARE(Viewer(addressOf(0), 2).next(), u"picture"_s);

        // Silent and slow: while others get their pictures.
        m_rig.must(u"cam-a preview silent"_s);
        m_rig.must(u"cam-c preview slow"_s);
        Viewer silent(addressOf(0), 5);
        Viewer slow(addressOf(2), 1);
        Viewer other(addressOf(1), 4);
        QTRY_VERIFY_WITH_TIMEOUT(slow.hasBytes(), limitMs);
        for (int number = 0; number < 5; ++number)
            QCOMPARE(other.next(), u"picture"_s);
        QVERIFY(!silent.hasBytes());
        m_rig.must(u"cam-a preview ok"_s);
        QCOMPARE(silent.next(), u"picture"_s);
        m_rig.must(u"cam-c drip 1000000"_s);
        QCOMPARE(slow.next(), u"picture"_s);
    }

    void whoDoesNotReadMissesPictures()
    {
        QTcpSocket lazy;
        lazy.setReadBufferSize(1);
        lazy.connectToHost(QHostAddress(addressOf(0)), Viewer::labPort);
        QVERIFY(lazy.waitForConnected(limitMs));
        lazy.write("\x05");
        lazy.flush();
        QTRY_VERIFY_WITH_TIMEOUT(m_rig.phone(u"cam-a"_s)[u"preview"_s][u"skipped"_s].toInt() > 0,
                                 limitMs);
    }

    void identityIsSpoiledAsAsked_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("result");
        QTest::newRow("zero") << u"zero"_s << u"length 0"_s;
        QTest::newRow("cut") << u"cut"_s << u"end inside"_s;
        QTest::newRow("oversized") << u"oversized"_s << u"8193"_s;
        QTest::newRow("garbage") << u"garbage"_s << u"no JSON"_s;
        QTest::newRow("ok") << u"ok"_s << u"JSON"_s;
    }

    void identityIsSpoiledAsAsked()
    {
        QFETCH(const QString, fault);
        QFETCH(const QString, result);
        m_rig.must(u"cam-a identity "_s + fault);
        Viewer viewer(addressOf(0), 3);
        QString seen = viewer.next();
        if (seen == u"no JPEG") {
            const bool isJson = QJsonDocument::fromJson(viewer.bytes).isObject();
            seen = viewer.bytes.size() > 8192 ? QString::number(viewer.bytes.size())
                   : isJson                   ? u"JSON"_s
                                              : u"no JSON"_s;
        }
        QCOMPARE(seen, result);
    }

private:
    RigPhones m_rig;
};

QTEST_MAIN(PhonePreviewsTest)
#include "phone_previews_test.moc"
