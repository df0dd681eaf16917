// SPDX-License-Identifier: Apache-2.0

#include "sound/listening.h"

#include "sound/sound_reader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <map>
#include <numeric>
#include <variant>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

// Two windows of one moment; what lagBetween asks for.
constexpr double windowSeconds = 8;
constexpr double shortestWindowSeconds = 2;
constexpr double reachOfWindow = 1.0 / 20;

// Where that tells too little, the lag may be larger: heard further around, and for longer.
constexpr double longWindowSeconds = 60;

// Windows that tell further apart tell nothing together.
constexpr double apartSeconds = 0.1;

// By how much a wrong line may let recordings slip: what an alignment allows, either way. A step
// leaves a window of eight seconds together to a tenth of a millisecond.
constexpr double greatestSlope = 0.001;
constexpr double slopeStep = 0.000'05;

constexpr std::array places{0.0, 0.25, 0.5, 0.75, 1.0};

/// What an ear takes for the same moment.
constexpr double inStepSeconds = 0.002;

/// What a recording has about a stretch of the timeline, to be played at rates that differ a
/// little.
class StretchOfSound {
public:
    StretchOfSound(const LaidRecording &recording, double begin, double seconds,
                   const std::stop_token &stop)
        : m_rate(recording.timelineSecondsPerSecond), m_seconds(seconds)
    {
        const double middle = (begin + seconds / 2 - recording.offsetSeconds) / m_rate;
        const double half = seconds / 2 / m_rate * (1 + 2 * greatestSlope);
        const double start = std::max(0.0, middle - half);
        m_sound = readSound(recording.path,
                            {.startSeconds = start, .seconds = middle + half - start}, stop);
        m_middle = (middle - start) * soundRate;
    }

    /// As a timeline plays it, the middle in its place, and by `slope` slower around that. Between
    /// samples by a straight line.
    [[nodiscard]] std::vector<float> played(double slope) const
    {
        std::vector<float> result;
        const auto count = std::int64_t(m_seconds * soundRate);
        const std::int64_t half = count / 2;
        const double step = 1 / (m_rate * (1 + slope));
        for (std::int64_t index = 0; index < count; ++index) {
            const double place = m_middle + double(index - half) * step;
            const auto before = std::size_t(std::max(0.0, place));
            const bool isThere = place >= 0 && before + 1 < m_sound.size();
            const auto share = float(place - double(before));
            result.push_back(isThere ? m_sound[before] * (1 - share) + m_sound[before + 1] * share
                                     : 0);
        }
        return result;
    }

private:
    double m_rate;
    double m_seconds;
    double m_middle = 0; ///< in samples
    std::vector<float> m_sound;
};

struct Stretch {
    double begin = 0;
    double end = 0;

    [[nodiscard]] double seconds() const { return end - begin; }
};

/// Windows of `seconds` at the places of the stretch, none twice.
std::vector<double> windowBegins(const Stretch &stretch, double seconds)
{
    std::vector<double> begins;
    for (const double place : places) {
        const double begin = stretch.begin + place * std::max(0.0, stretch.seconds() - seconds);
        if (begins.empty() || begin - begins.back() > seconds / 8)
            begins.push_back(begin);
    }
    return begins;
}

class Listener {
public:
    Listener(const LaidRecording &reference, const LaidRecording &other,
             const std::stop_token &stop, const std::function<void(int, int)> &onPlace)
        : m_reference(reference), m_other(other), m_stop(stop), m_onPlace(onPlace)
    {
    }

    Listening at(const std::vector<double> &begins, double seconds)
    {
        Listening result;
        std::map<NoLag, int> reasons;
        for (const double begin : begins) {
            if (m_onPlace)
                m_onPlace(result.places, int(begins.size()));
            ++result.places;
            const Lag lag = lagAt(begin, seconds);
            if (const auto *told = std::get_if<LagEstimate>(&lag))
                result.points.push_back({.referenceSeconds = begin + seconds / 2,
                                         .lagSeconds = told->seconds,
                                         .uncertaintySeconds = told->uncertaintySeconds});
            else
                ++reasons[std::get<NoLag>(lag)];
        }
        const auto most =
            std::ranges::max_element(reasons, {}, [](const auto &reason) { return reason.second; });
        if (most != reasons.end())
            result.commonNoLag = most->first;
        result.judgement = judgeAlignment(result.points);
        return result;
    }

private:
    /// Where two recordings slip against each other, their waves part within the window: then by
    /// the slope at which they stay together, which is that of the other places as well.
    Lag lagAt(double begin, double seconds)
    {
        const std::vector<float> reference =
            StretchOfSound(m_reference, begin, seconds, m_stop).played(0);
        const StretchOfSound sound(m_other, begin, seconds, m_stop);
        Lag best = lagBetween(reference, sound.played(m_slope), seconds * reachOfWindow);
        if (best != Lag(NoLag::noPeakStandsOut) || m_hasSoughtSlope)
            return best;
        m_hasSoughtSlope = true;
        double uniqueness = 0;
        for (double slope = -greatestSlope; slope <= greatestSlope; slope += slopeStep) {
            if (m_stop.stop_requested())
                break;
            const Lag lag = lagBetween(reference, sound.played(slope), seconds * reachOfWindow);
            const auto *told = std::get_if<LagEstimate>(&lag);
            if (told && told->uniqueness > uniqueness) {
                best = lag;
                uniqueness = told->uniqueness;
                m_slope = slope;
            }
        }
        return best;
    }

