// SPDX-License-Identifier: Apache-2.0

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
    void knowsAJPEGByItsEnds()
    {
        QVERIFY(client::isJPEG(bytesOf(jpeg)));
        QVERIFY(!client::isJPEG(bytesOf(jpeg.chopped(1))));
        QVERIFY(!client::isJPEG(bytesOf(jpeg.sliced(1))));
        QVERIFY(!client::isJPEG(bytesOf(QByteArray::fromHex("FFD8D9"))));
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

    void aStreamWithoutAPictureIsReplacedByASinglePicture()
    {
        PreviewServer server([](int mode, TcpPeer &peer) {
            peer.sendFrame(mode == wallPicture ? jpeg : QByteArray("no JPEG"));
        });
        const Outcome outcome = receive(cameraOf(server), StopSignal());
        QCOMPARE(outcome.transport, Transport::legacy);
        QCOMPARE(outcome.frames.size(), std::size_t{1});
        QCOMPARE(outcome.frames.front().transport, Transport::legacy);
        QCOMPARE(server.modes(), (std::vector{wallStream, wallPicture}));
        QCOMPARE(client::fetchJPEG(u"127.0.0.1"_s, server.port(), std::byte{wallPicture}), jpeg);
    }

    void theErrorOfTheSinglePictureCounts()
    {
        PreviewServer server([](int mode, TcpPeer &peer) {
            if (mode == wallPicture)
                peer.sendFrame(QByteArray::fromHex("FFD8FFD9")); // begins and ends, no more
        });
        QCOMPARE(receive(cameraOf(server), StopSignal()).error, Error::invalidJPEG);
    }

    void takesDottedAddressesOnly()
    {
        for (const auto &host : {u"localhost"_s, u""_s, u"127.0.0.1 "_s, u"127.1"_s,
                                 u"127.0.0.256"_s, u"::1"_s, u"127.0.0.1:80"_s, u"127.0.0.1\0"_s})
            QCOMPARE(receive({.host = host, .serverPort = 9}, StopSignal()).error,
                     Error::invalidHost);
        QCOMPARE(thrownText([] { throw VORNPreviewError(Error::invalidHost); }),
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

    void aStopWakesAReaderOfASilentCamera()
    {
        PreviewServer server([](int, TcpPeer &peer) { peer.stayUntilClosed(); });
        const StopSignal stop;
        Outcome outcome;
        // Waits without end, but for the stop.
        std::thread reader([&] {
            outcome = receive(cameraOf(server, {.legacyWait = 1h, .wholeFrame = 1h}), stop, true);
        });
        QTRY_COMPARE(server.modes(), std::vector{wallPicture});
        stop.request();
        reader.join();
        QCOMPARE(outcome.error, Error::transportFailed);
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
