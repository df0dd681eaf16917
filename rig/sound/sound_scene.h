// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <cstdint>
#include <span>
#include <vector>

/// What is to be heard where phones film: sound made by code, the same for a seed on every machine.
namespace vorn::rig {

/// The sample rate of the scene, and of every phone's sound.
inline constexpr int audioSampleRate = 48'000;

/// How loud a scene is on average, of full scale, where it arises: 20 dB below it.
inline constexpr double sceneLevel = 0.1;

enum class SoundKind {
    speech,    ///< three people, one after the other, at times two at once
    music,     ///< plucked strings and a drum, without end and never the same
    loop,      ///< eight seconds of such music, over and over
    traffic,   ///< a road: rumble, cars that pass, a horn
    applause,  ///< thirty pairs of hands
    metronome, ///< exact beats, every fourth higher
    wind,      ///< gusts in leaves
    crowd,     ///< a dozen people at once
};

/// A place and its sound. Its time is the take's: scene seconds.
struct SoundScene {
    SoundKind kind = SoundKind::speech;
    std::int64_t seed = 1;         ///< what happens there
    std::int64_t tune = 1;         ///< which music is played or repeated: the same for all seeds
    bool hasTalk = false;          ///< somebody speaks over it, 10 dB below it
    bool hasGaps = false;          ///< nothing begins in a third of the time, 4 s or more each
    bool isPlayback = false;       ///< music is a recording: by the tune alone, from second 0 on
    double beginsAtSeconds = -1e9; ///< nothing begins before

    bool operator==(const SoundScene &) const = default;
};

/// "speech" and so on.
[[nodiscard]] QString soundKindText(SoundKind kind);
/// What soundKindText writes; throws RigError for any other text, and names the choices.
[[nodiscard]] SoundKind soundKindFromText(const QString &text);

/// A scene's sound, in order. A piece of it begins every four seconds and may ring into the next.
class SceneSound {
public:
    /// Begins with sample `first` of scene time.
    SceneSound(const SoundScene &scene, std::int64_t first);

    /// The samples that follow.
    void fill(std::span<float> samples);

private:
    void addPiece(std::int64_t index);

    SoundScene m_scene;
    std::int64_t m_at;          ///< the next sample
    std::int64_t m_nextPiece;   ///< the first that is not in m_sum
    std::int64_t m_sumBegin;    ///< sample of scene time at which m_sum begins
    std::vector<float> m_sum;   ///< pieces added up
    std::vector<float> m_piece; ///< one of them
};

} // namespace vorn::rig
