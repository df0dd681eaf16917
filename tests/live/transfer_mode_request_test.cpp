// SPDX-License-Identifier: Apache-2.0

#include "live/transfer_mode_request.h"
#include "packets.h"

#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

const auto collector = u"6ba7b810-9dad-11d1-80b4-00c04fd430c8"_s;
const PendingTransferRequest request{
    .cameraID = u"cam"_s, .cameraName = u"Left"_s, .host = u"10.0.0.2"_s, .collectorID = collector};

/// What an answer to request "r" from the camera becomes; its "requestId" is added.
std::optional<TransferModeRequestState>
judged(const char *payload, const QString &sender = u"cam"_s, const QString &host = u"10.0.0.2"_s)
{
    PendingTransferRequests requests;
    requests.add(u"r"_s, request);
    QJsonObject full = object(payload);
    full.insert(u"requestId"_s, u"r"_s);
    return requests.judge({.sender = sender, .payload = full}, host);
}

} // namespace

class TransferModeRequestTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void cleansNames_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("clean");
        QTest::newRow("white space") << u"  Studio \n Mac  "_s << u"Studio Mac"_s;
        QTest::newRow("blank") << u" \t\u2028 "_s << u"VORN Mac"_s;
        QTest::newRow("characters, not units") << QString(31, u'x') + u"👩‍🚀👩‍🚀"_s
                                               << QString(31, u'x') + u"👩‍🚀"_s;
    }

    void cleansNames()
    {
        QFETCH(const QString, name);
        QFETCH(const QString, clean);
        QCOMPARE(cleanedCollectorName(name), clean);
        QVERIFY(transferModeRequestData(collector, u"cam"_s, u"r"_s, clean, 0));
    }

    void writesNoCommandOutOfBounds()
    {
        const auto name = u"Studio"_s;
        QVERIFY(transferModeRequestData(collector, QString(128, u'x'), QString(64, u'x'), name, 0));
        QVERIFY(!transferModeRequestData(u"me"_s, u"cam"_s, u"r"_s, name, 0));
        QVERIFY(!transferModeRequestData(collector, QString(129, u'x'), u"r"_s, name, 0));
        QVERIFY(!transferModeRequestData(collector, u"cam"_s, QString(65, u'x'), name, 0));
        QVERIFY(!transferModeRequestData(collector, u"cam"_s, u"r"_s, {}, 0));
        QVERIFY(!transferModeRequestData(collector, u"cam"_s, u"r"_s, QString(33, u'x'), 0));
    }

    void judgesAnswers_data()
    {
        QTest::addColumn<QString>("message");
        QTest::addColumn<bool>("isFailure");
        const auto row = [](const char *payload, QString message, bool isFailure = true) {
            QTest::newRow(payload) << message << isFailure;
        };
        const auto approved = u"Approved — waiting for secure Transfer Mode."_s;
        const auto declined = u"Transfer Mode was declined."_s;
        row("{'action':'TRANSFER_MODE_PENDING','accepted':true}",
            u"Approve the request on Left within 30 seconds."_s, false);
        row("{'action':'TRANSFER_MODE_ACK','accepted':true,'target':7}", approved, false);
        row("{'action':'TRANSFER_MODE_ACK','accepted':false,'error':'  No\\n '}", u"No"_s);
        row("{'action':'TRANSFER_MODE_ACK','accepted':false,'error':'  '}", declined);
        row("{'action':'TRANSFER_MODE_ACK','accepted':false,'error':3}", declined);
        row("{'action':'TRANSFER_MODE_ACK','accepted':1}", declined);
        row("{'action':'TRANSFER_MODE_ACK','error':'No'}", u"No"_s);
    }

    void judgesAnswers()
    {
        QFETCH(const QString, message);
        QFETCH(const bool, isFailure);
        const TransferModeRequestState expected{.requestID = u"r"_s,
                                                .cameraID = u"cam"_s,
                                                .cameraName = u"Left"_s,
                                                .message = message,
                                                .isFailure = isFailure};
        QCOMPARE(judged(QTest::currentDataTag()), expected);
    }

    void dropsAnswersOfOthers()
    {
        const char *approval = "{'action':'TRANSFER_MODE_ACK','accepted':true}";
        QVERIFY(judged(approval));
        QVERIFY(!judged(approval, u"other"_s));
        QVERIFY(!judged(approval, u"cam"_s, u"10.0.0.3"_s));
        QVERIFY(!judged("{'action':'TRANSFER_MODE_ACK','accepted':true,'target':'somebody'}"));
    }
};

QTEST_APPLESS_MAIN(TransferModeRequestTest)
#include "transfer_mode_request_test.moc"
