// SPDX-License-Identifier: Apache-2.0

// Usage: sound_accuracy FOLDER [KIND]
// Listens to the recordings of a folder that "vorn-rig sounds" has made and tells how they lie, as
// the program would, two at a time. Prints for each kind of scene how far that is from the
// truth, what was refused and why, and which recordings were aligned that do not belong together;
// then what it took, and what decoding alone takes. With KIND only the pairs whose kind holds it.

#include "base/files.h"
#include "base/json_text.h"
#include "paired.h"
#include "rig/base/ffmpeg.h"
#include "rig/base/two_at_once.h"
#include "sound/overlap.h"
#include "sound/sound_reader.h"

#include <QJsonArray>
#include <QStringList>

#include <sys/resource.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <optional>

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

constexpr std::int64_t maximumTruthBytes = 1 << 26;

struct Recording {
    QString path;
    double offsetSeconds = 0;
    double rate = 1; ///< scene seconds in a second of its own
    double delaySeconds = 0;
    double seconds = 0;

    /// When it has what the sound was at that scene second.
    [[nodiscard]] double heardAt(double madeAt) const
    {
        return (madeAt + delaySeconds - offsetSeconds) / rate;
    }
    [[nodiscard]] double madeAt(double heardAt) const
    {
        return offsetSeconds + rate * heardAt - delaySeconds;
    }
};

struct Pair {
    std::size_t reference = 0;
    std::size_t other = 0;
    QString kind;
    bool belongsTogether = true;
};

struct Material {
    std::vector<Recording> recordings;
    std::vector<Pair> pairs;
};

struct Outcome {
    std::optional<NoOverlap> refused = {};
    double errorMs = 0;    ///< in the middle of what both have
    double endErrorMs = 0; ///< where it is worst: at its head or its tail
    double driftError = 0; ///< in ppm
    double sharedSeconds = 0;
};

Recording recordingOf(const QJsonObject &object, const QString &folder)
{
    return {folder + u'/' + object[u"file"_s].toString(), object[u"offsetSeconds"_s].toDouble(),
            1 + object[u"driftPPM"_s].toDouble() / 1e6, object[u"soundDelaySeconds"_s].toDouble(),
            object[u"seconds"_s].toDouble()};
}

Material materialOf(const QString &folder)
{
    const QString path = folder + u"/truth.json"_s;
    const QJsonObject truth = parseJsonObject(readFile(path, maximumTruthBytes), path);
    Material material;
    for (const auto &recording : truth[u"recordings"_s].toArray())
        material.recordings.push_back(recordingOf(recording.toObject(), folder));
    for (const auto &belongsTogether : {true, false})
        for (const auto &pair : truth[belongsTogether ? u"together"_s : u"apart"_s].toArray())
            material.pairs.push_back({std::size_t(pair[u"first"_s].toInteger()),
                                      std::size_t(pair[u"second"_s].toInteger()),
                                      pair[u"kind"_s].toString(), belongsTogether});
    return material;
}

/// One recording's sound. What is short is looked at in many pairs, and so kept in memory.
struct Heard {
    SoundFeatures features;
    std::vector<std::int16_t> kept; ///< all of it, or nothing

