// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/sound/sound_scene.h"

#include <cmath>
#include <complex>
#include <numbers>

namespace vorn::rig {

/// A resonance of that frequency and width: what a mouth, a wall or a drum does to a sound.
class Resonator {
public:
    Resonator(double hertz, double widthHertz)
    {
        const double radius = std::exp(-std::numbers::pi * widthHertz / audioSampleRate);
        const double turn = 2 * std::numbers::pi * hertz / audioSampleRate;
        m_last = 2 * radius * std::cos(turn);
        m_beforeLast = -radius * radius;
        m_gain = (1 - radius) * std::sqrt(1 - 2 * radius * std::cos(2 * turn) + radius * radius);
    }

    double operator()(double input)
    {
        const double output = m_gain * input + m_last * m_y1 + m_beforeLast * m_y2;
        m_y2 = m_y1;
        m_y1 = output;
        return output;
    }

private:
    double m_gain = 0;
    double m_last = 0;
    double m_beforeLast = 0;
    double m_y1 = 0;
    double m_y2 = 0;
};

/// A low pass of 6 dB an octave.
class LowPass {
public:
    explicit LowPass(double hertz)
        : m_share(1 - std::exp(-2 * std::numbers::pi * hertz / audioSampleRate))
    {
    }

    double operator()(double input) { return m_value += m_share * (input - m_value); }

private:
    double m_share;
    double m_value = 0;
};

/// A sine that dies away, without a call for each sample.
class Ringing {
public:
    Ringing(double amplitude, double hertz, double decaySeconds)
        : m_value(0, -amplitude),
          m_step(std::polar(std::exp(-1 / (decaySeconds * audioSampleRate)),
                            2 * std::numbers::pi * hertz / audioSampleRate))
    {
    }

    double next()
    {
        const double result = m_value.real();
        // Written out: the library's product checks for infinities.
        m_value = {m_value.real() * m_step.real() - m_value.imag() * m_step.imag(),
                   m_value.real() * m_step.imag() + m_value.imag() * m_step.real()};
        return result;
    }

private:
    std::complex<double> m_value;
    std::complex<double> m_step;
};

} // namespace vorn::rig
