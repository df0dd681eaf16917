// SPDX-License-Identifier: Apache-2.0

// What a status costs on its way from the socket to the list, beside the bare reading of its JSON.

#include "live/camera_snapshot.h"
#include "live/live_packet.h"
#include "live/peer_snapshot_orders.h"

#include <QJsonDocument>

#include <benchmark/benchmark.h>

#include <span>
#include <string>
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

// A pair has one name; scripts/bench makes a row of it.
void registerPair(const std::string &name, const QByteArray &text)
{
    for (const auto &[half, run] :
         {std::pair("/ours", &decodeAndAccept), std::pair("/yardstick", &readJson)}) {
        benchmark::RegisterBenchmark((name + half).c_str(), [run, text](benchmark::State &state) {
            run(state, text);
        })->Unit(benchmark::kMicrosecond);
    }
}

} // namespace

int main(int argc, char **argv)
{
    registerPair("status of 621 bytes", usual);
    registerPair("status of 8 KiB", largest());
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
