// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "live/live_camera.h"

#include <QString>
#include <QUuid>

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace vorn {

enum class DirectorTransition : std::uint8_t { cut, fade };
inline constexpr std::array allDirectorTransitions{DirectorTransition::cut,
                                                   DirectorTransition::fade};
/// "CUT" or "FADE", on the screen and in JSON.
[[nodiscard]] QString text(DirectorTransition transition);

enum class DirectorEditEventKind : std::uint8_t { sessionStarted, transition, marker };
inline constexpr std::array allDirectorEditEventKinds{DirectorEditEventKind::sessionStarted,
                                                      DirectorEditEventKind::transition,
                                                      DirectorEditEventKind::marker};
/// The name of the value, as JSON has it.
[[nodiscard]] QString text(DirectorEditEventKind kind);

/// One entry of the edit log.
struct DirectorEditEvent {
    QUuid id = QUuid::createUuid(); ///< fresh for every event
    DirectorEditEventKind kind = DirectorEditEventKind::sessionStarted;
    double elapsedSeconds = 0;           ///< since the session started, never negative
    std::optional<QString> fromCameraID; ///< left Program
    std::optional<QString> toCameraID;   ///< went to Program; of a marker, is on Program
    std::optional<DirectorTransition> transition;
    std::optional<double> durationSeconds; ///< of the transition
    std::optional<QString> label;

    bool operator==(const DirectorEditEvent &) const = default;
};

/// What is in Preview, what is on Program, and what was decided since the session began. It
/// switches no picture. A session has no end: it lasts as long as the value.
struct LiveEditTimeline {
    static constexpr double minimumFadeSeconds = 0.1;

    std::optional<WallTime> startedAt;
    std::optional<QString> previewCameraID;
    std::optional<QString> programCameraID;
    std::vector<DirectorEditEvent> events; ///< oldest first

    bool operator==(const LiveEditTimeline &) const = default;

    [[nodiscard]] bool isRunning() const { return startedAt.has_value(); }

    /// Begins the session; nothing happens in one that runs.
    void start(WallTime at);
    /// Before a session, too. Logs nothing.
    void selectPreview(const QString &cameraID) { previewCameraID = cameraID; }
    /// Swaps Preview and Program and logs it. False, with nothing changed, while no session runs,
    /// or when Preview is empty or on Program already. A fade is no shorter than
    /// minimumFadeSeconds; a cut takes no time.
    bool take(DirectorTransition transition, double durationSeconds, WallTime at);
    /// False, with nothing logged, while no session runs.
    bool addMarker(const QString &label, WallTime at);

private:
    [[nodiscard]] double elapsedSeconds(WallTime at) const;
};

} // namespace vorn
