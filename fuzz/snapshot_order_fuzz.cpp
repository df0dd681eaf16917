// SPDX-License-Identifier: Apache-2.0

// Any sequence of snapshots of a few cameras, by datagram and as answers to probes, in four bytes
// each: what they are, session, number, and time since the one before. Held against a simple book
// of what was accepted.

#include "check.h"
#include "live/peer_snapshot_orders.h"

#include <array>
#include <deque>
#include <map>
#include <span>

using namespace Qt::StringLiterals;
using namespace vorn;
using namespace std::chrono_literals;

namespace {

struct Snapshot {
    int camera = 0;
    bool isDatagram = false;
    bool isAskedBefore = false; ///< a probe that began before the newest datagram
    std::optional<int> session;
    std::optional<int> sequence;
    std::optional<int> sentMs;

    explicit Snapshot(std::span<const std::uint8_t, 4> bytes)
        : camera((bytes[0] >> 1) & 3), isDatagram(bytes[0] & 1), isAskedBefore(bytes[0] & 64)
    {
        if (bytes[0] & 8)
            session = bytes[1] & 31;
        if (bytes[0] & 16)
            sequence = bytes[2];
        if (bytes[0] & 32)
            sentMs = bytes[2];
    }

    [[nodiscard]] LiveCameraPacket packet() const
    {
        const QString id = u"cam-%1"_s.arg(camera);
        LiveCameraPacket made{.type = u"status"_s, .sender = id, .payload = {{u"id"_s, id}}};
        if (session)
            made.sessionID = u"00000000-0000-4000-8000-0000000000%1"_s.arg(*session + 10);
        if (sequence)
            made.sequence = *sequence;
        if (sentMs)
            made.sentMs = *sentMs;
        return made;
    }
};

/// What was accepted of one camera.
struct Book {
    std::optional<int> session;
    std::deque<int> left; ///< sessions, oldest first
    int highest = -1;
    int sentMs = -1;
    MonotonicClock::time_point last;
    std::uint64_t heardAt = 0; ///< the datagram's number; 0: none

    void checkAccepted(const Snapshot &snapshot, MonotonicClock::time_point now) const
    {
        const bool mayBegin = snapshot.isDatagram || heardAt == 0;
        if (!snapshot.session) {
            check(!session && !snapshot.sequence, "who has spoken in sessions goes on in sessions");
            check(snapshot.sentMs || mayBegin, "a probe without a stamp tells nothing newer");
            check(!snapshot.sentMs || *snapshot.sentMs >= sentMs
                      || (mayBegin && now - last > PeerSnapshotOrder::legacyResetAfter),
                  "a clock goes back after silence only");
            return;
        }
        check(snapshot.sequence.has_value(), "a session has sequences");
        if (snapshot.session == session) {
            check(snapshot.sequence.value_or(-1) > highest, "a session goes forward");
            return;
        }
        check(mayBegin, "a probe begins no session of who is heard");
        check(std::ranges::find(left, *snapshot.session) == left.end(), "what was left stays left");
    }

    void note(const Snapshot &snapshot, MonotonicClock::time_point now)
    {
        last = now;
        if (!snapshot.session) {
            sentMs = snapshot.sentMs.value_or(sentMs);
            return;
        }
        if (session && session != snapshot.session) {
            left.push_back(*session);
            if (left.size() > PeerSnapshotOrder::maximumRetired)
                left.pop_front();
        }
        session = snapshot.session;
        highest = snapshot.sequence.value_or(-1);
    }
};

void hear(const Snapshot &snapshot, PeerSnapshotOrders &orders, Book &book,
          MonotonicClock::time_point now)
{
    const LiveCameraPacket packet = snapshot.packet();
    const std::uint64_t revision = orders.udpRevision();
    const std::uint64_t begun = snapshot.isAskedBefore && revision > 0 ? revision - 1 : revision;
    const bool isAccepted = snapshot.isDatagram ? orders.acceptDatagram(packet, now)
                                                : orders.acceptProbe(packet, begun, now);
    check(snapshot.isDatagram || !isAccepted || book.heardAt <= begun, "a newer datagram stands");
    check(orders.udpRevision() == revision + (snapshot.isDatagram && isAccepted ? 1 : 0),
          "accepted datagrams are counted");
    if (isAccepted) {
        book.checkAccepted(snapshot, now);
        book.note(snapshot, now);
        if (snapshot.isDatagram)
            book.heardAt = orders.udpRevision();
        check(!snapshot.session || !orders.acceptDatagram(packet, now), "nothing is new twice");
    } else {
        check(!snapshot.isDatagram || snapshot.session != book.session || !snapshot.session
                  || !snapshot.sequence || *snapshot.sequence <= book.highest,
              "what goes forward is accepted");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    PeerSnapshotOrders orders;
    std::array<Book, 4> books;
    MonotonicClock::time_point now{};
    for (std::span rest(data, size); rest.size() >= 4; rest = rest.subspan(4)) {
        now += 100ms * rest[3];
        const Snapshot snapshot(rest.first<4>());
        hear(snapshot, orders, books[std::size_t(snapshot.camera)], now);
    }
    return 0;
}
