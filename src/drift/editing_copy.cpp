// SPDX-License-Identifier: Apache-2.0

#include "drift/editing_copy.h"

#include "base/confined_process.h"
#include "base/display_text.h"
#include "base/files.h"
#include "base/sound_decoders.h"
#include "drift/drift_error.h"
#include "library/safe_identifier.h"
#include "media/media_probe.h"

#include <QRegularExpression>
#include <QStandardPaths>

#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

/// What phones and cameras record in such files.
constexpr auto pictureDecoders = "h264,hevc,mpeg4,h263,mjpeg,prores,dnxhd,vp9,libdav1d,av1"_L1;

// The least that the coding of pictures takes.
constexpr std::uint32_t leastWidth = 256;
constexpr std::uint32_t leastHeight = 120;

// Three bytes a sample: what AAC decodes to has more than sixteen bits' worth.
constexpr std::int64_t bytesASoundSample = 3;
/// For tables, and what the headers said wrong of the sound.
constexpr std::int64_t slackBytes = std::int64_t(64) << 20;

/// A slow core needs a fifth of it for a picture of two thousand lines.
constexpr std::int64_t processorSecondsAPicture = 5;
constexpr std::int64_t leastProcessorSeconds = 60;

/// A picture of DNxHR HQ or HQX has the same number of bytes always (SMPTE ST 2019-1): 28,672 for
/// 255 squares of 16 by 16 pixels, in whole blocks of 4,096, and two of these at least. A picture
/// of 1920 by 1080 has 917,504.
std::int64_t pictureBytes(std::uint32_t width, std::uint32_t height)
{
    const auto squares = std::int64_t((width + 15) / 16) * ((height + 15) / 16);
    return std::max<std::int64_t>((squares * 28'672 / 255 + 2'048) / 4'096 * 4'096, 8'192);
}

std::int64_t copyBytes(const MediaInfo &media, const MovieTiming &timing)
{
    const std::int64_t pictures =
        std::int64_t(timing.pictures.size()) * pictureBytes(timing.codedWidth, timing.codedHeight);
    if (!timing.sound)
        return pictures;
    return pictures
           + std::llround(media.duration * timing.sound->rate) * timing.sound->channels
                 * bytesASoundSample;
}

DriftExportError refusal(const QString &cameraId, const QString &reason)
{
    return DriftExportError::invalid(
        u"No editing copy of %1 can be made: %2 Switch editing copies off to export without them."_s
            .arg(displayText(cameraId), reason));
}

QString inSeconds(double seconds)
{
    return QString::number(seconds, 'f', 9);
}

/// The pictures that the movie shows, moved from the time of their media to that of the movie.
QString pictureFilter(const MovieTiming &timing)
{
    return u"trim=start_pts=%1:end_pts=%2,setpts='max(PTS-(%3),0)+%4'"_s.arg(
        QString::number(timing.firstMedia), QString::number(timing.lastMedia + 1),
        QString::number(timing.mediaStart), QString::number(timing.startUnits));
}

/// The same for the sound, to the sample, with silence from second 0 to where it begins and where
/// samples are missing: from 20 ms on, since less is how unsteadily some phones count.
QString soundFilter(const SoundTiming &sound, double movieSeconds)
{
    const double length =
        std::min(sound.lengthSeconds.value_or(movieSeconds), movieSeconds - sound.startSeconds);
    return u"atrim=start=%1:end=%2,asetpts=PTS+(%3)/TB,aresample=async=1:min_comp=0.00001:min_hard_comp=0.02:first_pts=0"_s
        .arg(inSeconds(sound.mediaStartSeconds),
             inSeconds(sound.mediaStartSeconds + std::max(length, 0.0)),
             inSeconds(sound.startSeconds - sound.mediaStartSeconds));
}

bool showsTheSameAtTheSameTime(const MovieTiming &one, const MovieTiming &other)
{
    const auto isNear = [](std::int64_t time, std::int64_t otherTime) {
        return std::abs(time - otherTime) <= 1;
    };
    return one.timescale == other.timescale
           && std::ranges::equal(one.pictures, other.pictures, isNear);
}

/// Holds the copy against its source, by the headers of both.
void check(const EditingCopySource &source, const QString &target)
{
    const auto copied = DriftEngine::movieTiming(target);
    const MediaInfo media = DriftEngine::mediaInfo(probeMedia(target), target);
    if (!copied || copied->pictures.size() != source.timing.pictures.size())
        throw refusal(source.cameraId,
                      u"of its %1 pictures it would have %2."_s.arg(source.timing.pictures.size())
                          .arg(copied ? copied->pictures.size() : 0));
    if (!showsTheSameAtTheSameTime(*copied, source.timing))
        throw refusal(source.cameraId, u"it would show pictures at other times."_s);
    if (media.width != source.media.width || media.height != source.media.height
        || copied->matrix != source.timing.matrix)
        throw refusal(source.cameraId, u"it would be shown in another size, turned or mirrored."_s);
    // The last picture is there; how long it stays is told in no other way than by the next one.
    if (media.duration < source.media.duration - 1 / source.media.fps
        || media.hasAudio != source.media.hasAudio)
        throw refusal(source.cameraId, u"it would be shorter than the recording."_s);
}

/// Copies end up on the disk before their package gets its name.
void flush(const QString &path)
{
    const FileDescriptor file = openRegularFile(path);
    if (::fsync(file.get()) != 0)
        throw FileError(u"Cannot write"_s, path, errno);
}

/// Of bytes or of files, where the file system counts them.
bool isFull(const QString &path)
{
    constexpr std::uint64_t nothing = 4'096;
    struct statvfs disk = {};
    if (::statvfs(nativePath(folderOf(path)).constData(), &disk) != 0)
        return false;
    return (disk.f_blocks > 0 && std::uint64_t(disk.f_bavail) * disk.f_frsize <= nothing)
           || (disk.f_files > 0 && disk.f_favail == 0);
}

} // namespace

