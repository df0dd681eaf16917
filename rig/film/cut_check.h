// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/film/cut_decisions.h"
#include "rig/film/cut_sides.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

/// Measures how well an exported director's cut keeps the decisions that were made, by the document
/// and by the pictures on both sides of each of its edges.
///
/// Timeline time is the reference camera's media time and so is scene time: a decision that fell at
/// second s of the scene belongs at second s of the timeline. Where its camera records nothing, a
/// gap belongs there. The truth file tells when each camera records.
namespace vorn::rig {

/// A decision and where the document has it.
struct FoundDecision {
    std::size_t number = 0; ///< from 1, in the order of the decisions
    ScriptedDecision decision;
    std::optional<double> documentSeconds;
    bool isNeeded = true; ///< false where the document does right to have none
    std::optional<CutSides> sides;

    [[nodiscard]] double errorSeconds() const
    {
        return documentSeconds.value_or(decision.sceneSeconds) - decision.sceneSeconds;
    }
    [[nodiscard]] bool isMissing() const { return isNeeded && !documentSeconds; }
};

struct CutCheck {
    double framesPerSecond = 0;
    std::vector<FoundDecision> decisions; ///< those within the timeline
    int extra = 0;                        ///< edges, markers and dissolves that nobody decided
    int wrongCameras = 0;                 ///< stretches that show another camera than decided
    QStringList faults;                   ///< what is wrong, in sentences

    [[nodiscard]] int missing() const;
    /// Of the distances between decision and document. 0 where there are none.
    [[nodiscard]] double medianSeconds() const;
    [[nodiscard]] double worstSeconds() const;
    /// True when no decision lies more than two frames off, half of them, where there are thirty,
    /// within half a frame, and nothing is missing, too much or wrong.
    [[nodiscard]] bool isRight() const;
};

struct CutCheckFiles {
    QString packageFolder;
    QString truthPath;
    QString decisionsPath;
    QString picturesFolder; ///< gets a picture of each edge; empty: none
};

/// Measures director-cut.fcpxml of the package. Throws RigError, FileError or JsonError when a file
/// cannot be read or followed. Decodes two pictures for each edge.
[[nodiscard]] CutCheck checkCut(const CutCheckFiles &files);

} // namespace vorn::rig
