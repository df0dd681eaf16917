// SPDX-License-Identifier: Apache-2.0

// The arithmetic of an export, each beside the least that touches the same data.

#include "drift/anchor_fit.h"
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

// A pair has one name; scripts/bench makes a row of it.
BENCHMARK(fit)->Name("fit of 10000 anchors/ours")->Unit(benchmark::kMicrosecond);
BENCHMARK(sortAndSum)->Name("fit of 10000 anchors/yardstick")->Unit(benchmark::kMicrosecond);
BENCHMARK(timelineDocument)->Name("document of 100 clips/ours")->Unit(benchmark::kMicrosecond);
BENCHMARK(plainAppend)->Name("document of 100 clips/yardstick")->Unit(benchmark::kMicrosecond);

} // namespace
