// SPDX-License-Identifier: Apache-2.0

#include "sound/repetition.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <span>

namespace vorn {
namespace {

constexpr std::size_t bandCount = SoundFeatures::bandCount;
constexpr std::size_t leastShift = SoundFeatures::framesASecond / 2;
/// What is left of the stretch has to be as long.
constexpr std::size_t leastCommon = 10 * SoundFeatures::framesASecond;
/// Speech, and music without a beat, reach 0.19; a metronome 20 dB below talk 0.27.
constexpr double leastLikeness = 0.2;
constexpr std::size_t mostRepetitions = 2;
/// From the middle of the stretch: what repeats does so within ten minutes, and hours take memory.
constexpr std::size_t mostFrames = 600 * SoundFeatures::framesASecond;

/// Sums of the squares up to each frame.
std::vector<double> powersUpTo(std::span<const SoundFeatures::Frame> frames,
                               const std::array<float, bandCount> &means)
{
    std::vector<double> sums{0};
    for (const SoundFeatures::Frame &frame : frames) {
        double power = 0;
        for (std::size_t band = 0; band < bandCount; ++band) {
            const double value = double(frame[band]) - double(means[band]);
            power += value * value;
        }
        sums.push_back(sums.back() + power);
    }
    return sums;
}

} // namespace

std::vector<Repetition> repetitionsIn(const SoundFeatures &features, double fromSeconds,
                                      double toSeconds)
{
    const auto frameAt = [&](double seconds) {
        const double frame = std::max(0.0, seconds) * SoundFeatures::framesASecond;
        return std::min(features.frames().size(), std::size_t(frame));
    };
    const std::size_t first = frameAt(fromSeconds);
    const std::size_t all = std::max(first, frameAt(toSeconds)) - first;
    const std::size_t count = std::min(all, mostFrames);
    const std::size_t begin = first + (all - count) / 2;
    if (count < leastShift + leastCommon)
        return {};
    const auto frames = std::span(features.frames()).subspan(begin, count);

    const RealTransform transform(2 * count);
    std::array<float, bandCount> means{};
    Spectrum power(transform.bins());
    std::vector<float> values(count);
    for (std::size_t band = 0; band < bandCount; ++band) {
        for (std::size_t at = 0; at < count; ++at)
            means[band] += float(frames[at][band]) / float(count);
        for (std::size_t at = 0; at < count; ++at)
            values[at] = float(frames[at][band]) - means[band];
        const Spectrum spectrum = transform.forward(values);
        for (std::size_t bin = 0; bin < power.size(); ++bin)
            power[bin] += std::norm(spectrum[bin]);
    }
    const std::vector<float> common = transform.inverse(power);
    const std::vector<double> powers = powersUpTo(frames, means);

    const auto likeness = [&](std::size_t shift) {
        const double early = powers[count - shift];
        const double late = powers[count] - powers[shift];
        const double scale = std::sqrt(early * late) * double(transform.size());
        return scale > 0 ? double(common[shift]) / scale : 0;
    };
    std::vector<Repetition> found;
    for (std::size_t shift = leastShift; shift + leastCommon <= count; ++shift) {
        const double here = likeness(shift);
        if (here >= leastLikeness && here >= likeness(shift - 1) && here >= likeness(shift + 1))
            found.push_back(
                {.seconds = double(shift) / SoundFeatures::framesASecond, .likeness = here});
    }
    std::ranges::sort(found, std::greater(), &Repetition::likeness);
    found.resize(std::min(found.size(), mostRepetitions));
    return found;
}

} // namespace vorn
