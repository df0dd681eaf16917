// Talks to the phones' servers of Transfer Mode with curl and with Qt's TLS.

#include "base/digest.h"
#include "base/files.h"
#include "fetch.h"
#include "preview_viewer.h"
#include "rig/film/take.h"
#include "rig_phones.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QGuiApplication>
#include <QJsonArray>
#include <QRegularExpression>
#include <QSet>
#include <QSslCertificate>
#include <QSslSocket>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <optional>

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

constexpr int limitMs = 20'000; // far longer than anything takes
constexpr int timeUp = 28;      // curl's exit code

QString digestOf(const QByteArray &bytes)
{
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
}

// One computer's view of one phone in Transfer Mode.
class Guest {
public:
    Guest(RigPhones &rig, const QString &camera) : m_rig(rig), m_camera(camera)
    {
        m_rig.must(m_camera + u" server on"_s);
        const QJsonObject state = this->state();
        m_catalogUrl = state[u"catalogURL"_s].toString();
        m_sessionId = state[u"sessionId"_s].toString();
    }

    QJsonObject state() const { return m_rig.transfer(m_camera); }

    QString url(const QString &path) const
    {
        return QString(m_catalogUrl).replace(u"/vorn/v1/catalog"_s, path);
    }

    QJsonObject pairingBody() const
    {
        const QJsonObject state = this->state();
        return {{u"schemaVersion"_s, 1},
                {u"requestId"_s, u"0d5c8f0a-60c2-4d1e-a2a5-6a34f8a52a11"_s},
                {u"collectorId"_s, u"4A6C0D1E-2F53-4E0B-9B7A-6A3D5B1F9C20"_s},
                {u"collectorName"_s, u"Studio"_s},
                {u"pairingCode"_s, state[u"code"_s]},
                {u"certificateSHA256"_s, state[u"fingerprint"_s]}};
    }

    Fetched post(const QJsonObject &body, const QStringList &more = {}) const
    {
        return fetch(url(u"/vorn/v1/pair"_s),
                     QStringList{u"--header"_s, u"Content-Type: application/json"_s, u"--header"_s,
                                 u"Accept: application/json"_s, u"--data-binary"_s,
                                 QString::fromUtf8(QJsonDocument(body).toJson())}
                         + more);
    }

    Fetched pair()
    {
        const Fetched answer = post(pairingBody());
        m_token = answer.json()[u"bearerToken"_s].toString();
        return answer;
    }

    Fetched get(const QString &path, const QStringList &more = {}) const
    {
        return fetch(url(path), QStringList{u"--header"_s, u"Authorization: Bearer "_s + m_token,
                                            u"--header"_s, u"X-VORN-Session-ID: "_s + m_sessionId}
                                    + more);
    }
    Fetched catalog() const { return get(u"/vorn/v1/catalog"_s); }
    Fetched end() const { return get(u"/vorn/v1/session/end"_s, {u"--request"_s, u"POST"_s}); }

    /// The first clip of the catalog.
    QJsonObject firstClip() const
    {
        return catalog().json()[u"projects"_s][0][u"takes"_s][0][u"clips"_s][0].toObject();
    }

private:
    RigPhones &m_rig;
    QString m_camera;
    QString m_catalogUrl;
    QString m_sessionId;
    QString m_token;
};

} // namespace

class TransferServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        rig::makeTake({.cameras = 2, .seconds = 4, .fps = {10, 1}}, m_folder.filePath(u"one"_s));
        rig::makeTake({.cameras = 1, .seconds = 4, .fps = {10, 1}, .number = 2},
                      m_folder.filePath(u"two"_s));
        m_rig = std::make_unique<RigPhones>(RigPhonesOptions{
            .count = 2,
            .media = m_folder.path(),
            .clips = 1,
            .more = {u"--clip-bytes"_s, u"3000000"_s, u"--unassigned"_s, u"cam-b"_s}});
    }

    void init() { m_rig->must(u"all reset"_s); }

    void pairsOnceAndTellsEightThings()
    {
        Guest guest(*m_rig, u"cam-a"_s);
        const QJsonObject state = guest.state();
        QVERIFY(QRegularExpression(u"^[0-9]{6}$"_s).match(state[u"code"_s].toString()).hasMatch());
        const QString fingerprint = state[u"fingerprint"_s].toString();
        QCOMPARE(state[u"shownFingerprint"_s].toString().remove(u' ').toLower(),
                 fingerprint.first(32));
        const QJsonObject body = guest.pairingBody();
        const Fetched answer = guest.pair();
        QCOMPARE(answer.status, 200);
        const QJsonObject told = answer.json();
        QCOMPARE(told.keys(), QStringList({u"bearerToken"_s, u"certificateSHA256"_s, u"deviceId"_s,
                                           u"expiresAt"_s, u"foregroundOnly"_s, u"schemaVersion"_s,
                                           u"scopes"_s, u"sessionId"_s}));
        QCOMPARE(told[u"certificateSHA256"_s].toString(), fingerprint);
        QCOMPARE(told[u"sessionId"_s], state[u"sessionId"_s]);
        QVERIFY(told[u"bearerToken"_s].toString().size() >= 32);
        const qint64 seconds = QDateTime::currentDateTimeUtc().secsTo(
            QDateTime::fromString(told[u"expiresAt"_s].toString(), Qt::ISODateWithMs));
        QVERIFY2(seconds > 800 && seconds <= 900, qPrintable(QString::number(seconds)));
        QCOMPARE(guest.post(body).status, 403); // that code is spent
        QCOMPARE(guest.catalog().status, 200);

        const QString certificate = fingerprintOf(guest);
        QCOMPARE(certificate, fingerprint);
        Guest later(*m_rig, u"cam-a"_s);
        QVERIFY(later.state()[u"fingerprint"_s] != state[u"fingerprint"_s]);
        QVERIFY(later.state()[u"sessionId"_s] != state[u"sessionId"_s]);
    }

    void refusesWhatIsNoPairing_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<int>("status");
        QTest::newRow("version") << u"schemaVersion"_s << QJsonValue(2) << 400;
        QTest::newRow("upper case")
            << u"requestId"_s << QJsonValue(u"0D5C8F0A-60C2-4D1E-A2A5-6A34F8A52A11"_s) << 400;
        QTest::newRow("no collector") << u"collectorId"_s << QJsonValue(u"me"_s) << 400;
        QTest::newRow("no name") << u"collectorName"_s << QJsonValue(u""_s) << 400;
        QTest::newRow("64 characters")
            << u"collectorName"_s << QJsonValue(u"\U0001F469\u200D\U0001F680"_s.repeated(64))
            << 200;
        QTest::newRow("65 characters")
            << u"collectorName"_s << QJsonValue(QString(65, u'x')) << 400;
        QTest::newRow("code is a number") << u"pairingCode"_s << QJsonValue(123456) << 400;
        QTest::newRow("code is wrong") << u"pairingCode"_s << QJsonValue(u"12345x"_s) << 403;
        QTest::newRow("certificate")
            << u"certificateSHA256"_s << QJsonValue(QString(64, u'0')) << 400;
        QTest::newRow("one key less") << u"requestId"_s << QJsonValue(QJsonValue::Undefined) << 400;
        QTest::newRow("one key more") << u"more"_s << QJsonValue(1) << 400;
    }

    void refusesWhatIsNoPairing()
    {
        QFETCH(const QString, key);
        QFETCH(const QJsonValue, value);
        QFETCH(const int, status);
        const Guest guest(*m_rig, u"cam-a"_s);
        QJsonObject body = guest.pairingBody();
        body.insert(key, value);
        QCOMPARE(guest.post(body).status, status);
        const QJsonObject seen = guest.state()[u"requests"_s].toArray().last().toObject();
        QCOMPARE(seen[u"objection"_s].toString().isEmpty(), status == 200);
    }

    void aCodeMayBeTriedThreeTimes()
    {
        Guest guest(*m_rig, u"cam-a"_s);
        const QJsonObject body = guest.pairingBody();
        QJsonObject wrong = body;
        wrong.insert(u"pairingCode"_s, u"wrong!"_s);
        for (int number = 0; number < 3; ++number)
            QCOMPARE(guest.post(wrong).status, 403);
        QCOMPARE(guest.post(body).status, 403);
        m_rig->must(u"cam-a code 007007"_s);
        QCOMPARE(guest.state()[u"code"_s].toString(), u"007007"_s);
        QCOMPARE(guest.pair().status, 200);
    }

    void filesAreServedByRanges()
    {
        Guest guest(*m_rig, u"cam-b"_s);
        QCOMPARE(guest.pair().status, 200);
        const QJsonObject clip = guest.firstClip();
        const QByteArray movie =
            readFile(m_folder.filePath(u"one/"_s + clip[u"fileName"_s].toString()), 1 << 28);
        const QString address = clip[u"downloadURL"_s].toString();
        const qint64 size = movie.size();
        QCOMPARE(clip[u"sizeBytes"_s].toInteger(), size);
        QCOMPARE(clip[u"sha256"_s].toString(), digestOf(movie));
        const Fetched whole = guest.get(address);
        QCOMPARE(whole.status, 200);
        QVERIFY(whole.body == movie);
        for (const auto &[first, last] : std::initializer_list<std::pair<qint64, qint64>>{
                 {0, 0}, {1, 70'000}, {size / 2, size - 1}, {size - 1, size - 1}}) {
            const Fetched part =
                guest.get(address, {u"--range"_s, u"%1-%2"_s.arg(first).arg(last)});
            QCOMPARE(part.status, 206);
            QVERIFY(part.body == movie.sliced(first, last - first + 1));
            QCOMPARE(part.header("content-range").value(0),
                     u"bytes %1-%2/%3"_s.arg(first).arg(last).arg(size).toLatin1());
            QCOMPARE(part.header("content-length").value(0), QByteArray::number(last - first + 1));
            QCOMPARE(part.header("accept-ranges").value(0), "bytes");
            QCOMPARE(part.header("etag").value(0),
                     u"\"sha256:%1\""_s.arg(digestOf(movie)).toLatin1());
            QCOMPARE(part.header("x-vorn-sha256").value(0), digestOf(movie).toLatin1());
        }
        QCOMPARE(guest.get(address, {u"--range"_s, u"%1-"_s.arg(size)}).status, 416);
        QCOMPARE(guest.get(u"/vorn/v1/files/nothing"_s).status, 404);
        const Fetched timing = guest.get(clip[u"timingSidecarURL"_s].toString());
        QCOMPARE(digestOf(timing.body), clip[u"timingSidecarSHA256"_s].toString());
        QCOMPARE(timing.json()[u"anchors"_s], clip[u"anchors"_s]);
    }

    void syntheticClipsHaveTheirDigest()
    {
        Guest guest(*m_rig, u"cam-a"_s);
        guest.pair();
        const QJsonObject clip =
            guest.catalog().json()[u"projects"_s][1][u"takes"_s][0][u"clips"_s][0].toObject();
        const QByteArray bytes = guest.get(clip[u"downloadURL"_s].toString()).body;
        QCOMPARE(bytes.size(), 3'000'000);
        QCOMPARE(digestOf(bytes), clip[u"sha256"_s].toString());
        QVERIFY(bytes.first(1000) != bytes.sliced(1 << 20, 1000));
    }

    void catalogsOfTwoPhonesFitTogether()
    {
        QList<QJsonObject> catalogs;
        for (const QString &camera : {u"cam-a"_s, u"cam-b"_s}) {
            Guest guest(*m_rig, camera);
            guest.pair();
            catalogs += guest.catalog().json();
        }
        QVERIFY(catalogs[0][u"deviceId"_s] != catalogs[1][u"deviceId"_s]);
        const auto shared = [](const QJsonObject &catalog) {
            QJsonObject project = catalog[u"projects"_s][0].toObject();
            QJsonObject take = project[u"takes"_s][0].toObject();
            take.remove(u"clips"_s);
            project.insert(u"takes"_s, QJsonArray{take});
            return project;
        };
        QCOMPARE(shared(catalogs[0]), shared(catalogs[1]));
        QCOMPARE(shared(catalogs[0])[u"takes"_s][0][u"takeId"_s].toString(), u"take-0001"_s);
        // The second take has no clip of cam-b, which alone has one without a project.
        QCOMPARE(catalogs[0][u"projects"_s][0][u"takes"_s].toArray().size(), 2);
        QCOMPARE(catalogs[1][u"projects"_s][0][u"takes"_s].toArray().size(), 1);
        QVERIFY(!catalogs[0].contains(u"unassignedTakes"_s));
        QVERIFY(!catalogs[1][u"unassignedTakes"_s][0].toObject().contains(u"projectId"_s));
        QSet<QString> ids;
        for (const QJsonObject &catalog : catalogs) {
            QJsonArray takes = catalog[u"unassignedTakes"_s].toArray();
            for (const QJsonValue project : catalog[u"projects"_s].toArray())
                for (const QJsonValue take : project[u"takes"_s].toArray())
                    takes += take;
            for (const QJsonValue take : takes) {
                const QJsonArray clips = take[u"clips"_s].toArray();
                QCOMPARE(clips.size(), 1);
                QVERIFY(!ids.contains(clips[0][u"clipId"_s].toString()));
                ids += clips[0][u"clipId"_s].toString();
            }
        }
        QCOMPARE(ids.size(), 6);
    }

    void theStayEnds_data()
    {
        QTest::addColumn<QString>("by");
        QTest::newRow("the computer") << u"end"_s;
        QTest::newRow("the clock") << u"clock"_s;
        QTest::newRow("the phone") << u"phone"_s;
    }

    void theStayEnds()
    {
        QFETCH(const QString, by);
        const auto preview = [&] {
            const int port = m_rig->phone(u"cam-a"_s)[u"previewPort"_s].toInt();
            return Viewer(u"127.0.0.2"_s, 3, quint16(port)).next();
        };
        m_rig->must(u"cam-a expiry "_s + (by == u"clock" ? u"1"_s : u"900"_s));
        Guest guest(*m_rig, u"cam-a"_s);
        QCOMPARE(preview(), u"refused"_s);
        guest.pair();
        if (by != u"clock")
            QCOMPARE(guest.catalog().status, 200);
        if (by == u"end")
            QCOMPARE(guest.end().status, 200);
        else if (by == u"phone")
            m_rig->must(u"cam-a server off"_s);
        QTRY_VERIFY_WITH_TIMEOUT(guest.state()[u"isOver"_s].toBool(), limitMs);
        QVERIFY(preview() != u"refused");
        constexpr int couldNotConnect = 7;
        if (by == u"phone")
            QCOMPARE(guest.catalog().exitCode, couldNotConnect);
        else
            QCOMPARE(guest.catalog().status, 401);
    }

    void onlyTheTokenOpens()
    {
        Guest guest(*m_rig, u"cam-a"_s);
        QCOMPARE(guest.catalog().status, 401);
        guest.pair();
        QCOMPARE(fetch(guest.url(u"/vorn/v1/catalog"_s)).status, 401);
        QCOMPARE(
            guest.get(u"/vorn/v1/catalog"_s, {u"--header"_s, u"Authorization: again"_s}).status,
            401);
        QCOMPARE(guest.get(u"/vorn/v1/pair"_s).status, 405);
        QCOMPARE(guest.get(u"/vorn/v1/catalog?x"_s).status, 404);
        QCOMPARE(guest.catalog().status, 200);
    }

    void answersAreSpoiledAsAsked_data()
    {
        constexpr int whole = 0;
        constexpr int incomplete = 18;
        constexpr int reset = 56;
        QTest::addColumn<QString>("fault");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("bytes");
        QTest::newRow("status") << u"status 404"_s << whole << 404 << 1000;
        QTest::newRow("short") << u"body short 10"_s << whole << 206 << 990;
        QTest::newRow("long") << u"body long 10"_s << whole << 206 << 1010;
        QTest::newRow("ends") << u"body end 100"_s << incomplete << 206 << 100;
        QTest::newRow("cut") << u"body cut 100"_s << reset << 206 << 100;
        QTest::newRow("hangs") << u"body hang 100"_s << timeUp << 206 << 100;
        QTest::newRow("silent") << u"body silent"_s << timeUp << 0 << 0;
        QTest::newRow("chunked") << u"body chunked"_s << whole << 206 << 1000;
        QTest::newRow("text") << u"text {}"_s << whole << 206 << 2;
        QTest::newRow("padding") << u"padding 70000"_s << whole << 206 << 1000;
    }

    void answersAreSpoiledAsAsked()
    {
        QFETCH(const QString, fault);
        QFETCH(const int, exitCode);
        QFETCH(const int, status);
        QFETCH(const int, bytes);
        Guest guest(*m_rig, u"cam-a"_s);
        guest.pair();
        const QString address = guest.firstClip()[u"downloadURL"_s].toString();
        const QStringList range{u"--range"_s, u"0-999"_s};
        const Fetched good = guest.get(address, range);
        m_rig->must(u"cam-a http files "_s + fault);
        const QStringList patience =
            exitCode == timeUp ? QStringList{u"--max-time"_s, u"3"_s} : QStringList{};
        const Fetched spoiled = guest.get(address, range + patience);
        QCOMPARE(spoiled.exitCode, exitCode);
        QCOMPARE(spoiled.status, status);
        QCOMPARE(spoiled.body.size(), bytes);
        if (fault != u"text {}")
            QVERIFY(spoiled.body.startsWith(good.body.first(std::min(bytes, 1000))));
        QCOMPARE(spoiled.header("content-length").isEmpty(),
                 fault == u"body chunked" || fault == u"body silent");
        QCOMPARE(spoiled.head.size() > 70'000, fault == u"padding 70000");
        m_rig->must(u"cam-a http files ok"_s);
        QCOMPARE(guest.get(address, range).body, good.body);
    }

    void headersAreChangedAfterGoodAnswers()
    {
        Guest guest(*m_rig, u"cam-a"_s);
        guest.pair();
        for (const QString &fault :
             {u"good 1"_s, u"header etag none"_s, u"header Accept-Ranges twice"_s,
              u"header X-VORN-SHA256 +other"_s, u"header Location https://127.0.0.9/"_s,
              u"body wrong"_s})
            m_rig->must(u"cam-a http files "_s + fault);
        const QString address = guest.firstClip()[u"downloadURL"_s].toString();
        const Fetched good = guest.get(address);
        const Fetched spoiled = guest.get(address);
        QCOMPARE(good.header("etag").size(), 1);
        QCOMPARE(spoiled.header("etag").size(), 0);
        QCOMPARE(spoiled.header("accept-ranges"), QList<QByteArray>({"bytes", "bytes"}));
        QCOMPARE(spoiled.header("x-vorn-sha256").value(1), "other");
        QCOMPARE(spoiled.header("location").value(0), "https://127.0.0.9/");
        QVERIFY(digestOf(spoiled.body) != digestOf(good.body));
        QCOMPARE(spoiled.body.sliced(1), good.body.sliced(1));
    }

    void slowAnswersLeaveOthersAlone()
    {
        Guest slow(*m_rig, u"cam-a"_s);
        slow.pair();
        m_rig->must(u"cam-a http files body slow 100"_s);
        const Fetched part =
            slow.get(slow.firstClip()[u"downloadURL"_s].toString(), {u"--max-time"_s, u"3"_s});
        QVERIFY2(part.body.size() > 0 && part.body.size() <= 320,
                 qPrintable(QString::number(part.body.size())));
        m_rig->must(u"cam-a http catalog body endless"_s);
        QProcess curl;
        curl.start(u"curl"_s, {u"--silent"_s, u"--insecure"_s, u"--header"_s,
                               u"Authorization: Bearer "_s + slow.state()[u"token"_s].toString(),
                               u"--header"_s,
                               u"X-VORN-Session-ID: "_s + slow.state()[u"sessionId"_s].toString(),
                               slow.url(u"/vorn/v1/catalog"_s)});
        qint64 received = 0;
        while (received < 20'000'000 && curl.waitForReadyRead(limitMs))
            received += curl.readAllStandardOutput().size();
        QVERIFY(received >= 20'000'000);
        Guest other(*m_rig, u"cam-b"_s);
        QCOMPARE(other.pair().status, 200);
        curl.kill();
        curl.waitForFinished(limitMs);
    }

    void pairingAndCatalogAreChangedAsAsked()
    {
        m_rig->must(u"cam-a pair scopes [\"catalog.read\"]"_s);
        m_rig->must(u"cam-a pair deviceId none"_s);
        m_rig->must(u"cam-a pair bearerToken \"another token\""_s);
        m_rig->must(u"cam-a catalog /projects/0/takes/0/clips/0/finalized false"_s);
        m_rig->must(u"cam-a catalog /projects/0/takes/1 none"_s);
        m_rig->must(u"cam-a catalog-copy /projects/0 /projects/-"_s);
        m_rig->must(u"cam-a catalog /projects/2/name \"a \\u0000 b\""_s);
        Guest guest(*m_rig, u"cam-a"_s);
        const QJsonObject answer = guest.pair().json();
        QCOMPARE(answer[u"scopes"_s].toArray(), QJsonArray({u"catalog.read"_s}));
        QVERIFY(!answer.contains(u"deviceId"_s));
        const QJsonObject catalog = guest.catalog().json(); // the phone takes the token it told
        const QJsonArray projects = catalog[u"projects"_s].toArray();
        QCOMPARE(projects.size(), 3);
        QCOMPARE(projects[0][u"takes"_s].toArray().size(), 1);
        QCOMPARE(projects[0][u"takes"_s][0][u"clips"_s][0][u"finalized"_s], QJsonValue(false));
        QCOMPARE(projects[2][u"takes"_s], projects[0][u"takes"_s]);
        QCOMPARE(projects[2][u"name"_s].toString(), QString(u"a \0 b"_s));
    }

    void tlsIsSpoiledAsAsked_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("result");
        QTest::newRow("right") << u"ok"_s << u"TLSv1.3, right"_s;
        QTest::newRow("other") << u"other"_s << u"TLSv1.3, other"_s;
        QTest::newRow("asks") << u"ask"_s << u"TLSv1.3, right"_s;
        QTest::newRow("1.2") << u"1.2"_s << u"TLSv1.2, right"_s;
        QTest::newRow("1.1") << u"1.1"_s << u"no handshake"_s;
        QTest::newRow("plain") << u"plain"_s << u"no handshake"_s;
    }

    void tlsIsSpoiledAsAsked()
    {
        QFETCH(const QString, fault);
        QFETCH(const QString, result);
        Guest guest(*m_rig, u"cam-a"_s);
        m_rig->must(u"cam-a tls "_s + fault);
        const int before = guest.state()[u"handshakes"_s].toInt();
        QString seen = u"no handshake"_s;
        const QUrl url(guest.url(u"/"_s));
        QSslSocket socket;
        socket.setPeerVerifyMode(QSslSocket::VerifyNone);
        socket.connectToHostEncrypted(url.host(), quint16(url.port()));
        if (socket.waitForEncrypted(limitMs)) {
            const QString digest = QString::fromLatin1(
                socket.peerCertificate().digest(QCryptographicHash::Sha256).toHex());
            const bool isRight = digest == guest.state()[u"fingerprint"_s].toString();
            seen = socket.sessionProtocol() == QSsl::TlsV1_3 ? u"TLSv1.3, "_s : u"TLSv1.2, "_s;
            seen += isRight ? u"right"_s : u"other"_s;
        }
        QCOMPARE(seen, result);
        const int expected = result == u"no handshake" ? 0 : 1;
        QTRY_COMPARE_WITH_TIMEOUT(guest.state()[u"handshakes"_s].toInt() - before, expected,
                                  limitMs);
        const QJsonObject last = guest.state()[u"connections"_s].toArray().last().toObject();
        QCOMPARE(last[u"httpBytes"_s].toInt(-1), 0);
    }

    void aSilentPeerAndAHangUpAreFelt()
    {
        Guest guest(*m_rig, u"cam-a"_s);
        QSslSocket socket;
        socket.setPeerVerifyMode(QSslSocket::VerifyNone);
        const QUrl url(guest.url(u"/"_s));
        socket.connectToHostEncrypted(url.host(), quint16(url.port()));
        QVERIFY(socket.waitForEncrypted(limitMs));
        m_rig->must(u"cam-a hang-up"_s);
        QVERIFY(socket.state() == QAbstractSocket::UnconnectedState
                || socket.waitForDisconnected(limitMs));
        m_rig->must(u"cam-a tls silent"_s);
        QCOMPARE(fetch(guest.url(u"/"_s), {u"--max-time"_s, u"1"_s}).exitCode, timeUp);
    }

    void wrongCommandsAreToldSo()
    {
        for (const QString &line :
             {u"cam-a server"_s, u"cam-a code"_s, u"cam-a expiry long"_s, u"cam-a pair deviceId"_s,
              u"cam-a catalog projects 1"_s, u"cam-a catalog /projects/7/name 1"_s,
              u"cam-a tls 1.0"_s, u"cam-a http"_s, u"cam-a http other ok"_s,
              u"cam-a http files body upside-down"_s, u"cam-a http files header etag"_s})
            QVERIFY2(m_rig->command(line).startsWith(u"error "), qPrintable(line));
    }

private:
    static QString fingerprintOf(const Guest &guest)
    {
        const QUrl url(guest.url(u"/"_s));
        QSslSocket socket;
        socket.setPeerVerifyMode(QSslSocket::VerifyNone);
        socket.connectToHostEncrypted(url.host(), quint16(url.port()));
        if (!socket.waitForEncrypted(limitMs))
            return socket.errorString();
        return QString::fromLatin1(
            socket.peerCertificate().digest(QCryptographicHash::Sha256).toHex());
    }

    QTemporaryDir m_folder;
    std::unique_ptr<RigPhones> m_rig;
};

QTEST_MAIN(TransferServerTest)
#include "transfer_server_test.moc"
