// SPDX-License-Identifier: Apache-2.0

#include "movies/movie_alignment.h"

#include "drift/anchor_fit.h"
#include "drift/drift_error.h"
#include "sound/lag.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

/// What an export takes of an anchor.
constexpr double greatestUncertaintyMs = 5;
constexpr double leastConfidence = 0.8;
/// What is no longer is read as a whole: 38 MB, against a process for each window.
constexpr double longestWholeSeconds = 600;

std::vector<float> stretchOf(const std::vector<float> &sound, double start, double seconds)
{
    const auto sample = [&](double at) {
        return std::min(sound.size(), std::size_t(std::llround(at * soundRate)));
    };
    const auto from = sound.begin() + std::ptrdiff_t(sample(start));
    return {from, sound.begin() + std::ptrdiff_t(sample(start + seconds))};
}

HeardRecording recordingOf(const HeardMovie &heard, const std::stop_token &stop,
                           const OnSecondsHeard &onHeard)
{
    const QString path = heard.movie.path;
    if (heard.movie.seconds > longestWholeSeconds)
        return {.features = *heard.features,
                .soundAt = [path, stop, onHeard](double start, double seconds) {
                    auto sound = readSound(path, {.startSeconds = start, .seconds = seconds}, stop);
                    onHeard(seconds);
                    return sound;
                }};
    const auto whole = std::make_shared<const std::vector<float>>(
        readSound(path, {.startSeconds = 0, .seconds = heard.movie.seconds}, stop));
    return {.features = *heard.features,
            .soundAt = [whole, stop, onHeard](double start, double seconds) {
                if (stop.stop_requested())
                    throw SoundError(SoundError::Case::stopped, u"Listening was stopped."_s);
                onHeard(seconds);
                return stretchOf(*whole, start, seconds);
            }};
}

QString sentenceOf(NoOverlap reason)
{
    switch (reason) {
    case NoOverlap::nothingAlike:
        return u"Nothing in its sound is found in the reference's. It may be of another moment, or "
               "from too far away."_s;
    case NoOverlap::tooShort:
        return u"What it shares with the reference is too short to be sure."_s;
    case NoOverlap::inPart:
        return u"Some of its sound is found in the reference's, but not what lies between, as with "
               "music that was played twice."_s;
    case NoOverlap::severalFit:
        return u"It fits the reference at more than one place, as with music that repeats."_s;
    case NoOverlap::cannotTell:
        return u"It may be of the same moment, but its sound does not say exactly enough where it "
               "lies."_s;
    }
    Q_UNREACHABLE();
}

QString timeText(double seconds)
{
    const auto whole = std::int64_t(std::round(seconds));
    return u"%1:%2"_s.arg(whole / 60).arg(whole % 60, 2, 10, QLatin1Char('0'));
}

QString inPartText(double from, double to)
{
    return u"The reference has recorded only from %1 to %2 of it, and an export needs nine tenths. "
           "Make the longest movie the reference, or leave this one out."_s.arg(timeText(from),
                                                                                timeText(to));
}

/// No surer than the window, than the line, and than it is far from the line.
TimingAnchor anchorOf(const HeardWindow &window, const SoundLine &line)
{
    const LagPoint &point = window.point;
    const double residual = std::abs(point.lagSeconds - line.lagAt(point.referenceSeconds));
    const double uncertainty =
        std::max({point.uncertaintySeconds, line.uncertaintySeconds, residual});
    return {.sourceSeconds = point.referenceSeconds + point.lagSeconds,
            .referenceSeconds = point.referenceSeconds,
            .confidence =
                std::clamp(1 - (1 - leastConfidence) * leastUniqueness / window.uniqueness,
                           leastConfidence, 1.0),
            .uncertaintyMs = uncertainty * 1000};
}

/// The alignment of a movie of `seconds`, of which the reference has recorded what lies between
/// `from` and `to`, unless an export would refuse it.
AlignmentOrWhyNot ifEnough(MovieAlignment alignment, double seconds, double from, double to)
{
    try {
        (void)DriftEngine::fit(alignment.anchors, seconds);
    } catch (const DriftExportError &error) {
        constexpr double share = 0.1; // at either end, where an export needs anchors
        if (from > share * seconds || to < (1 - share) * seconds)
            return inPartText(std::max(0.0, from), std::min(seconds, to));
        return u"Too little of its sound says where it lies, as where head, tail or long stretches "
               "are silent: %1"_s.arg(QString::fromUtf8(error.what()));
    }
    return alignment;
}

} // namespace

