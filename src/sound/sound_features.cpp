// SPDX-License-Identifier: Apache-2.0

#include "sound/sound_features.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vorn {
namespace {

constexpr std::size_t hop = soundRate / SoundFeatures::framesASecond;
constexpr std::size_t frameSamples = 400; // 25 ms
constexpr double lowestHertz = 150;
constexpr double highestHertz = 6000;
/// What is below does not count as sound that swells: 90 dB under full scale.
constexpr float floorPower = 1e-9F;
/// A step of power by e; three of them are as far as it goes.
constexpr float unitsAStep = 42;

std::size_t firstBin(std::size_t band, std::size_t size)
{
    const double share = double(band) / double(SoundFeatures::bandCount);
    const double hertz = lowestHertz * std::pow(highestHertz / lowestHertz, share);
    return std::size_t(std::lround(hertz * double(size) / soundRate));
}

} // namespace

SoundFeatures::SoundFeatures() : m_transform(frameSamples), m_taper(frameSamples), m_firstBins{}
{
    for (std::size_t at = 0; at < frameSamples; ++at) {
        const double turn = 2 * std::numbers::pi * (double(at) + 0.5) / double(frameSamples);
        m_taper[at] = float(0.5 - 0.5 * std::cos(turn));
    }
    for (std::size_t band = 0; band <= bandCount; ++band)
        m_firstBins[band] = firstBin(band, m_transform.size());
}

void SoundFeatures::add(std::span<const float> samples)
{
    m_rest.insert(m_rest.end(), samples.begin(), samples.end());
    std::size_t at = 0;
    for (; at + frameSamples <= m_rest.size(); at += hop)
        addFrame(std::span(m_rest).subspan(at, frameSamples));
    m_rest.erase(m_rest.begin(), m_rest.begin() + std::ptrdiff_t(at));
}

void SoundFeatures::addFrame(std::span<const float> samples)
{
    std::vector<float> tapered(samples.begin(), samples.end());
    for (std::size_t at = 0; at < frameSamples; ++at)
        tapered[at] *= m_taper[at] / float(frameSamples);
    const Spectrum spectrum = m_transform.forward(tapered);

    Frame frame{};
    for (std::size_t band = 0; band < bandCount; ++band) {
        float power = floorPower;
        for (std::size_t bin = m_firstBins[band]; bin < m_firstBins[band + 1]; ++bin)
            power += std::norm(spectrum[bin]);
        const float now = std::log(power);
        // Against the frame before the last: neighbours share most of their samples.
        const float rise = m_frames.size() >= 2 ? now - m_before[band] : 0;
        frame[band] = std::int8_t(std::clamp(rise * unitsAStep, 0.0F, 127.0F));
        m_before[band] = m_last[band];
        m_last[band] = now;
    }
    m_frames.push_back(frame);
}

} // namespace vorn
