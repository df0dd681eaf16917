// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sound/sound_error.h"

#include <QString>

#include <functional>
#include <span>
#include <stop_token>
#include <vector>

namespace vorn {

/// Samples a second of all sound that is read.
constexpr int soundRate = 16'000;

/// A piece of a movie, on its own timeline: second 0 is where its headers let the movie begin.
struct SoundStretch {
    double startSeconds = 0; ///< not negative; rounded to a whole sample
    double seconds = 0;      ///< positive, at most longestSoundSeconds
};

/// Of one movie, eight hours; more is no recording of a moment.
constexpr double longestSoundSeconds = 8 * 3600;

/// Whether readSound can work on this computer.
[[nodiscard]] bool canReadSound();

/// Reads the first sound track of a MOV or MP4 file, mixed to mono at soundRate, 1 being full
/// scale, and hands it over in pieces, in order. The first sample is that of
/// `stretch.startSeconds`, silence where the sound begins later; fewer samples come where it ends
/// earlier, never more than asked.
///
/// ffmpeg decodes it in a process of its own, with bounds on its time and memory, that may read
/// this file and write nothing. Any thread; blocks. Throws FileError, SoundError, and what `take`
/// throws; the process has ended then, too.
void readSound(const QString &path, const SoundStretch &stretch, const std::stop_token &stop,
               const std::function<void(std::span<const float>)> &take);

/// The same for a stretch that fits into memory.
[[nodiscard]] std::vector<float> readSound(const QString &path, const SoundStretch &stretch,
                                           const std::stop_token &stop = {});

} // namespace vorn
