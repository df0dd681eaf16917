// SPDX-License-Identifier: Apache-2.0

// Any bytes as datagrams: each line of the input is one, heard by a fresh table of orders, a batch
// and a list, and by a request that waits.

#include "base/text_form.h"
#include "check.h"
#include "live/camera_list.h"
#include "live/live_packet.h"
#include "live/peer_snapshot_orders.h"
#include "live/phone_clocks.h"
#include "live/snapshot_batch.h"
#include "live/transfer_mode_request.h"
#include "live/wire_text.h"

#include <QJsonDocument>

#include <algorithm>
#include <span>

using namespace Qt::StringLiterals;
using namespace vorn;
using namespace std::chrono_literals;

namespace {

const auto host = u"10.0.0.2"_s;

/// An envelope that says what a decoded packet says.
QByteArray encoded(const LiveCameraPacket &packet)
{
    QJsonObject envelope{{u"v"_s, 1},
                         {u"type"_s, packet.type},
                         {u"sender"_s, packet.sender},
                         {u"payload"_s, packet.payload}};
    if (packet.hasSessionID())
        envelope.insert(u"sessionId"_s, packet.sessionID);
    if (packet.hasSequence())
        envelope.insert(u"seq"_s, packet.sequence);
    if (packet.hasSentMs())
        envelope.insert(u"sentMs"_s, packet.sentMs);
    return QJsonDocument(envelope).toJson(QJsonDocument::Compact);
}

void checkPacket(const LiveCameraPacket &packet)
{
    check(packet.type == u"announce" || packet.type == u"status", "a snapshot is of a known type");
    check(isBoundedText(packet.cameraID(), maximumIdBytes), "a camera's id is bounded");
    check(packet.cameraID() == packet.sender, "the sender is the camera");
    const QByteArray again = encoded(packet);
    // A text may grow when it is written anew, and a lone surrogate is written as another
    // character.
    if (again.size() <= qsizetype(maximumPacketBytes) && !again.contains("\xEF\xBF\xBD"))
        check(decodePacket(std::as_bytes(std::span(again))) == packet,
              "what is written reads back");
}

void checkList(const CameraList &list, WallTime now)
{
    const auto &cameras = list.cameras();
    check(cameras.size() <= CameraList::maximumCameras, "the list is bounded");
    for (const LiveCamera &camera : cameras) {
        check(isBoundedText(camera.id, maximumIdBytes), "a listed id is bounded");
        check(camera.host == host && camera.lastSeen <= now, "a record is from here and now");
        check(std::ranges::count(cameras, camera.id, &LiveCamera::id) == 1, "an id stands once");
        const MonotonicClock::time_point monotonic(now.time_since_epoch());
        const auto place =
            camera.clock ? recordingPlace(*camera.clock, camera.recordingSinceMs, monotonic + 1min)
                         : std::nullopt;
        check(!place || (place->seconds >= 0 && place->seconds <= longestRecording.count()),
              "a place is in a recording");
        check(camera.previewCapabilities.transports.size() <= std::size_t(maximumPreviewSetSize),
              "a set is bounded");
    }
}

/// One listener's whole memory.
struct Listener {
    PeerSnapshotOrders orders;
    PhoneClocks clocks;
    SnapshotBatch batch;
    CameraList singly;
    CameraList batched;
    PendingTransferRequests requests;
    WallTime now;

    void hear(std::span<const std::byte> data)
    {
        now += 700ms;
        const MonotonicClock::time_point monotonic(now.time_since_epoch());
        const auto datagram = decodeDatagram(data);
        const auto packet = decodePacket(data);
        const auto response = decodeTransferModeResponse(data);
        check(packet.has_value() == std::holds_alternative<LiveCameraPacket>(datagram)
                  && response.has_value() == std::holds_alternative<TransferModeResponse>(datagram),
              "a datagram is one thing");
        if (response) {
            requests.add(u"r"_s, {.cameraID = response->sender,
                                  .cameraName = u"Camera"_s,
                                  .host = host,
                                  .collectorID = u"me"_s});
            if (const auto state = requests.judge(*response, host))
                check(!state->message.isEmpty() && state->requestID == u"r", "an answer has words");
        }
        if (!packet)
            return;
        checkPacket(*packet);
        const std::uint64_t revision = orders.udpRevision();
        const bool isNew = orders.acceptDatagram(*packet, monotonic);
        check(orders.udpRevision() == revision + (isNew ? 1 : 0), "what is accepted is counted");
        check(!isNew || !orders.acceptProbe(*packet, revision, monotonic), "a datagram stands");
        if (isNew) {
            CameraSnapshot snapshot(*packet, host);
            snapshot.setClock(clocks.hear(*packet, host, monotonic));
            check(batch.hasRoomFor(snapshot.id()), "a few cameras have room");
            batch.add(snapshot);
            check(singly.apply(snapshot, now), "the list has room");
        }
    }

    void settle()
    {
        for (CameraSnapshot &snapshot : batch.take())
            static_cast<void>(batched.apply(std::move(snapshot), now));
        auto expected = singly.cameras();
        for (LiveCamera &camera : expected)
            camera.lastSeen = now;
        check(batched.cameras() == expected, "a batch is as good as its snapshots");
        checkList(singly, now);
        static_cast<void>(singly.removeExpired(now + LiveCamera::forgetAfter));
        check(singly.cameras().empty(), "silence empties the list");
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Listener listener;
    listener.hear(std::as_bytes(std::span(data, size)));
    // JSON holds no bare line feed inside a text, so that one input can be several datagrams.
    int lines = 0;
    for (std::size_t start = 0; start < size && lines < 64; ++lines) {
        const auto *end = std::find(data + start, data + size, '\n');
        listener.hear(std::as_bytes(std::span(data + start, end)));
        start = std::size_t(end - data) + 1;
    }
    listener.settle();
    return 0;
}
