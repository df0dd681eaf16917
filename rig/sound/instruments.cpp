// SPDX-License-Identifier: Apache-2.0

#include "rig/sound/filters.h"
#include "rig/sound/sound_makers.h"

#include <algorithm>
#include <array>

namespace vorn::rig {
namespace {

std::span<float> from(std::span<float> piece, double seconds)
{
    return piece.subspan(std::min(piece.size(), std::size_t(seconds * audioSampleRate)));
}

// Each overtone rings until it is 43 dB lower; its last tenth of a second fades out.
void addString(std::span<float> out, double hertz, double loudness)
{
    constexpr std::size_t fade = audioSampleRate / 10;
    for (int harmonic = 1; harmonic <= 7 && harmonic * hertz < 12'000; ++harmonic) {
        // Strings are stiff: the higher, the sharper, and the sooner gone.
        const double sharp = harmonic * hertz * (1 + 0.0002 * harmonic * harmonic);
        const double decaySeconds = 0.3 / harmonic + 0.05;
        Ringing tone(loudness / harmonic, sharp, decaySeconds);
        const auto length = std::min(out.size(), std::size_t(5 * decaySeconds * audioSampleRate));
        for (std::size_t index = 0; index < length; ++index)
            out[index] += float(tone.next() * std::min(1.0, double(length - index) / double(fade)));
    }
}

void addDrum(std::span<float> out, Dice &dice)
{
    out = out.first(std::min<std::size_t>(out.size(), audioSampleRate / 5));
    Resonator skin(dice.uniform(120, 260), 40);
    Ringing body(0.2, dice.uniform(60, 90), 0.06);
    double level = 1;
    for (float &sample : out) {
        level *= 0.9993;
        sample += float(level * (2 * body.next() + 4 * skin(dice.noise()) + 0.1 * dice.noise()));
    }
}

} // namespace

void addMusic(std::span<float> piece, Dice &dice)
{
    // Minor, so that any two notes of it pass as meant.
    constexpr std::array scale{0, 2, 3, 5, 7, 8, 10, 12};
    const double root = 110 * std::exp2(int(dice.uniform(0, 12)) / 12.0);
    const double beat = dice.uniform(0.2, 0.4);
    for (double at = dice.uniform(0, 0.05); at < pieceSeconds; at += beat) {
        for (int voice = 0; voice < 3; ++voice) {
            const int step = scale[std::size_t(dice.uniform(0, scale.size()))] + 12 * voice;
            const double late = at + dice.uniform(0, 0.02); // hands are not exact
            if (dice.uniform(0, 1) < 0.6)
                addString(from(piece, late), root * std::exp2(step / 12.0),
                          dice.uniform(0.035, 0.14));
        }
        if (dice.uniform(0, 1) < 0.4)
            addDrum(from(piece, at + dice.uniform(0, 0.01)), dice);
    }
}

void addMetronome(std::span<float> piece, std::int64_t index, std::int64_t tune)
{
    Dice dice(tune);
    const double beatSeconds = 60 / std::floor(dice.uniform(60, 180));
    const double begin = double(index) * pieceSeconds;
    for (auto beat = std::int64_t(std::ceil(begin / beatSeconds));; ++beat) {
        const double at = double(beat) * beatSeconds - begin;
        if (at >= pieceSeconds)
            return;
        Ringing tick(2.3, beat % 4 == 0 ? 2600 : 1900, 0.006);
        for (float &sample : from(piece, at).first(audioSampleRate / 20))
            sample += float(tick.next());
    }
}

} // namespace vorn::rig
