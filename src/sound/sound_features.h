// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sound/sound_reader.h"
#include "sound/spectrum.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace vorn {

/// Where sound begins to swell, in a few bands: what is left of it for finding a place in hours.
/// 2.9 MB an hour. Filled piece by piece, as the sound is read.
class SoundFeatures {
public:
    static constexpr int framesASecond = 100;
    static constexpr std::size_t bandCount = 8;
    /// Of one frame, 0 to 127.
    using Frame = std::array<std::int8_t, bandCount>;

    SoundFeatures();

    void add(std::span<const float> samples);

    [[nodiscard]] const std::vector<Frame> &frames() const noexcept { return m_frames; }
    [[nodiscard]] double seconds() const noexcept
    {
        return double(m_frames.size()) / framesASecond;
    }

private:
    void addFrame(std::span<const float> samples);

    RealTransform m_transform;
    std::vector<float> m_taper;
    std::array<std::size_t, bandCount + 1> m_firstBins; ///< of each band, and the end
    std::vector<float> m_rest; ///< what has come since the begin of the next frame
    std::array<float, bandCount> m_before{}, m_last{};
    std::vector<Frame> m_frames;
};

} // namespace vorn
