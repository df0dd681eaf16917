// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/sound/hearing.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <vector>

/// A set of recordings to measure by whatever finds out from sound alone how they lie.
namespace vorn::rig {

struct SoundSetOptions {
    int scenes = 200;      ///< of two recordings each, 1 to 10,000
    int pairs = 2000;      ///< of two recordings of different scenes; as many as there are, at most
    std::int64_t seed = 1; ///< the same seed gives the same set
};

/// One recording: sound alone, in a QuickTime file.
struct SoundRecording {
    QString fileName;
    int scene = 0;
    RecordingClock clock;
    Hearing hearing;
    double seconds = 0;
    int kilobits = 0; ///< a second of AAC; 0: PCM
};

/// Two of the set's recordings, by their place in it.
struct SoundPair {
    std::size_t first = 0;
    std::size_t second = 0;
    /// What both hear, such as "loop with talk". Of a pair that does not belong together, the kind
    /// of scene that both are of, and whether the same music or beat is in both.
    QString kind;
};

struct SoundSet {
    std::int64_t seed = 0;
    std::vector<SoundScene> scenes;
    std::vector<SoundRecording> recordings; ///< scene n's are 2 n and 2 n + 1
    std::vector<SoundPair> together;        ///< both recordings of each scene
    std::vector<SoundPair> apart;           ///< recordings of different scenes of one kind
};

/// Draws up a set. Each fortieth scene lasts at least ten minutes, each hundredth begins up to an
/// hour after one of its phones does.
[[nodiscard]] SoundSet planSoundSet(const SoundSetOptions &options);

/// Makes a set in `folder`, which must be empty, or not be there while its parent is: its
/// recordings and truth.json. `onRecording`, if given, hears of each when it is written. On failure
/// nothing stays behind; throws RigError or the FileError of the system. Blocks.
SoundSet makeSoundSet(const SoundSetOptions &options, const QString &folder,
                      const std::function<void(const SoundRecording &)> &onRecording = {});

} // namespace vorn::rig
