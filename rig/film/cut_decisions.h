// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <vector>

/// What somebody decided while a take was filmed, as whoever decided it wrote it down.
namespace vorn::rig {

enum class DecisionKind { cut, fade, mark };

struct ScriptedDecision {
    DecisionKind kind = DecisionKind::cut;
    QString cameraId; ///< a mark may have none
    double sceneSeconds = 0;
};

/// "CUT", "FADE" or "MARK".
[[nodiscard]] QString decisionKindText(DecisionKind kind);

/// Reads a list, in the order of time: [{"kind":"CUT","cameraId":"cam-b","sceneSeconds":12.3}, ...]
/// Throws RigError for a file that holds none, FileError for one that cannot be read.
[[nodiscard]] std::vector<ScriptedDecision> readDecisions(const QString &path);

} // namespace vorn::rig
