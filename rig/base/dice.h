// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <random>

namespace vorn::rig {

/// Random numbers that are the same for a seed on every machine: the distributions of <random>
/// differ between standard libraries, these do not.
class Dice {
public:
    explicit Dice(std::int64_t seed) : m_engine(std::uint64_t(seed)) {}

    [[nodiscard]] double uniform(double from, double to)
    {
        return from + (to - from) * double(m_engine() >> 11) * 0x1p-53;
    }
    /// Mean 0, variance 1. Twelve uniform values are close to normal, by plain additions.
    [[nodiscard]] double normal()
    {
        double sum = -6;
        for (int term = 0; term < 12; ++term)
            sum += uniform(0, 1);
        return sum;
    }
    /// The same of one number, for sounds: four numbers of 16 bits, added.
    [[nodiscard]] double noise()
    {
        const std::uint64_t number = m_engine();
        const auto part = [number](int index) { return double(number >> (16 * index) & 0xFFFF); };
        constexpr double mean = 2 * 65'535.0;
        constexpr double deviation = 65'536 * 0.57735026918962576; // of four: 1 / sqrt(3)
        return (part(0) + part(1) + part(2) + part(3) - mean) / deviation;
    }

private:
    std::mt19937_64 m_engine;
};

} // namespace vorn::rig