HeardMovie hearMovie(const Movie &movie, const std::stop_token &stop, const OnSecondsHeard &onHeard)
{
    auto features = std::make_shared<SoundFeatures>();
    readSound(movie.path, {.startSeconds = 0, .seconds = movie.seconds}, stop,
              [&](std::span<const float> samples) {
                  features->add(samples);
                  onHeard(double(samples.size()) / soundRate);
              });
    return {movie, std::move(features)};
}

AlignmentOrWhyNot alignMovies(const HeardMovie &reference, const HeardMovie &other,
                              const std::stop_token &stop, const OnSecondsHeard &onHeard)
{
    const HeardRecording here = recordingOf(reference, stop, onHeard);
    const HeardRecording there = recordingOf(other, stop, onHeard);
    const std::variant<Overlap, NoOverlap> found = findOverlap(here, there);
    if (const auto *reason = std::get_if<NoOverlap>(&found))
        return sentenceOf(*reason);
    return alignmentOf(std::get<Overlap>(found), other.movie.seconds);
}

AlignmentOrWhyNot alignmentOf(const Overlap &shared, double seconds)
{
    const SoundLine &line = shared.line;
    MovieAlignment alignment{.line = line, .anchors = {}};
    for (const HeardWindow &window : shared.windows) {
        const TimingAnchor anchor = anchorOf(window, line);
        const bool isOnLine = std::ranges::find(line.points, window.point) != line.points.end();
        const bool isWithin = anchor.sourceSeconds >= 0 && anchor.sourceSeconds <= seconds;
        if (isOnLine && isWithin && anchor.uncertaintyMs <= greatestUncertaintyMs)
            alignment.anchors.push_back(anchor);
    }
    const double from = shared.fromSeconds + line.lagAt(shared.fromSeconds);
    const double to = shared.toSeconds + line.lagAt(shared.toSeconds);
    return ifEnough(std::move(alignment), seconds, from, to);
}

AlignmentOrWhyNot alignmentThrough(const MovieAlignment &between, const MovieAlignment &beyond,
                                   double seconds)
{
    // From the reference's time to that of the movie between.
    const SoundLine &first = between.line;
    const SoundLine &second = beyond.line;
    const double rate = 1 + first.driftPPM * 1e-6;
    const double nextRate = 1 + second.driftPPM * 1e-6;
    const auto inReference = [&](double there) { return (there - first.offsetSeconds) / rate; };
    const double heardFrom = first.points.front().referenceSeconds;
    const double heardTo = first.points.back().referenceSeconds;

    MovieAlignment alignment;
    SoundLine &line = alignment.line;
    line = {.offsetSeconds = nextRate * first.offsetSeconds + second.offsetSeconds,
            .driftPPM = (rate * nextRate - 1) * 1e6,
            .points = {},
            .largestResidualSeconds = second.largestResidualSeconds,
            .uncertaintySeconds = first.uncertaintySeconds + second.uncertaintySeconds,
            .driftUncertaintyPPM = first.driftUncertaintyPPM + second.driftUncertaintyPPM};
    for (const TimingAnchor &anchor : beyond.anchors) {
        const double at = inReference(anchor.referenceSeconds);
        const double uncertaintyMs = anchor.uncertaintyMs + first.uncertaintySeconds * 1000;
        if (at < heardFrom || at > heardTo || uncertaintyMs > greatestUncertaintyMs)
            continue;
        line.points.push_back({.referenceSeconds = at,
                               .lagSeconds = anchor.sourceSeconds - at,
                               .uncertaintySeconds = uncertaintyMs / 1000});
        alignment.anchors.push_back({.sourceSeconds = anchor.sourceSeconds,
                                     .referenceSeconds = at,
                                     .confidence = anchor.confidence,
                                     .uncertaintyMs = uncertaintyMs});
    }
    return ifEnough(std::move(alignment), seconds, heardFrom + line.lagAt(heardFrom),
                    heardTo + line.lagAt(heardTo));
}

double distanceMs(double metres)
{
    return metres / soundMetresASecond * 1000;
}

} // namespace vorn
