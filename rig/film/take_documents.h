// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/film/take_plan.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <vector>

/// The two documents beside the movies of a take. "manifest.json" is the source manifest that the
/// program imports: what phones would tell, noise and all. "truth.json" is what only the rig knows.
namespace vorn::rig {

/// The source manifest of a take. `digests` are the SHA-256 of the movies, in the plan's order.
[[nodiscard]] QJsonObject manifestJson(const TakePlan &plan, const std::vector<QString> &digests);

/// Each phone's true offset, drift, rate and size, what it hears and from where, the seed, and how
/// to read the counter.
[[nodiscard]] QJsonObject truthJson(const TakePlan &plan);

/// What checking an alignment needs of one phone's truth.
struct PhoneTruth {
    QString cameraId;
    double offsetSeconds = 0;
    double driftPPM = 0;
    FrameRate rate;
    std::int64_t frames = 0;
    double soundDelaySeconds = 0; ///< what it hears arose so much earlier

    [[nodiscard]] double sceneSecondsPerMediaSecond() const { return 1 + driftPPM / 1'000'000; }
    [[nodiscard]] double sceneSeconds(double mediaSeconds) const
    {
        return offsetSeconds + sceneSecondsPerMediaSecond() * mediaSeconds;
    }
    /// When its recording ends.
    [[nodiscard]] double endSceneSeconds() const { return sceneSeconds(rate.seconds(frames)); }
};

/// The truth of a take.
struct TakeTruth {
    QString takeId;
    QString referenceCameraId;
    std::vector<PhoneTruth> phones;
};

/// Reads the file that holds what truthJson writes. Throws RigError for a document that is anything
/// else, FileError or JsonError for a file that cannot be read.
[[nodiscard]] TakeTruth takeTruth(const QString &path);

} // namespace vorn::rig
