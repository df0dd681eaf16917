// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/monotonic_clock.h"
#include "live/live_camera.h"
#include "preview/preview_client.h"
#include "preview/stream_key.h"

#include <QString>

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <vector>

namespace vorn {

/// Tells the runs of a stream apart: what a run reports counts only while it is the latest.
using StreamToken = std::uint64_t;

/// One moment on both clocks: a camera's age is told by the calendar, our own periods are not.
struct PreviewMoment {
    WallTime wall;
    MonotonicClock::time_point monotonic;

    [[nodiscard]] static PreviewMoment now()
    {
        return {std::chrono::system_clock::now(), MonotonicClock::now()};
    }
};

/// How long a stream rests before it runs again.
struct StreamPace {
    /// After a first failure; doubled with each further one, up to the maximum.
    std::chrono::milliseconds firstBackOff{500};
    std::chrono::milliseconds maximumBackOff{8000};
    /// After a frame over the legacy transport.
    std::chrono::milliseconds wallPause{350};
    std::chrono::milliseconds selectedPause{180};
};

/// One call of the client for a stream.
struct StreamRun {
    StreamKey key;
    QString host;
    StreamToken token = 0;
    bool prefersLegacy = false;

    bool operator==(const StreamRun &) const = default;
};

/// A run that is to be followed by another one.
struct StreamRetry {
    StreamRun after;
    std::chrono::milliseconds delay{0};

    bool operator==(const StreamRetry &) const = default;
};

/// What has to be done, in this order.
struct StreamChanges {
    std::vector<StreamRun> stopped;
    std::vector<StreamRun> started;

    bool operator==(const StreamChanges &) const = default;
};

/// Decides which streams run: a small one for every eligible camera, a large one for those that are
/// selected too. A stream is idle, runs, or waits for its next run. It has neither threads nor
/// timers: the caller starts and stops the runs it names, tells when they have ended, and asks for
/// a retry when its delay is over.
class StreamReconciler {
public:
    /// A run that was stopped still counts until it has ended: with an address that changes all
    /// the time, and nothing to bound it, hundreds would be ending.
    static constexpr int maximumRuns = 16;

    explicit StreamReconciler(StreamPace pace = {}) : m_pace(pace) {}

    [[nodiscard]] StreamChanges start(std::vector<LiveCamera> cameras, PreviewMoment now);
    [[nodiscard]] StreamChanges update(std::vector<LiveCamera> cameras, PreviewMoment now);
    [[nodiscard]] StreamChanges select(std::set<QString> cameraIDs, PreviewMoment now);
    /// What failed and what answered on the legacy transport only is remembered.
    [[nodiscard]] StreamChanges stop();

    /// The cameras that may stream, as of the last decision.
    [[nodiscard]] const std::set<QString> &eligibleIDs() const { return m_eligibleIDs; }

    /// A run has a frame. False when it is not the current one; the frame is stale then.
    [[nodiscard]] bool publish(const StreamRun &run, Transport transport);

    struct Ending {
        std::optional<StreamRetry> retry; ///< none for a run that nobody wants any more
        StreamChanges changes;
    };
    /// A run has ended, stopped or not; without a transport it has failed.
    [[nodiscard]] Ending end(const StreamRun &run, std::optional<Transport> transport,
                             PreviewMoment now);
    /// The delay of a retry is over.
    [[nodiscard]] StreamChanges retry(const StreamRun &after, PreviewMoment now);

private:
    enum class State { running, waiting };
    struct Stream {
        StreamRun run; ///< the latest
        State state = State::waiting;
    };
    struct LegacyPreference {
        QString host;
        MonotonicClock::time_point until;
    };
    using Hosts = std::map<StreamKey, QString>;
    using Streams = std::map<StreamKey, Stream>;

    /// The stream whose latest run that is, if it is in that state.
    [[nodiscard]] Streams::iterator find(const StreamRun &run, State state);
    [[nodiscard]] StreamChanges reconcile(PreviewMoment now);
    [[nodiscard]] Hosts wanted(PreviewMoment now) const;
    void startStream(const StreamKey &key, const QString &host, PreviewMoment now,
                     StreamChanges &changes);
    void rememberLegacy(const StreamRun &run, MonotonicClock::time_point now);
    [[nodiscard]] std::chrono::milliseconds delayAfter(const StreamKey &key, bool hasFailed);

    StreamPace m_pace;
    std::vector<LiveCamera> m_cameras;
    std::set<QString> m_selectedIDs;
    std::set<QString> m_eligibleIDs;
    bool m_isRunning = false;
    Streams m_streams; ///< idle ones are not in it
    std::map<StreamKey, LegacyPreference> m_legacyPreferences;
    std::map<StreamKey, int> m_failureCounts; ///< since the last frame
    StreamToken m_lastToken = 0;
    int m_runs = 0;            ///< started and not ended
    bool m_isHeldBack = false; ///< a stream could not start for the number of runs
};

} // namespace vorn
