// SPDX-License-Identifier: Apache-2.0

#include "sound/sound_reader.h"

#include "base/confined_process.h"
#include "base/display_text.h"
#include "base/files.h"
#include "base/sound_decoders.h"

#include <QDir>
#include <QStandardPaths>

#include <cmath>
#include <cstring>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

/// A decoder needs sound before the first sample that counts: AAC a frame of 21 ms, Opus 80 ms.
constexpr double prerollSeconds = 0.5;

/// The rate at which sound is put into its place: what most movies have, so that it is exact there.
constexpr int placingRate = 48'000;
static_assert(placingRate % soundRate == 0);

/// The tables of eight hours of sound and pictures take some 250 MiB, the libraries 200.
constexpr std::int64_t maximumMemoryBytes = std::int64_t(1) << 30;
/// A slow core decodes a hundred times faster than it sounds.
constexpr double leastProcessorSeconds = 30;
constexpr double processorSecondsASecond = 0.1;

QString listenerPath()
{
    return QStandardPaths::findExecutable(u"ffmpeg"_s);
}

QString inSeconds(double seconds)
{
    return QString::number(seconds, 'f', 6);
}

/// Times stay those of the movie (copyts). It is read from a little before, cut at the source's own
/// rate, and moved to the first sample by what its time says, so that priming, edit lists and a
/// late begin fall into place. What is missing in between becomes silence from 20 ms on: less is
/// how unsteadily some phones count.
QStringList arguments(const QString &path, const SoundStretch &stretch)
{
    const double seek = std::max(0.0, stretch.startSeconds - prerollSeconds);
    const QString filter =
        u"atrim=start=%1:end=%2,aresample=%3,aresample=%3:async=1:min_comp=0.00001:min_hard_comp=0.02:first_pts=%4,aresample=%5"_s
            .arg(inSeconds(stretch.startSeconds), inSeconds(stretch.startSeconds + stretch.seconds))
            .arg(placingRate)
            .arg(std::llround(stretch.startSeconds * soundRate) * (placingRate / soundRate))
            .arg(soundRate);
    QStringList words =
        u"-nostdin -v quiet -threads 1 -filter_threads 1 -f mov -enable_drefs 0 "
        u"-protocol_whitelist file "
        "-noaccurate_seek -seek_timestamp 1 -vn -sn -dn -codec_whitelist"_s.split(u' ');
    words << soundDecoders << u"-ss"_s << inSeconds(seek) << u"-i"_s << u"file:"_s + path;
    words << u"-map 0:a:0 -copyts -ac 1 -c:a pcm_f32le -f f32le -af"_s.split(u' ') << filter;
    return words << u"pipe:1"_s;
}

ProcessBounds boundsOf(const SoundStretch &stretch)
{
    return {.memoryBytes = maximumMemoryBytes,
            .processorSeconds =
                std::int64_t(leastProcessorSeconds + stretch.seconds * processorSecondsASecond)};
}

} // namespace

bool canReadSound()
{
    return !listenerPath().isEmpty();
}

void readSound(const QString &path, const SoundStretch &stretch, const std::stop_token &stop,
               const std::function<void(std::span<const float>)> &take)
{
    Q_ASSERT(stretch.startSeconds >= 0 && stretch.seconds > 0
             && stretch.seconds <= longestSoundSeconds);
    const QString program = listenerPath();
    if (program.isEmpty())
        throw SoundError(SoundError::Case::noListener, u"Install ffmpeg to let VORN listen."_s);
    // Refuses a folder, a device or a pipe with a sentence of its own.
    (void)openRegularFile(path);

    ConfinedProcess listener(program, arguments(QDir::current().absoluteFilePath(path), stretch),
                             boundsOf(stretch));
    auto missing = std::size_t(std::llround(stretch.seconds * soundRate));
    QByteArray bytes;
    std::vector<float> samples;
    while (missing > 0 && !listener.isOver()) {
        if (stop.stop_requested())
            throw SoundError(SoundError::Case::stopped, u"Listening was stopped."_s);
        bytes += listener.read();
        samples.resize(std::min(missing, std::size_t(bytes.size()) / sizeof(float)));
        if (samples.empty()) // less than a sample has come
            continue;
        std::memcpy(samples.data(), bytes.constData(), samples.size() * sizeof(float));
        bytes.remove(0, qsizetype(samples.size()) * qsizetype(sizeof(float)));
        // A decoder of floats may hand out what is no number, and a file can make it do so.
        for (float &sample : samples)
            sample = std::isfinite(sample) ? std::clamp(sample, -8.0F, 8.0F) : 0;
        missing -= samples.size();
        take(samples);
    }
    if (missing > 0 && !listener.endedWell())
        throw SoundError(SoundError::Case::unreadable,
                         u"The sound of %1 cannot be read."_s.arg(displayText(fileNameOf(path))));
}

std::vector<float> readSound(const QString &path, const SoundStretch &stretch,
                             const std::stop_token &stop)
{
    std::vector<float> sound;
    readSound(path, stretch, stop, [&](std::span<const float> piece) {
        sound.insert(sound.end(), piece.begin(), piece.end());
    });
    return sound;
}

} // namespace vorn
