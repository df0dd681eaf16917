#include "jpeg_samples.h"
#include "preview/preview_client.h"
#include "preview_server.h"
#include "support.h"

#include <QtTest>

#include <thread>

using namespace vorn;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace client = vorn::VORNPreviewClient;
using Error = VORNPreviewError::Case;

namespace {

constexpr int wallStream = 4;
constexpr int wallPicture = 1;

const QByteArray jpeg = jpegOf(samplePicture({64, 48}));

/// A JPEG of exactly that size: what it lacks stands in comments.
QByteArray jpegOfSize(qsizetype size)
{
    QByteArray bytes = jpeg;
    while (bytes.size() < size) {
        // Both a segment's header and its content must fit into what is left.
        const qsizetype left = size - bytes.size();
        const qsizetype segment = left > 60'000 + 4 ? 60'000 : left;
        const auto length = quint16(segment - 2);
        bytes.insert(2, QByteArray("\xFF\xFE") + char(length >> 8) + char(length & 255)
                            + QByteArray(segment - 4, 'x'));
    }
    return bytes;
}

struct Outcome {
    std::vector<PreviewFrame> frames;
    std::optional<Transport> transport; ///< absent after a failure
    std::optional<Error> error;
};

Outcome receive(
    const client::Camera &camera, const StopSignal &stop, bool preferLegacy = false,
    const std::function<void()> &afterFrame = [] {})
{
    Outcome outcome;
    try {
        outcome.transport = client::receive(camera, VORNPreviewProfile::wall, preferLegacy, stop,
                                            [&](PreviewFrame frame) {
                                                outcome.frames.push_back(std::move(frame));
                                                afterFrame();
                                            });
    } catch (const VORNPreviewError &error) {
        outcome.error = error.kind();
    }
    return outcome;
}

client::Camera cameraOf(const PreviewServer &server, client::Limits limits = {})
{
    return {.host = u"127.0.0.1"_s, .serverPort = server.port(), .limits = limits};
}

} // namespace

class PreviewClientTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void acceptsOnlyBoundedLengths_data()
    {
        QTest::addColumn<QByteArray>("prefix");
        QTest::addColumn<qint64>("length"); // 0: refused
        QTest::newRow("zero") << QByteArray::fromHex("00000000") << qint64{0};
        QTest::newRow("one") << QByteArray::fromHex("00000001") << qint64{1};
        QTest::newRow("largest") << QByteArray::fromHex("00200000") << qint64{2097152};
        QTest::newRow("one too many") << QByteArray::fromHex("00200001") << qint64{0};
        QTest::newRow("all ones") << QByteArray::fromHex("FFFFFFFF") << qint64{0};
    }

    void acceptsOnlyBoundedLengths()
    {
        QFETCH(const QByteArray, prefix);
        QFETCH(const qint64, length);
        const auto bytes = bytesOf(prefix).first<client::lengthPrefixBytes>();
        if (length == 0)
            QVERIFY_THROWS_EXCEPTION(VORNPreviewError, (void)client::frameLength(bytes));
        else
            QCOMPARE(qint64{client::frameLength(bytes)}, length);
    }

    void knowsAJPEGByItsEnds_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("isJPEG");
        QTest::newRow("nothing") << QByteArray() << false;
        QTest::newRow("three bytes") << QByteArray::fromHex("FFD8D9") << false;
        QTest::newRow("both ends alone") << QByteArray::fromHex("FFD8FFD9") << true;
        QTest::newRow("a picture") << jpeg << true;
        QTest::newRow("no end") << jpeg.chopped(1) << false;
        QTest::newRow("no start") << jpeg.sliced(1) << false;
    }

    void knowsAJPEGByItsEnds()
    {
        QFETCH(const QByteArray, bytes);
        QTEST(client::isJPEG(bytesOf(bytes)), "isJPEG");
    }

    void asksForTheModeOfItsProfile()
    {
        PreviewServer server([](int, TcpPeer &peer) { peer.sendFrame(jpeg); });
        for (const auto profile : {VORNPreviewProfile::wall, VORNPreviewProfile::selected}) {
            for (const bool preferLegacy : {false, true}) {
                // The server ends each stream, which is an error.
                (void)thrownText([&] {
                    client::receive(cameraOf(server), profile, preferLegacy, StopSignal(),
                                    [](const PreviewFrame &) {});
                });
            }
        }
        QCOMPARE(server.modes(), (std::vector{4, 1, 5, 2}));
    }

    void aStreamThatHasWorkedEndsWithItsError()
    {
        PreviewServer server([](int, TcpPeer &peer) {
            for (int i = 0; i < 10; ++i)
                peer.sendFrame(jpeg);
            peer.sendFrame(QByteArray::fromHex("FFD8FFD9"));
            peer.stayUntilClosed();
        });
        const auto before = MonotonicClock::now();
        const Outcome outcome = receive(cameraOf(server), StopSignal());
        QCOMPARE(outcome.frames.size(), std::size_t{10});
        QCOMPARE(outcome.error, Error::invalidJPEG);
        QCOMPARE(server.modes(), std::vector{wallStream});
        auto last = before;
        for (const PreviewFrame &frame : outcome.frames) {
            QCOMPARE(frame.transport, Transport::persistent);
            QCOMPARE(frame.image.size(), QSize(64, 48));
            QVERIFY(frame.receivedAt >= last && frame.receivedAt <= MonotonicClock::now());
            last = frame.receivedAt;
        }
        QTRY_COMPARE(server.openConnections(), 0);
    }

    // What a camera may do to a stream before its first picture.
    void aStreamWithoutAPictureIsReplacedByASinglePicture_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::newRow("closed") << QByteArray();
        QTest::newRow("no JPEG") << QByteArray::fromHex("0000000412345678");
    }

    void aStreamWithoutAPictureIsReplacedByASinglePicture()
    {
        QFETCH(const QByteArray, answer);
        PreviewServer server([answer](int mode, TcpPeer &peer) {
            if (mode == wallPicture)
                peer.sendFrame(jpeg);
            else
                peer.send(answer);
        });
        const Outcome outcome = receive(cameraOf(server), StopSignal());
        QCOMPARE(outcome.transport, Transport::legacy);
        QCOMPARE(outcome.frames.size(), std::size_t{1});
        QCOMPARE(outcome.frames.front().transport, Transport::legacy);
        QCOMPARE(server.modes(), (std::vector{wallStream, wallPicture}));
    }

    void theErrorOfTheSinglePictureCounts()
    {
        PreviewServer server([](int mode, TcpPeer &peer) {
            if (mode == wallPicture)
                peer.sendFrame(QByteArray::fromHex("FFD8FFD9")); // begins and ends, no more
        });
        QCOMPARE(receive(cameraOf(server), StopSignal()).error, Error::invalidJPEG);
        QCOMPARE(thrownText([&] {
                     (void)client::fetchJPEG(u"127.0.0.1"_s, server.port(), std::byte{wallPicture});
                 }),
                 u"Preview frame was not a valid JPEG"_s);
    }

    void fetchesThePictureAsItWasSent()
    {
        const QByteArray largest = jpegOfSize(client::maximumFrameBytes);
        QCOMPARE(largest.size(), qsizetype{client::maximumFrameBytes});
        PreviewServer server([largest](int, TcpPeer &peer) { peer.sendFrame(largest); });
        QCOMPARE(client::fetchJPEG(u"127.0.0.1"_s, server.port(), std::byte{wallPicture}), largest);
    }

    void takesDottedAddressesOnly_data()
    {
        QTest::addColumn<QString>("host");
        for (const auto &host : {u"localhost"_s, u""_s, u"127.0.0.1 "_s, u"127.1"_s,
                                 u"127.0.0.256"_s, u"::1"_s, u"127.0.0.1:80"_s, u"127.0.0.1\0"_s})
            QTest::newRow(qPrintable(host)) << host;
    }

    void takesDottedAddressesOnly()
    {
        QFETCH(const QString, host);
        const Outcome outcome = receive({.host = host, .serverPort = 9}, StopSignal());
        QCOMPARE(outcome.error, Error::invalidHost);
        QCOMPARE(thrownText([&] { throw VORNPreviewError(*outcome.error); }),
                 u"Invalid camera address"_s);
    }

    void aStopBetweenPicturesEndsTheStreamWithoutAnError()
    {
        PreviewServer server([](int, TcpPeer &peer) {
            while (peer.sendFrame(jpeg)) {
            }
        });
        const StopSignal stop;
        int frames = 0;
        const Outcome outcome = receive(cameraOf(server), stop, false, [&] {
            if (++frames == 3)
                stop.request();
        });
        QCOMPARE(outcome.transport, Transport::persistent);
        QCOMPARE(outcome.frames.size(), std::size_t{3});
        // Nor does it begin again.
        QCOMPARE(receive(cameraOf(server), stop).transport, Transport::persistent);
        QCOMPARE(server.modes(), std::vector{wallStream});
    }

    void aStopWakesAReaderOfASilentCamera_data()
    {
        QTest::addColumn<bool>("preferLegacy");
        QTest::newRow("stream") << false;
        QTest::newRow("single picture") << true;
    }

    void aStopWakesAReaderOfASilentCamera()
    {
        QFETCH(const bool, preferLegacy);
        PreviewServer server([](int, TcpPeer &peer) { peer.stayUntilClosed(); });
        const StopSignal stop;
        Outcome outcome;
        // Waits without end, but for the stop.
        std::thread reader([&] {
            outcome = receive(
                cameraOf(server, {.persistentWait = 1h, .legacyWait = 1h, .wholeFrame = 1h}), stop,
                preferLegacy);
        });
        QTRY_COMPARE(server.modes().size(), std::size_t{1});
        stop.request();
        reader.join();
        QCOMPARE(outcome.error, Error::transportFailed);
        QCOMPARE(server.modes().size(), std::size_t{1});
    }

    void aStopWakesAConnectThatNobodyAnswers()
    {
        const DeafListener deaf;
        const StopSignal stop;
        Outcome outcome;
        std::thread reader([&] {
            outcome = receive({.host = u"127.0.0.1"_s,
                               .serverPort = deaf.port(),
                               .limits = {.persistentWait = 1h, .legacyWait = 1h}},
                              stop);
        });
        stop.request();
        reader.join();
        QVERIFY(outcome.frames.empty());
        QVERIFY(outcome.error == Error::connectionFailed
                || outcome.transport == Transport::persistent); // stopped before it began
    }
};

QTEST_GUILESS_MAIN(PreviewClientTest)
#include "preview_client_test.moc"
