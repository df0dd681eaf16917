// SPDX-License-Identifier: Apache-2.0

// The roads of a status from its bytes to the camera list, of a picture from its socket to the
// window, and of a recording to the disk, on plain threads. Under the thread sanitizer, which
// misjudges Qt's event queue, it shows that what crosses between them does so in order. With the
// argument --race it does not, which the sanitizer must find.

#include "jpeg_samples.h"
#include "lab_phones.h"
#include "live/camera_list.h"
#include "live/peer_snapshot_orders.h"
#include "live/snapshot_batch.h"
#include "preview/frame_mailbox.h"
#include "preview/stream_reconciler.h"
#include "preview/stream_worker.h"
#include "preview_server.h"
#include "store/partial_recording.h"
#include "support.h"

#include <QTemporaryDir>

#include <array>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

using namespace vorn;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {

/// What an event loop is to a thread: the one place where work comes in from others.
class Queue {
public:
    void post(std::function<void()> work)
    {
        const std::scoped_lock lock(m_mutex);
        m_work.push_back(std::move(work));
        m_more.notify_one();
    }

    /// Runs what comes, until `isDone`.
    void runUntil(const std::function<bool()> &isDone)
    {
        while (!isDone()) {
            std::unique_lock lock(m_mutex);
            m_more.wait(lock, [this] { return !m_work.empty(); });
            const auto work = std::move(m_work.front());
            m_work.pop_front();
            lock.unlock();
            work();
        }
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_more;
    std::deque<std::function<void()>> m_work;
};

/// A thread that does what is posted to it, until it ends.
class Worker {
public:
    Worker() : m_thread([this] { m_queue.runUntil([this] { return m_isClosed; }); }) {}
    ~Worker()
    {
        m_queue.post([this] { m_isClosed = true; });
        m_thread.join();
    }
    Worker(const Worker &) = delete;
    Worker &operator=(const Worker &) = delete;

    void post(std::function<void()> work) { m_queue.post(std::move(work)); }

private:
    Queue m_queue;
    bool m_isClosed = false;
    std::thread m_thread;
};

/// Takes pictures on a thread of its own, as the window does.
class Window {
public:
    void show(const PreviewFrame &frame, std::function<void()> taken)
    {
        m_worker.post([this, frame, taken = std::move(taken)] {
            m_frame = frame; // and drops the one before
            if (m_frame.image.pixelColor(0, 0).isValid())
                taken();
        });
    }

private:
    PreviewFrame m_frame;
    Worker m_worker;
};

/// What the preview state thread does, on the thread that calls run().
class Streams {
public:
    explicit Streams(std::uint16_t port) : m_port(port) {}

    /// Streams from that address until so many pictures have been taken, then stops.
    void run(const QString &host, int pictures)
    {
        LiveCamera camera;
        camera.id = u"a"_s;
        camera.host = host;
        camera.lastSeen = std::chrono::system_clock::now() + 1h;
        (void)m_reconciler.select({u"a"_s}, PreviewMoment::now());
        apply(m_reconciler.start({camera}, PreviewMoment::now()));
        const int wanted = m_taken + pictures;
        m_queue.runUntil([this, wanted] { return m_taken >= wanted; });
        apply(m_reconciler.stop());
    }

    void awaitEnd()
    {
        m_queue.runUntil([this] { return m_workers.empty(); });
    }

private:
    void apply(const StreamChanges &changes)
    {
        for (const StreamRun &run : changes.stopped)
            m_workers.at(run.token)->stop();
        for (const StreamRun &run : changes.started) {
            m_workers[run.token] = std::make_unique<StreamWorker>(
                StreamWorker::Request{.camera = {.host = run.host, .serverPort = m_port},
                                      .profile = run.key.profile},
                StreamWorker::Handlers{
                    .onFrame =
                        [this, run](const PreviewFrame &frame) {
                            m_queue.post([this, run, frame] { receive(run, frame); });
                        },
                    .onEnd =
                        [this, run](std::optional<Transport> transport, const QString &) {
                            m_queue.post([this, run, transport] { end(run, transport); });
                        }});
        }
    }

    void receive(const StreamRun &run, const PreviewFrame &frame)
    {
        if (m_reconciler.publish(run, frame.transport))
            show(run.key, m_mailboxes[run.key].put(frame));
    }

    void show(const StreamKey &key, const std::optional<PreviewFrame> &frame)
    {
        if (frame) {
            m_window.show(*frame, [this, key] {
                m_queue.post([this, key] {
                    ++m_taken;
                    show(key, m_mailboxes[key].taken());
                });
            });
        }
    }

    void end(const StreamRun &run, std::optional<Transport> transport)
    {
        m_workers.erase(run.token);
        apply(m_reconciler.end(run, transport, PreviewMoment::now()).changes);
    }

    std::uint16_t m_port;
    Queue m_queue;
    StreamReconciler m_reconciler;
    std::map<StreamKey, FrameMailbox> m_mailboxes;
    int m_taken = 0;
    std::map<StreamToken, std::unique_ptr<StreamWorker>> m_workers;
    Window m_window; ///< ends first, since it still posts to the queue
};

/// Statuses are heard on one thread and listed on another, which says in turn whom it lists.
void handOverStatuses()
{
    constexpr int statuses = 2000;
    Queue discovery;
    Queue window;
    PeerSnapshotOrders orders;
    SnapshotBatch batch;
    CameraList list;
    int heard = 0;
    int told = 0;
    int listed = 0;
    const auto show = [&](const std::vector<CameraSnapshot> &taken) {
        QSet<QString> ids;
        for (const CameraSnapshot &snapshot : taken)
            list.apply(snapshot, std::chrono::system_clock::now());
        for (const LiveCamera &camera : list.cameras())
            ids.insert(camera.id);
        ++listed;
        discovery.post([&batch, &told, ids] {
            batch.setListed(ids);
            ++told;
        });
    };
    const auto hear = [&] {
        ++heard;
        const QByteArray bytes = status(u"cam-%1"_s.arg(heard % 7), heard,
                                        sequenced("3f2504e0-4f89-41d3-9a0c-0305e82c3301", heard));
        const auto packet = decodePacket(bytesOf(bytes));
        if (!packet || !orders.acceptDatagram(*packet, MonotonicClock::now()))
            qFatal("a status is refused");
        batch.add({*packet, u"10.0.0.1"_s});
        window.post([&show, taken = batch.take()] { show(taken); });
    };
    std::thread worker([&] {
        for (int i = 0; i < statuses; ++i)
            discovery.post(hear);
        discovery.runUntil([&told] { return told == statuses; });
    });
    window.runUntil([&listed] { return listed == statuses; });
    worker.join();
    if (list.cameras().size() != 7)
        qFatal("%zu cameras", list.cameras().size());
}

void handOverFrames()
{
    const QByteArray jpeg = jpegOf(samplePicture({64, 48}));
    const PreviewServer::Answer stream = [jpeg](int, TcpPeer &peer) {
        while (peer.sendFrame(jpeg)) {
        }
    };
    const PreviewServer first(stream, u"127.0.0.2"_s);
    const PreviewServer second(stream, u"127.0.0.3"_s, first.port());
    Streams streams(first.port());
    for (int round = 0; round < 50; ++round)
        streams.run(round % 2 == 0 ? u"127.0.0.2"_s : u"127.0.0.3"_s, 20);
    streams.awaitEnd();
}

/// What comes of a recording on one thread is written by others in turn, as the pool has one free,
/// and how far its digest is, is read where the window is.
void handOverRecording()
{
    constexpr int pieces = 50;
    constexpr int pieceBytes = 100'000;
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"a.mov"_s);
    Queue window;
    std::int64_t hashed = 0;
    bool isThere = false;
    std::shared_ptr<PartialRecording> partial;
    std::array<Worker, 2> pool;
    Worker connection;
    const auto finish = [&] {
        const QString digest = partial->sha256FromDisk([&window, &hashed](std::int64_t bytes) {
            window.post([&hashed, bytes] { hashed = bytes; });
        });
        partial->moveToDestination();
        window.post([&, digest] {
            partial.reset();
            isThere = isRecordingThere(path, digest, {});
        });
    };
    const std::function<void(int)> fetch = [&](int number) {
        if (number == pieces)
            return pool[0].post(finish);
        connection.post([&, number] {
            const QByteArray bytes(pieceBytes, char('a' + number % 26));
            window.post([&, number, bytes] {
                pool[std::size_t(number) % 2].post([&, number, bytes] {
                    if (!partial)
                        partial = std::make_shared<PartialRecording>(path, pieces * pieceBytes);
                    partial->append(bytes);
                    window.post([&fetch, number] { fetch(number + 1); });
                });
            });
        });
    };
    fetch(0);
    window.runUntil([&isThere] { return isThere; });
    if (hashed != pieces * pieceBytes)
        qFatal("hashed %lld bytes", static_cast<long long>(hashed));
}

/// Two threads at one mailbox, which belongs to one.
void race()
{
    FrameMailbox mailbox;
    const auto put = [&mailbox] {
        for (int i = 0; i < 1000; ++i)
            (void)mailbox.put({});
    };
    std::thread other(put);
    put();
    other.join();
}

} // namespace

int main(int argc, char **argv)
{
    if (argc > 1 && std::strcmp(argv[1], "--race") == 0) {
        race();
        return 0;
    }
    handOverStatuses();
    handOverFrames();
    handOverRecording();
    return 0;
}
