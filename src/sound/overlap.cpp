// SPDX-License-Identifier: Apache-2.0

#include "sound/overlap.h"

#include "sound/at_clock.h"
#include "sound/coarse_search.h"
#include "sound/lag.h"
#include "sound/missing_tones.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace vorn {
namespace {

/// Less tells nothing that five windows could agree on.
constexpr double shortestSeconds = 30;
constexpr double secondsAWindow = 8;
constexpr double hopSeconds = 4;
constexpr int mostWindows = 20;
constexpr double greatestSlope = 0.0011;

/// The line of the coarse search is off by a hundred ppm and more where it is short: short windows
/// stand that, at one of these slopes beside its own, and long ones what is left after them.
constexpr double firstWindowSeconds = 4;
constexpr double firstGreatestLag = 0.2;
constexpr std::array slopesBeside{0.0, 120e-6, -120e-6, 250e-6, -250e-6};
constexpr double secondGreatestLag = 0.1;

/// Of the windows that sound. Phones of one moment hear the same all the time; what is played twice
/// is heard between what is not.
constexpr double leastAgreement = 0.85;
/// Chance reaches 4 in one of a thousand windows.
constexpr double leastStandingInLine = 4.5;

/// Of the tones that either recording has. Measured over 50 pairs of one moment, and 90 of music
/// with talk 10 dB below it that differs: what misses fewer misses 3.7 % at most of one moment, and
/// 5.6 % at least of two, where noise is nearly as loud as the music; else 9 %. Thousands are
/// expected of music, none of applause or wind.
constexpr double mostMissing = 0.045;
constexpr int leastExpected = 200;

struct Range {
    double from = 0;
    double to = 0;
};

/// Where both recordings are, by a line.
Range sharedRange(const HeardRecording &reference, const HeardRecording &other,
                  const CoarseLine &line)
{
    const double end = (other.features.seconds() - line.offsetSeconds) / (1 + line.slope);
    return {.from = std::max(0.0, -line.offsetSeconds / (1 + line.slope)),
            .to = std::min(reference.features.seconds(), end)};
}

/// One window of both recordings, the other's begun where a line says.
struct Pair {
    double begin = 0; ///< in the reference
    double lag = 0;   ///< of the begin
    std::vector<float> here, there;

