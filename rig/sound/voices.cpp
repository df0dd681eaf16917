// SPDX-License-Identifier: Apache-2.0

#include "rig/sound/filters.h"
#include "rig/sound/sound_makers.h"

#include <algorithm>
#include <array>

namespace vorn::rig {
namespace {

struct Person {
    double pitchHertz = 0;
    double tract = 1; ///< how much higher its resonances are than a long throat's
    double syllableSeconds = 0.2;
};

Person person(std::int64_t persons, int number)
{
    Dice dice(persons * 101 + number);
    return {dice.uniform(90, 230), dice.uniform(0.95, 1.2), dice.uniform(0.14, 0.24)};
}

// The first three resonances of five vowels, in hertz, as phonetics has them.
constexpr std::array<std::array<double, 3>, 5> vowels{{
    {730, 1090, 2440},
    {530, 1840, 2480},
    {270, 2290, 3010},
    {570, 840, 2410},
    {300, 870, 2240},
}};

// Between 0 and 1 and back, over `count` samples, quick at both ends.
double envelope(std::size_t index, std::size_t count)
{
    const double place = double(index) / double(count);
    return std::min({1.0, place / 0.15, (1 - place) / 0.3});
}

void addConsonant(std::span<float> out, double loudness, Dice &dice)
{
    Resonator hiss(dice.uniform(1800, 6500), dice.uniform(800, 2500));
    for (std::size_t index = 0; index < out.size(); ++index)
        out[index] += float(0.6 * loudness * envelope(index, out.size()) * hiss(dice.noise()));
}

void addVowel(std::span<float> out, const Person &who, double loudness, Dice &dice)
{
    const auto &vowel = vowels[std::size_t(dice.uniform(0, vowels.size()))];
    Resonator first(vowel[0] * who.tract, 80);
    Resonator second(vowel[1] * who.tract, 110);
    Resonator third(vowel[2] * who.tract, 160);
    const double pitch = who.pitchHertz * dice.uniform(0.85, 1.25);
    const double glide = dice.uniform(-0.2, 0.15);
    double phase = 0;
    double pulse = 0;
    for (std::size_t index = 0; index < out.size(); ++index) {
        double jump = 0;
        phase += pitch * (1 + glide * double(index) / double(out.size())) / audioSampleRate;
        if (phase >= 1) {
            phase -= 1 + dice.uniform(-0.01, 0.01); // no throat is exact
            jump = 25 - pulse;
            pulse = 25;
        }
        // The folds close within a millisecond, and lips let out only what changes.
        const double before = pulse;
        pulse *= 0.97;
        const double breath = pulse - before + jump + 0.2 * dice.noise();
        const double sound = first(breath) + 0.6 * second(breath) + 0.4 * third(breath);
        out[index] += float(loudness * envelope(index, out.size()) * sound);
    }
}

void addTalk(std::span<float> piece, const Person &who, double loudness, Dice &dice)
{
    constexpr double until = pieceSeconds;
    const auto part = [&piece](double from, double seconds) {
        return piece.subspan(std::size_t(from * audioSampleRate),
                             std::size_t(seconds * audioSampleRate));
    };
    for (double at = dice.uniform(0, 0.4); at < until;) {
        const double stress = loudness * dice.uniform(0.5, 1.3);
        if (dice.uniform(0, 1) < 0.7) {
            const double seconds = dice.uniform(0.02, 0.08);
            addConsonant(part(at, seconds), stress * dice.uniform(0.2, 0.8), dice);
            at += seconds * 0.9;
        }
        const double seconds = who.syllableSeconds * dice.uniform(0.6, 1.4);
        addVowel(part(at, seconds), who, stress, dice);
        at += seconds;
        if (dice.uniform(0, 1) < 0.15)
            at += dice.uniform(0.2, 0.8); // takes breath
    }
}

} // namespace

void addSpeech(std::span<float> piece, std::int64_t persons, Dice &dice)
{
    addTalk(piece, person(persons, int(dice.uniform(0, 3))), 1.15, dice);
    if (dice.uniform(0, 1) < 0.2)
        addTalk(piece, person(persons, 3), 0.75, dice);
}

void addCrowd(std::span<float> piece, std::int64_t persons, Dice &dice)
{
    for (int number = 0; number < 12; ++number)
        addTalk(piece, person(persons, number), 0.38 * dice.uniform(0.3, 1.4), dice);
}

} // namespace vorn::rig