    void read(const Recording &recording)
    {
        readSound(
            recording.path, {0, longestSoundSeconds}, {}, [&](std::span<const float> samples) {
                features.add(samples);
                if (recording.seconds < 600)
                    for (const float sample : samples)
                        kept.push_back(
                            std::int16_t(std::lround(std::clamp(sample, -1.0F, 1.0F) * 32'767)));
            });
    }

    [[nodiscard]] std::vector<float> at(const Recording &recording, double start,
                                        double seconds) const
    {
        if (kept.empty())
            return readSound(recording.path, {start, seconds});
        const auto first = std::min(kept.size(), std::size_t(std::lround(start * soundRate)));
        const auto count =
            std::min(kept.size() - first, std::size_t(std::lround(seconds * soundRate)));
        std::vector<float> samples(count);
        std::transform(kept.begin() + std::ptrdiff_t(first),
                       kept.begin() + std::ptrdiff_t(first + count), samples.begin(),
                       [](std::int16_t sample) { return float(sample) / 32'767; });
        return samples;
    }

    [[nodiscard]] HeardRecording forSearch(const Recording &recording) const
    {
        return {features, [this, &recording](double start, double seconds) {
                    return at(recording, start, seconds);
                }};
    }
};

Outcome outcomeOf(const Recording &reference, const Recording &other,
                  const std::variant<Overlap, NoOverlap> &found)
{
    const double from = std::max(0.0, reference.heardAt(other.madeAt(0)));
    const double to = std::min(reference.seconds, reference.heardAt(other.madeAt(other.seconds)));
    Outcome outcome{.sharedSeconds = to - from};
    if (const auto *reason = std::get_if<NoOverlap>(&found)) {
        outcome.refused = *reason;
        return outcome;
    }
    const SoundLine &line = std::get<Overlap>(found).line;
    const auto errorMs = [&](double at) {
        return std::abs(line.lagAt(at) - (other.heardAt(reference.madeAt(at)) - at)) * 1000;
    };
    outcome.errorMs = errorMs((from + to) / 2);
    outcome.endErrorMs = std::max(errorMs(from), errorMs(to));
    outcome.driftError = std::abs(line.driftPPM - (reference.rate / other.rate - 1) * 1e6);
    return outcome;
}

const char *reasonText(NoOverlap reason)
{
    switch (reason) {
    case NoOverlap::nothingAlike:
        return "nothing alike";
    case NoOverlap::tooShort:
        return "too short";
    case NoOverlap::inPart:
        return "in part";
    case NoOverlap::severalFit:
        return "several fit";
    case NoOverlap::cannotTell:
        return "cannot tell";
    }
    return "";
}

/// The value below which that share of them lies.
double quantile(std::vector<double> values, double share)
{
    if (values.empty())
        return 0;
    std::ranges::sort(values);
    const auto place = std::ceil(share * double(values.size()));
    return values[std::size_t(std::max(1.0, place)) - 1];
}

void printKind(const QString &kind, const std::vector<Outcome> &outcomes)
{
    std::vector<double> errors;
    std::vector<double> endErrors;
    std::vector<double> driftErrors;
    std::map<NoOverlap, int> refused;
    for (const Outcome &outcome : outcomes) {
        if (outcome.refused) {
            ++refused[*outcome.refused];
            continue;
        }
        errors.push_back(outcome.errorMs);
        endErrors.push_back(outcome.endErrorMs);
        driftErrors.push_back(outcome.driftError);
    }
    std::printf("%-40s %5zu %7zu  %8.3f %8.3f %8.3f  %8.3f  %7.2f %7.2f ", qPrintable(kind),
                outcomes.size(), errors.size(), quantile(errors, 0.5), quantile(errors, 0.99),
                quantile(errors, 1), quantile(endErrors, 1), quantile(driftErrors, 0.5),
                quantile(driftErrors, 1));
    for (const auto &[reason, count] : refused)
        std::printf(" %s %d", reasonText(reason), count);
    std::printf("\n");
}

void printOutcomes(const std::vector<Pair> &pairs, const std::vector<Outcome> &outcomes)
{
    std::map<QString, std::vector<Outcome>> kinds;
    std::vector<Outcome> all;
    std::vector<Outcome> longOnes;
    for (std::size_t index = 0; index < pairs.size(); ++index) {
        const Outcome &outcome = outcomes[index];
        if (!pairs[index].belongsTogether) {
            kinds[u"apart: "_s + pairs[index].kind].push_back(outcome);
            kinds[u"apart"_s].push_back(outcome);
            continue;
        }
        kinds[pairs[index].kind].push_back(outcome);
        all.push_back(outcome);
        if (outcome.sharedSeconds >= 600)
            longOnes.push_back(outcome);
    }
    std::printf("%-40s %5s %7s  %8s %8s %8s  %8s  %7s %7s  %s\n", "kind", "pairs", "aligned",
                "median", "99 %", "worst ms", "ends ms", "median", "worst", "ppm; refused");
    printKind(u"together"_s, all);
    printKind(u"together, ten minutes and more"_s, longOnes);
    for (const auto &[kind, some] : kinds)
        printKind(kind, some);
}

/// What is worth a second look: what is off by more than the aim, and what must not be aligned.
void printWrong(const Material &material, const std::vector<Outcome> &outcomes)
{
    for (std::size_t index = 0; index < outcomes.size(); ++index) {
        const Pair &pair = material.pairs[index];
        const Outcome &outcome = outcomes[index];
        if (outcome.refused || (pair.belongsTogether && outcome.errorMs < 2))
            continue;
        std::printf("%s %s %s: %s, %.1f ms, %.1f ppm off\n",
                    pair.belongsTogether ? "wrong" : "aligned but apart",
                    qPrintable(material.recordings[pair.reference].path.section(u'/', -1)),
                    qPrintable(material.recordings[pair.other].path.section(u'/', -1)),
                    qPrintable(pair.kind), outcome.errorMs, outcome.driftError);
    }
}

double mebibytes()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_maxrss) / 1024;
}

void measure(const Material &material)
{
    std::vector<Heard> heard(material.recordings.size());
    const double reading = secondsOf([&] {
        rig::twoAtOnce(heard.size(), [&](std::size_t index) {
            const auto isIn = [&](const Pair &pair) {
                return pair.reference == index || pair.other == index;
            };
            if (std::ranges::any_of(material.pairs, isIn))
                heard[index].read(material.recordings[index]);
        });
    });
    std::vector<Outcome> outcomes(material.pairs.size());
    std::size_t done = 0;
    const auto find = [&](std::size_t index) {
        const Pair &pair = material.pairs[index];
        const Recording &reference = material.recordings[pair.reference];
        const Recording &other = material.recordings[pair.other];
        outcomes[index] = outcomeOf(reference, other,
                                    findOverlap(heard[pair.reference].forSearch(reference),
                                                heard[pair.other].forSearch(other)));
    };
    const double finding = secondsOf([&] {
        rig::twoAtOnce(outcomes.size(), find, [&](std::size_t) {
            if (++done % 100 == 0)
                std::fprintf(stderr, "%zu of %zu\n", done, outcomes.size());
        });
    });
    const double decoding = secondsOf([&] {
        rig::twoAtOnce(material.recordings.size(), [&](std::size_t index) {
            rig::Ffmpeg(u"decode"_s, {u"-i"_s, material.recordings[index].path, u"-map"_s, u"0:a"_s,
                                      u"-f"_s, u"null"_s, u"-"_s})
                .finish();
        });
    });
    printOutcomes(material.pairs, outcomes);
    printWrong(material, outcomes);
    std::printf("reading %.1f s, finding %.1f s, decoding alone %.1f s, two at a time\n", reading,
                finding, decoding);
    std::printf("memory %.0f MiB\n", mebibytes());
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc < 2 || argc > 3) {
        std::fputs("Usage: sound_accuracy FOLDER [KIND]\n", stderr);
        return 2;
    }
    try {
        Material material = materialOf(QString::fromLocal8Bit(argv[1]));
        if (argc == 3)
            std::erase_if(material.pairs,
                          [kind = QString::fromLocal8Bit(argv[2])](const Pair &pair) {
                              return !pair.kind.contains(kind);
                          });
        measure(material);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "sound_accuracy: %s\n", error.what());
        return 1;
    }
}
