// SPDX-License-Identifier: Apache-2.0

#include "rig/sound/hearing.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vorn::rig {
namespace {

using namespace Qt::StringLiterals;

// Sound between two samples is a sum of 32 of them, weighed by a windowed sinc. Its place is
// rounded to a thousandth of a sample: 10 ns.
constexpr int taps = 32;
constexpr int middleTap = taps / 2 - 1;
constexpr int phases = 1024;
constexpr int blockSamples = audioSampleRate;

using Weights = std::array<float, taps>;

std::vector<Weights> sincTable()
{
    std::vector<Weights> table(phases + 1);
    for (int phase = 0; phase <= phases; ++phase)
        for (int tap = 0; tap < taps; ++tap) {
            const double away = tap - middleTap - double(phase) / phases;
            const double turn = std::numbers::pi * away;
            const double sinc = away == 0 ? 1 : std::sin(turn) / turn;
            const double place = 2 * std::numbers::pi * (away / taps + 0.5);
            const double blackman = 0.42 - 0.5 * std::cos(place) + 0.08 * std::cos(2 * place);
            table[std::size_t(phase)][std::size_t(tap)] = float(sinc * blackman);
        }
    return table;
}

float weighed(const float *samples, const Weights &weights)
{
    std::array<float, 8> sums{}; // side by side: one sum would wait for itself
    for (std::size_t tap = 0; tap < taps; tap += sums.size())
        for (std::size_t lane = 0; lane < sums.size(); ++lane)
            sums[lane] += samples[tap + lane] * weights[tap + lane];
    float sum = 0;
    for (const float part : sums)
        sum += part;
    return sum;
}

double levelAt(const Hearing &hearing)
{
    return 1 / std::max(1.0, hearing.distanceMetres);
}

} // namespace

QJsonObject hearingJson(const Hearing &hearing)
{
    return {{u"distanceMetres"_s, hearing.distanceMetres},
            {u"soundDelaySeconds"_s, hearing.soundDelaySeconds()},
            {u"reverberationSeconds"_s, hearing.reverberationSeconds},
            {u"wallsDB"_s, hearing.wallsDB},
            {u"signalToNoiseDB"_s, hearing.signalToNoiseDB},
            {u"hasGainControl"_s, hearing.gain == GainControl::automatic},
            {u"overdriveDB"_s, hearing.overdriveDB}};
}

Reverberation::Reverberation(double seconds, std::int64_t seed)
{
    if (seconds <= 0) {
        m_gain = 0;
        return;
    }
    Dice dice(seed * 2 + 1);
    double apart = 0.0023; // seconds
    for (Path &scatterer : m_scatterers) {
        scatterer.line.assign(std::size_t(apart * dice.uniform(1, 1.3) * audioSampleRate), 0.0F);
        scatterer.gain = 0.7;
        apart *= 1.6;
    }
    double from = 0.007; // seconds: a wall a metre and a half away
    for (Path &path : m_paths) {
        const double length = from * dice.uniform(1, 1.3);
        path.line.assign(std::size_t(length * audioSampleRate), 0.0F);
        path.gain = std::pow(10, -3 * length / seconds);
        path.sign = dice.uniform(0, 1) < 0.5 ? -1 : 1;
        from *= 1.37;
    }
    double energy = 0;
    for (int index = 0; index < int(seconds * audioSampleRate); ++index) {
        const double back = (*this)(index == 0 ? 1 : 0);
        energy += back * back;
    }
    m_gain = 1 / std::sqrt(energy);
    for (Path &path : m_scatterers)
        std::ranges::fill(path.line, 0.0F);
    for (Path &path : m_paths)
        std::ranges::fill(path.line, 0.0F);
}

double Reverberation::scattered(double input)
{
    // All-passes in a row, by Schroeder.
    for (Path &path : m_scatterers) {
        float &place = path.line[path.at];
        const double late = double(place);
        const double output = late - path.gain * input;
        place = float(input + path.gain * output);
        path.step();
        input = output;
    }
    return input;
}

