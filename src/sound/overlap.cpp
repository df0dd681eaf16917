// SPDX-License-Identifier: Apache-2.0

#include "sound/overlap.h"

#include "sound/at_clock.h"
#include "sound/coarse_search.h"
#include "sound/lag.h"
#include "sound/missing_tones.h"
#include "sound/repetition.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace vorn {
namespace {

/// Less tells nothing that five windows could agree on.
constexpr double shortestSeconds = 30;
/// Enough for the head and the tail, a tenth each, to hold several, should some be silent.
constexpr int mostWindows = 40;
constexpr double leastHopSeconds = 1;
/// Shorter ones where the middle of the first would lie beyond the first tenth, or near its end.
constexpr double longestWindowSeconds = 8;
constexpr double shortestWindowSeconds = 4;
constexpr double windowShare = 0.12;
constexpr double greatestSlope = 0.0011;

/// The line of the coarse search is off by a hundred ppm and more where it is short: short windows
/// stand that, at one of these slopes beside its own, and long ones what is left after them.
constexpr std::size_t mostFirstWindows = 20;
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

/// Loops alone resemble themselves by 0.85 and more, beneath talk by 0.65 at most.
constexpr double sameAgain = 0.75;

struct Range {
    double from = 0;
    double to = 0;
};

/// On whole samples, as sound is read.
double wholeSample(double seconds)
{
    return std::round(seconds * soundRate) / soundRate;
}

/// Where windows lie.
struct Places {
    double from = 0; ///< begin of the first, in the reference
    double hop = 0;
    double seconds = 0; ///< of each
    std::size_t count = 0;

    explicit Places(const Range &range)
    {
        const double length = range.to - range.from;
        seconds = std::clamp(windowShare * length, shortestWindowSeconds, longestWindowSeconds);
        const double room = std::max(0.0, length - seconds);
        count = std::size_t(std::clamp(int(room / leastHopSeconds) + 1, 2, mostWindows));
        from = range.from;
        hop = room / double(count - 1);
    }
};

/// One window of both recordings, the other's with a margin.
struct Pair {
    double begin = 0;      ///< in the reference
    double otherBegin = 0; ///< in the other recording
    std::vector<float> here, there;
};

/// What a line makes of a pair: what should be in step.
struct InStep {
    double lag = 0; ///< where it begins
    std::span<const float> here;
    std::vector<float> there;
};

InStep inStep(const Pair &pair, const CoarseLine &line, double slope, double seconds)
{
    const double lag = line.offsetSeconds + line.slope * pair.begin;
    const double before = std::max(0.0, pair.begin + lag - pair.otherBegin);
    const auto from = std::min(pair.there.size(), std::size_t(std::llround(before * soundRate)));
    const auto count = std::min(pair.here.size(), std::size_t(std::llround(seconds * soundRate)));
    return {.lag = pair.otherBegin + double(from) / soundRate - pair.begin,
            .here = std::span(pair.here).first(count),
            .there = atClock(std::span(pair.there).subspan(from), slope, count)};
}

/// Windows along a line that is known roughly, each read when it is first wanted.
class Windows {
public:
    Windows(const HeardRecording &reference, const HeardRecording &other, const CoarseLine &line)
        : m_reference(reference),
          m_other(other),
          m_line(line),
          m_range(rangeAlong(line)),
          m_places(m_range),
          m_pairs(m_places.count)
    {
    }

    [[nodiscard]] const Range &range() const { return m_range; }
    [[nodiscard]] std::size_t count() const { return m_pairs.size(); }
    [[nodiscard]] double seconds() const { return m_places.seconds; }
    /// Between those that come first.
    [[nodiscard]] std::size_t firstStep() const
    {
        return (count() + mostFirstWindows - 1) / mostFirstWindows;
    }

    [[nodiscard]] const Pair &at(std::size_t index)
    {
        std::optional<Pair> &pair = m_pairs[index];
        if (!pair) {
            const double begin = wholeSample(m_places.from + m_places.hop * double(index));
            const double lag = m_line.offsetSeconds + m_line.slope * begin;
            const double margin = firstGreatestLag + secondGreatestLag;
            const double otherBegin = std::max(0.0, wholeSample(begin + lag - margin));
            const double otherEnd = begin + lag + seconds() * (1 + greatestSlope) + margin;
            pair = Pair{.begin = begin,
                        .otherBegin = otherBegin,
                        .here = m_reference.soundAt(begin, seconds()),
                        .there = m_other.soundAt(otherBegin, otherEnd - otherBegin)};
        }
        return *pair;
    }

