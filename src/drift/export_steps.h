// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "drift/placement.h"
#include "media/media_probe.h"

#include <exception>
#include <functional>
#include <optional>
#include <vector>

namespace vorn {

/// How far an export or its check is: which clip's file is being verified or copied, and how many
/// bytes are done.
struct ExportProgress {
    enum class Stage { verifying, copying, listening };

    QString cameraId;
    std::size_t clipIndex = 0; ///< from 0
    std::size_t clipCount = 0;
    std::int64_t completedBytes = 0; ///< of all files together
    std::int64_t totalBytes = 0;     ///< of all files together; a forecast for copies
    // While listening, places of this clip in both.
    Stage stage = Stage::verifying;

    bool operator==(const ExportProgress &) const = default;
};

/// Called about once a mebibyte, and several times a second while copies are made, on the working
/// thread; what it throws ends the run.
using OnExportProgress = std::function<void(const ExportProgress &)>;

// All that an export can refuse before it writes, step by step in its order. The export stops at
// the first refusal and the check goes on, but both take these steps.
namespace DriftEngine {

/// Called with each refusal and the place of its clip in the take, where it is one clip's. What it
/// throws ends the run.
using OnRefusal =
    std::function<void(std::optional<std::size_t> clip, const std::exception_ptr &refusal)>;

/// Throws the refusal on.
void stopAtRefusal(std::optional<std::size_t> clip, const std::exception_ptr &refusal);

/// True when `step` is through; what it refuses goes to `refused`.
bool attempt(const OnRefusal &refused, std::optional<std::size_t> clip,
             const std::function<void()> &step);

/// What is asked of the take as a whole; absent where that is refused.
struct TakeBasis {
    std::optional<QString> referenceCameraId;
    std::optional<double> fps;
};

[[nodiscard]] TakeBasis takeBasis(const VORNTake &take, const OnRefusal &refused);

/// Refuses names that the timeline document cannot hold.
void requireXmlNames(const VORNProject &project, const VORNTake &take, const OnRefusal &refused);

/// How far one clip has come.
struct Preparation {
    Prepared item;
    std::optional<ProbedMedia> probed;
    bool hasMedia = false; ///< item.media is known
    bool hasLine = false;  ///< item.correction is known

    [[nodiscard]] bool isComplete() const { return hasMedia && hasLine; }
};

enum class FileBytes {
    verify, ///< against the library's checksum
    trust,  ///< read the headers alone
};

/// One for each clip of the take, in its order. Without a reference camera no clip has a line.
[[nodiscard]] std::vector<Preparation>
preparations(const VORNTake &take, const std::optional<QString> &referenceCameraId, FileBytes bytes,
             const OnExportProgress &onProgress, const OnRefusal &refused);

/// One for each preparation, absent where that is not complete or its place is refused.
[[nodiscard]] std::vector<std::optional<Placement>>
placements(const std::vector<Preparation> &preparations, double fps, const OnRefusal &refused);

} // namespace DriftEngine
} // namespace vorn
