// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/monotonic_clock.h"

#include <QString>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>

namespace vorn {

/// How a phone's clock stands to ours: it showed `phoneMs` at `at`. A delay that every status has
/// alike cannot be seen: by that much the phone's clock is further on than told.
struct PhoneClockReading {
    std::int64_t phoneMs = 0;
    MonotonicClock::time_point at;
    std::chrono::microseconds uncertainty{}; ///< at that moment; it grows with the age

    bool operator==(const PhoneClockReading &) const = default;
};

/// What no recording is longer than.
inline constexpr std::chrono::duration<double> longestRecording = std::chrono::days{7};

/// Where a camera is in its recording.
struct RecordingPlace {
    double seconds = 0;
    double uncertaintySeconds = 0; ///< either way

    bool operator==(const RecordingPlace &) const = default;
};

/// Where a recording is at `now` that began when the phone's clock showed `recordingSinceMs`.
/// Absent where that is no time, lies ahead or too far back, or where the place cannot be told to
/// the second.
[[nodiscard]] std::optional<RecordingPlace> recordingPlace(const PhoneClockReading &clock,
                                                           std::int64_t recordingSinceMs,
                                                           MonotonicClock::time_point now);

/// What a status says that has to do with its phone's clock.
struct ClockStatus {
    std::optional<std::int64_t>
        sentMs;      ///< by the phone's clock; absent when it tells no usable one
    QString session; ///< of the phone's program
    QString host;
    std::optional<std::int64_t> recordingSinceMs; ///< as it was when absent
};

/// Estimates how one phone's clock stands to ours, as NTP's clock filter does (RFC 5905 section
/// 10): of the statuses of the last minute the least delayed counts, their spread and its age make
/// the uncertainty. A step of either clock, a new session and a moved address begin anew.
class PhoneClock {
public:
    static constexpr std::chrono::seconds window{60};
    /// Whoever sends more often is judged by less than a minute.
    static constexpr std::size_t maximumStatuses = 128;
    /// How far a phone's clock may drift from ours, in parts per million: what an alignment of two
    /// recordings allows.
    static constexpr std::int64_t driftLimitPpm = 1000;

    /// Takes a status that was received at `at`, and tells what is known then. Absent until two
    /// statuses agree, and while one stands against the rest.
    std::optional<PhoneClockReading> hear(const ClockStatus &status, MonotonicClock::time_point at);

private:
    struct Stamp {
        std::int64_t sentMs = 0;
        MonotonicClock::time_point at;
    };
    using Stamps = std::deque<Stamp>;

    static std::chrono::microseconds lateness(const Stamp &stamp);
    static bool areApart(const Stamp &one, const Stamp &other, std::chrono::microseconds limit);
    static Stamps::const_iterator leastDelayed(Stamps::const_iterator begin,
                                               Stamps::const_iterator end);

    void take(const Stamp &stamp);
    void dropWhatWasBeforeAStep();
    [[nodiscard]] std::optional<PhoneClockReading> reading() const;

    QString m_session;
    QString m_host;
    std::optional<std::int64_t> m_recordingSinceMs;
    std::optional<std::int64_t> m_lastSentMs;
    Stamps m_stamps;                ///< oldest first
    std::optional<Stamp> m_suspect; ///< far from the rest
    /// By how much the clocks have stepped since the recording began. Which of the two did cannot
    /// be told, so neither whether recordingSinceMs is by the clock of now.
    std::chrono::microseconds m_stepped{};
};

} // namespace vorn
