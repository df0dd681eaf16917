// SPDX-License-Identifier: Apache-2.0

#include "live/phone_clock.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <ranges>

using namespace std::chrono_literals;

namespace vorn {
namespace {

using std::chrono::microseconds;

/// The end of the year 9999. Sums of such times are far from what 64 bits hold.
constexpr std::int64_t latestMs = 253'402'300'799'999;

// A status may be held up by less; beyond, it takes a second one to be believed.
constexpr microseconds farOff = 500ms;
// Smaller steps show when none of so many statuses in a row comes as close to the least delayed.
constexpr std::ptrdiff_t enoughStatuses = 8;
constexpr microseconds smallStep = 60ms;
// What a busy wireless network makes of delays, for as long as fewer statuses have shown less.
constexpr microseconds assumedSpread = 30ms;
// Beyond, a place is of no use.
constexpr microseconds tooUncertain = 1s;
// Phones tell whole milliseconds.
constexpr microseconds resolution = 1ms;

/// Negative for a negative time.
microseconds driftWithin(MonotonicClock::duration time)
{
    return std::chrono::duration_cast<microseconds>(time) * PhoneClock::driftLimitPpm / 1'000'000;
}

bool isTime(std::int64_t ms)
{
    return ms > 0 && ms <= latestMs;
}

} // namespace

std::optional<RecordingPlace> recordingPlace(const PhoneClockReading &clock,
                                             std::int64_t recordingSinceMs,
                                             MonotonicClock::time_point now)
{
    if (!isTime(recordingSinceMs))
        return std::nullopt;
    using Seconds = std::chrono::duration<double>;
    const Seconds place = std::chrono::milliseconds(clock.phoneMs - recordingSinceMs)
                          + std::chrono::duration_cast<microseconds>(now - clock.at);
    const Seconds uncertainty =
        clock.uncertainty + driftWithin(std::chrono::abs(now - clock.at)) + resolution;
    if (uncertainty > tooUncertain || place < -uncertainty || place > longestRecording)
        return std::nullopt;
    return RecordingPlace{.seconds = std::max(0.0, place.count()),
                          .uncertaintySeconds = uncertainty.count()};
}

std::optional<PhoneClockReading> PhoneClock::hear(const ClockStatus &status,
                                                  MonotonicClock::time_point at)
{
    // A status that came before over another link tells nothing but a longer way.
    const bool isRepetition = status.sentMs && status.sentMs == m_lastSentMs;
    if (!isRepetition) {
        if (status.session != m_session || status.host != m_host) {
            *this = {};
            m_session = status.session;
            m_host = status.host;
        }
        if (status.recordingSinceMs && status.recordingSinceMs != m_recordingSinceMs) {
            m_recordingSinceMs = status.recordingSinceMs;
            m_stepped = {};
        }
        if (status.sentMs && isTime(*status.sentMs))
            take({.sentMs = *status.sentMs, .at = at});
        m_lastSentMs = status.sentMs;
    }
    while (!m_stamps.empty() && at - m_stamps.front().at > window)
        m_stamps.pop_front();
    return reading();
}

/// By how much our clock is ahead of the phone's when the status comes: the more the longer its
/// way.
microseconds PhoneClock::lateness(const Stamp &stamp)
{
    return std::chrono::duration_cast<microseconds>(stamp.at.time_since_epoch())
           - std::chrono::milliseconds(stamp.sentMs);
}

bool PhoneClock::areApart(const Stamp &one, const Stamp &other, microseconds limit)
{
    return std::chrono::abs(lateness(one) - lateness(other))
           > limit + driftWithin(std::chrono::abs(one.at - other.at));
}

/// An older stamp may be wrong by what the clocks have drifted since, either way, which counts as
/// delay.
PhoneClock::Stamps::const_iterator PhoneClock::leastDelayed(Stamps::const_iterator begin,
                                                            Stamps::const_iterator end)
{
    return std::min_element(begin, end, [](const Stamp &one, const Stamp &other) {
        return lateness(one) + 2 * driftWithin(other.at - one.at) < lateness(other);
    });
}

void PhoneClock::take(const Stamp &stamp)
{
    const auto best = leastDelayed(m_stamps.cbegin(), m_stamps.cend());
    if (best != m_stamps.cend() && areApart(stamp, *best, farOff)) {
        if (!m_suspect || areApart(stamp, *m_suspect, farOff)) {
            m_suspect = stamp;
            return;
        }
        m_stepped += std::min(lateness(stamp), lateness(*m_suspect)) - lateness(*best);
        m_stamps = {*m_suspect};
    }
    m_suspect.reset();
    m_stamps.push_back(stamp);
    if (m_stamps.size() > maximumStatuses)
        m_stamps.pop_front();
    dropWhatWasBeforeAStep();
}

void PhoneClock::dropWhatWasBeforeAStep()
{
    if (std::ssize(m_stamps) <= enoughStatuses)
        return;
    const auto newer = std::prev(m_stamps.cend(), enoughStatuses);
    const Stamp before = *leastDelayed(m_stamps.cbegin(), newer);
    const auto [first, last] = std::ranges::minmax_element(newer, m_stamps.cend(), {}, lateness);
    const bool areAllLater = lateness(*first) > lateness(before);
    const bool areAllEarlier = lateness(*last) < lateness(before);
    const Stamp &nearest = areAllEarlier ? *last : *first;
    if (!(areAllLater || areAllEarlier) || !areApart(nearest, before, smallStep))
        return;
    m_stepped += lateness(*first) - lateness(before);
    m_stamps.erase(m_stamps.cbegin(), newer);
}

std::optional<PhoneClockReading> PhoneClock::reading() const
{
    if (m_suspect || m_stamps.size() < 2)
        return std::nullopt;
    // Of the last few, since over a minute the drift would show as well.
    const auto last = std::prev(m_stamps.cend(), std::min(std::ssize(m_stamps), enoughStatuses));
    const auto [first, most] = std::ranges::minmax(std::ranges::subrange(last, m_stamps.cend())
                                                   | std::views::transform(lateness));
    microseconds spread = most - first;
    if (std::ssize(m_stamps) < enoughStatuses)
        spread = std::max(spread, assumedSpread);
    const Stamp best = *leastDelayed(m_stamps.cbegin(), m_stamps.cend());
    return PhoneClockReading{.phoneMs = best.sentMs,
                             .at = best.at,
                             .uncertainty = spread + std::chrono::abs(m_stepped) + resolution};
}

} // namespace vorn
