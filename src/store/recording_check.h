// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/digest.h"
#include "library/records.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace vorn {

/// How far the reading of a take's recordings is.
struct CheckProgress {
    QString takeId;
    QString cameraId;
    std::size_t clipIndex = 0; ///< from 0
    std::size_t clipCount = 0;
    std::int64_t completedBytes = 0; ///< of all files together
    std::int64_t totalBytes = 0;     ///< likewise; falls where a file turns out not to be read

    bool operator==(const CheckProgress &) const = default;
};

/// Called with each step; what it throws ends the reading.
using CheckReport = std::function<void(const CheckProgress &)>;

/// What reading one recording anew has come to.
struct RecordingCheck {
    enum class State {
        matches,
        incomparable, ///< no checksum of it is known
        fault,
    };
    QString clipId;
    QString cameraId;
    State state = State::matches;
    QString sentence; ///< empty when it matches

    bool operator==(const RecordingCheck &) const = default;
};

/// The recordings of a take that count as on this computer, whether their files are there or not.
[[nodiscard]] QList<VORNClip> localClips(const VORNTake &take);

/// Where the recording's file is to be, absolute. Only for a local clip.
[[nodiscard]] QString localPathOf(const VORNClip &clip);

/// The checksum that the library has of a clip, 64 lower-case hexadecimal characters; empty when
/// what it has is none.
[[nodiscard]] QString knownDigest(const VORNClip &clip);

/// Does `work` for each of the clips, which is to report the bytes it reads.
void readInTurn(const QString &takeId, const QList<VORNClip> &clips, const CheckReport &report,
                const std::function<void(const VORNClip &, const ByteReport &)> &work);

/// Reads each local recording of the take, from the disk where the file system lets go of what is
/// in memory, and holds it against size and checksum of the library. Blocks; any thread.
[[nodiscard]] std::vector<RecordingCheck> checkRecordings(const VORNTake &take,
                                                          const CheckReport &report);

[[nodiscard]] bool hasFault(const std::vector<RecordingCheck> &checks);

/// What the checks of a take come to, in a sentence.
[[nodiscard]] QString summaryOf(const VORNTake &take, const std::vector<RecordingCheck> &checks);

} // namespace vorn
