// SPDX-License-Identifier: Apache-2.0

#include "sound/lag.h"

#include "sound/sound_reader.h"
#include "sound/spectrum.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <functional>
#include <map>
#include <numbers>
#include <numeric>

namespace vorn {
namespace {

// Below lies hum and wind, above what codecs leave out and rooms swallow.
constexpr double lowestHertz = 150;
constexpr double highestHertz = 6000;

/// Early reflections, and the ringing of what is struck, belong to the peak.
constexpr int flankSamples = soundRate / 100;

// Measured over speech, noise, music, clicks, a metronome and hum, from 20 dB above the noise of
// each phone down to 0 dB, dry and with half a second of reverberation: right peaks have 9 times
// the level of the rest and more, wrong ones at most 6.4, but for what repeats.
// Of one recording's peaks, hum without noise has told a wrong lag at 1.38 times the next, and a
// loop of noise a right one by luck at 1.48.
constexpr double leastStanding = 7.5;

/// A phone's own noise in a silent room is twenty times as loud.
constexpr double quietLevel = 1e-4;
/// What is shorter tells nothing.
constexpr std::size_t shortestWindow = soundRate / 2;

/// A window faded in and out over a quarter each. What is cut off at once begins and ends in both
/// recordings at the same places, which looks like lag 0 where little else is common.
std::vector<float> faded(std::span<const float> window)
{
    std::vector<float> result(window.begin(), window.end());
    const std::size_t fade = window.size() / 4;
    // Turned on from sample to sample: a cosine of each took as long as the transforms.
    const std::complex<double> step = std::polar(1.0, std::numbers::pi / double(fade));
    std::complex<double> turned = std::polar(1.0, std::numbers::pi / double(fade) / 2);
    for (std::size_t at = 0; at < fade; ++at, turned *= step) {
        const auto share = float(0.5 - 0.5 * turned.real());
        result[at] *= share;
        result[result.size() - 1 - at] *= share;
    }
    return result;
}

/// To prepare a transform takes as long as two of them, and windows come in many of one size.
const RealTransform &transformFor(std::size_t values)
{
    thread_local std::map<std::size_t, RealTransform> prepared;
    if (prepared.size() >= 4 && !prepared.contains(values))
        prepared.clear();
    return prepared.try_emplace(values, values).first->second;
}

/// Correlation with equal weight of all frequencies of the band: 1 at lag 0 for equal windows.
class PhaseCorrelation {
public:
    PhaseCorrelation(std::span<const float> reference, std::span<const float> other,
                     std::size_t reach)
    {
        const RealTransform &transform =
            transformFor(std::max(reference.size(), other.size()) + reach);
        Spectrum cross = transform.forward(faded(reference));
        const Spectrum second = transform.forward(faded(other));
        const double hertzABin = double(soundRate) / double(transform.size());
        double count = 0;
        for (std::size_t bin = 0; bin < cross.size(); ++bin) {
            const double hertz = double(bin) * hertzABin;
            const std::complex<float> product = std::conj(cross[bin]) * second[bin];
            const float size = std::abs(product);
            const bool inside = hertz >= lowestHertz && hertz <= highestHertz;
            if (inside)
                count += 2;
            cross[bin] = inside && size > 0 ? product / size : 0;
        }
        m_values = transform.inverse(cross);
        for (float &value : m_values)
            value /= float(count);
    }

