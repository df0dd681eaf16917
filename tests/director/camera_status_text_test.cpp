// SPDX-License-Identifier: Apache-2.0

#include "director/camera_status_text.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include <limits>

using namespace vorn;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr WallTime now{1'000'000h};

/// A camera that sends these objects, in JSON; "" for none.
LiveCamera camera(const char *capabilities, const char *transport)
{
    const auto value = [](const char *json) {
        return QJsonValue(QJsonDocument::fromJson(json).object());
    };
    LiveCamera record;
    record.lastSeen = now;
    record.previewCapabilities =
        decodePreviewCapabilities(value(capabilities)).value_or(PreviewCapabilities());
    record.previewTransport =
        decodePreviewTransport(value(transport)).value_or(PreviewTransportStatus());
    return record;
}

/// The rows that depend on nothing but the camera, in the order of the page.
QString rows(const LiveCamera *record, WallTime at = now)
{
    return QStringList{selectedLinkStatus(record, at), advertisedTransportStatus(record, at),
                       previewHealthStatus(record, at), h264Status(record, at),
                       fullStream4KStatus(record, at)}
        .join(u" | ");
}

} // namespace

class CameraStatusTextTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void saysWhatACameraAdvertises_data()
    {
        QTest::addColumn<LiveCamera>("record");
        QTest::addColumn<QString>("rows");
        QTest::newRow("nothing")
            << camera("", "")
            << u"Not advertised | Not advertised | Not advertised | Not advertised | Not advertised"_s;
        QTest::newRow("everything")
            << camera(R"({"v": 1, "link": {"bandGHz": 5.18, "usableMbps": 72.5},
                          "codecs": ["jpeg", "h264"], "transports": ["h264-avcc-tcp-v1"]})",
                      R"({"modes": [1], "codec": "jpeg", "policy": "automatic", "band": "5 GHz",
                          "wallTargetFps": 12, "selectedTargetFps": 30, "thermalLevel": "nominal",
                          "deliveryLimitedClients": 2, "pendingEncodeJobs": 0,
                          "fullStream4K": true})")
            << u"5.2 GHz • 72 Mbps | jpeg • AUTOMATIC • 12/30 fps | Nominal • 2 limited • 0 pending"
               " | Advertised • inactive | Advertised • inactive"_s;
        QTest::newRow("a rate without a band")
            << camera(R"({"v": 1, "link": {"usableMbps": 70}, "codecs": ["h264"]})",
                      R"({"modes": [4], "band": "wi-fi 5 GHz", "capacityMeasured": true,
                          "wallTargetFps": 12, "deliveryLimitedClients": 0,
                          "fullStream4K": false})")
            << u"Wi-fi 5 GHz • measured | Unknown codec | Normal | Not advertised"
               " | No • separate future path"_s;
        QTest::newRow("no band")
            << camera("", R"({"codec": "JPEG", "thermalLevel": "serious, throttled"})")
            << u"Band unknown • unmeasured | JPEG | Serious, Throttled | Not advertised"
               " | Not advertised"_s;
        QTest::newRow("a policy alone is no advertisement")
            << camera("", R"({"policy": "automatic", "band": "5 GHz", "thermalLevel": "nominal"})")
            << u"Not advertised | Not advertised | Not advertised | Not advertised | Not advertised"_s;
    }

    void saysWhatACameraAdvertises()
    {
        QFETCH(const LiveCamera, record);
        QTEST(rows(&record), "rows");
    }

    void saysThatNobodyIsThere()
    {
        const LiveCamera full = camera(R"({"v": 1, "link": {"bandGHz": 5, "usableMbps": 70}})",
                                       R"({"codec": "JPEG", "fullStream4K": true})");
        QCOMPARE(rows(nullptr), u"No camera | Offline | Offline | No camera | Offline"_s);
        QCOMPARE(rows(&full, now + 6500ms), u"Offline | Offline | Offline | Offline | Offline"_s);
    }

    void roundsToTheNearest()
    {
        QCOMPARE(fixedText(72.5, 0), u"72"_s);
        QCOMPARE(fixedText(73.5, 0), u"74"_s);
        QCOMPARE(fixedText(-0.4, 0), u"-0"_s);
        QCOMPARE(fixedText(2.35, 1), u"2.4"_s); // lies a little above
        QCOMPARE(fixedText(std::numeric_limits<double>::max(), 1).size(), 311);
    }

    void saysHowPicturesCome()
    {
        constexpr auto wall = VORNPreviewProfile::wall;
        constexpr auto selected = VORNPreviewProfile::selected;
        const LiveCamera any = camera("", "");
        QCOMPARE(transportStatus(wall, nullptr, {}), u"No camera"_s);
        QCOMPARE(transportStatus(wall, &any, {}), u"Negotiating…"_s);
        QCOMPARE(transportStatus(wall, &any, Transport::persistent), u"JPEG mode 4 • persistent"_s);
        QCOMPARE(transportStatus(wall, &any, Transport::legacy), u"JPEG mode 1 • fallback"_s);
        QCOMPARE(transportStatus(selected, &any, Transport::persistent),
                 u"JPEG mode 5 • persistent"_s);
        QCOMPARE(transportStatus(selected, &any, Transport::legacy), u"JPEG mode 2 • fallback"_s);
    }
};

QTEST_GUILESS_MAIN(CameraStatusTextTest)
#include "camera_status_text_test.moc"
