// SPDX-License-Identifier: Apache-2.0

#include "rig/sound/filters.h"
#include "rig/sound/sound_makers.h"

#include <algorithm>

namespace vorn::rig {
namespace {

// Of what goes on over a piece's end: pieces that overlap add up to the same loudness throughout.
double blend(std::size_t index, std::size_t count)
{
    constexpr double ring = double(ringSeconds) * audioSampleRate;
    const double edge = std::min({1.0, double(index) / ring, double(count - index) / ring});
    return std::sin(std::numbers::pi / 2 * edge);
}

void addCar(std::span<float> piece, Dice &dice)
{
    const double nearest = dice.uniform(1, pieceSeconds + 1) * audioSampleRate;
    const double width = dice.uniform(0.4, 1.0) * audioSampleRate;
    const double loudness = dice.uniform(0.12, 0.48);
    LowPass tyres(dice.uniform(600, 2500));
    Ringing engine(0.15, dice.uniform(60, 140), 1e6);
    for (std::size_t index = 0; index < piece.size(); ++index) {
        const double away = (double(index) - nearest) / width;
        const double sound = tyres(dice.noise()) + engine.next();
        piece[index] +=
            float(loudness * blend(index, piece.size()) * sound / (1 + 4 * away * away));
    }
}

void addHorn(std::span<float> piece, Dice &dice)
{
    const auto begin = std::size_t(dice.uniform(0, pieceSeconds) * audioSampleRate);
    const auto out = piece.subspan(begin, std::size_t(dice.uniform(0.2, 0.9) * audioSampleRate));
    const double hertz = dice.uniform(330, 480);
    for (int harmonic = 1; harmonic <= 8; ++harmonic) {
        Ringing tone(0.12 / harmonic, hertz * harmonic, 1e6);
        for (float &sample : out)
            sample += float(tone.next());
    }
}

} // namespace

void addTraffic(std::span<float> piece, Dice &dice)
{
    LowPass rumble(120);
    LowPass hiss(3000);
    for (std::size_t index = 0; index < piece.size(); ++index) {
        const double noise = dice.noise();
        piece[index] +=
            float(blend(index, piece.size()) * (0.7 * rumble(noise) + 0.07 * hiss(noise)));
    }
    for (int cars = int(dice.uniform(1, 4)); cars > 0; --cars)
        addCar(piece, dice);
    if (dice.uniform(0, 1) < 0.15)
        addHorn(piece, dice);
}

void addApplause(std::span<float> piece, Dice &dice)
{
    constexpr int claps = 90 * pieceSeconds; // thirty people, three a second each
    for (int clap = 0; clap < claps; ++clap) {
        const auto begin = std::size_t(dice.uniform(0, pieceSeconds) * audioSampleRate);
        Resonator palms(dice.uniform(700, 3200), dice.uniform(300, 1500));
        double level = dice.uniform(0.35, 1.75);
        for (float &sample : piece.subspan(begin, audioSampleRate / 60)) {
            level *= 0.994;
            sample += float(level * palms(dice.noise()));
        }
    }
}

void addWind(std::span<float> piece, Dice &dice)
{
    LowPass low(300);
    LowPass leaves(5000);
    LowPass gusts(0.7);
    for (std::size_t index = 0; index < piece.size(); ++index) {
        const double gust = 0.4 + std::abs(160 * gusts(dice.noise()));
        const double noise = dice.noise();
        piece[index] +=
            float(blend(index, piece.size()) * gust * (0.26 * low(noise) + 0.09 * leaves(noise)));
    }
}

} // namespace vorn::rig
