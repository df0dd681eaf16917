// SPDX-License-Identifier: Apache-2.0

// From what DNS-SD tells of a service to a row of the list.

#include "transfer/discovered_device.h"

#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

const auto fingerprint = QByteArray(16, 'a') + QByteArray(16, 'B') + QByteArray(32, '9');

ResolvedService service(QStringView type, const QByteArrayList &txt = {})
{
    return {.name = u"Camera A"_s,
            .type = type.toString(),
            .hostName = u"phone.local."_s,
            .address = QHostAddress(u"10.77.0.11"_s),
            .port = 8443,
            .txt = txt};
}

DiscoveredDevice transferDevice(const QByteArrayList &txt)
{
    return discoveredDevice(service(transferServiceType, txt)).value();
}

QString catalogText(const DiscoveredDevice &device)
{
    return device.catalogURL.toString(QUrl::FullyEncoded);
}

} // namespace

class DiscoveredDeviceTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void takesDefaultsWhereNothingIsAdvertised()
    {
        const DiscoveredDevice transfer = transferDevice({});
        QCOMPARE(transfer.serviceName, u"Camera A"_s);
        QCOMPARE(transfer.serviceType, u"_vorn-transfer._tcp."_s);
        QCOMPARE(catalogText(transfer), u"https://phone.local:8443/vorn/v1/catalog"_s);
        QCOMPARE(transfer.pairPath, u"/vorn/v1/pair"_s);
        QVERIFY(!transfer.deviceId && !transfer.sessionId && !transfer.certificateSHA256);
        QVERIFY(!transfer.foregroundOnly && !transfer.supportsAuthenticatedTransfer());
        QCOMPARE(transfer.fingerprintDisplay(), u"Unavailable"_s);
        QCOMPARE(transfer.address, QHostAddress(u"10.77.0.11"_s));

        const DiscoveredDevice legacy = discoveredDevice(service(legacyServiceType)).value();
        QCOMPARE(catalogText(legacy), u"http://phone.local:8443/vorn/v1/catalog"_s);

        ResolvedService closed = service(transferServiceType);
        closed.port = 0;
        QVERIFY(!discoveredDevice(closed));
    }

    void takesWhatIsAdvertised()
    {
        const DiscoveredDevice device = transferDevice(
            {"scheme=https", "catalog=media/list", "pair=join", "deviceId=", "sessionId=S1",
             "fp=" + fingerprint, "foreground=TRUE", "unknown=1"});
        QCOMPARE(catalogText(device), u"https://phone.local:8443/media/list"_s);
        QCOMPARE(device.pairPath, u"/join"_s);
        QCOMPARE(device.deviceId, QString(u""_s));
        QVERIFY(device.deviceId.has_value());
        QCOMPARE(device.sessionId, u"S1"_s);
        QCOMPARE(device.certificateSHA256, QString::fromLatin1(fingerprint));
        QVERIFY(device.foregroundOnly && device.supportsAuthenticatedTransfer());
        QCOMPARE(device.fingerprintDisplay(), u"AAAA AAAA AAAA AAAA BBBB BBBB BBBB BBBB"_s);
        QCOMPARE(device.id(), u"_vorn-transfer._tcp.|Camera A|"
                              "https://phone.local:8443/media/list|S1|"_s
                                  + QString::fromLatin1(fingerprint));
    }

    void readsTextRecordsStrictly_data()
    {
        QTest::addColumn<QByteArrayList>("txt");
        QTest::addColumn<QString>("shown"); // session, foreground, pair
        const auto row = [](const char *name, const QByteArrayList &txt, const QString &shown) {
            QTest::newRow(name) << txt << shown;
        };
        row("empty texts", {"sessionId=", "pair=", "foreground="}, u" 0 /vorn/v1/pair"_s);
        row("keys without values", {"sessionId", "pair", "foreground"}, u"- 0 /vorn/v1/pair"_s);
        row("keys in any case", {"SESSIONID=s", "PaIr=p"}, u"s 0 /p"_s);
        row("the first counts", {"sessionId=1", "sessionId=2"}, u"1 0 /vorn/v1/pair"_s);
        row("also when it has no value", {"sessionId", "sessionId=2"}, u"- 0 /vorn/v1/pair"_s);
        row("more signs", {"sessionId=a=b", "=pair", "=", ""}, u"a=b 0 /vorn/v1/pair"_s);
        row("no UTF-8", {"sessionId=\xFF", "pair=/\xC3"}, u"- 0 /vorn/v1/pair"_s);
        row("UTF-8", {"sessionId=\xC3\xA4"}, u"ä 0 /vorn/v1/pair"_s);
        row("foreground is 1", {"foreground=1"}, u"- 1 /vorn/v1/pair"_s);
        row("foreground is true", {"foreground=tRuE"}, u"- 1 /vorn/v1/pair"_s);
        row("foreground is yes", {"foreground=yes"}, u"- 0 /vorn/v1/pair"_s);
        row("foreground is 1 and more", {"foreground=1 "}, u"- 0 /vorn/v1/pair"_s);
    }

    void readsTextRecordsStrictly()
    {
        QFETCH(const QByteArrayList, txt);
        const DiscoveredDevice device = transferDevice(txt);
        QTEST(u"%1 %2 %3"_s.arg(device.sessionId.value_or(u"-"_s))
                  .arg(int(device.foregroundOnly))
                  .arg(device.pairPath),
              "shown");
    }

    void staysOnItsHostAndPort_data()
    {
        QTest::addColumn<QString>("host");
        QTest::addColumn<QByteArray>("txt");
        QTest::addColumn<QString>("address"); // empty: no record
        const auto row = [](const char *name, const QByteArray &txt, const QString &address = {}) {
            QTest::newRow(name) << u"phone.local"_s << txt << address;
        };
        const auto origin = u"https://phone.local:8443"_s;
        row("path of another host", "catalog=//evil/x", origin + u"//evil/x"_s);
        row("path like a user", "catalog=@evil", origin + u"/@evil"_s);
        row("path like a port", "catalog=:80/x", origin + u"/:80/x"_s);
        row("path with a query", "catalog=/a?b=c#d", origin + u"/a%3Fb=c%23d"_s);
        row("path with escapes", "catalog=/a%2Fb%00%", origin + u"/a%252Fb%2500%25"_s);
        row("path with lines", "catalog=/a\r\nHost: evil", origin + u"/a%0D%0AHost:%20evil"_s);
        row("path with dots", "catalog=/../../x", origin + u"/../../x"_s);
        row("path with backslashes", "catalog=\\\\evil\\x", origin + u"/%5C%5Cevil%5Cx"_s);
        row("scheme in capitals", "scheme=HTTPS", origin + u"/vorn/v1/catalog"_s);
        row("another scheme", "scheme=http", u"http://phone.local:8443/vorn/v1/catalog"_s);
        row("empty scheme", "scheme=", origin + u"/vorn/v1/catalog"_s);
        row("scheme with a host", "scheme=https://evil");
        row("scheme with a colon", "scheme=https:");
        row("scheme with lines", "scheme=https\r\n");
        row("scheme with NUL", QByteArray("scheme=https\0", 13));

        QTest::newRow("one dot goes")
            << u"phone.local."_s << QByteArray() << origin + u"/vorn/v1/catalog"_s;
        for (const auto &bad :
             {u""_s, u"."_s, u"evil@phone.local"_s, u"phone.local:80"_s, u"phone.local/x"_s,
              u"phone.local?"_s, u"phone.local#"_s, u"pho ne.local"_s, u"pho%6ee.local"_s,
              u"[::1"_s, u"phone.local\r\n"_s, u"phone\0.local"_s, u"0x7f.1"_s})
            QTest::addRow("host \"%s\"", qPrintable(bad)) << bad << QByteArray() << u""_s;
    }

    void staysOnItsHostAndPort()
    {
        QFETCH(const QString, host);
        QFETCH(const QByteArray, txt);
        QFETCH(const QString, address);
        ResolvedService strange = service(transferServiceType, {txt});
        strange.hostName = host;
        const auto device = discoveredDevice(strange);
        QCOMPARE(device ? catalogText(*device) : QString(), address);
        if (device) {
            // As somebody reads it who has only the text.
            const QUrl again(catalogText(*device), QUrl::StrictMode);
            QCOMPARE(again.host(), QUrl(address).host());
            QCOMPARE(again.port(), 8443);
            QVERIFY(again.userInfo().isEmpty() && !again.hasQuery() && !again.hasFragment());
        }
    }

    void knowsWhoCanPair_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QByteArrayList>("txt");
        QTest::addColumn<bool>("canPair");
        const QString transfer = transferServiceType.toString();
        const QByteArray fp = "fp=" + fingerprint;
        const auto row = [&](const char *name, const QByteArrayList &txt, bool canPair = false) {
            QTest::newRow(name) << transfer << txt << canPair;
        };
        row("all there", {"sessionId=s", fp}, true);
        row("no session", {fp});
        row("empty session", {"sessionId=", fp});
        row("no fingerprint", {"sessionId=s"});
        row("separated fingerprint", {"sessionId=s", "fp=aa:" + fingerprint.sliced(2)});
        row("short fingerprint", {"sessionId=s", fp.chopped(1)});
        row("foreign digits", {"sessionId=s", fp.chopped(1) + "\xD9\xA1"});
        row("plain HTTP", {"scheme=http", "sessionId=s", fp});
        QTest::newRow("older camera") << legacyServiceType.toString()
                                      << QByteArrayList{"scheme=https", "sessionId=s", fp} << false;
    }

    void knowsWhoCanPair()
    {
        QFETCH(const QString, type);
        QFETCH(const QByteArrayList, txt);
        const DiscoveredDevice device = discoveredDevice(service(type, txt)).value();
        QTEST(device.supportsAuthenticatedTransfer(), "canPair");
        // Whoever has a fingerprint to pair with has one to be compared by.
        const bool isComparable = txt.contains("fp=" + fingerprint);
        QCOMPARE(device.fingerprintDisplay() != u"Unavailable"_s, isComparable);
        if (txt.front().startsWith("scheme="))
            QCOMPARE(u"scheme="_s + device.catalogURL.scheme(), QString::fromLatin1(txt.front()));
    }
};

QTEST_GUILESS_MAIN(DiscoveredDeviceTest)
#include "discovered_device_test.moc"
