// SPDX-License-Identifier: Apache-2.0

#include "sound/missing_tones.h"

#include "sound/sound_reader.h"
#include "sound/spectrum.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <optional>
#include <vector>

namespace vorn {
namespace {

/// 128 ms, every 64 ms: a syllable long, and partials of a deep voice apart.
constexpr std::size_t frameSamples = 2048;
constexpr std::size_t hopSamples = frameSamples / 2;
// 160 to 3,900 Hz: where voices and most instruments have their partials.
constexpr std::size_t firstBin = 20;
constexpr std::size_t endBin = 500;
/// What lies so many bins about a tone is its surroundings: 94 Hz.
constexpr std::size_t besideBins = 12;

// In dB. Noise reaches 12 over its median at one bin of 60,000.
constexpr float standsOut = 12;
/// A tone is expected where it would stand out though a little were lost.
constexpr float wouldStandOut = 15;
/// In the median of recordings walls alone weaken one of a hundred tones so much.
constexpr float lost = 16;
/// A gain control changes less in that many frames either way than tones differ.
constexpr std::size_t steadyFrames = 2;
/// Fewer tell no gain.
constexpr std::size_t leastCommonTones = 10;

/// The levels of one frame in dB, of all bins that are looked at.
using Frame = std::array<float, endBin + besideBins + 1>;

struct Tone {
    float level = 0;
    float levelThere = 0;       ///< in the other recording
    float surroundingThere = 0; ///< the median about it
};

std::vector<Frame> framesOf(std::span<const float> sound)
{
    const RealTransform transform(frameSamples);
    std::vector<float> taper(frameSamples);
    for (std::size_t at = 0; at < frameSamples; ++at) {
        const double turn = 2 * std::numbers::pi * (double(at) + 0.5) / double(frameSamples);
        taper[at] = float((0.5 - 0.5 * std::cos(turn)) / double(frameSamples));
    }
    std::vector<Frame> frames;
    std::vector<float> piece(frameSamples);
    for (std::size_t begin = 0; begin + frameSamples <= sound.size(); begin += hopSamples) {
        std::ranges::transform(sound.subspan(begin, frameSamples), taper, piece.begin(),
                               std::multiplies());
        const Spectrum spectrum = transform.forward(piece);
        Frame &frame = frames.emplace_back();
        for (std::size_t bin = 0; bin < frame.size(); ++bin)
            frame[bin] = 10 * std::log10(std::norm(spectrum[bin]) + 1e-14F);
    }
    return frames;
}

float medianAbout(const Frame &frame, std::size_t bin)
{
    std::array<float, 2 * besideBins + 1> levels;
    std::copy_n(frame.begin() + std::ptrdiff_t(bin - besideBins), levels.size(), levels.begin());
    std::ranges::nth_element(levels, levels.begin() + besideBins);
    return levels[besideBins];
}

bool isTone(const Frame &frame, std::size_t bin)
{
    const auto about = std::span(frame).subspan(bin - 2, 5);
    return frame[bin] == std::ranges::max(about)
           && frame[bin] >= medianAbout(frame, bin) + standsOut;
}

/// The tones of each frame.
std::vector<std::vector<Tone>> tonesOf(const std::vector<Frame> &one,
                                       const std::vector<Frame> &other)
{
    std::vector<std::vector<Tone>> tones(std::min(one.size(), other.size()));
    for (std::size_t frame = 0; frame < tones.size(); ++frame) {
        for (std::size_t bin = firstBin; bin < endBin; ++bin) {
            if (!isTone(one[frame], bin))
                continue;
            const auto near = std::span(other[frame]).subspan(bin - 1, 3);
            tones[frame].push_back({.level = one[frame][bin],
                                    .levelThere = std::ranges::max(near),
                                    .surroundingThere = medianAbout(other[frame], bin)});
        }
    }
    return tones;
}

/// How much louder the other recording has what both have, about a frame.
std::optional<float> gainAbout(std::size_t frame, const std::vector<std::vector<Tone>> &tones)
{
    std::vector<float> gains;
    const std::size_t end = std::min(frame + steadyFrames + 1, tones.size());
    for (std::size_t near = frame - std::min(frame, steadyFrames); near < end; ++near) {
        for (const Tone &tone : tones[near]) {
            if (tone.levelThere > tone.surroundingThere + standsOut)
                gains.push_back(tone.levelThere - tone.level);
        }
    }
    if (gains.size() < leastCommonTones)
        return std::nullopt;
    const auto middle = gains.begin() + std::ptrdiff_t(gains.size() / 2);
    std::ranges::nth_element(gains, middle);
    return *middle;
}

} // namespace

MissingTones missingTones(std::span<const float> one, std::span<const float> other)
{
    const auto tones = tonesOf(framesOf(one), framesOf(other));
    MissingTones result;
    for (std::size_t frame = 0; frame < tones.size(); ++frame) {
        const std::optional<float> gain = gainAbout(frame, tones);
        if (!gain)
            continue;
        for (const Tone &tone : tones[frame]) {
            const float expected = tone.level + *gain;
            if (expected < tone.surroundingThere + wouldStandOut)
                continue;
            ++result.expected;
            result.missing += tone.levelThere < expected - lost ? 1 : 0;
        }
    }
    return result;
}

} // namespace vorn
