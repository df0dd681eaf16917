// Listens to the rig's phones and reads their bytes by itself.

#include "phone_ear.h"
#include "preview_viewer.h"
#include "rig/phone/phone_link.h"
#include "rig/phone/phone_packets.h"
#include "rig_phones.h"
#include "support.h"

#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>
#include <QUdpSocket>
#include <QUuid>

#include <cmath>
#include <functional>
#include <set>

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

const QHostAddress desktop(u"10.77.0.1"_s);
const QString collectorId = u"4a6c0d1e-2f53-4e0b-9b7a-6a3d5b1f9c20"_s;

QByteArray transferCommand(const QString &target, const QJsonObject &changes = {})
{
    QJsonObject payload{{u"action"_s, u"REQUEST_TRANSFER_MODE"_s},
                        {u"target"_s, target},
                        {u"requestId"_s, u"request-1"_s},
                        {u"collectorName"_s, u"Studio"_s}};
    for (auto change = changes.begin(); change != changes.end(); ++change)
        payload.insert(change.key(), change.value());
    return rig::compactJson({{u"v"_s, 1},
                             {u"type"_s, u"command"_s},
                             {u"sender"_s, collectorId},
                             {u"sentMs"_s, qint64{1'800'000'000'000}},
                             {u"payload"_s, payload}});
}

} // namespace

class PhonesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_rig.must(u"all reset"_s);
        m_rig.must(u"all interval 50"_s); // seconds would only make the tests longer
        m_ear.drain();
    }

    void eachPhoneSpeaksFromItsAddressBothWays()
    {
        for (int index = 0; index < 4; ++index) {
            const QString camera = u"cam-"_s + QChar(u'a' + index);
            for (const QHostAddress &to : {Ear::group, desktop}) {
                const Heard heard = m_ear.next([&](const Heard &candidate) {
                    return candidate.sender() == camera && candidate.to == to;
                });
                QCOMPARE(heard.from.toString(), addressOf(index));
                QVERIFY(heard.bytes.size() < 1200);
                QCOMPARE(heard.envelope[u"v"_s], QJsonValue(1));
                const QJsonObject payload = heard.payload();
                QCOMPARE(payload[u"id"_s].toString(), camera);
                QVERIFY(payload[u"name"_s].toString().endsWith(u"'s phone"_s));
                QCOMPARE(payload[u"aspect"_s].toString(), index % 2 ? u"9:16"_s : u"16:9"_s);
                QVERIFY(payload[u"leftDb"_s].toDouble(1) < 0);
                QCOMPARE(payload[u"previewCapabilities"_s][u"persistentModes"_s].toArray(),
                         QJsonArray({4, 5}));
                QCOMPARE(payload[u"previewTransport"_s][u"codec"_s].toString(), u"JPEG"_s);
            }
        }
    }

    void stampsAreThoseOfTheForm_data()
    {
        QTest::addColumn<QString>("form");
        QTest::addColumn<QStringList>("keys");
        const QStringList always{u"payload"_s, u"sender"_s, u"type"_s, u"v"_s};
        QTest::newRow("current") << u"current"_s
                                 << always + QStringList{u"sentMs"_s, u"seq"_s, u"sessionId"_s};
        QTest::newRow("legacy") << u"legacy"_s << always + QStringList{u"sentMs"_s};
        QTest::newRow("bare") << u"bare"_s << always;
    }

    void stampsAreThoseOfTheForm()
    {
        QFETCH(const QString, form);
        QFETCH(QStringList, keys);
        m_rig.must(u"cam-a form "_s + form);
        m_rig.must(u"cam-a wake"_s); // speaks at once
        const Heard heard = m_ear.next([&](const Heard &candidate) {
            return candidate.sender() == u"cam-a"
                   && candidate.envelope.contains(u"seq"_s) == (form == u"current");
        });
        keys.sort();
        QCOMPARE(heard.envelope.keys(), keys);
    }

    void aRestartBeginsANewSession()
    {
        m_rig.must(u"cam-a status unicast"_s);
        m_rig.must(u"cam-a interval 5"_s);
        m_ear.drain();
        const Heard first = m_ear.nextOf(u"cam-a"_s);
        const Heard second = m_ear.nextOf(u"cam-a"_s);
        QCOMPARE(second.sequence(), first.sequence() + 1);
        QCOMPARE(second.envelope[u"sessionId"_s], first.envelope[u"sessionId"_s]);
        QVERIFY(!QUuid(first.envelope[u"sessionId"_s].toString()).isNull());
        Viewer viewer(addressOf(0), 4);
        QCOMPARE(viewer.next(), u"picture"_s);

        m_rig.must(u"cam-a restart"_s);
        const Heard fresh = m_ear.next([&](const Heard &heard) {
            return heard.sender() == u"cam-a"
                   && heard.envelope[u"sessionId"_s] != first.envelope[u"sessionId"_s];
        });
        QCOMPARE(fresh.sequence(), 0);
        QCOMPARE(fresh.envelope[u"type"_s].toString(), u"announce"_s);
        QString last;
        while ((last = viewer.next()) == u"picture") {
        }
        QVERIFY2(last.startsWith(u"end"), qPrintable(last));
    }

    void fieldsClockAndAddressChange()
    {
        m_rig.must(u"cam-a clock -3600000"_s);
        m_rig.must(u"cam-a set battery 12.5"_s);
        m_rig.must(u"cam-a set name \"two words\""_s);
        m_rig.must(u"cam-a unset quality"_s);
        m_rig.must(u"cam-a envelope v true"_s);
        m_rig.must(u"cam-a record take-7"_s);
        m_rig.must(u"cam-a move 10.77.0.20"_s);
        const Heard heard = m_ear.next(
            [](const Heard &candidate) { return candidate.from.toString() == u"10.77.0.20"; });
        const qint64 hourAgo = QDateTime::currentMSecsSinceEpoch() - 3'600'000;
        QVERIFY(std::abs(heard.envelope[u"sentMs"_s].toInteger() - hourAgo) < 60'000);
        QCOMPARE(heard.envelope[u"v"_s], QJsonValue(true));
        const QJsonObject payload = heard.payload();
        QCOMPARE(payload[u"battery"_s].toDouble(), 12.5);
        QCOMPARE(payload[u"name"_s].toString(), u"two words"_s);
        QVERIFY(!payload.contains(u"quality"_s));
        QCOMPARE(payload[u"recording"_s], QJsonValue(true));
        QCOMPARE(payload[u"takeId"_s].toString(), u"take-7"_s);
        QVERIFY(std::abs(payload[u"recordingSinceMs"_s].toInteger() - hourAgo) < 60'000);
        QCOMPARE(Viewer(u"10.77.0.20"_s, 1).next(), u"picture"_s);
        QCOMPARE(Viewer(addressOf(0), 1).next(), u"refused"_s);
    }

    void asleepItSaysNothing()
    {
        Viewer viewer(addressOf(0), 5);
        QCOMPARE(viewer.next(), u"picture"_s);
        m_rig.must(u"cam-a sleep"_s);
        const qint64 next = m_rig.phone(u"cam-a"_s)[u"nextSeq"_s].toInteger();
        const int frames = framesOf(u"cam-a"_s);
        int others = 0;
        (void)m_ear.next([&](const Heard &heard) {
            if (heard.sender() == u"cam-a" && heard.sequence() >= next)
                qFatal("cam-a speaks in its sleep");
            return heard.sender() != u"cam-a" && ++others > 12;
        });
        QCOMPARE(framesOf(u"cam-a"_s), frames);
        m_rig.must(u"cam-a wake"_s);
        (void)m_ear.nextOf(u"cam-a"_s);
        QTRY_VERIFY_WITH_TIMEOUT(framesOf(u"cam-a"_s) > frames, limitMs);
    }

    void theAirDoesWhatItIsToldTo()
    {
        m_rig.must(u"all status off"_s);
        m_rig.must(u"cam-a interval 3600000"_s);
        m_rig.must(u"cam-a status unicast"_s);
        m_rig.must(u"cam-a loss 0.3"_s);
        m_rig.must(u"cam-a duplicate 0.2"_s);
        m_rig.must(u"cam-a reorder 0.1"_s);
        constexpr int sent = 400;
        const QJsonObject before = m_rig.phone(u"cam-a"_s);
        const qint64 first = before[u"nextSeq"_s].toInteger();
        std::set<qint64> heard;
        int repeated = 0;
        int late = 0;
        const auto listen = [&](const Heard &packet) {
            const qint64 sequence = packet.sequence();
            if (packet.sender() != u"cam-a" || sequence < first)
                return;
            late += !heard.empty() && sequence < *heard.rbegin() ? 1 : 0;
            repeated += heard.insert(sequence).second ? 0 : 1;
        };
        for (int number = 0; number < sent; ++number) {
            m_rig.must(u"cam-a wake"_s); // which it tells
            m_ear.drain(listen);
        }
        m_rig.must(u"cam-a send 00"_s);
        (void)m_ear.next([&](const Heard &packet) {
            listen(packet);
            return packet.bytes.size() == 1;
        });
        const QJsonObject after = m_rig.phone(u"cam-a"_s);
        const auto counted = [&](const QString &what) {
            return after[u"sent"_s][what].toInt() - before[u"sent"_s][what].toInt();
        };
        // The last of all may still wait for the next.
        const int waiting = sent - counted(u"lost"_s) - int(heard.size());
        QVERIFY2(waiting == 0 || waiting == 1, qPrintable(QString::number(waiting)));
        QCOMPARE(repeated, counted(u"duplicated"_s));
        QVERIFY(late > 0);
        QVERIFY(late <= 2 * counted(u"reordered"_s));
        // Five standard deviations.
        QVERIFY(std::abs(counted(u"lost"_s) - 0.3 * sent) < 5 * std::sqrt(0.21 * sent));
    }

    void delayHoldsPacketsBack()
    {
        m_rig.must(u"cam-a delay 150-200"_s);
        m_rig.must(u"cam-a set battery 3"_s);
        const Heard heard = m_ear.next(
            [](const Heard &candidate) { return candidate.payload()[u"battery"_s] == 3; });
        QVERIFY(QDateTime::currentMSecsSinceEpoch() - heard.envelope[u"sentMs"_s].toInteger()
                >= 145);
    }

    void theSeedDecidesWhatTheAirDoes()
    {
        const auto fate = [](qint64 seed) {
            QUdpSocket ear;
            ear.bind(QHostAddress::LocalHost);
            rig::PhoneLink link(seed);
            link.open({QHostAddress::LocalHost, 0});
            link.faults = {.loss = 0.3, .duplication = 0.2, .reordering = 0.2};
            for (int number = 0; number < 100; ++number)
                link.send(QByteArray::number(number), {QHostAddress::LocalHost, ear.localPort()});
            link.sendAtOnce("end", {QHostAddress::LocalHost, ear.localPort()});
            QByteArrayList arrived;
            while (arrived.isEmpty() || arrived.last() != "end") {
                if (!ear.hasPendingDatagrams() && !ear.waitForReadyRead(limitMs))
                    qFatal("nothing is heard");
                arrived += ear.receiveDatagram().data();
            }
            return arrived;
        };
        QCOMPARE(fate(5), fate(5));
        QVERIFY(fate(5) != fate(6));
    }

    void requestsForTransferModeAreAnswered_data()
    {
        QTest::addColumn<QStringList>("commands"); // the later ones after the request
        QTest::addColumn<QList<QJsonObject>>("answers");
        const QJsonObject pending{{u"action"_s, u"TRANSFER_MODE_PENDING"_s},
                                  {u"requestId"_s, u"request-1"_s},
                                  {u"target"_s, collectorId}};
        const auto acknowledged = [&](bool isAccepted, const QString &error = {}) {
            QJsonObject answer = pending;
            answer.insert(u"action"_s, u"TRANSFER_MODE_ACK"_s);
            answer.insert(u"accepted"_s, isAccepted);
            if (!error.isEmpty())
                answer.insert(u"error"_s, error);
            return answer;
        };
        QTest::newRow("approve") << QStringList{u"transfer approve"_s}
                                 << QList<QJsonObject>{pending, acknowledged(true)};
        QTest::newRow("decline") << QStringList{u"transfer decline"_s}
                                 << QList<QJsonObject>{pending, acknowledged(false)};
        QTest::newRow("decline, with words")
            << QStringList{u"transfer decline Not now"_s}
            << QList<QJsonObject>{pending, acknowledged(false, u"Not now"_s)};
        QTest::newRow("asked, then approved") << QStringList{u"transfer pending"_s, u"approve"_s}
                                              << QList<QJsonObject>{pending, acknowledged(true)};
        QTest::newRow("asked, then declined")
            << QStringList{u"transfer ask"_s, u"decline   No  "_s}
            << QList<QJsonObject>{pending, acknowledged(false, u"  No"_s)};
        QJsonObject otherTarget = acknowledged(true);
        otherTarget.insert(u"target"_s, u"somebody"_s);
        QTest::newRow("a wrong field")
            << QStringList{u"transfer pending"_s, u"answer target \"somebody\""_s, u"approve"_s}
            << QList<QJsonObject>{pending, otherTarget};
    }

    void requestsForTransferModeAreAnswered()
    {
        QFETCH(const QStringList, commands);
        QFETCH(const QList<QJsonObject>, answers);
        m_rig.must(u"cam-b "_s + commands.first());
        m_ear.say(transferCommand(u"cam-b"_s), addressOf(1));
        for (const QJsonObject &expected : answers) {
            if (&expected != &answers.first())
                for (const QString &command : commands.sliced(1))
                    m_rig.must(u"cam-b "_s + command);
            const Heard answer = m_ear.nextTransferAnswer();
            QCOMPARE(answer.sender(), u"cam-b"_s);
            QCOMPARE(answer.from.toString(), addressOf(1));
            QCOMPARE(answer.payload(), expected);
        }
        const QJsonObject got = m_rig.phone(u"cam-b"_s)[u"commands"_s].toArray().last().toObject();
        QCOMPARE(got[u"text"_s].toString().toUtf8(), transferCommand(u"cam-b"_s));
        QCOMPARE(got[u"objection"_s].toString(), QString());
    }

    void anApprovedPhoneGoesIntoTransferMode()
    {
        m_rig.must(u"all transfer approve"_s);
        m_ear.say(transferCommand(u"cam-c"_s), addressOf(2));
        QTRY_VERIFY_WITH_TIMEOUT(!m_rig.transfer(u"cam-c"_s)[u"isOver"_s].toBool(true), limitMs);
        QCOMPARE(Viewer(addressOf(2), 3).next(), u"refused"_s);
        (void)m_ear.nextOf(u"cam-c"_s);
        m_rig.must(u"cam-c move 10.77.0.23"_s);
        const QJsonObject moved = m_rig.transfer(u"cam-c"_s);
        QVERIFY(moved[u"catalogURL"_s].toString().startsWith(u"https://10.77.0.23:"_s));
        QCOMPARE(Viewer(u"10.77.0.23"_s, 3).next(), u"refused"_s);
        m_rig.must(u"cam-c restart"_s);
        QCOMPARE(m_rig.transfer(u"cam-c"_s)[u"isListening"_s], QJsonValue(false));
        QVERIFY(Viewer(u"10.77.0.23"_s, 3).next() != u"refused"_s);
    }

    // Attributes stand in the datagrams of multicast DNS as they are (RFC 6763 section 6).
    void aServerIsAnnounced()
    {
        QUdpSocket socket;
        QVERIFY(socket.bind(QHostAddress::AnyIPv4, 5353,
                            QUdpSocket::ShareAddress | QUdpSocket::ReuseAddressHint));
        QVERIFY(socket.joinMulticastGroup(QHostAddress(u"224.0.0.251"_s),
                                          QNetworkInterface::interfaceFromName(u"lab0"_s)));
        const auto hear = [&](const QByteArray &attribute) {
            // Before a name is its own, a phone asks for it (RFC 6762 section 8.1).
            constexpr int flagsPlace = 2;
            QByteArray datagram(12, '\0');
            while ((datagram.at(flagsPlace) & 0x80) == 0
                   || !datagram.contains(char(attribute.size()) + attribute)) {
                if (!socket.hasPendingDatagrams() && !socket.waitForReadyRead(limitMs))
                    qFatal("nobody announces %s", attribute.constData());
                datagram = socket.receiveDatagram().data();
            }
            return datagram;
        };
        m_rig.must(u"cam-d server on"_s);
        const QJsonObject state = m_rig.transfer(u"cam-d"_s);
        const QByteArray datagram = hear("fp=" + state[u"fingerprint"_s].toString().toLatin1());
        for (const QByteArray &expected :
             {QByteArrayLiteral("\x0E_vorn-transfer\x04_tcp"),
              QByteArrayLiteral("\x0Cscheme=https"),
              QByteArrayLiteral("\x18"
                                "catalog=/vorn/v1/catalog"),
              QByteArrayLiteral("\x12pair=/vorn/v1/pair"),
              QByteArrayLiteral("\x0C"
                                "foreground=1"),
              "sessionId=" + state[u"sessionId"_s].toString().toLatin1()})
            QVERIFY2(datagram.contains(expected), expected.constData());
        m_rig.must(u"cam-d txt fp abc"_s);
        (void)hear("fp=abc");
    }

    void onlyProperRequestsAreAnswered()
    {
        m_rig.must(u"all transfer approve"_s);
        const QList<std::pair<QByteArray, QString>> wrong{
            {transferCommand(u"cam-c"_s), u"target is another camera"_s},
            {transferCommand(u"cam-a"_s, {{u"collectorName"_s, QString(33, u'x')}}),
             u"collectorName is not from 1 to 32 characters"_s},
            {transferCommand(u"cam-a"_s, {{u"extra"_s, 1}}),
             u"a value of the payload is no string"_s},
            {"nonsense", u"v is not 1"_s}};
        for (const auto &[bytes, objection] : wrong)
            m_ear.say(bytes, addressOf(0));
        m_rig.must(u"cam-a answer-from 10.77.0.26"_s);
        m_ear.say(transferCommand(u"cam-a"_s), addressOf(0));
        QCOMPARE(m_ear.nextTransferAnswer().from.toString(), u"10.77.0.26"_s);
        const QJsonArray got = m_rig.phone(u"cam-a"_s)[u"commands"_s].toArray();
        QCOMPARE(got.size(), wrong.size() + 1);
        for (qsizetype index = 0; index < wrong.size(); ++index)
            QCOMPARE(got[index][u"objection"_s].toString(), wrong[index].second);
        m_rig.must(u"cam-a transfer silent"_s);
        m_ear.say(transferCommand(u"cam-a"_s), addressOf(0));
        QTRY_COMPARE_WITH_TIMEOUT(m_rig.phone(u"cam-a"_s)[u"commands"_s].toArray().size(),
                                  wrong.size() + 2, limitMs);
        QCOMPARE(m_rig.phone(u"cam-a"_s)[u"isTransferWaiting"_s].toBool(true), false);
    }

    void hostileDatagramsArrive()
    {
        m_rig.must(u"all status off"_s);
        for (const auto &[name, size] : std::initializer_list<std::pair<QString, qsizetype>>{
                 {u"largest"_s, 8192}, {u"oversized"_s, 8193}, {u"0001ff"_s, 3}, {u"empty"_s, 0}}) {
            m_rig.must(u"cam-a send "_s + name);
            QCOMPARE(m_ear.next([&](const Heard &heard) { return heard.bytes.size() == size; })
                         .from.toString(),
                     addressOf(0));
        }
        for (const QString &line : rig::hostilePacketHelp())
            m_rig.must(u"cam-a send "_s + line.trimmed().section(u' ', 0, 0));
    }

    void aStormIsManyCameras()
    {
        m_rig.must(u"storm 200 4000"_s);
        std::set<QString> cameras;
        (void)m_ear.next([&](const Heard &heard) {
            if (heard.sender().startsWith(u"storm-"))
                cameras.insert(heard.sender());
            return cameras.size() == 200;
        });
        m_rig.must(u"storm 0"_s);
        const QJsonValue sent = m_rig.state()[u"storm"_s][u"sent"_s];
        (void)m_ear.nextOf(u"cam-a"_s);
        QCOMPARE(m_rig.state()[u"storm"_s][u"sent"_s], sent);
    }

    void aScenarioRunsByItself()
    {
        const QString path = m_folder.filePath(u"scenario"_s);
        writePlain(path,
                   "# A phone with a name of its own.\n\n+0.2 cam-a set name \"from a file\"\n"
                   "+0.3 cam-a wake\n");
        RigPhones another(
            {.count = 1, .more = {u"--address"_s, u"10.77.0.21"_s, u"--scenario"_s, path}});
        QCOMPARE(m_ear
                     .next([](const Heard &heard) {
                         return heard.payload()[u"name"_s] == u"from a file"_s;
                     })
                     .from.toString(),
                 u"10.77.0.21"_s);
    }

    void wrongCommandsAreToldSo()
    {
        for (const QString &line :
             {u""_s, u"cam-z sleep"_s, u"cam-a fly"_s, u"cam-a loss 2"_s, u"cam-a loss nan"_s,
              u"cam-a delay 9-3"_s, u"cam-a set battery"_s, u"cam-a set battery x"_s,
              u"cam-a move 300.1.1.1"_s, u"cam-a wall 10x10@30"_s, u"cam-a send xyz"_s,
              u"cam-a preview upside-down"_s, u"cam-a approve"_s, u"storm many"_s})
            QVERIFY2(m_rig.command(line).startsWith(u"error "), qPrintable(line));
        QVERIFY(m_rig.must(u"help"_s).contains(u"cam-a loss 0.3"_s));
    }

    void withoutALabItStandsOnLoopback()
    {
        QUdpSocket ear;
        QVERIFY(ear.bind(QHostAddress::LocalHost));
        const QByteArray lab = qgetenv("VORN_LAB_PHONES");
        qunsetenv("VORN_LAB_PHONES");
        RigPhones local({.count = 2, .desktop = u"127.0.0.1:%1"_s.arg(ear.localPort())});
        qputenv("VORN_LAB_PHONES", lab);
        QVERIFY(ear.waitForReadyRead(limitMs));
        QCOMPARE(ear.receiveDatagram().senderAddress().toString(), u"127.0.0.2"_s);
        const QJsonObject phone = local.phone(u"cam-b"_s);
        QCOMPARE(Viewer(u"127.0.0.3"_s, 4, quint16(phone[u"previewPort"_s].toInt())).next(),
                 u"picture"_s);
    }

    // A test that is killed must not leave phones behind, which hold their addresses.
    void itEndsWithItsParent()
    {
        const QString control = m_folder.filePath(u"orphan"_s);
        QProcess parent;
        parent.start(
            u"sh"_s,
            {u"-c"_s, u"'%1' phones --address 127.0.0.2 --port 0 --preview-port 0 --desktop none "
                      "--control '%2'; true"_s.arg(QStringLiteral(VORN_RIG), control)});
        QVERIFY(parent.waitForReadyRead(limitMs));
        QVERIFY(QFile::exists(control));
        parent.kill();
        QVERIFY(parent.waitForFinished(limitMs));
        QTRY_VERIFY_WITH_TIMEOUT(!QFile::exists(control), limitMs);
    }

private:
    int framesOf(const QString &camera)
    {
        return m_rig.phone(camera)[u"preview"_s][u"frames"_s][u"5"_s].toInt();
    }

    QTemporaryDir m_folder;
    Ear m_ear;
    RigPhones m_rig;
};

QTEST_MAIN(PhonesTest)
#include "phones_test.moc"