    [[nodiscard]] std::vector<float> thereAt(double slope) const
    {
        return atClock(there, slope, here.size());
    }
};

std::vector<Pair> pairsAlong(const HeardRecording &reference, const HeardRecording &other,
                             const CoarseLine &line, double windowSeconds)
{
    const Range range = sharedRange(reference, other, line);
    const int windows = std::clamp(int((range.to - range.from) / hopSeconds), 1, mostWindows);
    const double room = range.to - range.from - windowSeconds;
    std::vector<Pair> pairs;
    for (int window = 0; window < windows; ++window) {
        Pair pair;
        // On whole samples, as sound is read.
        const auto whole = [](double seconds) {
            return std::round(seconds * soundRate) / soundRate;
        };
        pair.begin = whole(range.from + room * window / std::max(windows - 1, 1));
        const double lag = line.offsetSeconds + line.slope * pair.begin;
        const double begin = std::max(0.0, whole(pair.begin + lag));
        pair.lag = begin - pair.begin;
        pair.here = reference.soundAt(pair.begin, windowSeconds);
        pair.there = other.soundAt(begin, windowSeconds * (1 + greatestSlope));
        pairs.push_back(std::move(pair));
    }
    return pairs;
}

/// What windows told at one slope.
struct Told {
    std::vector<LagPoint> points;
    int agreeing = 0; ///< windows that tell lag 0, or stand out there
    int against = 0;  ///< windows that do not, and could
};

Told toldBy(const std::vector<Pair> &pairs, double slope, double greatestLag)
{
    Told told;
    for (const Pair &pair : pairs) {
        const std::vector<float> there = pair.thereAt(slope);
        const Lag lag = lagBetween(pair.here, there, greatestLag);
        const auto *estimate = std::get_if<LagEstimate>(&lag);
        if (estimate) {
            const double half = double(pair.here.size()) / soundRate / 2;
            told.points.push_back({.referenceSeconds = pair.begin + half,
                                   .lagSeconds = pair.lag + slope * half + estimate->seconds,
                                   .uncertaintySeconds = estimate->uncertaintySeconds});
        }
        if (estimate || lag == Lag(NoLag::noPeakStandsOut)) {
            const bool agrees = standingInStep(pair.here, there) >= leastStandingInLine;
            ++(agrees ? told.agreeing : told.against);
        }
    }
    return told;
}

/// The line to which the first, short windows lead.
std::optional<SoundLine> firstLine(const HeardRecording &reference, const HeardRecording &other,
                                   const CoarseLine &coarse)
{
    const std::vector<Pair> pairs = pairsAlong(reference, other, coarse, firstWindowSeconds);
    std::optional<SoundLine> best;
    for (const double beside : slopesBeside) {
        const double slope = coarse.slope + beside;
        if (std::abs(slope) > greatestSlope)
            continue;
        const Told told = toldBy(pairs, slope, firstGreatestLag);
        const auto line = soundAlignment(told.points);
        const auto *found = std::get_if<SoundLine>(&line);
        if (found && (!best || found->points.size() > best->points.size()))
            best = *found;
        const int heard = told.agreeing + told.against;
        // Where hardly any window could tell a lag, no other slope helps.
        if (heard < int(pairs.size()) / 4
            || (found && double(found->points.size()) >= leastAgreement * heard))
            break;
    }
    return best;
}

/// Both have in step something that the other has, and beside it each has what the other lacks.
bool differBesides(const std::vector<Pair> &pairs, double slope)
{
    MissingTones there, here;
    for (const Pair &pair : pairs) {
        const std::vector<float> other = pair.thereAt(slope);
        there += missingTones(pair.here, other);
        here += missingTones(other, pair.here);
    }
    const auto lacks = [](const MissingTones &tones) {
        return tones.expected >= leastExpected
               && double(tones.missing) > mostMissing * double(tones.expected);
    };
    return lacks(there) && lacks(here);
}

std::variant<Overlap, NoOverlap> confirmed(const HeardRecording &reference,
                                           const HeardRecording &other, const CoarseLine &coarse)
{
    const Range rough = sharedRange(reference, other, coarse);
    if (!(rough.to - rough.from >= shortestSeconds))
        return NoOverlap::tooShort;
    const std::optional<SoundLine> first = firstLine(reference, other, coarse);
    if (!first)
        return NoOverlap::cannotTell;

    const CoarseLine line{.offsetSeconds = first->offsetSeconds, .slope = first->driftPPM * 1e-6};
    const std::vector<Pair> pairs = pairsAlong(reference, other, line, secondsAWindow);
    const Told told = toldBy(pairs, line.slope, secondGreatestLag);
    const auto second = soundAlignment(told.points);
    const auto *found = std::get_if<SoundLine>(&second);
    if (!found)
        return NoOverlap::cannotTell;
    const int heard = told.agreeing + told.against;
    if (double(told.agreeing) < leastAgreement * heard || differBesides(pairs, line.slope))
        return NoOverlap::inPart;
    const Range range = sharedRange(reference, other, line);
    return Overlap{.line = *found,
                   .fromSeconds = range.from,
                   .toSeconds = range.to,
                   .windowsAgreeing = told.agreeing,
                   .windowsHeard = heard};
}

} // namespace

std::variant<Overlap, NoOverlap> findOverlap(const HeardRecording &reference,
                                             const HeardRecording &other)
{
    std::variant<Overlap, NoOverlap> result = NoOverlap::nothingAlike;
    for (const CoarseLine &line : coarseSearch(reference.features, other.features)) {
        const std::variant<Overlap, NoOverlap> one = confirmed(reference, other, line);
        if (std::holds_alternative<Overlap>(one) && std::holds_alternative<Overlap>(result))
            return NoOverlap::severalFit;
        if (std::holds_alternative<Overlap>(one)
            || result == std::variant<Overlap, NoOverlap>(NoOverlap::nothingAlike))
            result = one;
    }
    return result;
}

} // namespace vorn
