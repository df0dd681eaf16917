// SPDX-License-Identifier: Apache-2.0

// The request that a camera share its files, to phones on the lab's network.

#include "lab_phones.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QtTest>

#include <memory>

using namespace vorn;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const auto collector = u"6ba7b810-9dad-11d1-80b4-00c04fd430c8"_s;

QByteArray answer(const QString &requestID, const QString &action, QJsonObject more = {})
{
    more.insert(u"action"_s, action);
    more.insert(u"requestId"_s, requestID);
    return QJsonDocument(QJsonObject{{u"v"_s, 1},
                                     {u"type"_s, u"command"_s},
                                     {u"sender"_s, u"cam"_s},
                                     {u"payload"_s, more}})
        .toJson();
}

QByteArray decision(const QString &requestID, bool isAccepted, const QString &error = {})
{
    return answer(requestID, u"TRANSFER_MODE_ACK"_s,
                  {{u"accepted"_s, isAccepted}, {u"error"_s, error}, {u"target"_s, collector}});
}

} // namespace

class LiveTransferModeTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QVERIFY2(qEnvironmentVariableIsSet("VORN_LAB_PHONES"), "no lab"); }

    void init() { begin(PendingTransferRequests::lifetime); }

    void asksOnceAndFollowsTheAnswers()
    {
        const auto id = m_discovery->requestTransferMode(camera(), collector, u" Studio \n Mac "_s);
        QVERIFY(id);
        QVERIFY(!m_discovery->transferModeRequest()); // told later, when the caller knows the id
        QTRY_COMPARE(state(),
                     expected(*id, u"Request sent — approve on Left within 30 seconds."_s));

        const QByteArray sent = receivedBy(m_phone);
        QVERIFY(!sent.contains('\n'));
        const QJsonObject command = QJsonDocument::fromJson(sent).object();
        QCOMPARE(command.value(u"v").toInt(), 1);
        QCOMPARE(command.value(u"type").toString(), u"command"_s);
        QCOMPARE(command.value(u"sender").toString(), collector);
        QVERIFY(qAbs(command.value(u"sentMs").toInteger() - QDateTime::currentMSecsSinceEpoch())
                < 60'000);
        QCOMPARE(command.value(u"payload").toObject(),
                 (QJsonObject{{u"action"_s, u"REQUEST_TRANSFER_MODE"_s},
                              {u"target"_s, u"cam"_s},
                              {u"requestId"_s, *id},
                              {u"collectorName"_s, u"Studio Mac"_s}}));
        QCOMPARE(command.size(), 5);

        say(answer(*id, u"TRANSFER_MODE_PENDING"_s));
        QTRY_COMPARE(state(), expected(*id, u"Approve the request on Left within 30 seconds."_s));
        say(decision(*id, true, u"ignored"_s));
        QTRY_COMPARE(state(), expected(*id, u"Approved — waiting for secure Transfer Mode."_s));
        // Decided is decided.
        say(decision(*id, false, u"late"_s));
        hearSomething();
        QCOMPARE(state(), expected(*id, u"Approved — waiting for secure Transfer Mode."_s));
    }

    void expiresWithoutADecision()
    {
        begin(500ms);
        const QString id = ask();
        say(answer(id, u"TRANSFER_MODE_PENDING"_s)); // gives no more time
        QTRY_COMPARE(state(), expected(id, u"Request expired — ask Left again."_s, true));
        say(decision(id, true));
        hearSomething();
        QCOMPARE(state(), expected(id, u"Request expired — ask Left again."_s, true));
    }

    void showsTheLatestRequest()
    {
        begin(1000ms);
        const QString first = ask();
        const QString second = ask();
        // The expiry of the first would be seen before that of the second.
        QSignalSpy changes(m_discovery.get(), &LiveCameraDiscovery::transferModeRequestChanged);
        QTRY_COMPARE(state(), expected(second, u"Request expired — ask Left again."_s, true));
        QCOMPARE(changes.count(), 1);

        // A decision shows itself, whichever is shown.
        begin(PendingTransferRequests::lifetime);
        const QString older = ask();
        const QString newer = ask();
        QCOMPARE(state().requestID, newer);
        say(decision(older, true));
        QTRY_COMPARE(state(), expected(older, u"Approved — waiting for secure Transfer Mode."_s));
    }

    void showsTheLastOfManyAnswers()
    {
        const QString id = ask();
        QSignalSpy changes(m_discovery.get(), &LiveCameraDiscovery::transferModeRequestChanged);
        for (int i = 0; i < 2000; ++i)
            say(answer(id, u"TRANSFER_MODE_PENDING"_s));
        const auto decide = [&] {
            say(decision(id, false, u"No"_s)); // the system may have dropped the first
            return state() == expected(id, u"No"_s, true);
        };
        QTRY_VERIFY(decide());
        QVERIFY(changes.count() <= 2);
    }

    void asksNobodyWhoIsOffline()
    {
        LiveCamera asked = camera();
        asked.lastSeen -= LiveCamera::offlineAfter;
        QVERIFY(!m_discovery->requestTransferMode(asked, collector, u"Studio"_s));
        QTRY_VERIFY(m_discovery->transferModeRequest());
        QCOMPARE(state().message, u"This camera is not ready for a transfer request."_s);
        QVERIFY(state().isFailure && state().cameraID == u"cam"_s);
        // Nothing was sent: the next that arrives is another request's.
        const QString id = ask();
        QVERIFY(receivedBy(m_phone).contains(id.toLatin1()));
    }

    void tellsWhenACameraCannotBeReached()
    {
        LiveCamera asked = camera();
        for (const QString &host : {u"203.0.113.1"_s, u"10.77.0.255"_s, u"camera.local"_s}) {
            asked.host = host; // no route, everybody, no address
            const auto id = m_discovery->requestTransferMode(asked, collector, u"Studio"_s);
            QVERIFY(id);
            QTRY_COMPARE(m_discovery->transferModeRequest(),
                         expected(*id, u"The transfer request could not reach Left."_s, true));
        }
    }

private:
    void begin(std::chrono::milliseconds lifetime)
    {
        m_phone = phoneSocket(u"10.77.0.11"_s);
        m_discovery.reset();
        m_discovery = std::make_unique<LiveCameraDiscovery>(nullptr, lifetime);
        QTRY_VERIFY(m_discovery->isListening());
        say("{\"v\":1,\"type\":\"status\",\"sender\":\"cam\",\"payload\":{\"name\":\"Left\"}}");
        QTRY_VERIFY(find(*m_discovery, u"cam"_s));
    }

    [[nodiscard]] LiveCamera camera() const { return *find(*m_discovery, u"cam"_s); }
    [[nodiscard]] TransferModeRequestState state() const
    {
        return m_discovery->transferModeRequest().value_or(TransferModeRequestState());
    }
    static TransferModeRequestState expected(const QString &id, const QString &message,
                                             bool isFailure = false)
    {
        return {.requestID = id,
                .cameraID = u"cam"_s,
                .cameraName = u"Left"_s,
                .message = message,
                .isFailure = isFailure};
    }

    /// Asks the camera, and gives the id of the request once it is shown as sent.
    QString ask()
    {
        const QString id =
            m_discovery->requestTransferMode(camera(), collector, u"Studio"_s).value_or(QString());
        if (!QTest::qWaitFor([&] { return state().requestID == id; }))
            qFatal("the request is not shown");
        return id;
    }

    void say(const QByteArray &data) { sendTo(m_phone, u"10.77.0.1"_s, data); }

    /// Waits until everything said before has been heard.
    void hearSomething()
    {
        const int battery = ++m_battery;
        say(status(u"marker"_s, battery));
        QTRY_COMPARE(batteryOf(*m_discovery, u"marker"_s), battery);
    }

    FileDescriptor m_phone;
    std::unique_ptr<LiveCameraDiscovery> m_discovery;
    int m_battery = 0;
};

QTEST_GUILESS_MAIN(LiveTransferModeTest)
#include "live_transfer_mode_test.moc"
