// SPDX-License-Identifier: Apache-2.0

// What a phone's catalog costs on its way into the library, beside the bare reading of its JSON.
// Takes of one recording, which is what one phone has of each.

#include "large_samples.h"
#include "library/catalog_merge.h"
#include "library/record_json.h"
#include "transfer/catalog_gate.h"

#include <QJsonDocument>

#include <benchmark/benchmark.h>

#include <string>

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

void registerFor(int clips)
{
    const auto catalog = catalogOf(clips);
    const QByteArray text = lineFromRecord(catalog);
    const QString size = u"%1_clips"_s.arg(clips);
    const auto add = [&](const char *name, auto run) {
        const std::string key = name + ('_' + size.toStdString());
        benchmark::RegisterBenchmark((key + "/ours").c_str(), run)->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark((key + "/yardstick").c_str(), [text](benchmark::State &state) {
            for (auto _ : state)
                benchmark::DoNotOptimize(QJsonDocument::fromJson(text));
        })->Unit(benchmark::kMicrosecond);
    };
    add("catalog_decode", [text](benchmark::State &state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(recordFromJson<DeviceCatalog>(text, u"catalog"_s));
    });
    add("catalog_gate", [catalog](benchmark::State &state) {
        for (auto _ : state)
            TransferProtocol::validateAuthenticatedCatalog(catalog, sampleCatalogURL);
    });
    add("catalog_merge", [catalog](benchmark::State &state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(mergeCatalog(catalog, sampleCatalogURL, {}));
    });
    const VORNLibrary library = mergeCatalog(catalog, sampleCatalogURL, {});
    add("catalog_merge_again", [catalog, library](benchmark::State &state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(mergeCatalog(catalog, sampleCatalogURL, library));
    });
}

} // namespace

int main(int argumentCount, char *arguments[])
{
    benchmark::Initialize(&argumentCount, arguments);
    registerFor(1'000);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