    /// At a lag in samples, either way.
    [[nodiscard]] double at(int lag) const
    {
        return m_values[lag >= 0 ? std::size_t(lag) : m_values.size() - std::size_t(-lag)];
    }

private:
    std::vector<float> m_values;
};

struct Peak {
    int lag = 0;
    double height = 0;
    double next = 0;     ///< the highest outside its flanks
    double standing = 0; ///< height over the level outside its flanks
};

/// Sought up to `reach` samples from lag 0, and compared with what is up to `wide` of them away.
Peak highestPeak(const PhaseCorrelation &correlation, int reach, int wide)
{
    Peak peak;
    for (int lag = -reach; lag <= reach; ++lag) {
        if (correlation.at(lag) > peak.height)
            peak = {.lag = lag, .height = correlation.at(lag)};
    }
    double power = 0;
    int others = 0;
    for (int lag = -wide; lag <= wide; ++lag) {
        if (std::abs(lag - peak.lag) <= flankSamples)
            continue;
        peak.next = std::max(peak.next, correlation.at(lag));
        power += correlation.at(lag) * correlation.at(lag);
        ++others;
    }
    if (others > 0 && power > 0)
        peak.standing = peak.height / std::sqrt(power / others);
    return peak;
}

/// How far one half of a window resembles the other half of the other at any lag: what repeats in
/// them would fit at a lag beyond those that are looked at, too. Across the two recordings, since
/// each resembles itself by its room.
double likenessElsewhere(std::span<const float> reference, std::span<const float> other)
{
    const std::size_t half = std::min(reference.size(), other.size()) / 2;
    // Any period up to five eighths of the window has a multiple among these.
    const int halfReach = int(half * 5 / 8);
    double likeness = 0;
    for (const auto &[early, late] : {std::pair(reference, other), std::pair(other, reference)}) {
        const PhaseCorrelation correlation(early.first(half), late.subspan(half, half), half);
        const Peak peak = highestPeak(correlation, halfReach, halfReach);
        if (peak.standing >= leastStanding)
            likeness = std::max(likeness, peak.height);
    }
    return likeness;
}

double level(std::span<const float> window)
{
    double power = 0;
    for (const float sample : window)
        power += double(sample) * double(sample);
    return std::sqrt(power / double(window.size()));
}

/// Nearly all of the power lies at a few frequencies.
bool isTonal(std::span<const float> window)
{
    std::vector<float> powers;
    for (const std::complex<float> &value : transformFor(window.size()).forward(faded(window)))
        powers.push_back(std::norm(value));
    const auto few = std::ptrdiff_t(powers.size() / 100);
    std::ranges::nth_element(powers, powers.begin() + few, std::greater());
    const double strongest = std::accumulate(powers.begin(), powers.begin() + few, 0.0);
    return strongest > 0.95 * std::accumulate(powers.begin() + few, powers.end(), strongest);
}

/// Much of it lies at the ends of the scale.
bool isClipped(std::span<const float> window)
{
    const auto loud =
        std::ranges::count_if(window, [](float sample) { return std::abs(sample) > 0.97F; });
    return double(loud) > 0.02 * double(window.size());
}

/// What explains that a lag is not told, else `seen`.
NoLag reasonOf(std::span<const float> reference, std::span<const float> other, NoLag seen)
{
    if (isTonal(reference) || isTonal(other))
        return NoLag::tonal;
    return seen == NoLag::noPeakStandsOut && (isClipped(reference) || isClipped(other))
               ? NoLag::clipped
               : seen;
}

/// Of the peak, from where it and its reflections reach 0.6 of its height, and of chance.
double uncertaintySeconds(const PhaseCorrelation &correlation, const Peak &peak)
{
    int widest = 1;
    for (int away = -flankSamples; away <= flankSamples; ++away) {
        if (correlation.at(peak.lag + away) > 0.6 * peak.height)
            widest = std::max(widest, std::abs(away));
    }
    return double(widest) / soundRate + 0.001 / peak.standing;
}

} // namespace

Lag lagBetween(std::span<const float> reference, std::span<const float> other,
               double greatestLagSeconds)
{
    if (std::min(reference.size(), other.size()) < shortestWindow
        || std::min(level(reference), level(other)) < quietLevel)
        return NoLag::tooQuiet;

    const int reach = int(std::ceil(greatestLagSeconds * soundRate));
    const PhaseCorrelation correlation(reference, other, std::size_t(reach + flankSamples + 1));
    const Peak peak = highestPeak(correlation, reach, reach);
    if (peak.standing < leastStanding)
        return reasonOf(reference, other, NoLag::noPeakStandsOut);
    const double rival = std::max(peak.next, likenessElsewhere(reference, other));
    if (peak.height < leastUniqueness * rival)
        return reasonOf(reference, other, NoLag::repeats);

    // The top of a parabola through three samples: within 0.02 of one.
    const double before = correlation.at(peak.lag - 1);
    const double after = correlation.at(peak.lag + 1);
    const double bend = before - 2 * peak.height + after;
    const double part = bend < 0 ? std::clamp(0.5 * (before - after) / bend, -0.5, 0.5) : 0;
    return LagEstimate{.seconds = (peak.lag + part) / soundRate,
                       .uncertaintySeconds = uncertaintySeconds(correlation, peak),
                       .uniqueness = peak.height / rival};
}

double standingInStep(std::span<const float> reference, std::span<const float> other)
{
    constexpr int wide = soundRate / 10;
    const PhaseCorrelation correlation(reference, other, wide);
    return highestPeak(correlation, soundRate / 1000, wide).standing;
}

} // namespace vorn
