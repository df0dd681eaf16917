// SPDX-License-Identifier: Apache-2.0

#include "rig/film/take_plan.h"

#include "rig/base/dice.h"

#include <algorithm>
#include <cmath>

namespace vorn::rig {
namespace {

using namespace Qt::StringLiterals;

constexpr int anchorCount = 24;

// Plans hold values that a person can read: microseconds, hundredths of ppm.
double rounded(double value, double step)
{
    return std::round(value / step) * step;
}

// Every fourth phone has the same habits.
enum class Habit { plain, upright, otherRate, hevc };

Habit habit(int index)
{
    return Habit(index % 4);
}

// A phone of a thousandth less: 29.97 beside 30. Beside 29.97, a phone at 30.
FrameRate otherRate(const FrameRate &rate)
{
    if (rate.denominator == 1001)
        return {rate.numerator / 1000, 1};
    return {rate.numerator * 1000, rate.denominator * 1001};
}

// A third of the phones were started before the reference phone. Anchors begin where both run, and
// must begin within the first tenth of the movie; 7 % leaves room for that.
double startOffset(int index, int seconds, Dice &dice)
{
    if (index % 3 == 1)
        return -dice.uniform(0.6, 1) * std::min(1.2, 0.07 * seconds);
    return dice.uniform(0.3, 1) * std::min(2.5, 0.125 * seconds);
}

// Phones' clocks differ by up to 120 ppm. In a short take that is less than anchors can tell, so a
// short take stands in for a long one: the drift adds up to 12 ms over the take, up to 600 ppm.
// One kind of phone drifts by less than 2 ms over the take, and is not to be retimed.
double drift(int index, const TakeOptions &options, Dice &dice)
{
    const double sign = dice.uniform(0, 1) < 0.5 ? -1 : 1;
    if (habit(index) == Habit::otherRate)
        return sign * dice.uniform(0.3, 1) * std::min(8.0, 2000.0 / options.seconds);
    const double usual = std::clamp(12'000.0 / options.seconds, 120.0, 600.0);
    return sign * dice.uniform(0.8, 1) * options.driftPPM.value_or(usual);
}

std::vector<PlannedAnchor> anchors(const PhonePlan &phone, Dice &dice)
{
    const double duration = phone.durationSeconds();
    // Nothing before the reference phone's first sample can be an event in both.
    const double first = std::max(0.02 * duration, 0.01 * duration - phone.offsetSeconds);
    const double last = 0.98 * duration;
    std::vector<PlannedAnchor> result;
    for (int index = 0; index < anchorCount; ++index) {
        const double source = rounded(first + (last - first) * index / (anchorCount - 1), 1e-6);
        const double noiseMs =
            std::clamp(dice.normal() * anchorNoiseSigmaMs, -anchorNoiseLimitMs, anchorNoiseLimitMs);
        result.push_back({source, phone.sceneSeconds(source) + noiseMs / 1000,
                          rounded(dice.uniform(0.93, 0.97), 0.001)});
    }
    return result;
}

// Dice of its own: with any sound, the take is otherwise what it is without.
PlannedSound planSound(const TakeOptions &options, int index)
{
    Dice dice(options.seed * maximumCameras + index);
    const std::vector<double> &metres = options.sound->distancesMetres;
    PlannedSound sound;
    sound.scene = {.kind = options.sound->kind,
                   .seed = options.seed,
                   .tune = options.seed,
                   .hasTalk = options.sound->hasTalk};
    sound.hearing = {.distanceMetres =
                         std::size_t(index) < metres.size() ? metres[std::size_t(index)] : 0,
                     .reverberationSeconds = rounded(dice.uniform(0.2, 0.6), 0.01),
                     .signalToNoiseDB = rounded(dice.uniform(15, 35), 0.1),
                     .gain = GainControl::automatic,
                     .seed = options.seed * maximumCameras + index};
    return sound;
}

PhonePlan planPhone(const TakeOptions &options, const QString &takeId, int index, Dice &dice)
{
    PhonePlan phone;
    phone.castIndex = index;
    phone.cameraId = castMember(index).cameraId;
    phone.fileName = takeId + u'-' + phone.cameraId + u".mov"_s;
    phone.rate = habit(index) == Habit::otherRate ? otherRate(options.fps) : options.fps;
    phone.hold = habit(index) == Habit::upright ? Hold::upright : Hold::landscape;
    phone.displaySize =
        phone.hold == Hold::upright ? options.pictureSize.transposed() : options.pictureSize;
    if (habit(index) == Habit::hevc && options.hasHevcEncoder)
        phone.codec = VideoCodec::hevc;
    double endSeconds = options.seconds;
    if (index > 0) {
        phone.offsetSeconds = rounded(startOffset(index, options.seconds, dice), 1e-6);
        phone.driftPPM = rounded(drift(index, options, dice), 0.01);
        endSeconds += dice.uniform(-0.03, 0.05) * std::min(options.seconds, 20);
    }
    phone.frames = std::int64_t((endSeconds - phone.offsetSeconds)
                                / (1 + phone.driftPPM / 1'000'000) * phone.rate.perSecond());
    if (index > 0 && options.hasManifest)
        phone.anchors = anchors(phone, dice);
    if (options.sound)
        phone.sound = planSound(options, index);
    return phone;
}

} // namespace

TakePlan planTake(const TakeOptions &options)
{
    const QString takeId = u"take-%1"_s.arg(options.number, 4, 10, QChar(u'0'));
    TakePlan plan{takeId, options.fps, options.seed, options.hasManifest, {}};
    Dice dice(options.seed);
    for (int index = 0; index < options.cameras; ++index)
        plan.phones.push_back(planPhone(options, plan.takeId, index, dice));
    return plan;
}

} // namespace vorn::rig
