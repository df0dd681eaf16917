// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/base/dice.h"
#include "rig/sound/sound_scene.h"

#include <QByteArray>
#include <QJsonObject>

#include <array>
#include <cstdint>
#include <span>
#include <vector>

/// What one phone records of a scene's sound.
namespace vorn::rig {

/// How far sound comes in a second, at 20 degrees.
inline constexpr double soundMetresPerSecond = 343;

enum class GainControl { none, automatic };

/// By what clock a phone records: what stands at media time m of its recording reached it at scene
/// second offsetSeconds + (1 + driftPPM / 1,000,000) * m.
struct RecordingClock {
    double offsetSeconds = 0;
    double driftPPM = 0;

    [[nodiscard]] double sceneSeconds(double mediaSeconds) const
    {
        return offsetSeconds + (1 + driftPPM / 1'000'000) * mediaSeconds;
    }

    bool operator==(const RecordingClock &) const = default;
};

/// Where a phone stands and how well it hears. What it hears arose soundDelaySeconds() earlier.
struct Hearing {
    double distanceMetres = 0;       ///< from the sound; it falls as 1 / distance from 1 m on
    double reverberationSeconds = 0; ///< until it is 60 dB lower; 0: none
    double wallsDB = 0;              ///< level of all that walls give back over the sound itself
    double signalToNoiseDB = 60;     ///< the phone's own noise below the scene's average, there
    GainControl gain = GainControl::none;
    double overdriveDB = 0; ///< how much louder than it should it records; what is too loud is cut
    std::int64_t seed = 1;  ///< of its noise and its walls

    [[nodiscard]] double soundDelaySeconds() const { return distanceMetres / soundMetresPerSecond; }

    bool operator==(const Hearing &) const = default;
};

/// It in a truth file, with the delay that the distance makes.
[[nodiscard]] QJsonObject hearingJson(const Hearing &hearing);

/// What walls give back: eight paths that feed each other. No single path stands out, as from walls
/// that are not smooth.
class Reverberation {
public:
    /// Of one click, what comes back has the click's energy.
    Reverberation(double seconds, std::int64_t seed);

    double operator()(double input);

private:
    struct Path {
        std::vector<float> line;
        std::size_t at = 0;
        double gain = 0;
        double sign = 1;

        void step() { at = at + 1 == line.size() ? 0 : at + 1; }
    };

    double scattered(double input);

    std::array<Path, 4> m_scatterers; ///< each lets all frequencies pass, spread in time
    std::array<Path, 8> m_paths;
    double m_gain = 1;
};

/// The recording of one phone, in order.
class HeardSound {
public:
    HeardSound(const SoundScene &scene, const RecordingClock &clock, const Hearing &hearing);

    /// The samples that follow: mono, signed 16 bits, in the machine's byte order.
    [[nodiscard]] QByteArray next(std::int64_t count);

private:
    [[nodiscard]] double arriving();
    [[nodiscard]] double controlled(double sample);

    /// The sample of scene time, and what is between it and the next, that is heard as that
    /// sample of the recording.
    [[nodiscard]] double scenePosition(std::int64_t index) const;

    RecordingClock m_clock;
    Hearing m_hearing;
    std::int64_t m_windowBegin; ///< sample of scene time at which m_window begins
    SceneSound m_sound;
    std::vector<float> m_window; ///< what has been made of the scene and may still be needed
    std::int64_t m_index = 0;    ///< of the recording's next sample
    Reverberation m_walls;
    Dice m_dice;
    double m_envelope = 0; ///< how loud it has been lately
};

} // namespace vorn::rig
