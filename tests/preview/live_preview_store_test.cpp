// SPDX-License-Identifier: Apache-2.0

#include "jpeg_samples.h"
#include "preview/live_preview_store.h"
#include "preview_server.h"
#include "support.h"

#include <QSignalSpy>
#include <QtTest>

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <thread>

using namespace vorn;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {

constexpr auto wall = VORNPreviewProfile::wall;
constexpr auto selected = VORNPreviewProfile::selected;

QByteArray plainJPEG(Qt::GlobalColor color)
{
    QImage image(64, 48, QImage::Format_RGB32);
    image.fill(color);
    return jpegOf(image);
}

const QByteArray redJPEG = plainJPEG(Qt::red);
const QByteArray blueJPEG = plainJPEG(Qt::blue);

bool isBlue(const PreviewFrame &frame)
{
    return frame.image.pixelColor(10, 10).blue() > 128;
}

PreviewServer::Answer streamOf(const QByteArray &jpeg)
{
    return [jpeg](int, TcpPeer &peer) {
        while (peer.sendFrame(jpeg))
            std::this_thread::sleep_for(2ms);
    };
}

LiveCamera camera(const QString &id, const QString &host)
{
    LiveCamera record;
    record.id = id;
    record.host = host;
    record.lastSeen = std::chrono::system_clock::now() + 1h; // no test is about ageing
    return record;
}

LivePreviewStore *makeStore(std::uint16_t port, QObject *parent)
{
    // Rests as short as that, so that no test waits for long.
    return new LivePreviewStore({.serverPort = port,
                                 .pace = {.firstBackOff = 5ms,
                                          .maximumBackOff = 20ms,
                                          .wallPause = 10ms,
                                          .selectedPause = 5ms}},
                                parent);
}

} // namespace

class LivePreviewStoreTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void showsEveryCameraAndTheSelectedOnesLarge()
    {
        PreviewServer first(streamOf(redJPEG), u"127.0.0.2"_s);
        PreviewServer second(streamOf(blueJPEG), u"127.0.0.3"_s, first.port());
        QObject scope;
        auto *const store = makeStore(first.port(), &scope);
        QSignalSpy frameChanges(store, &LivePreviewStore::frameChanged);
        store->start({camera(u"a"_s, u"127.0.0.2"_s), camera(u"b"_s, u"127.0.0.3"_s)});
        QTRY_COMPARE(store->wallFrames().size(), std::size_t{2});
        QVERIFY(!isBlue(store->wallFrames().at(u"a"_s)));
        QVERIFY(isBlue(store->wallFrames().at(u"b"_s)));
        QVERIFY(!frameChanges.isEmpty());
        QCOMPARE(store->transport(u"a"_s, wall), Transport::persistent);
        QVERIFY(store->frameTimes().contains(u"a"_s));
        QVERIFY(store->errors().empty());

        store->select({u"b"_s, u"unknown"_s});
        QTRY_COMPARE(store->selectedFrames().size(), std::size_t{1});
        QCOMPARE(second.modes(), (std::vector{4, 5}));
        QCOMPARE(second.openConnections(), 2);

        // The last large picture stays when its stream ends.
        store->select({});
        QTRY_COMPARE(second.openConnections(), 1);
        QVERIFY(store->selectedFrames().contains(u"b"_s));
        QCOMPARE(store->transport(u"b"_s, selected), Transport::persistent);
        QCOMPARE(first.modes(), std::vector{4});

        // All goes with the camera.
        store->update({camera(u"a"_s, u"127.0.0.2"_s)});
        QTRY_COMPARE(second.openConnections(), 0);
        QTRY_COMPARE(store->wallFrames().size(), std::size_t{1});
        QVERIFY(store->selectedFrames().empty());
        QVERIFY(!store->frameTimes().contains(u"b"_s));
        QVERIFY(!store->statistics().contains({u"b"_s, wall}));
        QCOMPARE(store->transport(u"b"_s, wall), std::nullopt);

        store->stop();
        QTRY_COMPARE(first.openConnections(), 0);
        QVERIFY(store->wallFrames().contains(u"a"_s));
    }

    void showsNothingOfAnAddressThatIsNoLongerTheCameras()
    {
        PreviewServer before(streamOf(redJPEG), u"127.0.0.2"_s);
        PreviewServer after(streamOf(blueJPEG), u"127.0.0.3"_s, before.port());
        QObject scope;
        auto *const store = makeStore(before.port(), &scope);
        store->start({camera(u"a"_s, u"127.0.0.2"_s)});
        QTRY_VERIFY(store->wallFrames().contains(u"a"_s));
        store->update({camera(u"a"_s, u"127.0.0.3"_s)});
        QTRY_VERIFY(isBlue(store->wallFrames().at(u"a"_s)));
        bool hasTurnedBack = false;
        connect(store, &LivePreviewStore::frameChanged, &scope,
                [&] { hasTurnedBack |= !isBlue(store->wallFrames().at(u"a"_s)); });
        const auto received = store->statistics().at({u"a"_s, wall}).received;
        QTRY_VERIFY(store->statistics().at({u"a"_s, wall}).received > received + 10);
        QVERIFY(!hasTurnedBack);
        QTRY_COMPARE(before.openConnections(), 0);
    }

    // A phone may be faster than the window. The newest picture counts, and none is lost on the
    // way.
    void showsTheNewestPictureOfABurst()
    {
        constexpr std::uint64_t count = 200;
        PreviewServer server([](int, TcpPeer &peer) {
            for (std::uint64_t i = 1; i < count; ++i)
                peer.sendFrame(redJPEG);
            peer.sendFrame(blueJPEG);
            peer.stayUntilClosed();
        });
        QObject scope;
        auto *const store = makeStore(server.port(), &scope);
        store->start({camera(u"a"_s, u"127.0.0.1"_s)});
        QTRY_VERIFY(store->wallFrames().contains(u"a"_s) && isBlue(store->wallFrames().at(u"a"_s)));
        const StreamStatistics statistics = store->statistics().at({u"a"_s, wall});
        QCOMPARE(statistics.received, count);
        QCOMPARE(statistics.published + statistics.replaced, count);
        QVERIFY(statistics.maximumGap > 0ns);
    }

    void decodesNoLargerThanItIsShown()
    {
        PreviewServer server(streamOf(redJPEG));
        QObject scope;
        auto *const store = makeStore(server.port(), &scope);
        int shownWidth = 0;
        connect(store, &LivePreviewStore::shownWidthAsked, &scope,
                [&](const StreamKey &key, int &pixels) {
                    if (key.profile == wall)
                        pixels = std::max(pixels, shownWidth);
                });
        store->start({camera(u"a"_s, u"127.0.0.1"_s)});
        store->select({u"a"_s});
        const QSize whole(64, 48);
        const auto drawn = [&] {
            const PreviewFrame *frame = store->frame(u"a"_s, wall);
            return frame && frame->size == whole ? frame->image.size() : QSize();
        };
        QTRY_COMPARE(drawn(), whole);
        shownWidth = 20;
        QTRY_COMPARE(drawn(), whole / 2);
        // One that nobody shows stays as it was; each stream has a width of its own.
        shownWidth = 0;
        const auto published = [&] { return store->statistics().at({u"a"_s, wall}).published; };
        const auto before = published();
        QTRY_VERIFY(published() > before + 10);
        QCOMPARE(drawn(), whole / 2);
        QCOMPARE(store->selectedFrames().at(u"a"_s).image.size(), whole);
        shownWidth = 33;
        QTRY_COMPARE(drawn(), whole);
    }

    void aStopEndsTheStreamOfASilentPhone()
    {
        PreviewServer server([](int, TcpPeer &peer) { peer.stayUntilClosed(); });
        QObject scope;
        // It would wait for an hour.
        auto *const store = new LivePreviewStore(
            {.serverPort = server.port(), .limits = {.persistentWait = 1h, .wholeFrame = 1h}},
            &scope);
        const std::vector cameras{camera(u"a"_s, u"127.0.0.1"_s)};
        store->start(cameras);
        QTRY_COMPARE(server.openConnections(), 1);
        store->stop();
        QTRY_COMPARE(server.openConnections(), 0);
        store->start(cameras);
        QTRY_COMPARE(server.openConnections(), 1);
        delete store;
        QTRY_COMPARE(server.openConnections(), 0);
    }

    void startingAndStoppingLeavesNothingBehind()
    {
        PreviewServer server(streamOf(redJPEG), u"127.0.0.1"_s);
        const std::vector cameras{camera(u"a"_s, u"127.0.0.1"_s)};
        const auto cycle = [&] {
            const auto store = std::unique_ptr<LivePreviewStore>(makeStore(server.port(), nullptr));
            store->start(cameras);
            store->select({u"a"_s});
            QSignalSpy frames(store.get(), &LivePreviewStore::frameChanged);
            while (store->wallFrames().empty() || store->selectedFrames().empty())
                QVERIFY(frames.wait());
            store->stop();
            store->start(cameras);
        };
        for (int i = 0; i < 10; ++i)
            cycle();
        QTRY_COMPARE(server.openConnections(), 0);
        const auto descriptorsBefore = processEntries("fd");
        const auto threadsBefore = processEntries("task");
        const auto heap = [] { return ::mallinfo2().uordblks + ::mallinfo2().hblkhd; };
        const auto heapBefore = heap();
        for (int i = 0; i < 100; ++i)
            cycle();
        QTRY_COMPARE(server.openConnections(), 0);
        QTRY_COMPARE(processEntries("fd"), descriptorsBefore);
        QTRY_COMPARE(processEntries("task"), threadsBefore);
        // Room for what an allocator keeps; a lost picture a cycle would be 1.2 MB.
        QVERIFY2(heap() < heapBefore + 300'000, qPrintable(QString::number(heap() - heapBefore)));
    }
};

QTEST_GUILESS_MAIN(LivePreviewStoreTest)
#include "live_preview_store_test.moc"
