// SPDX-License-Identifier: Apache-2.0

#include "camera_answers.h"

#include <QtTest>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

// A file of 20 bytes, of which the bytes 5 to 9 are asked for.
const QByteArray part = "56789";
const QByteArray digest(64, 'a');

/// The headers of the right answer, without those named in `left` and with those in `more`.
Lines headers(const Lines &left = {}, const Lines &more = {})
{
    Lines lines{"Accept-Ranges: bytes", "Content-Range: bytes 5-9/20", "Content-Length: 5",
                "X-VORN-SHA256: " + digest, "ETag: \"sha256:" + digest + '"'};
    lines.removeIf(
        [&](const QByteArray &line) { return left.contains(line.first(line.indexOf(':'))); });
    return lines + more;
}

QByteArray answer(const Lines &lines, const QByteArray &body = part,
                  const QByteArray &status = "206 Partial Content")
{
    return http(status, lines, body);
}

const auto wrongRange = u"File server returned the wrong byte range."_s;
const auto wrongLength = u"Downloaded chunk length does not match the requested range."_s;
const auto wrongFile = u"File identity headers do not match the catalog."_s;
const auto noRanges = u"File server did not confirm byte-range support."_s;
const auto malformed = u"The camera's answer is not valid, or in a form that was not asked for."_s;

void addStatusRows()
{
    const auto row = [](const char *name, const QByteArray &bytes, const QString &error) {
        QTest::newRow(name) << bytes << error;
    };
    row("whole file",
        answer({"Accept-Ranges: bytes", "Content-Length: 20"}, "0123456789abcdefghij", "200 OK"),
        u"Transfer server returned HTTP 200."_s);
    row("right headers, other status", answer(headers(), part, "203 Changed"),
        u"Transfer server returned HTTP 203."_s);
    row("units missing", answer(headers({"Accept-Ranges"})), noRanges);
    row("units none", answer(headers({"Accept-Ranges"}, {"Accept-Ranges: none"})), noRanges);
    row("units twice", answer(headers({}, {"Accept-Ranges: bytes"})), noRanges);
}

void addRangeRows()
{
    const auto row = [](const char *name, const QByteArray &range) {
        QTest::newRow(name) << answer(headers({"Content-Range"}, {"Content-Range: " + range}))
                            << wrongRange;
    };
    QTest::newRow("range missing") << answer(headers({"Content-Range"})) << wrongRange;
    QTest::newRow("range twice") << answer(headers({}, {"Content-Range: bytes 5-9/20"}))
                                 << wrongRange;
    row("other start", "bytes 4-9/20");
    row("other total", "bytes 5-9/21");
}

void addLengthRows()
{
    const auto row = [](const char *name, const Lines &more, const QByteArray &body,
                        const QString &error) {
        QTest::newRow(name) << answer(headers({"Content-Length"}, more), body) << error;
    };
    const QByteArray chunked = "5\r\n56789\r\n0\r\n\r\n";
    row("length missing", {"Connection: close"}, part, wrongLength);
    row("chunked", {"Transfer-Encoding: chunked"}, chunked, wrongLength);
    row("declared less", {"Content-Length: 4"}, "5678", wrongLength);
    row("declared beyond memory", {"Content-Length: 9000000000000000000"}, part, wrongLength);
    row("in parts", {"Content-Length: 5", "Content-Type: Multipart/Byteranges; boundary=x"}, part,
        malformed);
}

void addIdentityRows()
{
    const QByteArray other(64, 'b');
    const auto row = [](const char *name, const QByteArray &header, const QByteArray &value) {
        QTest::newRow(name) << answer(headers({header}, {header + ": " + value})) << wrongFile;
    };
    for (const QByteArray header : {"X-VORN-SHA256", "ETag"})
        QTest::addRow("no %s", header.constData()) << answer(headers({header})) << wrongFile;
    QTest::newRow("digest twice") << answer(headers({}, {"X-VORN-SHA256: " + digest})) << wrongFile;
    QTest::newRow("tag twice") << answer(headers({}, {"ETag: \"sha256:" + digest + '"'}))
                               << wrongFile;
    row("other digest", "X-VORN-SHA256", other);
    row("other tag", "ETag", "\"sha256:" + other + '"');
}

} // namespace

class RangeAnswerTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void acceptsOnlyTheExactPart_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("error"); // empty: accepted
        const auto accepted = [](const char *name, const QByteArray &bytes) {
            QTest::newRow(name) << bytes << QString();
        };
        accepted("as it should be", answer(headers()));
        accepted("weak tag", answer(headers({"ETag"}, {"ETag: W/\"sha256:" + digest + '"'})));
        accepted("other case",
                 answer(headers({"Accept-Ranges", "Content-Range"},
                                {"accept-ranges: BYTES", "CONTENT-RANGE: Bytes 5-9/20"})));
        accepted("interim answer first", "HTTP/1.1 100 Continue\r\n\r\n" + answer(headers()));
        accepted("more after the part", answer(headers(), part + "abc"));
        addStatusRows();
        addRangeRows();
        addLengthRows();
        addIdentityRows();
        QTest::newRow("no HTTP") << QByteArray("220 mail.example ESMTP\r\n")
                                 << u"File server returned no HTTP response."_s;
    }

    void acceptsOnlyTheExactPart()
    {
        QFETCH(const QByteArray, bytes);
        QFETCH(const QString, error);
        PairedCamera camera([bytes](const TlsServer::Request &, TlsPeer &peer) {
            peer.send(bytes);
            peer.cut(); // no answer may need more
        });
        const Client client = camera.client();
        const QUrl url = client->catalogURL().resolved(QUrl(u"/vorn/v1/files/clip"_s));
        Outcome range(client->fetchRange(url, 5, 9, 20, QString::fromLatin1(digest)));
        QCOMPARE(range.error(), error);
        if (error.isEmpty())
            QCOMPARE(range.value(), part);
    }

    void judgesTheHeadBeforeTheBody()
    {
        PairedCamera camera([](const TlsServer::Request &, TlsPeer &peer) {
            peer.send(answer(headers({"ETag"}), {}));
            peer.stayUntilClosed();
        });
        const Client client = camera.client();
        Outcome range(
            client->fetchRange(client->catalogURL(), 5, 9, 20, QString::fromLatin1(digest)));
        QCOMPARE(range.error(), wrongFile);
    }
};

QTEST_GUILESS_MAIN(RangeAnswerTest)
#include "range_answer_test.moc"
