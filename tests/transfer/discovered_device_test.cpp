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
        const auto host = u"phone.local"_s;
        const auto path = [&](const char *name, const QByteArray &text, const char *encoded) {
            QTest::newRow(name) << host << "catalog=" + text
                                << u"https://phone.local:8443"_s + QLatin1StringView(encoded);
        };
        path("path of another host", "//evil/x", "//evil/x");
        path("path with an address", "https://evil/x", "/https://evil/x");
        path("path like a user", "@evil", "/@evil");
        path("path like a port", ":80/x", "/:80/x");
        path("path with a query", "/a?b=c", "/a%3Fb=c");
        path("path with a fragment", "/a#b", "/a%23b");
        path("path with escapes", "/a%2Fb%00%", "/a%252Fb%2500%25");
        path("path with lines", "/a\r\nHost: evil", "/a%0D%0AHost:%20evil");
        path("path with dots", "/../../x", "/../../x");
        path("path with NUL", QByteArray("/a\0b", 4), "/a%00b");
        path("path with backslashes", "\\\\evil\\x", "/%5C%5Cevil%5Cx");

        const auto scheme = [&](const char *name, const QByteArray &text, const QString &address) {
            QTest::newRow(name) << host << "scheme=" + text << address;
        };
        scheme("scheme in capitals", "HTTPS", u"https://phone.local:8443/vorn/v1/catalog"_s);
        scheme("another scheme", "http", u"http://phone.local:8443/vorn/v1/catalog"_s);
        scheme("empty scheme", "", u"https://phone.local:8443/vorn/v1/catalog"_s);
        scheme("scheme with a host", "https://evil", {});
        scheme("scheme with a colon", "https:", {});
        scheme("scheme with lines", "https\r\n", {});
        scheme("scheme with NUL", QByteArray("https\0", 6), {});
        scheme("scheme with a blank", " https", {});

        QTest::newRow("one dot goes")
            << u"phone.local."_s << QByteArray() << u"https://phone.local:8443/vorn/v1/catalog"_s;
        QTest::newRow("host that is not ASCII")
            << u"Télé.local."_s << QByteArray()
            << u"https://xn--tl-bjab.local:8443/vorn/v1/catalog"_s;
        for (const char *bad :
             {"", ".", "evil@phone.local", "phone.local:80", "phone.local/x", "phone.local?",
              "phone.local#", "pho ne.local", "pho%6ee.local", "pho\\nne.local", "[::1"})
            QTest::addRow("host \"%s\"", bad) << QString::fromLatin1(bad) << QByteArray() << u""_s;
        QTest::newRow("host with lines") << u"phone.local\r\n"_s << QByteArray() << u""_s;
        QTest::newRow("host with NUL") << u"phone\0.local"_s << QByteArray() << u""_s;
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

    void needsAPort()
    {
        ResolvedService closed = service(transferServiceType);
        closed.port = 0;
        QVERIFY(!discoveredDevice(closed));
        closed.port = 65535;
        QCOMPARE(discoveredDevice(closed).value().catalogURL.port(), 65535);
    }

    void knowsWhoCanPair_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QByteArrayList>("txt");
        QTest::addColumn<bool>("canPair");
        const auto transfer = transferServiceType.toString();
        const QByteArray fp = "fp=" + fingerprint;
        QTest::newRow("all there") << transfer << QByteArrayList{"sessionId=s", fp} << true;
        QTest::newRow("no session") << transfer << QByteArrayList{fp} << false;
        QTest::newRow("empty session") << transfer << QByteArrayList{"sessionId=", fp} << false;
        QTest::newRow("no fingerprint") << transfer << QByteArrayList{"sessionId=s"} << false;
        QTest::newRow("separated fingerprint")
            << transfer << QByteArrayList{"sessionId=s", "fp=aa:" + fingerprint.sliced(2)} << false;
        QTest::newRow("short fingerprint")
            << transfer << QByteArrayList{"sessionId=s", fp.chopped(1)} << false;
        QTest::newRow("no hexadecimal")
            << transfer << QByteArrayList{"sessionId=s", fp.chopped(1) + 'g'} << false;
        QTest::newRow("foreign digits")
            << transfer << QByteArrayList{"sessionId=s", fp.chopped(1) + "\xD9\xA1"} << false;
        QTest::newRow("plain HTTP")
            << transfer << QByteArrayList{"scheme=http", "sessionId=s", fp} << false;
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

    void tellsSessionsApart()
    {
        const DiscoveredDevice first = transferDevice({"sessionId=1"});
        DiscoveredDevice second = transferDevice({"sessionId=2"});
        QVERIFY(first.id() != second.id() && first != second);
        // Where the host is may change; the row stays, and is not the same.
        second = first;
        second.address = QHostAddress(u"10.77.0.12"_s);
        QVERIFY(first.id() == second.id() && first != second);
    }
};

QTEST_GUILESS_MAIN(DiscoveredDeviceTest)
#include "discovered_device_test.moc"
