// SPDX-License-Identifier: Apache-2.0

// The arithmetic of an export, each beside the least that touches the same data.

#include "drift/anchor_fit.h"
#include "drift/director_cut_document.h"
#include "drift/timeline_document.h"

#include <QStringList>

#include <benchmark/benchmark.h>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

constexpr double durationSeconds = 3600;

std::vector<TimingAnchor> anchors()
{
    constexpr int count = 10'000;
    std::vector<TimingAnchor> list;
    for (int i = 0; i < count; ++i) {
        // In an order of its own: 7,919 is prime to the count.
        const double source = durationSeconds * ((i * 7'919) % count) / count;
        list.push_back({.sourceSeconds = source,
                        .referenceSeconds = 2.5 + source * 1.00002,
                        .confidence = 0.9,
                        .uncertaintyMs = 1 + i % 3 / 2.0});
    }
    return list;
}

std::vector<Placement> placements()
{
    std::vector<Placement> list;
    for (int i = 0; i < 100; ++i) {
        Placement placement;
        placement.item.clip.cameraId = u"Camera %1"_s.arg(i);
        placement.item.path = u"/media/Day 1/Camera %1/take & more.mov"_s.arg(i);
        placement.item.media = {.duration = 600 + i / 7.0,
                                .width = 3840,
                                .height = 2160,
                                .fps = double(29.97F),
                                .hasAudio = true};
        placement.start = i / 30.0;
        placement.duration = 600;
        placement.sourceStart = i / 113.0;
        placement.sourceEnd = placement.sourceStart + 600.012;
        list.push_back(placement);
    }
    return list;
}

QString document(const std::vector<Placement> &list)
{
    return DriftEngine::timelineDocument(u"Project"_s, u"take-1"_s, 30, list);
}

void fit(benchmark::State &state)
{
    const auto list = anchors();
    for (auto _ : state)
        benchmark::DoNotOptimize(DriftEngine::fit(list, durationSeconds));
}

void sortAndSum(benchmark::State &state)
{
    const auto list = anchors();
    for (auto _ : state) {
        auto sorted = list;
        std::ranges::stable_sort(sorted, {}, &TimingAnchor::sourceSeconds);
        double sum = 0;
        for (const TimingAnchor &anchor : sorted)
            sum += anchor.sourceSeconds * anchor.referenceSeconds;
        benchmark::DoNotOptimize(sum);
    }
}

void timelineDocument(benchmark::State &state)
{
    const auto list = placements();
    for (auto _ : state)
        benchmark::DoNotOptimize(document(list));
}

void plainAppend(benchmark::State &state)
{
    const QStringList pieces = document(placements()).split(u'"');
    for (auto _ : state) {
        QString text;
        for (const QString &piece : pieces) {
            text += piece;
            text += u'"';
        }
        benchmark::DoNotOptimize(text);
    }
}

/// A decision a second, of four cameras.
std::vector<CutDecision> decisions(int count)
{
    std::vector<CutDecision> list;
    for (int i = 0; i < count; ++i) {
        CutDecision decision;
        decision.kind = CutDecision::Kind(i % 3);
        decision.sessionSeconds = i;
        decision.cameraId = u"Camera %1"_s.arg(i % 4);
        decision.fadeSeconds = 0.5;
        for (int camera = 0; camera < 4; ++camera)
            decision.then.push_back({u"Camera %1"_s.arg(camera), i + 0.01 * camera, 0.03});
        list.push_back(decision);
    }
    return list;
}

void layAndWriteCut(const std::vector<CutDecision> &list)
{
    std::vector<Placement> cameras = placements();
    cameras.resize(4);
    for (Placement &camera : cameras)
        camera.duration = camera.item.media.duration = 40'000;
    const auto cut = DriftEngine::directorCut(list, cameras, 30);
    benchmark::DoNotOptimize(
        DriftEngine::directorCutDocument(u"Project"_s, u"take-1"_s, 30, cameras, *cut, 0));
}

void longCut(benchmark::State &state)
{
    const auto list = decisions(30'000);
    for (auto _ : state)
        layAndWriteCut(list);
}

void shortCuts(benchmark::State &state)
{
    const auto list = decisions(300);
    for (auto _ : state)
        for (int i = 0; i < 100; ++i)
            layAndWriteCut(list);
}

// A pair has one name; scripts/bench makes a row of it.
BENCHMARK(fit)->Name("fit of 10000 anchors/ours")->Unit(benchmark::kMicrosecond);
BENCHMARK(sortAndSum)->Name("fit of 10000 anchors/yardstick")->Unit(benchmark::kMicrosecond);
BENCHMARK(timelineDocument)->Name("document of 100 clips/ours")->Unit(benchmark::kMicrosecond);
BENCHMARK(plainAppend)->Name("document of 100 clips/yardstick")->Unit(benchmark::kMicrosecond);
BENCHMARK(longCut)->Name("cut of 30000 decisions, 100 of 300/ours")->Unit(benchmark::kMicrosecond);
BENCHMARK(shortCuts)
    ->Name("cut of 30000 decisions, 100 of 300/yardstick")
    ->Unit(benchmark::kMicrosecond);

} // namespace