    /// Where both recordings are, by a line.
    [[nodiscard]] Range rangeAlong(const CoarseLine &line) const
    {
        const double end = (m_other.features.seconds() - line.offsetSeconds) / (1 + line.slope);
        return {.from = std::max(0.0, -line.offsetSeconds / (1 + line.slope)),
                .to = std::min(m_reference.features.seconds(), end)};
    }

private:
    const HeardRecording &m_reference, &m_other;
    CoarseLine m_line;
    Range m_range;
    Places m_places;
    std::vector<std::optional<Pair>> m_pairs;
};

/// What windows told.
struct Told {
    std::vector<HeardWindow> windows;
    int agreeing = 0;  ///< windows that tell lag 0, or stand out there
    int against = 0;   ///< windows that do not, and could
    int repeating = 0; ///< windows that fit at more than one lag

    void hear(const Pair &pair, const InStep &both, double slope, double greatestLag)
    {
        const Lag lag = lagBetween(both.here, both.there, greatestLag);
        const auto *estimate = std::get_if<LagEstimate>(&lag);
        if (estimate) {
            const double half = double(both.here.size()) / soundRate / 2;
            windows.push_back({.point = {.referenceSeconds = pair.begin + half,
                                         .lagSeconds = both.lag + slope * half + estimate->seconds,
                                         .uncertaintySeconds = estimate->uncertaintySeconds},
                               .uniqueness = estimate->uniqueness});
        }
        if (estimate || lag == Lag(NoLag::noPeakStandsOut)) {
            const bool agrees = standingInStep(both.here, both.there) >= leastStandingInLine;
            ++(agrees ? agreeing : against);
        }
        repeating += lag == Lag(NoLag::repeats) ? 1 : 0;
    }

    [[nodiscard]] int heard() const { return agreeing + against; }
    /// The line on which the windows lie, if there is one.
    [[nodiscard]] std::optional<SoundLine> line() const
    {
        std::vector<LagPoint> points;
        std::ranges::transform(windows, std::back_inserter(points), &HeardWindow::point);
        const auto found = soundAlignment(points);
        const auto *line = std::get_if<SoundLine>(&found);
        return line ? std::optional(*line) : std::nullopt;
    }
};

/// The line to which the first, short windows lead.
std::optional<SoundLine> firstLine(Windows &windows, const CoarseLine &coarse)
{
    const std::size_t step = windows.firstStep();
    std::optional<SoundLine> best;
    for (const double beside : slopesBeside) {
        const double slope = coarse.slope + beside;
        if (std::abs(slope) > greatestSlope)
            continue;
        Told told;
        for (std::size_t index = 0; index < windows.count(); index += step) {
            const Pair &pair = windows.at(index);
            told.hear(pair, inStep(pair, coarse, slope, shortestWindowSeconds), slope,
                      firstGreatestLag);
        }
        const std::optional<SoundLine> found = told.line();
        if (found && (!best || found->points.size() > best->points.size()))
            best = found;
        // Where hardly any window could tell a lag, no other slope helps.
        if (told.heard() < int(windows.count() / step) / 4
            || (found && double(found->points.size()) >= leastAgreement * told.heard()))
            break;
    }
    return best;
}

/// What windows have of either recording and lack of the other.
struct Differences {
    MissingTones there, here;

    void hear(const InStep &both)
    {
        there += missingTones(both.here, both.there);
        here += missingTones(both.there, both.here);
    }

