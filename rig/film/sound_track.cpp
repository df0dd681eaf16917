// SPDX-License-Identifier: Apache-2.0

#include "rig/film/sound_track.h"

#include "rig/base/rig_error.h"

#include <QFile>

#include <cmath>
#include <numbers>

namespace vorn::rig {
namespace {

using namespace Qt::StringLiterals;

constexpr double clickSeconds = 0.03;
constexpr double clickHertz = 1000;
constexpr double clickAmplitude = 20'000; // -4 dB of full scale

double soundAt(double sceneSeconds)
{
    const double since = sceneSeconds - std::floor(sceneSeconds);
    if (since >= clickSeconds)
        return 0;
    // Starts near its crest and at full level, so that its first sample can be told.
    return clickAmplitude * std::cos(2 * std::numbers::pi * clickHertz * since)
           * std::exp(-since / 0.006) * (1 - since / clickSeconds);
}

// The click track from that sample on: each sample is computed for its own scene time.
QByteArray clickSamples(const PhonePlan &phone, std::int64_t first, std::int64_t count)
{
    std::vector<std::int16_t> samples;
    samples.reserve(std::size_t(count));
    for (std::int64_t index = first; index < first + count; ++index) {
        const double media = double(index) / audioSampleRate;
        samples.push_back(std::int16_t(std::lround(soundAt(phone.sceneSeconds(media)))));
    }
    return {reinterpret_cast<const char *>(samples.data()),
            qsizetype(samples.size() * sizeof(std::int16_t))};
}

} // namespace

void writeSound(const PhonePlan &phone, const QString &path)
{
    QFile file(path);
    const auto require = [&](bool isDone) {
        if (!isDone)
            throw RigError(u"Cannot write %1: %2."_s.arg(path, file.errorString()));
    };
    require(file.open(QIODevice::WriteOnly | QIODevice::NewOnly));
    const std::int64_t total = phone.audioSamples();
    std::optional<HeardSound> heard;
    if (phone.sound)
        heard.emplace(phone.sound->scene, RecordingClock{phone.offsetSeconds, phone.driftPPM},
                      phone.sound->hearing);
    for (std::int64_t first = 0; first < total; first += audioSampleRate) {
        const std::int64_t count = std::min<std::int64_t>(audioSampleRate, total - first);
        QByteArray bytes = heard ? heard->next(count) : clickSamples(phone, first, count);
        // A disk that fills takes a part first; only the next attempt says why.
        while (!bytes.isEmpty()) {
            const qint64 written = file.write(bytes);
            require(written > 0);
            bytes.remove(0, written);
        }
    }
    require(file.flush());
}

} // namespace vorn::rig
