// SPDX-License-Identifier: Apache-2.0

// What a status costs on its way from the socket to the list, beside the bare reading of its JSON
// and the bare copy of its record.

#include "live/camera_list.h"
#include "live/live_packet.h"
#include "live/peer_snapshot_orders.h"

#include <QJsonDocument>

#include <benchmark/benchmark.h>

#include <span>
#include <string>
#include <type_traits>
#include <utility>

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

/// A status as a phone sends it, 621 bytes.
const QByteArray usual =
    R"({"v":1,"type":"status","sender":"camera-a","sessionId":"3f2504e0-4f89-41d3-9a0c-0305e82c3301",)"
    R"("seq":123456,"sentMs":1790000000123,"payload":{"id":"camera-a","name":"Left","role":"CAMERA",)"
    R"("takeId":"take-20261125-studio-one-a","recording":true,"recordingSinceMs":1790000000000,"battery":87,"freeGb":118.5,"leftDb":-18.2,)"
    R"("rightDb":-20.1,"channels":2,"quality":"4K 30","aspect":"16:9","previewRotation":90,)"
    R"("previewCapabilities":{"v":1,"transports":["jpeg-tcp-v1"],"codecs":["jpeg"],"persistentModes":[4,5]},)"
    R"("previewTransport":{"modes":[1,2,4,5],"codec":"JPEG","policy":"automatic","wallTargetFps":12,"selectedTargetFps":24}}})";

/// The largest that is read, its room filled with counters.
QByteArray largest()
{
    QByteArray text = usual.chopped(2) + R"(,"more":{)";
    for (int i = 0; text.size() < qsizetype(maximumPacketBytes) - 32; ++i)
        text += '"' + QByteArray::number(i) + "\":" + QByteArray::number(i) + ',';
    text += R"("x":0}}})";
    return text;
}

void decodeAndAccept(benchmark::State &state, const QByteArray &text)
{
    PeerSnapshotOrders orders;
    int sequence = 0;
    for (auto _ : state) {
        auto read = decodePacket(std::as_bytes(std::span(text)));
        if (!read) {
            state.SkipWithError("not read");
            break;
        }
        read->sequence = ++sequence;
        benchmark::DoNotOptimize(orders.acceptDatagram(*read, MonotonicClock::now()));
        benchmark::DoNotOptimize(CameraSnapshot(*read, u"10.0.0.2"_s));
    }
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(state.iterations() * text.size());
}

void readJson(benchmark::State &state, const QByteArray &text)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(QJsonDocument::fromJson(text));
}

std::vector<CameraSnapshot> snapshots(int count)
{
    std::vector<CameraSnapshot> made;
    auto packet = decodePacket(std::as_bytes(std::span(usual)));
    for (int i = 0; i < count; ++i) {
        packet->payload[u"id"_s] = u"camera-%1"_s.arg(i);
        packet->payload[u"name"_s] = u"Camera %1"_s.arg(i * 7919 % count);
        made.emplace_back(*packet, u"10.0.0.2"_s);
    }
    return made;
}

void ingest(benchmark::State &state, int count)
{
    const auto heard = snapshots(count);
    const WallTime now = std::chrono::system_clock::now();
    CameraList list;
    for (auto _ : state) {
        for (const CameraSnapshot &snapshot : heard)
            benchmark::DoNotOptimize(list.apply(snapshot, now));
    }
    state.SetItemsProcessed(state.iterations() * count);
}

void copySnapshots(benchmark::State &state, int count)
{
    const auto heard = snapshots(count);
    for (auto _ : state) {
        for (const CameraSnapshot &snapshot : heard) {
            CameraSnapshot copy = snapshot;
            benchmark::DoNotOptimize(copy);
        }
    }
}

// A pair has one name; scripts/bench makes a row of it.
template <class Argument>
void registerPair(const std::string &name, void (*ours)(benchmark::State &, Argument),
                  void (*yardstick)(benchmark::State &, Argument),
                  const std::type_identity_t<Argument> &argument)
{
    for (const auto &[half, run] : {std::pair("/ours", ours), std::pair("/yardstick", yardstick)}) {
        benchmark::RegisterBenchmark((name + half).c_str(), [run,
                                                             argument](benchmark::State &state) {
            run(state, argument);
        })->Unit(benchmark::kMicrosecond);
    }
}

} // namespace

int main(int argc, char **argv)
{
    registerPair<const QByteArray &>("status of 621 bytes", decodeAndAccept, readJson, usual);
    registerPair<const QByteArray &>("status of 8 KiB", decodeAndAccept, readJson, largest());
    for (const int count : {4, 100, 256})
        registerPair<int>("list of " + std::to_string(count) + " cameras", ingest, copySnapshots,
                          count);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