    /// Both have in step something that the other has, and beside it each has what the other lacks.
    [[nodiscard]] bool onBothSides() const { return lacks(there) && lacks(here); }

private:
    [[nodiscard]] static bool lacks(const MissingTones &tones)
    {
        return tones.expected >= leastExpected
               && double(tones.missing) > mostMissing * double(tones.expected);
    }
};

std::variant<Overlap, NoOverlap> confirmed(const HeardRecording &reference,
                                           const HeardRecording &other, const CoarseLine &coarse)
{
    Windows windows(reference, other, coarse);
    if (!(windows.range().to - windows.range().from >= shortestSeconds))
        return NoOverlap::tooShort;
    const std::optional<SoundLine> first = firstLine(windows, coarse);
    if (!first)
        return NoOverlap::cannotTell;

    const CoarseLine line{.offsetSeconds = first->offsetSeconds, .slope = first->driftPPM * 1e-6};
    Told told;
    Differences differences;
    for (std::size_t index = 0; index < windows.count(); ++index) {
        const Pair &pair = windows.at(index);
        const InStep both = inStep(pair, line, line.slope, windows.seconds());
        told.hear(pair, both, line.slope, secondGreatestLag);
        differences.hear(both);
    }
    const std::optional<SoundLine> found = told.line();
    // What tells a lag here and there only, by luck, may tell another one at another line.
    if (told.repeating > int(told.windows.size()))
        return NoOverlap::severalFit;
    if (!found)
        return NoOverlap::cannotTell;
    if (double(told.agreeing) < leastAgreement * told.heard() || differences.onBothSides())
        return NoOverlap::inPart;
    const Range range = windows.rangeAlong(line);
    return Overlap{.line = *found,
                   .fromSeconds = range.from,
                   .toSeconds = range.to,
                   .windows = std::move(told.windows)};
}

/// Whether what repeats fits along another line, too, which a lag need not tell: hardly a window
/// there finds nothing, and neither recording has what the other lacks. `slope` is the clocks'.
bool fitsAlso(const HeardRecording &reference, const HeardRecording &other, const CoarseLine &rival,
              double slope)
{
    Windows windows(reference, other, rival);
    const double length = windows.range().to - windows.range().from;
    if (!(length >= 2 * longestWindowSeconds))
        return false;
    const double middle = windows.range().from + length / 2;
    const CoarseLine line{.offsetSeconds = rival.offsetSeconds + (rival.slope - slope) * middle,
                          .slope = slope};
    int fitting = 0;
    int against = 0;
    Differences differences;
    const std::size_t step = windows.firstStep();
    const std::size_t planned = windows.count() / step;
    const double most = (1 - leastAgreement) * double(planned);
    for (std::size_t index = 0; index < windows.count() && against <= most; index += step) {
        const Pair &pair = windows.at(index);
        const InStep both = inStep(pair, line, slope, windows.seconds());
        const Lag lag = lagBetween(both.here, both.there, firstGreatestLag);
        fitting += std::holds_alternative<LagEstimate>(lag) || lag == Lag(NoLag::repeats) ? 1 : 0;
        against += lag == Lag(NoLag::noPeakStandsOut) ? 1 : 0;
        differences.hear(both);
    }
    return double(fitting) >= leastAgreement * (fitting + against) && fitting > 0
           && !differences.onBothSides();
}

/// Whether what either recording repeats would let it lie at another line, too.
bool fitsOnceMore(const HeardRecording &reference, const HeardRecording &other,
                  const Overlap &overlap)
{
    std::vector<Repetition> all =
        repetitionsIn(reference.features, overlap.fromSeconds, overlap.toSeconds);
    std::ranges::copy(repetitionsIn(other.features,
                                    overlap.fromSeconds + overlap.line.lagAt(overlap.fromSeconds),
                                    overlap.toSeconds + overlap.line.lagAt(overlap.toSeconds)),
                      std::back_inserter(all));
    const double slope = overlap.line.driftPPM * 1e-6;
    return std::ranges::any_of(all, [&](const Repetition &repetition) {
        return repetition.likeness >= sameAgain
               || std::ranges::any_of(std::array{1, -1}, [&](int way) {
                      const CoarseLine rival{.offsetSeconds = overlap.line.offsetSeconds
                                                              + way * repetition.seconds,
                                             .slope = slope};
                      return fitsAlso(reference, other, rival, slope);
                  });
    });
}

} // namespace

std::variant<Overlap, NoOverlap> findOverlap(const HeardRecording &reference,
                                             const HeardRecording &other)
{
    std::variant<Overlap, NoOverlap> result = NoOverlap::nothingAlike;
    const std::vector<CoarseLine> lines = coarseSearch(reference.features, other.features);
    std::size_t best = 0;
    for (std::size_t index = 0; index < lines.size(); ++index) {
        const std::variant<Overlap, NoOverlap> one = confirmed(reference, other, lines[index]);
        if (std::holds_alternative<Overlap>(one) && std::holds_alternative<Overlap>(result))
            return NoOverlap::severalFit;
        if (std::holds_alternative<Overlap>(one)
            || result == std::variant<Overlap, NoOverlap>(NoOverlap::nothingAlike)) {
            result = one;
            best = index;
        }
    }
    const auto *found = std::get_if<Overlap>(&result);
    for (std::size_t index = 0; found && index < lines.size(); ++index) {
        if (index != best && fitsAlso(reference, other, lines[index], found->line.driftPPM * 1e-6))
            return NoOverlap::severalFit;
    }
    if (found && fitsOnceMore(reference, other, *found))
        return NoOverlap::severalFit;
    return result;
}

} // namespace vorn
