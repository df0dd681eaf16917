// SPDX-License-Identifier: Apache-2.0

#include "https/pinned_https.h"
#include "outcome.h"
#include "support.h"
#include "tls_server.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <openssl/ssl.h>

#include <chrono>

using namespace vorn;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {

using Case = HttpsError::Case;

const QByteArray answer = "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok";

void answerAll(const TlsServer::Request &, TlsPeer &peer)
{
    peer.send(answer);
}

HttpsOrigin originOf(const TlsServer &server)
{
    return {.host = "camera.local",
            .port = server.port(),
            .address = "127.0.0.1",
            .certificateSHA256 = server.fingerprint()};
}

HttpsRequest anyRequest(std::int64_t maximumBodyBytes = 1024)
{
    HttpsRequest request;
    request.target = "/";
    request.maximumBodyBytes = maximumBodyBytes;
    return request;
}

constexpr auto none = Case(-1);

/// Why `outcome` failed; none when it did not.
Case failureOf(Outcome<HttpsAnswer> outcome)
{
    try {
        (void)outcome.value();
    } catch (const HttpsError &error) {
        return error.reason();
    }
    return none;
}

} // namespace

/// All of it runs in an environment that would have other HTTP clients go astray.
class PinnedHttpsTest : public QObject {
    Q_OBJECT
    QTemporaryDir m_home;
    // A proxy would be asked in the clear: it counts connections only.
    std::optional<TlsServer> m_proxy;