double Reverberation::operator()(double input)
{
    if (m_gain == 0)
        return 0;
    input = scattered(input);
    std::array<double, 8> back{};
    double output = 0;
    for (std::size_t index = 0; index < back.size(); ++index) {
        const Path &path = m_paths[index];
        back[index] = path.gain * double(path.line[path.at]);
        output += path.sign * back[index];
    }
    // Each path feeds all, and nothing is gained or lost by it: a Hadamard matrix.
    for (std::size_t step = 1; step < back.size(); step *= 2)
        for (std::size_t index = 0; index < back.size(); ++index)
            if ((index & step) == 0) {
                const double left = back[index];
                const double right = back[index + step];
                back[index] = left + right;
                back[index + step] = left - right;
            }
    const double kept = 1 / std::sqrt(double(back.size()));
    for (std::size_t index = 0; index < back.size(); ++index) {
        Path &path = m_paths[index];
        path.line[path.at] = float(path.sign * input + kept * back[index]);
        path.step();
    }
    return m_gain * output;
}

HeardSound::HeardSound(const SoundScene &scene, const RecordingClock &clock, const Hearing &hearing)
    : m_clock(clock),
      m_hearing(hearing),
      m_windowBegin(std::int64_t(std::floor(scenePosition(0))) - taps),
      m_sound(scene, m_windowBegin),
      m_walls(hearing.reverberationSeconds, hearing.seed),
      m_dice(hearing.seed)
{
}

double HeardSound::scenePosition(std::int64_t index) const
{
    const double media = double(index) / audioSampleRate;
    return (m_clock.sceneSeconds(media) - m_hearing.soundDelaySeconds()) * audioSampleRate;
}

double HeardSound::arriving()
{
    static const std::vector<Weights> table = sincTable();
    const double position = scenePosition(m_index++);
    const double whole = std::floor(position);
    const auto first = std::int64_t(whole) - middleTap;
    if (first + taps > m_windowBegin + std::int64_t(m_window.size())) {
        const auto done =
            std::clamp<std::int64_t>(first - m_windowBegin, 0, std::int64_t(m_window.size()));
        m_window.erase(m_window.begin(), m_window.begin() + done);
        m_windowBegin += done;
        const std::size_t kept = m_window.size();
        m_window.resize(kept + blockSamples);
        m_sound.fill(std::span(m_window).subspan(kept));
    }
    return double(weighed(m_window.data() + (first - m_windowBegin),
                          table[std::size_t(std::lround((position - whole) * phases))]));
}

double HeardSound::controlled(double sample)
{
    // Turned down within a hundredth of a second, up within seconds, by 30 dB at most.
    constexpr double fast = 1.0 / (0.01 * audioSampleRate);
    constexpr double slow = 1.0 / (2.0 * audioSampleRate);
    const double loud = std::abs(sample);
    m_envelope += (loud - m_envelope) * (loud > m_envelope ? fast : slow);
    return sample * std::min(31.6, 0.3 / std::max(m_envelope, 1e-6));
}

QByteArray HeardSound::next(std::int64_t count)
{
    const double level = levelAt(m_hearing);
    const double noise = level * sceneLevel * std::pow(10, -m_hearing.signalToNoiseDB / 20);
    const double walls = std::pow(10, m_hearing.wallsDB / 20);
    const double overdrive = std::pow(10, m_hearing.overdriveDB / 20);
    QByteArray bytes(count * qsizetype(sizeof(std::int16_t)), Qt::Uninitialized);
    const std::span samples(reinterpret_cast<std::int16_t *>(bytes.data()), std::size_t(count));
    for (std::int16_t &sample : samples) {
        const double direct = level * arriving();
        double heard = direct + walls * m_walls(direct) + noise * m_dice.noise();
        if (m_hearing.gain == GainControl::automatic)
            heard = controlled(heard);
        sample = std::int16_t(std::lround(std::clamp(heard * overdrive, -1.0, 1.0) * 32'767));
    }
    return bytes;
}

} // namespace vorn::rig