QString EditingCopy::maker()
{
    const QString path = QStandardPaths::findExecutable(u"ffmpeg"_s);
    if (path.isEmpty())
        throw DriftExportError::missing(u"Install ffmpeg to make editing copies."_s);
    return path;
}

EditingCopySource EditingCopy::source(const QString &cameraId, const QString &path,
                                      const MediaInfo &media)
{
    auto timing = DriftEngine::movieTiming(path);
    if (!timing)
        throw refusal(cameraId,
                      u"it plays parts of its recording in an order or at a speed of their own."_s);
    if (timing->codedWidth < leastWidth || timing->codedHeight < leastHeight)
        throw refusal(cameraId,
                      u"a picture of %1 by %2 pixels is too small."_s.arg(timing->codedWidth)
                          .arg(timing->codedHeight));
    return {.cameraId = cameraId,
            .path = path,
            .media = media,
            .timing = *timing,
            .bytes = copyBytes(media, *timing)};
}

QString EditingCopy::fileName(std::size_t number, const QString &cameraId)
{
    // File systems hold 255 bytes, and this is UTF-8.
    constexpr qsizetype longest = 60;
    const QString name = safeIdentifier(cameraId.left(longest));
    return u"%1%2.mov"_s.arg(qulonglong(number), 2, 10, QLatin1Char('0'))
        .arg(name.isEmpty() ? name : u'-' + name);
}

bool EditingCopy::isFileName(const QString &name)
{
    static const QRegularExpression form(
        QRegularExpression::anchoredPattern(u"[0-9]{2,}(-[^/]+)?\\.mov"_s));
    return form.match(name).hasMatch();
}

QStringList EditingCopy::codingArguments(const EditingCopySource &source)
{
    const MovieTiming &timing = source.timing;
    // The times are those of the media: how its pieces are played is the filters' work.
    QStringList words =
        u"-nostdin -v quiet -nostats -stats_period 0.2 -progress pipe:1 -n -threads 1 "
        u"-filter_threads 1 -f mov -enable_drefs 0 -ignore_editlist 1 -protocol_whitelist file "
        "-noautorotate"_s.split(u' ');
    words << u"-codec_whitelist"_s << u"%1,%2"_s.arg(pictureDecoders, soundDecoders);
    words << u"-i"_s << u"file:"_s + source.path;
    words << u"-map 0:V:0 -map_metadata -1 -map_chapters -1 -sn -dn -copyts -fps_mode passthrough "
             "-enc_time_base:v -1 -threads 2 -c:v dnxhd"_s.split(u' ');
    words << u"-profile:v"_s << (timing.mayBeDeep ? u"dnxhr_hqx"_s : u"dnxhr_hq"_s);
    words << u"-pix_fmt"_s << (timing.mayBeDeep ? u"yuv422p10le"_s : u"yuv422p"_s);
    words << u"-vf"_s << pictureFilter(timing);
    if (timing.sound)
        words << u"-map"_s << u"0:a:0"_s << u"-c:a"_s << u"pcm_s24le"_s << u"-af"_s
              << soundFilter(*timing.sound, source.media.duration);
    // In these units a late begin is exact.
    const QString units = QString::number(timing.timescale);
    return words << u"-video_track_timescale"_s << units << u"-movie_timescale"_s << units;
}

std::optional<std::int64_t> EditingCopy::lastNumber(const QByteArray &progress, QByteArrayView name)
{
    const QByteArray key = name.toByteArray() + '=';
    for (qsizetype end = progress.lastIndexOf('\n'); end > 0;) {
        const qsizetype begin = progress.lastIndexOf('\n', end - 1) + 1;
        const QByteArray line = progress.sliced(begin, end - begin);
        bool isNumber = false;
        const qint64 number =
            line.startsWith(key) ? line.sliced(key.size()).toLongLong(&isNumber) : 0;
        if (isNumber)
            return number;
        end = begin - 1;
    }
    return std::nullopt;
}

void EditingCopy::make(const EditingCopySource &source, const QString &target,
                       const std::function<void(std::int64_t)> &onBytes)
{
    const auto pictures = std::int64_t(source.timing.pictures.size());
    ConfinedProcess process(
        maker(), codingArguments(source) << u"-f"_s << u"mov"_s << u"file:"_s + target,
        {.memoryBytes = maximumMemoryBytes,
         .processorSeconds = leastProcessorSeconds + pictures * processorSecondsAPicture,
         .fileBytes = source.bytes + source.bytes / 10 + slackBytes});
    std::int64_t written = 0;
    while (!process.isOver()) {
        written = lastNumber(process.read(), "total_size").value_or(written);
        onBytes(written);
    }
    try {
        if (!process.endedWell())
            throw refusal(source.cameraId, u"ffmpeg cannot read the recording or code it."_s);
        flush(target);
        check(source, target);
    } catch (const std::exception &) {
        // It ends well even where the last bytes, which are the movie's header, found no room.
        if (isFull(target))
            throw FileError(u"Cannot write"_s, target, ENOSPC);
        throw;
    }
}

} // namespace vorn
