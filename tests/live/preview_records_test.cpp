// SPDX-License-Identifier: Apache-2.0

#include "live/preview_records.h"
#include "packets.h"

#include <QJsonArray>
#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

const PreviewCapabilities plainCapabilities = [] {
    PreviewCapabilities made;
    made.version = 1;
    return made;
}();

} // namespace

class PreviewRecordsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void readsCapabilities()
    {
        const auto read = decodePreviewCapabilities(
            object("{'v':1,'transports':['JPEG-TCP-V1','h264-avcc-tcp-v1'],'codecs':['H264'],"
                   "'requestModes':[1,2.9,4],'persistentModes':[4,5],"
                   "'link':{'bandGHz':5,'usableMbps':true},'more':{}}"));
        const PreviewCapabilities expected{.version = 1,
                                           .transports = {u"jpeg-tcp-v1"_s, u"h264-avcc-tcp-v1"_s},
                                           .codecs = {u"h264"_s},
                                           .requestModes = {1, 2, 4},
                                           .persistentModes = {4, 5},
                                           .wifiBandGHz = 5.0,
                                           .usableMbps = 1.0};
        QCOMPARE(read, expected);
        QVERIFY(read->isAdvertised() && read->advertisesH264() && read->supportsPersistentJPEG());
    }

    void needsAllThatAStreamTakes()
    {
        const auto h264 = [](const char *text) {
            return decodePreviewCapabilities(object(text))->advertisesH264();
        };
        const auto jpeg = [](const char *text) {
            return decodePreviewCapabilities(object(text))->supportsPersistentJPEG();
        };
        QVERIFY(!h264("{'v':1,'transports':['h264-avcc-tcp-v1'],'codecs':['hevc']}"));
        QVERIFY(!h264("{'v':1,'transports':['jpeg-tcp-v1'],'codecs':['h264']}"));
        QVERIFY(!jpeg("{'v':1,'transports':['h264-avcc-tcp-v1'],'persistentModes':[4,5]}"));
        QVERIFY(!jpeg("{'v':1,'transports':['jpeg-tcp-v1'],'persistentModes':[4]}"));
        QVERIFY(!decodePreviewTransport(object("{'modes':[4,5],'codec':'h264'}"))
                     ->supportsPersistentJPEG());
    }

    void takesCapabilitiesForAbsent()
    {
        for (const char *text : {"{}", "{'v':2}", "{'v':'1'}", "{'v':null}", "{'v':1e300}"})
            QVERIFY2(!decodePreviewCapabilities(object(text)), text);
        QVERIFY(!decodePreviewCapabilities({}));
        QVERIFY(!decodePreviewCapabilities(QJsonValue::Undefined));
        QVERIFY(!decodePreviewCapabilities(u"1"_s));
        // Their version is read as loosely as any number.
        QCOMPARE(decodePreviewCapabilities(object("{'v':true}")), plainCapabilities);
        QCOMPARE(decodePreviewCapabilities(object("{'v':1.9,'link':[]}")), plainCapabilities);
    }

    void takesMixedListsForNone()
    {
        const auto read = decodePreviewCapabilities(
            object("{'v':1,'transports':['a',1],'codecs':'h264','requestModes':[4,true],"
                   "'persistentModes':[4,1e300]}"));
        QCOMPARE(read, plainCapabilities);
    }

    void boundsTheLists()
    {
        QJsonArray modes;
        QJsonObject counters;
        for (int i = 0; i < 64; ++i) {
            modes.append(i);
            counters.insert(u"c%1"_s.arg(i), i);
        }
        const auto read = [&] {
            return decodePreviewTransport(QJsonObject{
                {u"policy"_s, u"p"_s}, {u"modes"_s, modes}, {u"encodeCounters"_s, counters}});
        };
        QCOMPARE(read()->modes.size(), 64U);
        QCOMPARE(read()->encodeCounters.size(), 64U);
        modes.append(1);
        counters.insert(u"one too many"_s, 1);
        QCOMPARE(read()->modes.size(), 0U);
        QCOMPARE(read()->encodeCounters.size(), 0U);
    }

    void readsTransport()
    {
        const auto read = decodePreviewTransport(
            object("{'modes':[4,5],'codec':'jpeg','policy':'auto','wallTargetFps':12.7,"
                   "'selectedTargetFps':true,'thermalLevel':'nominal','connections':2,"
                   "'deliveryLimitedClients':'3','pendingEncodeJobs':1,"
                   "'encodeCounters':{'a':3,'b':'x','c':-1.9,'d':true,'e':1e300},'band':'5',"
                   "'capacityMeasured':true,'fullStream4K':false}"));
        const PreviewTransportStatus expected{.modes = {4, 5},
                                              .codec = u"jpeg"_s,
                                              .policy = u"auto"_s,
                                              .wallTargetFPS = 12,
                                              .selectedTargetFPS = 1,
                                              .thermalLevel = u"nominal"_s,
                                              .connections = 2,
                                              .deliveryLimitedClients = {},
                                              .pendingEncodeJobs = 1,
                                              .encodeCounters = {u"a=3"_s, u"c=-1"_s},
                                              .band = u"5"_s,
                                              .capacityMeasured = true,
                                              .fullStream4K = false};
        QCOMPARE(read, expected);
        QVERIFY(read->isAdvertised() && read->supportsPersistentJPEG());
    }

    void takesTransportForAbsent()
    {
        for (const char *text :
             {"{}", "{'band':'5','connections':1}", "{'modes':[],'codec':1}", "{'modes':[1,'2']}"})
            QVERIFY2(!decodePreviewTransport(object(text)), text);
        QVERIFY(!decodePreviewTransport(QJsonValue::Undefined));
        QVERIFY(!decodePreviewTransport(QJsonArray{1}));
        const auto policy = decodePreviewTransport(object("{'policy':'p','capacityMeasured':1}"));
        PreviewTransportStatus expected;
        expected.policy = u"p"_s;
        QCOMPARE(policy, expected);
        QVERIFY(!policy->isAdvertised());
    }
};

QTEST_APPLESS_MAIN(PreviewRecordsTest)
#include "preview_records_test.moc"
