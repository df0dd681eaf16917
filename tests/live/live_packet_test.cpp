// SPDX-License-Identifier: Apache-2.0

#include "live/json_values.h"
#include "live/live_packet.h"
#include "packets.h"

#include <QtTest>

#include <limits>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

QJsonValue parsed(const char *text)
{
    return object(("{'x':" + QByteArray(text) + '}').constData()).value(u"x");
}

QByteArray json(QByteArray text)
{
    return text.replace('\'', '"');
}

template <class Number> QString shown(const std::optional<Number> &number)
{
    return number ? QString::number(*number, 'g', 17) : u"-"_s;
}
QString shown(const std::optional<std::int64_t> &number)
{
    return number ? QString::number(*number) : u"-"_s;
}

} // namespace

class LivePacketTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void readsValuesInFourWays_data()
    {
        QTest::addColumn<QString>("exact");
        QTest::addColumn<QString>("strict");
        QTest::addColumn<QString>("integer");
        QTest::addColumn<QString>("number");
        const auto row = [](const char *text, QString exact, QString strict, QString integer,
                            QString number) {
            QTest::newRow(text) << exact << strict << integer << number;
        };
        row("1", u"1"_s, u"-"_s, u"1"_s, u"1"_s);
        row("1.0", u"1"_s, u"-"_s, u"1"_s, u"1"_s);
        row("1e2", u"100"_s, u"-"_s, u"100"_s, u"100"_s);
        row("-0.0", u"0"_s, u"-"_s, u"0"_s, u"0"_s);
        row("1.9", u"-"_s, u"-"_s, u"1"_s, u"1.8999999999999999"_s);
        row("-1.9", u"-"_s, u"-"_s, u"-1"_s, u"-1.8999999999999999"_s);
        row("true", u"-"_s, u"1"_s, u"1"_s, u"1"_s);
        row("false", u"-"_s, u"0"_s, u"0"_s, u"0"_s);
        row("null", u"-"_s, u"-"_s, u"-"_s, u"-"_s);
        row("'1'", u"-"_s, u"-"_s, u"-"_s, u"-"_s);
        row("[1]", u"-"_s, u"-"_s, u"-"_s, u"-"_s);
        row("9007199254740993", u"9007199254740993"_s, u"-"_s, u"9007199254740993"_s,
            u"9007199254740992"_s);
        row("9223372036854775807", u"9223372036854775807"_s, u"-"_s, u"9223372036854775807"_s,
            u"9.2233720368547758e+18"_s);
        row("9223372036854775808", u"-"_s, u"-"_s, u"-"_s, u"9.2233720368547758e+18"_s);
        row("-9223372036854775808", u"-9223372036854775808"_s, u"-"_s, u"-9223372036854775808"_s,
            u"-9.2233720368547758e+18"_s);
        row("1e300", u"-"_s, u"-"_s, u"-"_s, u"1.0000000000000001e+300"_s);
    }

    void readsValuesInFourWays()
    {
        QFETCH(const QString, exact);
        QFETCH(const QString, strict);
        QFETCH(const QString, integer);
        QFETCH(const QString, number);
        const QJsonValue value = parsed(QTest::currentDataTag());
        QCOMPARE(shown(exactInteger(value)), exact);
        const auto boolean = strictBoolean(value);
        QCOMPARE(boolean ? QString::number(int(*boolean)) : u"-"_s, strict);
        QCOMPARE(shown(intValue(value)), integer);
        QCOMPARE(shown(doubleValue(value)), number);
    }

    void readsSnapshots_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("sender"); // empty: refused
        QTest::addColumn<QString>("type");
        const auto row = [](const char *name, const QByteArray &text, QString sender = {},
                            QString type = u"status"_s) {
            QTest::newRow(name) << json(text) << sender << type;
        };
        row("status", "{'v':1,'type':'status','sender':'a','payload':{}}", u"a"_s);
        const QByteArray padded = "{'v':1,'type':'status','sender':'a','payload':{}}";
        row("longest", padded.leftJustified(maximumPacketBytes, ' '), u"a"_s);
        row("a byte too long", padded.leftJustified(maximumPacketBytes + 1, ' '));
        row("announce", "{'v':1,'type':'announce','sender':'a','payload':{}}", u"a"_s,
            u"announce"_s);
        row("capitals", "{'v':1.0,'type':'STATUS','sender':'a','payload':{}}", u"a"_s);
        row("a mark in front", "{'v':1,'type':'status','sender':'\xEF\xBB\xBF','payload':{}}",
            u"\uFEFF"_s);
        row("id alone", "{'v':1,'type':'status','payload':{'id':'b'}}", u"b"_s);
        row("sender is a number", "{'v':1,'type':'status','sender':7,'payload':{'id':'b'}}",
            u"b"_s);
        row("id is a number", "{'v':1,'type':'status','sender':'a','payload':{'id':7}}", u"a"_s);
        row("id differs in case", "{'v':1,'type':'status','sender':'a','payload':{'id':'A'}}");
        row("nobody", "{'v':1,'type':'status','payload':{}}");
        row("empty sender", "{'v':1,'type':'status','sender':'','payload':{}}");
        row("empty sender beside an id",
            "{'v':1,'type':'status','sender':'','payload':{'id':'b'}}");
        row("version as text", "{'v':'1','type':'status','sender':'a','payload':{}}");
        row("no version", "{'type':'status','sender':'a','payload':{}}");
        row("other type", "{'v':1,'type':'hello','sender':'a','payload':{}}");
        row("command", "{'v':1,'type':'command','sender':'a','payload':{}}");
        row("no type", "{'v':1,'sender':'a','payload':{}}");
        row("no payload", "{'v':1,'type':'status','sender':'a'}");
        row("payload is a list", "{'v':1,'type':'status','sender':'a','payload':[]}");
        row("more behind", "{'v':1,'type':'status','sender':'a','payload':{}}{}");
        row("no JSON number", "{'v':1,'type':'status','sender':'a','payload':{'x':NaN}}");
        const QString longest(64, u'ü');
        row("sender of 128 bytes",
            "{'v':1,'type':'status','sender':'" + longest.toUtf8() + "','payload':{}}", longest);
        row("sender of 129 bytes",
            "{'v':1,'type':'status','sender':'" + longest.toUtf8() + "x','payload':{}}");
    }

    void readsSnapshots()
    {
        QFETCH(const QByteArray, text);
        QFETCH(const QString, sender);
        QFETCH(const QString, type);
        const auto read = decodePacket(bytesOf(text));
        QCOMPARE(read.has_value(), !sender.isEmpty());
        QVERIFY(!decodeTransferModeResponse(bytesOf(text)));
        if (!read)
            return;
        QCOMPARE(read->sender, sender);
        QCOMPARE(read->cameraID(), sender);
        QCOMPARE(read->type, type);
    }

    void tellsStampsThatAreThereFromThoseThatAreNot()
    {
        const auto stamped =
            decodePacket(bytesOf(json("{'v':1,'type':'status','sender':'a','payload':{'battery':5},"
                                      "'sessionId':null,'seq':'x'}")));
        QVERIFY(stamped);
        QVERIFY(stamped->hasSessionID() && stamped->sessionID.isNull());
        QVERIFY(stamped->hasSequence());
        QCOMPARE(stamped->sequence.toString(), u"x"_s);
        QVERIFY(!stamped->hasSentMs());
        QCOMPARE(stamped->payload, object("{'battery':5}"));
    }

    void readsAnswers_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("isRead");
        const auto row = [](const char *name, const QByteArray &payload, bool isRead = false,
                            const QByteArray &head = "'v':1,'type':'Command','sender':'a'") {
            QTest::newRow(name) << json('{' + head + ",'payload':{" + payload + "}}") << isRead;
        };
        const QByteArray decision = "'action':'TRANSFER_MODE_ACK','requestId':'r'";
        row("pending", "'action':'TRANSFER_MODE_PENDING','requestId':'r'", true);
        row("decision", decision + ",'accepted':7", true);
        row("action in small letters", "'action':'transfer_mode_ack','requestId':'r'");
        row("our own command", "'action':'REQUEST_TRANSFER_MODE','requestId':'r'");
        row("no request", "'action':'TRANSFER_MODE_ACK'");
        row("request of 65 bytes",
            "'action':'TRANSFER_MODE_ACK','requestId':'" + QByteArray(65, 'r') + '\'');
        row("no sender", decision + ",'id':'a'", false, "'v':1,'type':'command'");
        row("version 2", decision, false, "'v':2,'type':'command','sender':'a'");
        row("a status", decision, false, "'v':1,'type':'status','sender':'a'");
    }

    void readsAnswers()
    {
        QFETCH(const QByteArray, text);
        QFETCH(const bool, isRead);
        const auto answer = decodeTransferModeResponse(bytesOf(text));
        QCOMPARE(answer.has_value(), isRead);
        if (!answer)
            return;
        QCOMPARE(answer->sender, u"a"_s);
        QCOMPARE(answer->payload.value(u"requestId").toString(), u"r"_s);
        QVERIFY(!decodePacket(bytesOf(text)));
    }
};

QTEST_APPLESS_MAIN(LivePacketTest)
#include "live_packet_test.moc"