    QString keyFile() const { return m_home.filePath(u"keys"_s); }

private Q_SLOTS:
    void initTestCase()
    {
        // A system that is content with less; read when TLS is first used.
        writePlain(m_home.filePath(u"openssl.cnf"_s),
                   "openssl_conf = all\n[all]\nssl_conf = tls\n[tls]\nsystem_default = lax\n"
                   "[lax]\nMinProtocol = TLSv1\nCipherString = DEFAULT@SECLEVEL=0\n");
        qputenv("OPENSSL_CONF", m_home.filePath(u"openssl.cnf"_s).toUtf8());
        m_proxy.emplace(answerAll, nullptr, TlsServer::Handshake::never);
        const QByteArray proxy = "http://127.0.0.1:" + QByteArray::number(m_proxy->port());
        for (const char *name :
             {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"})
            qputenv(name, proxy);
        for (const char *name : {"SSL_CERT_FILE", "SSL_CERT_DIR", "CURL_CA_BUNDLE"})
            qputenv(name, "/nowhere");
        qputenv("SSLKEYLOGFILE", keyFile().toUtf8());
        qputenv("HOME", m_home.path().toUtf8());
        writePlain(m_home.filePath(u".netrc"_s), "default login me password secret\n");
    }

    void heedsNoEnvironment()
    {
        TlsServer server(answerAll);
        PinnedHttps https(originOf(server));
        const HttpsAnswer got = Outcome(https.send(anyRequest())).value();
        QCOMPARE(got.head.status, 200);
        QCOMPARE(got.body, "ok");
        QCOMPARE(m_proxy->connections(), 0);
        QCOMPARE(QFileInfo(keyFile()).size(), 0);
        QVERIFY(!server.requests().front().head.toLower().contains("authorization"));
    }

    void followsNoRedirect()
    {
        TlsServer server([](const TlsServer::Request &, TlsPeer &peer) {
            peer.send("HTTP/1.1 302 Found\r\nLocation: /else\r\nContent-Length: 0\r\n\r\n");
        });
        PinnedHttps https(originOf(server));
        QCOMPARE(Outcome(https.send(anyRequest())).value().head.status, 302);
        QCOMPARE(server.requests().size(), std::size_t{1});
    }

    void speaksOnlyToTheCertificate()
    {
        TlsServer server(answerAll);
        HttpsOrigin origin = originOf(server);
        origin.certificateSHA256 = QString(64, u'0');
        PinnedHttps https(origin);
        HttpsRequest request = anyRequest();
        request.method = HttpsRequest::Method::post;
        request.body = secretBytes({"secret"});
        QCOMPARE(failureOf(Outcome(https.send(request))), Case::wrongCertificate);
        QTRY_COMPARE(server.openConnections(), 0);
        QCOMPARE(server.connections(), 1);
        QCOMPARE(server.handshakes(), 0); // refused before it was at its end
    }

    void looksAtTheCertificateEachTime_data()
    {
        QTest::addColumn<int>("version");
        QTest::newRow("TLS 1.2") << TLS1_2_VERSION;
        QTest::newRow("TLS 1.3") << TLS1_3_VERSION;
    }

    void looksAtTheCertificateEachTime()
    {
        QFETCH(const int, version);
        TlsServer server(
            [](const TlsServer::Request &, TlsPeer &peer) {
                peer.send(answer);
                peer.cut();
            },
            [version](SSL_CTX *context) { SSL_CTX_set_max_proto_version(context, version); });
        PinnedHttps https(originOf(server));
        for (int request = 0; request < 3; ++request)
            QCOMPARE(Outcome(https.send(anyRequest())).value().body, "ok");
        QCOMPARE(server.handshakes(), 3);

        server.changeCertificate();
        const std::int64_t before = server.decryptedBytes();
        QCOMPARE(failureOf(Outcome(https.send(anyRequest()))), Case::wrongCertificate);
        QTRY_COMPARE(server.openConnections(), 0);
        QVERIFY(server.connections() > 3);
        QCOMPARE(server.decryptedBytes(), before);
    }

    void speaksToNoOneWhoHasACopy()
    {
        // The certificate is public: who sends it behind his own proves nothing.
        TlsServer camera(answerAll);
        TlsServer stranger(answerAll, [&camera](SSL_CTX *context) {
            const QByteArray der = camera.certificate();
            const auto *bytes = reinterpret_cast<const unsigned char *>(der.constData());
            SSL_CTX_add_extra_chain_cert(context, d2i_X509(nullptr, &bytes, long(der.size())));
        });
        HttpsOrigin origin = originOf(stranger);
        origin.certificateSHA256 = camera.fingerprint();
        PinnedHttps https(origin);
        QCOMPARE(failureOf(Outcome(https.send(anyRequest()))), Case::wrongCertificate);
        QTRY_COMPARE(stranger.openConnections(), 0);
        QCOMPARE(stranger.decryptedBytes(), 0);
    }

    void resumesNoSession_data() { looksAtTheCertificateEachTime_data(); }

    void resumesNoSession()
    {
        QFETCH(const int, version);
        static std::atomic<int> resumed;
        resumed = 0;
        TlsServer server(
            [](const TlsServer::Request &, TlsPeer &peer) {
                peer.send("HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 2\r\n\r\nok");
            },
            [version](SSL_CTX *context) {
                SSL_CTX_set_max_proto_version(context, version);
                SSL_CTX_set_session_cache_mode(context, SSL_SESS_CACHE_SERVER);
                SSL_CTX_set_info_callback(context, [](const SSL *tls, int where, int) {
                    if ((where & SSL_CB_HANDSHAKE_DONE) != 0 && SSL_session_reused(tls) != 0)
                        ++resumed;
                });
            });
        // Another client does resume, so that this would be noticed.
        const QString url = u"https://127.0.0.1:%1/"_s.arg(server.port());
        QCOMPARE(QProcess::execute(u"curl"_s, {u"--silent"_s, u"--insecure"_s, u"--noproxy"_s,
                                               u"*"_s, url, url, u"--output"_s, u"/dev/null"_s,
                                               u"--output"_s, u"/dev/null"_s}),
                 0);
        QCOMPARE(server.handshakes(), 2);
        QVERIFY(resumed > 0);

        resumed = 0;
        PinnedHttps https(originOf(server));
        for (int request = 0; request < 3; ++request)
            QCOMPARE(Outcome(https.send(anyRequest())).value().body, "ok");
        QCOMPARE(server.handshakes(), 5);
        QCOMPARE(resumed.load(), 0);
    }

    void takesNoOldTls()
    {
        TlsServer server(answerAll, [](SSL_CTX *context) {
            SSL_CTX_set_security_level(context, 0);
            SSL_CTX_set_min_proto_version(context, TLS1_VERSION);
            SSL_CTX_set_max_proto_version(context, TLS1_1_VERSION);
        });
        PinnedHttps https(originOf(server));
        QCOMPARE(failureOf(Outcome(https.send(anyRequest()))), Case::noSecureConnection);
        QCOMPARE(server.handshakes(), 0);
    }

    void showsNoCertificateOfItsOwn_data() { looksAtTheCertificateEachTime_data(); }

    void showsNoCertificateOfItsOwn()
    {
        QFETCH(const int, version);
        TlsServer server(answerAll, [version](SSL_CTX *context) {
            SSL_CTX_set_max_proto_version(context, version);
            SSL_CTX_set_verify(context, SSL_VERIFY_PEER, nullptr);
        });
        PinnedHttps https(originOf(server));
        QCOMPARE(failureOf(Outcome(https.send(anyRequest()))), Case::clientCertificate);
        QTRY_COMPARE(server.openConnections(), 0);
        QCOMPARE(server.decryptedBytes(), 0);
    }

    void saysWhyNothingCame_data()
    {
        QTest::addColumn<QByteArray>("bytes"); // the server cuts the connection after them
        QTest::addColumn<int>("reason");
        const auto row = [](const char *name, const QByteArray &bytes, Case reason) {
            QTest::newRow(name) << bytes << int(reason);
        };
        row("nothing", "", Case::lost);
        row("half a head", "HTTP/1.1 200 OK\r\nContent-Le", Case::lost);
        row("half a body", answer.chopped(1), Case::lost);
        row("no HTTP", "hello\r\n\r\n", Case::notHttp);
        row("old HTTP", "<html>ok</html>", Case::notHttp);
        row("length in hexadecimal", "HTTP/1.1 200 OK\r\nContent-Length: 0x2\r\n\r\nok",
            Case::malformed);
        row("two lengths", "HTTP/1.1 200 OK\r\nContent-Length: 2\r\nContent-Length: 3\r\n\r\nok ",
            Case::malformed);
        row("compressed",
            "HTTP/1.1 200 OK\r\nContent-Length: 2\r\nContent-Encoding: deflate\r\n\r\nok",
            Case::malformed);
        row("NUL in a header", QByteArray("HTTP/1.1 200 OK\r\nX-A: b\0c\r\n\r\n", 29),
            Case::malformed);
        row("one endless header",
            "HTTP/1.1 200 OK\r\nX-A: " + QByteArray(200'000, 'x') + "\r\n\r\n", Case::malformed);
        row("another transfer", "HTTP/1.1 200 OK\r\nTransfer-Encoding: identity\r\n\r\nok",
            Case::malformed);
        row("length in both forms",
            "HTTP/1.1 200 OK\r\nContent-Length: 2\r\nTransfer-Encoding: chunked\r\n\r\n"
            "2\r\nok\r\n0\r\n\r\n",
            Case::malformed);
        row("endless trailers",
            "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\nok\r\n0\r\n"
                + QByteArray("X-Filler: 1234567890\r\n").repeated(5'000) + "\r\n",
            Case::tooLarge);
        row("a byte more", "HTTP/1.1 200 OK\r\nContent-Length: 1025\r\n\r\n", Case::tooLarge);
        row("a byte more, unannounced",
            "HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n" + QByteArray(1025, 'x'), Case::tooLarge);
    }

    void saysWhyNothingCame()
    {
        QFETCH(const QByteArray, bytes);
        QFETCH(const int, reason);
        TlsServer server([bytes](const TlsServer::Request &, TlsPeer &peer) {
            peer.send(bytes);
            peer.cut();
        });
        PinnedHttps https(originOf(server));
        QCOMPARE(failureOf(Outcome(https.send(anyRequest()))), Case(reason));
    }

    void saysThatNobodyIsThereAnyMore()
    {
        auto server = std::make_unique<TlsServer>(answerAll);
        HttpsOrigin origin = originOf(*server);
        origin.certificateSHA256 = QString(64, u'0');
        PinnedHttps https(origin);
        QCOMPARE(failureOf(Outcome(https.send(anyRequest()))), Case::wrongCertificate);
        server.reset();
        QCOMPARE(failureOf(Outcome(https.send(anyRequest()))), Case::unreachable);
    }

    void sendsNothingThatIsNoRequest_data()
    {
        QTest::addColumn<QByteArray>("target");
        QTest::addColumn<QByteArray>("header");
        QTest::newRow("line end in a header") << QByteArray("/") << QByteArray("A: b\r\nC: d");
        QTest::newRow("NUL in a header") << QByteArray("/") << QByteArray("A: b\0c", 6);
        QTest::newRow("no name") << QByteArray("/") << QByteArray("secret");
        QTest::newRow("blank in the target") << QByteArray("/ HTTP/1.1") << QByteArray("A: b");
        QTest::newRow("whole address") << QByteArray("https://evil.example/") << QByteArray("A: b");
    }

    void sendsNothingThatIsNoRequest()
    {
        QFETCH(const QByteArray, target);
        QFETCH(const QByteArray, header);
        TlsServer server(answerAll);
        PinnedHttps https(originOf(server));
        HttpsRequest request = anyRequest();
        request.target = target;
        request.headers.push_back(secretBytes({header}));
        QCOMPARE(failureOf(Outcome(https.send(request))), Case::unsendable);
        QCOMPARE(server.connections(), 0);
    }

    void holdsNoMoreThanAsked()
    {
        std::atomic<std::int64_t> sent = 0;
        TlsServer server([&sent](const TlsServer::Request &, TlsPeer &peer) {
            peer.send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n");
            const QByteArray piece = "100000\r\n" + QByteArray(0x100000, 'x') + "\r\n";
            while (peer.send(piece))
                sent += piece.size();
        });
        PinnedHttps https(originOf(server));
        constexpr std::int64_t limit = std::int64_t{8} * 1024 * 1024;
        QCOMPARE(failureOf(Outcome(https.send(anyRequest(limit)))), Case::tooLarge);
        QTRY_COMPARE(server.openConnections(), 0);
        constexpr std::int64_t systemBuffers = std::int64_t{16} * 1024 * 1024;
        QVERIFY2(sent < limit + systemBuffers, qPrintable(QString::number(sent)));
    }

    void boundsSilenceAndTheWhole_data()
    {
        QTest::addColumn<bool>("drips");
        QTest::newRow("silence") << false;
        QTest::newRow("a drop now and then") << true;
    }

    void boundsSilenceAndTheWhole()
    {
        QFETCH(const bool, drips);
        TlsServer server([drips](const TlsServer::Request &, TlsPeer &peer) {
            peer.send("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n");
            while (drips && peer.send("x"))
                std::this_thread::sleep_for(20ms);
            peer.stayUntilClosed();
        });
        // The other limit is out of the test's patience.
        PinnedHttps https(originOf(server), drips ? HttpsLimits{.silence = 60s, .total = 400ms}
                                                  : HttpsLimits{.silence = 200ms, .total = 60s});
        QCOMPARE(failureOf(Outcome(https.send(anyRequest()))), Case::timedOut);
        QTRY_COMPARE(server.openConnections(), 0);
    }

    void endsAtOnceInEveryPhase_data()
    {
        QTest::addColumn<int>("phase");
        QTest::addColumn<bool>("byDestruction");
        const QByteArrayList phases{"connecting", "handshake", "head", "body"};
        for (int phase = 0; phase < phases.size(); ++phase) {
            QTest::addRow("close while %s", phases[phase].constData()) << phase << false;
            QTest::addRow("destroy while %s", phases[phase].constData()) << phase << true;
        }
    }

    void endsAtOnceInEveryPhase()
    {
        QFETCH(const int, phase);
        QFETCH(const bool, byDestruction);
        const DeafListener deaf;
        TlsServer server(
            [phase](const TlsServer::Request &, TlsPeer &peer) {
                if (phase == 3)
                    peer.send("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\nbody");
                peer.stayUntilClosed();
            },
            {}, phase == 1 ? TlsServer::Handshake::never : TlsServer::Handshake::complete);
        HttpsOrigin origin = originOf(server);
        if (phase == 0)
            origin.port = deaf.port();
        const qsizetype threadsBefore = processEntries("task");
        auto https = std::make_unique<PinnedHttps>(origin);
        Outcome first(https->send(anyRequest()));
        Outcome waiting(https->send(anyRequest()));
        QTRY_COMPARE(server.connections(), phase == 0 ? 0 : 1);
        QTRY_COMPARE(server.requests().size(), std::size_t(phase >= 2 ? 1 : 0));
        QVERIFY(!first.isThere());
        QElapsedTimer timer;
        timer.start();
        if (byDestruction)
            https.reset();
        else
            https->close();
        // Far less than any limit of the connection; in milliseconds when nothing else runs here.
        QCOMPARE(failureOf(std::move(first)), Case::closed);
        QCOMPARE(failureOf(std::move(waiting)), Case::closed);
        QVERIFY2(timer.elapsed() < 2'000, qPrintable(QString::number(timer.elapsed())));
        QTRY_COMPARE(server.openConnections(), 0);
        if (https)
            QCOMPARE(failureOf(Outcome(https->send(anyRequest()))), Case::closed);
        https.reset();
        QTRY_VERIFY(processEntries("task") <= threadsBefore);
    }
};

QTEST_GUILESS_MAIN(PinnedHttpsTest)
#include "pinned_https_test.moc"