    const LaidRecording &m_reference;
    const LaidRecording &m_other;
    const std::stop_token &m_stop;
    const std::function<void(int, int)> &m_onPlace;
    double m_slope = 0;
    bool m_hasSoughtSlope = false; ///< once is enough: it costs as much as forty places
};

/// Long windows are few: one is enough to tell that a recording lies elsewhere, where the shorter
/// ones could not see that far.
SoundJudgement farJudgement(const std::vector<LagPoint> &points)
{
    SoundJudgement judgement;
    if (points.empty())
        return judgement;
    const auto [least, most] = std::ranges::minmax(points, {}, &LagPoint::lagSeconds);
    const double nearest = std::min(std::abs(least.lagSeconds), std::abs(most.lagSeconds));
    if (most.lagSeconds - least.lagSeconds > apartSeconds
        || nearest < windowSeconds * reachOfWindow)
        return judgement;
    judgement.kind = SoundJudgement::Kind::off;
    judgement.lagSeconds = std::midpoint(least.lagSeconds, most.lagSeconds);
    return judgement;
}

QString milliseconds(double seconds)
{
    return std::abs(seconds) < 1 ? QString::number(std::abs(seconds) * 1000, 'f', 0) + u" ms"_s
                                 : QString::number(std::abs(seconds), 'f', 1) + u" s"_s;
}

/// "85 ms late", or "in step".
QString lagText(double seconds)
{
    if (std::abs(seconds) < inStepSeconds)
        return u"in step"_s;
    return milliseconds(seconds) + (seconds > 0 ? u" late"_s : u" early"_s);
}

QString steadyText(const SoundJudgement &judgement)
{
    if (std::abs(judgement.lagSeconds) < inStepSeconds)
        return u"By ear: in step throughout."_s;
    return u"By ear: %1 throughout, as from %2 m %3."_s.arg(
        lagText(judgement.lagSeconds), QString::number(std::abs(judgement.metres), 'f', 0),
        judgement.lagSeconds > 0 ? u"further away"_s : u"closer by"_s);
}

QString slippingText(const SoundJudgement &judgement, double fps)
{
    return u"By ear: %1 at the head, %2 at the tail: %3 frames apart; the clock line does not hold."_s
        .arg(lagText(judgement.headSeconds), lagText(judgement.tailSeconds),
             QString::number(judgement.changeSeconds * fps, 'f', 1));
}

QString silenceText(const Listening &listening)
{
    if (listening.places == 0)
        return u"what both have on the timeline is too short."_s;
    if (!listening.commonNoLag)
        return u"too few places tell."_s;
    switch (*listening.commonNoLag) {
    case NoLag::tooQuiet:
        return u"it is too quiet."_s;
    case NoLag::clipped:
        return u"the sound is overdriven."_s;
    case NoLag::tonal:
        return u"it is a steady tone or hum."_s;
    case NoLag::repeats:
        return u"what is heard repeats, and fits at several places."_s;
    case NoLag::noPeakStandsOut:
        break;
    }
    return u"the two recordings have nothing in common there. They may be of different moments."_s;
}

} // namespace

Listening listen(const LaidRecording &reference, const LaidRecording &other,
                 const std::stop_token &stop,
                 const std::function<void(int place, int places)> &onPlace)
{
    const Stretch both{std::max({0.0, reference.beginSeconds, other.beginSeconds}),
                       std::min(reference.endSeconds, other.endSeconds)};
    if (both.seconds() < shortestWindowSeconds)
        return {};
    Listener listener(reference, other, stop, onPlace);
    const double seconds = std::min(windowSeconds, both.seconds());
    Listening near = listener.at(windowBegins(both, seconds), seconds);
    if (near.judgement.kind != SoundJudgement::Kind::cannotTell
        || near.commonNoLag != NoLag::noPeakStandsOut || both.seconds() < 2 * windowSeconds)
        return near;
    const double longer = std::min(longWindowSeconds, both.seconds());
    Listening far = listener.at(windowBegins(both, longer), longer);
    if (far.judgement.kind == SoundJudgement::Kind::cannotTell)
        far.judgement = farJudgement(far.points);
    return far.judgement.kind == SoundJudgement::Kind::cannotTell ? near : far;
}

QString listeningText(const Listening &listening, double fps)
{
    const SoundJudgement &judgement = listening.judgement;
    switch (judgement.kind) {
    case SoundJudgement::Kind::steady:
        return steadyText(judgement);
    case SoundJudgement::Kind::slipping:
        return slippingText(judgement, fps);
    case SoundJudgement::Kind::off:
        return u"By ear: %1: this may be another take's recording."_s.arg(
            lagText(judgement.lagSeconds));
    case SoundJudgement::Kind::cannotTell:
        break;
    }
    return u"By ear: cannot tell: "_s + silenceText(listening);
}

} // namespace vorn
