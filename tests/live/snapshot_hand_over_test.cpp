// The road of a status from its bytes to the camera list, on plain threads: what the discovery
// thread orders and gathers is applied on another. For the thread sanitizer, which misjudges Qt's
// event queue.

#include "live/camera_list.h"
#include "live/camera_snapshot.h"
#include "live/live_packet.h"
#include "live/peer_snapshot_orders.h"
#include "live/snapshot_batch.h"

#include <cstdio>
#include <mutex>
#include <span>
#include <thread>
#include <utility>

using namespace vorn;

namespace {

constexpr int statuses = 2000;

/// The one place where batches and the ids that are listed cross.
struct Crossing {
    std::mutex mutex;
    std::vector<CameraSnapshot> batch;
    QSet<QString> listed;
    bool isOver = false;
};

QByteArray status(int number)
{
    return R"({"v":1,"type":"status","sender":"cam-)" + QByteArray::number(number % 7)
           + R"(","sessionId":"6f1d0b52-3c1e-4a55-9d0e-0a7c2f6f9b11","seq":)"
           + QByteArray::number(number) + R"(,"payload":{"name":"Phone )"
           + QByteArray::number(number) + R"("}})";
}

void discover(Crossing &crossing)
{
    PeerSnapshotOrders orders;
    SnapshotBatch batch;
    for (int number = 0; number < statuses; ++number) {
        const QByteArray bytes = status(number);
        const auto packet =
            decodePacket(std::as_bytes(std::span(bytes.data(), std::size_t(bytes.size()))));
        if (!packet || !orders.acceptDatagram(*packet, MonotonicClock::now()))
            continue;
        CameraSnapshot snapshot(*packet, QStringLiteral("10.0.0.1"));
        if (batch.hasRoomFor(snapshot.id()))
            batch.add(std::move(snapshot));
        const std::scoped_lock lock(crossing.mutex);
        batch.setListed(crossing.listed);
        if (crossing.batch.empty())
            crossing.batch = batch.take();
    }
    for (bool isOver = false; !isOver;) { // until the last batch has been handed over
        const std::scoped_lock lock(crossing.mutex);
        if (crossing.batch.empty())
            crossing.batch = batch.take();
        crossing.isOver = isOver = batch.isEmpty();
    }
}

} // namespace

int main()
{
    Crossing crossing;
    CameraList list;
    std::thread discovery([&crossing] { discover(crossing); });
    for (bool isOver = false; !isOver;) {
        std::vector<CameraSnapshot> batch;
        {
            const std::scoped_lock lock(crossing.mutex);
            isOver = crossing.isOver;
            batch = std::exchange(crossing.batch, {});
            for (const LiveCamera &camera : list.cameras())
                crossing.listed.insert(camera.id);
        }
        for (CameraSnapshot &snapshot : batch)
            list.apply(std::move(snapshot), std::chrono::system_clock::now());
    }
    discovery.join();
    if (list.cameras().size() == 7)
        return 0;
    std::fprintf(stderr, "%zu cameras\n", list.cameras().size());
    return 1;
}
