// SPDX-License-Identifier: Apache-2.0

#include "camera_answers.h"
#include "support.h"
#include "transfer/pairing_messages.h"
#include "transfer/transfer_error.h"

#include <QUuid>
#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

using Edits = QJsonObject;

const auto incomplete = u"Pairing response is incomplete or grants the wrong scope."_s;
const auto wrongExpiry = u"Transfer session expiry is invalid."_s;
const auto noCode = u"Enter the six-digit code shown on the camera."_s;
const auto notConfirmed = u"Confirm that the fingerprint shown on both devices matches."_s;
const auto notAdvertised = u"This camera is not advertising authenticated transfer."_s;

QByteArray headerOf(const TlsServer::Request &request, const QByteArray &name)
{
    for (const QByteArray &line : request.head.split('\n')) {
        if (line.toLower().startsWith(name.toLower() + ':'))
            return line.sliced(name.size() + 1).trimmed();
    }
    return {};
}

/// Answers the pairing with `bytes` alone.
TlsServer::Answer always(const QByteArray &bytes)
{
    return [bytes](const TlsServer::Request &, TlsPeer &peer) {
        peer.send(bytes);
        peer.cut();
    };
}

void addGrantRows()
{
    const auto row = [](const char *name, const Edits &edits, const QString &error) {
        QTest::newRow(name) << edits << error;
    };
    row("as it should be", {}, {});
    row("another version", {{u"schemaVersion"_s, 2}}, incomplete);
    row("empty device", {{u"deviceId"_s, u""_s}}, incomplete);
    row("empty session", {{u"sessionId"_s, u""_s}}, incomplete);
    row("token of 31 bytes", {{u"bearerToken"_s, QString(31, u't')}}, incomplete);
    row("token of 32 bytes", {{u"bearerToken"_s, QString(32, u't')}}, {});
    row("background", {{u"foregroundOnly"_s, false}}, incomplete);
    row("catalog only", {{u"scopes"_s, QJsonArray{u"catalog.read"_s}}}, incomplete);
    row("files only", {{u"scopes"_s, QJsonArray{u"files.read"_s}}}, incomplete);
    row("other device", {{u"deviceId"_s, u"someone"_s}},
        u"Camera identity changed during pairing."_s);
    row("other session", {{u"sessionId"_s, u"session-8"_s}},
        u"Transfer session changed during pairing."_s);
    row("other fingerprint", {{u"certificateSHA256"_s, QString(64, u'0')}},
        u"Certificate fingerprint changed during pairing."_s);
    // The first of several faults is the one that is said.
    row("other fingerprint, and past",
        {{u"certificateSHA256"_s, QString(64, u'0')}, {u"expiresAt"_s, secondsAhead(-1)}},
        u"Certificate fingerprint changed during pairing."_s);
    row("no time", {{u"expiresAt"_s, u"in a while"_s}}, wrongExpiry);
    row("past", {{u"expiresAt"_s, secondsAhead(-1)}}, wrongExpiry);
    for (const QString &key : pairingGrant({}).keys())
        QTest::addRow("without %s", qPrintable(key))
            << Edits{{key, QJsonValue::Null}} << u"Pairing response: %1 is missing"_s.arg(key);
    row("token is a number", {{u"bearerToken"_s, 1}},
        u"Pairing response: bearerToken is not a text"_s);
}

} // namespace

class PairingTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void asksOnlyWhenTheUserIsSure_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<bool>("isConfirmed");
        QTest::addColumn<QString>("code");
        QTest::addColumn<QString>("pairPath");
        QTest::addColumn<QString>("error"); // empty: one request is sent
        const QString type = transferServiceType.toString();
        const auto path = u"/vorn/v1/pair"_s;
        const auto row = [&](const char *name, const QString &code, const QString &pairPath,
                             const QString &error = {}) {
            QTest::newRow(name) << type << true << code << pairPath << error;
        };
        row("blanks around", u" 482915\n"_s, path);
        row("other digits", u"٤٨٢٩١٥"_s, path);
        row("digits beyond 16 bits", u"\U0001D7CE23456"_s, path);
        row("five", u"12345"_s, path, noCode);
        row("seven", u"1234567"_s, path, noCode);
        row("letter", u"12345a"_s, path, noCode);
        row("blank within", u"12 456"_s, path, noCode);
        row("half a character", u"12345"_s + QChar(char16_t(0xD835)), path, noCode);
        QTest::newRow("not confirmed, and no code")
            << type << false << u"12345"_s << path << notConfirmed;
        QTest::newRow("old type, and not confirmed")
            << legacyServiceType.toString() << false << u"482915"_s << path << notAdvertised;
        row("path with a host", u"482915"_s, u"//evil.example/x"_s);
        row("path like a user", u"482915"_s, u"@evil"_s);
        row("path like a port", u"482915"_s, u"/:99@evil"_s);
        row("path with escapes, a query and line ends", u"482915"_s,
            u"/a%2Fb?c#d HTTP/1.1\r\nX: y"_s);
        row("path with NUL", u"482915"_s, QString(u"/a\u0000b"_s));
    }

    void asksOnlyWhenTheUserIsSure()
    {
        QFETCH(const QString, type);
        QFETCH(const bool, isConfirmed);
        QFETCH(const QString, code);
        QFETCH(const QString, pairPath);
        QFETCH(const QString, error);
        TlsServer server(always(httpWithLength("403 Forbidden", {})));
        DiscoveredDevice device = deviceAt(server);
        device.serviceType = type;
        device.pairPath = pairPath;
        device.catalogURL.setQuery(u"token=1"_s); // not to be sent
        Outcome paired(AuthenticatedTransferClient::pair(device, code, u"collector"_s, u"Suite"_s,
                                                         isConfirmed));
        QCOMPARE(paired.error(), error.isEmpty() ? u"Transfer server returned HTTP 403."_s : error);
        QCOMPARE(server.connections(), error.isEmpty() ? 1 : 0);
        if (!error.isEmpty())
            return;
        const QByteArrayList words = server.requests().front().head.split('\r').front().split(' ');
        QCOMPARE(words.size(), 3); // method, target, version: the path added no word and no line
        const QString sent = QString::fromUtf8(QByteArray::fromPercentEncoding(words[1]));
        QCOMPARE(sent, pairPath.startsWith(u'@') ? u'/' + pairPath : pairPath);
        QCOMPARE(QJsonDocument::fromJson(server.requests().front().body)[u"pairingCode"].toString(),
                 code.trimmed());
    }

    void asksNobodyWhoIsNotNearby()
    {
        TlsServer server(always(httpWithLength("403 Forbidden", {})));
        DiscoveredDevice device = deviceAt(server);
        device.address = QHostAddress(u"0.0.0.0"_s); // the system would take it to this server
        QCOMPARE(pairing(device).error(),
                 u"The camera cannot be reached. Check that it is on this network and that its "
                 "transfer is open."_s);
        for (const QHostAddress &none :
             {QHostAddress(), QHostAddress(QHostAddress::LocalHostIPv6)}) {
            device.address = none;
            QCOMPARE(pairing(device).error(), u"The camera's network address is not known."_s);
        }
        QCOMPARE(server.connections(), 0);
    }

    void sendsWhatTheCameraNeeds()
    {
        PairedCamera camera(QByteArray{});
        const Client client = camera.client();
        const TlsServer::Request request = camera.server().requests().front();
        QVERIFY(request.head.startsWith("POST /vorn/v1/pair HTTP/1.1\r\n"));
        QCOMPARE(headerOf(request, "Content-Type"), "application/json");
        QCOMPARE(headerOf(request, "Accept"), "application/json");
        QCOMPARE(headerOf(request, "Host"),
                 "left-camera.local:" + QByteArray::number(camera.server().port()));
        QVERIFY(!request.head.toLower().contains("authorization"));
        QVERIFY(!request.head.toLower().contains("expect"));
        QJsonObject body = QJsonDocument::fromJson(request.body).object();
        const QString requestId = body.take(u"requestId"_s).toString();
        QCOMPARE(QUuid::fromString(requestId).toString(QUuid::WithoutBraces), requestId);
        QVERIFY(!QUuid::fromString(requestId).isNull());
        QCOMPARE(body, (QJsonObject{{u"schemaVersion"_s, 1},
                                    {u"collectorId"_s, u"collector-1"_s},
                                    {u"collectorName"_s, u"Edit suite"_s},
                                    {u"pairingCode"_s, u"482915"_s},
                                    {u"certificateSHA256"_s, camera.server().fingerprint()}}));

        const TransferSessionSummary summary = client->summary();
        QCOMPARE(summary.deviceId, deviceId);
        QCOMPARE(summary.deviceName, u"Left camera"_s);
        QCOMPARE(summary.sessionId, sessionId);
        QCOMPARE(summary.fingerprint, camera.server().fingerprint());
        QVERIFY(QDateTime::currentDateTimeUtc().secsTo(summary.expiresAt) > 800);
        QVERIFY(!client->isExpired());
    }

    void takesTheFingerprintInAnyForm()
    {
        TlsServer server([&server](const TlsServer::Request &, TlsPeer &peer) {
            const QString form = server.fingerprint().toUpper().insert(2, u':');
            peer.send(pairingAnswer(pairingGrant(form)));
        });
        DiscoveredDevice device = deviceAt(server);
        device.certificateSHA256 = server.fingerprint().toUpper();
        QCOMPARE(pairing(device).value()->summary().fingerprint, server.fingerprint());
        const QJsonDocument asked = QJsonDocument::fromJson(server.requests().front().body);
        QCOMPARE(asked[u"certificateSHA256"_s].toString(), server.fingerprint());
    }

    void namesThisComputer_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("shown");
        QTest::newRow("plain") << u" Edit suite \n"_s << u"Edit suite"_s;
        QTest::newRow("empty") << u" \n"_s << u"VORN Mac"_s;
        QTest::newRow("65") << QString(65, u'n') << QString(64, u'n');
        QTest::newRow("not half a character") << u"🎬"_s.repeated(65) << u"🎬"_s.repeated(64);
        QTest::newRow("not half a letter with its accent")
            << u"e\u0301"_s.repeated(65) << u"e\u0301"_s.repeated(64);
    }

    void namesThisComputer()
    {
        QFETCH(const QString, name);
        QFETCH(const QString, shown);
        QCOMPARE(shownCollectorName(name), shown);
    }

    void acceptsOnlyAFullGrant_data()
    {
        QTest::addColumn<Edits>("edits");
        QTest::addColumn<QString>("error"); // empty: accepted; else how the error begins
        addGrantRows();
    }

    void acceptsOnlyAFullGrant()
    {
        QFETCH(const Edits, edits);
        QFETCH(const QString, error);
        PairedCamera camera(QByteArray(), edits);
        const QString failure = pairing(deviceAt(camera.server())).error();
        QVERIFY2(error.isEmpty() ? failure.isEmpty() : failure.startsWith(error),
                 qPrintable(failure));
        QCOMPARE(camera.server().requests().size(), std::size_t{1});
    }

    void comparesOnlyWhatWasAdvertised()
    {
        PairedCamera camera(QByteArray(), {{u"deviceId"_s, u"someone"_s}});
        DiscoveredDevice device = deviceAt(camera.server());
        device.deviceId = u""_s;
        QCOMPARE(pairing(device).error(), QString());
    }

    void refusesOtherAnswers_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("error");
        QTest::newRow("no JSON") << httpWithLength(
            "200 OK",
            "<html>") << u"Pairing response is not valid JSON: illegal value at line 1, byte 1"_s;
        QTest::newRow("too long") << httpWithLength("200 OK", QByteArray(64 * 1024 + 1, ' '))
                                  << u"The camera's answer is larger than it may be."_s;
        QTest::newRow("half a character for a token")
            << httpWithLength("200 OK",
                              QJsonDocument(pairingGrant({})).toJson().replace(token, "\\ud83c"))
            << u"Pairing response: bearerToken is not a text"_s;
        QTest::newRow("no HTTP") << QByteArray("220 mail.example ESMTP\r\n")
                                 << u"Pairing returned no HTTP response."_s;
    }

    void refusesOtherAnswers()
    {
        QFETCH(const QByteArray, bytes);
        QFETCH(const QString, error);
        TlsServer server(always(bytes));
        QCOMPARE(pairing(deviceAt(server)).error(), error);
    }

    void readsInstants_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("utc"); // empty: none
        const auto row = [](const QString &text, const QString &utc = {}) {
            QTest::newRow(qPrintable(text)) << text << utc;
        };
        row(u"2026-01-31T09:30:00Z"_s, u"2026-01-31T09:30:00.000Z"_s);
        row(u"2026-01-31T09:30:00.25Z"_s, u"2026-01-31T09:30:00.250Z"_s);
        row(u"2026-01-31T09:30:00+05:30"_s, u"2026-01-31T04:00:00.000Z"_s);
        row(u"2026-01-31T23:30:00.125-01:00"_s, u"2026-02-01T00:30:00.125Z"_s);
        for (const char *text :
             {"", "2026-01-31T09:30:00", "2026-01-31T09:30Z", "2026-01-31 09:30:00Z",
              "2026-01-31t09:30:00Z", "2026-02-30T09:30:00Z", "2026-01-31T24:00:00Z",
              "2026-01-31T09:30:60Z", "20260131T093000Z", "2026-01-31T09:30:00,5Z",
              "2026-01-31T09:30:00.Z", "2026-01-31T09:30:00+0530", " 2026-01-31T09:30:00Z",
              "2026-01-31T09:30:00Z\n", "1769851800"})
            row(QString::fromLatin1(text));
    }

    void readsInstants()
    {
        QFETCH(const QString, text);
        QFETCH(const QString, utc);
        const std::optional<QDateTime> instant = instantFromText(text);
        QCOMPARE(instant ? instant->toString(Qt::ISODateWithMs) : QString(), utc);
    }

    void boundsTheSession()
    {
        const auto now = QDateTime::fromString(u"2026-01-31T09:30:00.000Z"_s, Qt::ISODateWithMs);
        const auto failure = [&now](int aheadMs) {
            QJsonObject grant = pairingGrant(QString(64, u'a'));
            grant[u"expiresAt"_s] = now.addMSecs(aheadMs).toString(Qt::ISODateWithMs);
            QByteArray body = QJsonDocument(grant).toJson();
            const PairingResponse response = pairingResponseFromJson(body);
            return thrownText([&] { (void)checkedExpiry(response, {}, QString(64, u'a'), now); });
        };
        QCOMPARE(failure(0), wrongExpiry);
        QCOMPARE(failure(1), QString());
        QCOMPARE(failure(930'000), QString());
        QCOMPARE(failure(930'001), wrongExpiry);
    }
};

QTEST_GUILESS_MAIN(PairingTest)
#include "pairing_test.moc"
