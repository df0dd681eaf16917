// SPDX-License-Identifier: Apache-2.0

#include "camera_answers.h"

#include <QtTest>

#include <algorithm>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

const QString digest(64, u'a');
const QByteArray catalog = R"({"catalog": true})";

QByteArrayList linesOf(const TlsServer::Request &request)
{
    QByteArrayList lines = request.head.trimmed().split('\n');
    for (QByteArray &line : lines)
        line = line.trimmed();
    std::ranges::sort(lines.begin() + 1, lines.end(), {});
    return lines;
}

QUrl fileURL(const Client &client)
{
    return client->catalogURL().resolved(QUrl(u"/vorn/v1/files/clip"_s));
}

/// Answers any range of zeros, the size of which is asked for.
void answerRange(const TlsServer::Request &request, TlsPeer &peer)
{
    const qsizetype at = request.head.indexOf("bytes=") + 6;
    const QByteArray bounds = request.head.sliced(at, request.head.indexOf('\r', at) - at);
    const qint64 length = bounds.split('-')[1].toLongLong() - bounds.split('-')[0].toLongLong() + 1;
    peer.send(http("206 Partial Content",
                   {"Accept-Ranges: bytes", "Content-Range: bytes " + bounds + "/100000000",
                    "Content-Length: " + QByteArray::number(length),
                    "X-VORN-SHA256: " + digest.toLatin1(), "ETag: sha256:" + digest.toLatin1()},
                   {}));
    constexpr qint64 pieceBytes = qint64{1024} * 1024;
    for (qint64 sent = 0; sent < length; sent += pieceBytes)
        peer.send(QByteArray(std::min(pieceBytes, length - sent), '\0'));
}

} // namespace

class TransferSessionTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void asksWithTheSession()
    {
        PairedCamera camera([](const TlsServer::Request &request, TlsPeer &peer) {
            if (request.head.contains("/catalog"))
                peer.send(httpWithLength("200 OK", catalog));
            else if (request.head.contains("/files/"))
                answerRange(request, peer);
            else
                peer.send(httpWithLength("500 Internal Server Error", "ignored"));
        });
        const Client client = camera.client();
        QCOMPARE(Outcome(client->fetchCatalog()).value(), catalog);
        QCOMPARE(Outcome(client->fetchRange(fileURL(client), 7, 9, 100'000'000, digest)).value(),
                 QByteArray(3, '\0'));
        QCOMPARE(camera.server().connections(), 1);
        QVERIFY(Outcome(ended(client->end())).value());

        const auto requests = camera.server().requests();
        const QByteArray host =
            "Host: left-camera.local:" + QByteArray::number(camera.server().port());
        const QByteArray authorization = "Authorization: Bearer " + token;
        const QByteArray session = "X-VORN-Session-ID: " + sessionId.toLatin1();
        QCOMPARE(linesOf(requests.at(1)),
                 (QByteArrayList{"GET /vorn/v1/catalog HTTP/1.1", "Accept: application/json",
                                 authorization, host, session}));
        QCOMPARE(linesOf(requests.at(2)),
                 (QByteArrayList{"GET /vorn/v1/files/clip HTTP/1.1", "Accept-Encoding: identity",
                                 "Accept: */*", authorization, host, "Range: bytes=7-9", session}));
        QCOMPARE(linesOf(requests.at(3)),
                 (QByteArrayList{"POST /vorn/v1/session/end HTTP/1.1", "Accept: */*", authorization,
                                 "Content-Length: 0", host, session}));
        QTRY_COMPARE(camera.server().openConnections(), 0);

        QCOMPARE(Outcome(client->fetchCatalog()).error(),
                 u"The connection to the camera was closed."_s);
        QCOMPARE(camera.server().connections(), 2); // the end has one of its own
    }

    void asksForSoundRangesOnly_data()
    {
        QTest::addColumn<qint64>("start");
        QTest::addColumn<qint64>("end");
        QTest::addColumn<qint64>("total");
        QTest::addColumn<QString>("sha256");
        QTest::addColumn<QString>("error");
        constexpr qint64 large = 100'000'000;
        constexpr qint64 largest = std::numeric_limits<qint64>::max();
        const auto invalid = u"Requested byte range is invalid."_s;
        const auto tooLong = u"Requested byte range exceeds the 8 MiB transfer limit."_s;
        const auto row = [](const char *name, qint64 start, qint64 end, qint64 total,
                            const QString &sha256, const QString &error) {
            QTest::newRow(name) << start << end << total << sha256 << error;
        };
        row("8 MiB", 0, 8'388'607, large, digest, {});
        row("8 MiB and a byte", 0, 8'388'608, large, digest, tooLong);
        row("one byte", 99'999'999, 99'999'999, large, digest, {});
        row("beyond the file", 5, 10, 10, digest, invalid);
        row("negative", -1, 5, 10, digest, invalid);
        row("backwards", 5, 4, 10, digest, invalid);
        row("everything there is", 0, largest - 1, largest, digest, tooLong);
        row("no digest", 0, 4, 10, digest.chopped(1), u"Catalog SHA-256 is invalid."_s);
        row("digest in another form", 0, 4, large, u" AA:"_s + digest.toUpper().sliced(2), {});
    }

    void asksForSoundRangesOnly()
    {
        QFETCH(const qint64, start);
        QFETCH(const qint64, end);
        QFETCH(const qint64, total);
        QFETCH(const QString, sha256);
        QFETCH(const QString, error);
        PairedCamera camera(answerRange);
        const Client client = camera.client();
        Outcome range(client->fetchRange(fileURL(client), start, end, total, sha256));
        QCOMPARE(range.error(), error);
        QCOMPARE(camera.server().requests().size(), error.isEmpty() ? std::size_t{2} : 1);
        if (error.isEmpty())
            QCOMPARE(range.value().size(), end - start + 1);
    }

    void staysOnTheOrigin_data()
    {
        QTest::addColumn<QString>("url"); // %1: the port
        QTest::newRow("http") << u"http://left-camera.local:%1/vorn/v1/files/clip"_s;
        QTest::newRow("other host") << u"https://evil.example:%1/vorn/v1/files/clip"_s;
        QTest::newRow("other port") << u"https://left-camera.local/vorn/v1/files/clip?%1"_s;
        QTest::newRow("user") << u"https://left-camera.local@left-camera.local:%1/clip"_s;
        QTest::newRow("relative") << u"/vorn/v1/files/clip?%1"_s;
    }

    void staysOnTheOrigin()
    {
        QFETCH(const QString, url);
        PairedCamera camera(QByteArray{});
        const Client client = camera.client();
        Outcome range(client->fetchRange(QUrl(url.arg(camera.server().port())), 0, 4, 10, digest));
        QCOMPARE(range.error(), u"Transfer request attempted to leave the paired HTTPS origin."_s);
        QCOMPARE(camera.server().requests().size(), std::size_t{1});
        QCOMPARE(camera.server().connections(), 1);
    }

    void takesNoEndlessCatalog()
    {
        std::atomic<std::int64_t> declared = std::int64_t{64} << 20;
        PairedCamera camera([&declared](const TlsServer::Request &, TlsPeer &peer) {
            peer.send(
                http("200 OK", {"Content-Length: " + QByteArray::number(qint64{declared++})}, {}));
            peer.cut();
        });
        const Client client = camera.client();
        QCOMPARE(Outcome(client->fetchCatalog()).error(),
                 u"The connection to the camera was lost."_s);
        QCOMPARE(Outcome(client->fetchCatalog()).error(),
                 u"The camera's answer is larger than it may be."_s);
    }

    void sendsOnlyPlainHeaderValues_data()
    {
        QTest::addColumn<QString>("bearer");
        QTest::addColumn<QString>("session");
        const QString plain(32, u't');
        QTest::newRow("line end in token") << plain + u"\r\nX-Evil: 1"_s << sessionId;
        QTest::newRow("blank in token") << plain + u" t"_s << sessionId;
        QTest::newRow("NUL in token") << plain + QChar(u'\0') << sessionId;
        QTest::newRow("letters beyond ASCII in token") << QString(16, u'\u00e9') << sessionId;
        QTest::newRow("line end in session") << plain << u"session\n7"_s;
        QTest::newRow("delete in session") << plain << u"session\u007f"_s;
    }

    void sendsOnlyPlainHeaderValues()
    {
        QFETCH(const QString, bearer);
        QFETCH(const QString, session);
        PairedCamera camera(QByteArray(), {{u"bearerToken"_s, bearer}, {u"sessionId"_s, session}});
        DiscoveredDevice device = deviceAt(camera.server());
        device.sessionId = session;
        const Client client = pairing(device).value();
        const auto refusal = u"The camera's session token or ID holds characters that cannot be "
                             u"sent."_s;
        QCOMPARE(Outcome(client->fetchCatalog()).error(), refusal);
        QVERIFY(Outcome(ended(client->end())).value());
        QCOMPARE(camera.server().requests().size(), std::size_t{1});
    }

    void endsWithItsTime()
    {
        PairedCamera camera(httpWithLength("200 OK", catalog), {{u"expiresAt"_s, secondsAhead(2)}});
        const Client client = camera.client();
        QTRY_VERIFY(client->isExpired());
        const auto expired = u"Transfer session expired; approve pairing again."_s;
        QCOMPARE(Outcome(client->fetchCatalog()).error(), expired);
        QCOMPARE(Outcome(client->fetchRange(fileURL(client), 0, 4, 10, digest)).error(), expired);
        QVERIFY(Outcome(ended(client->end())).value());
        QCOMPARE(camera.server().requests().size(), std::size_t{1});
        QTRY_COMPARE(camera.server().openConnections(), 0);
    }

    void queuesOnOneConnection()
    {
        PairedCamera camera(answerRange);
        const Client client = camera.client();
        std::vector<Outcome<QByteArray>> ranges;
        for (int size = 1; size <= 5; ++size)
            ranges.emplace_back(
                client->fetchRange(fileURL(client), 0, size * 100'000 - 1, 100'000'000, digest));
        for (std::size_t index = 0; index < ranges.size(); ++index)
            QCOMPARE(ranges[index].value().size(), qsizetype(index + 1) * 100'000);
        QCOMPARE(camera.server().connections(), 1);
        const auto requests = camera.server().requests();
        QVERIFY(requests.at(1).head.contains("bytes=0-99999\r"));
        QVERIFY(requests.at(5).head.contains("bytes=0-499999\r"));
    }

    void tellsHowMuchHasCome()
    {
        // Bytes come slower than reports may.
        PairedCamera camera([](const TlsServer::Request &, TlsPeer &peer) {
            peer.send(
                http("206 Partial Content",
                     {"Accept-Ranges: bytes", "Content-Range: bytes 0-3/4", "Content-Length: 4",
                      "X-VORN-SHA256: " + digest.toLatin1(), "ETag: sha256:" + digest.toLatin1()},
                     {}));
            for (int sent = 0; sent < 4 && peer.send("x"); ++sent)
                std::this_thread::sleep_for(std::chrono::milliseconds(110));
        });
        const Client client = camera.client();
        std::vector<std::int64_t> reports;
        Outcome range(
            client->fetchRange(fileURL(client), 0, 3, 4, digest,
                               [&reports](std::int64_t bytes) { reports.push_back(bytes); }));
        QCOMPARE(range.value(), QByteArray(4, 'x'));
        QVERIFY(reports.size() >= 2);
        QVERIFY(std::ranges::is_sorted(reports));
        QVERIFY(reports.front() > 0 && reports.back() <= 4);
    }
};

QTEST_GUILESS_MAIN(TransferSessionTest)
#include "transfer_session_test.moc"
