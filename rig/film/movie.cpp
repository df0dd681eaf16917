// SPDX-License-Identifier: Apache-2.0

#include "rig/film/movie.h"

#include "rig/base/ffmpeg.h"
#include "rig/base/rig_error.h"
#include "rig/film/scene.h"
#include "rig/film/sound_track.h"

#include <QFile>
#include <QTransform>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <cmath>

namespace vorn::rig {
namespace {

using namespace Qt::StringLiterals;

QStringList encoderArguments(const PhonePlan &phone)
{
    // One thread and no adaptive choices that depend on timing: the bytes are to be reproducible.
    if (phone.codec == VideoCodec::hevc)
        return {u"-c:v"_s,         u"libx265"_s,
                u"-preset"_s,      u"veryfast"_s,
                u"-crf"_s,         u"22"_s,
                u"-tag:v"_s,       u"hvc1"_s,
                u"-x265-params"_s, u"log-level=error:pools=none:frame-threads=1"_s};
    return {u"-c:v"_s, u"libx264"_s, u"-preset"_s, u"veryfast"_s, u"-profile:v"_s, u"high"_s,
            u"-bf"_s,  u"0"_s,       u"-crf"_s,    u"20"_s,       u"-threads"_s,   u"1"_s};
}

QStringList movieArguments(const PhonePlan &phone, QSize codedSize, const QString &soundPath,
                           const QString &moviePath)
{
    const QString size = u"%1x%2"_s.arg(codedSize.width()).arg(codedSize.height());
    const QString keyInterval = QString::number(std::lround(phone.rate.perSecond()));
    return QStringList{u"-f"_s,
                       u"rawvideo"_s,
                       u"-pix_fmt"_s,
                       u"bgr0"_s,
                       u"-video_size"_s,
                       size,
                       u"-framerate"_s,
                       frameRateText(phone.rate),
                       u"-i"_s,
                       u"pipe:0"_s,
                       u"-f"_s,
                       u"s16le"_s,
                       u"-ar"_s,
                       QString::number(audioSampleRate),
                       u"-ac"_s,
                       u"1"_s,
                       u"-i"_s,
                       u"file:"_s + soundPath,
                       u"-map"_s,
                       u"0:v"_s,
                       u"-map"_s,
                       u"1:a"_s,
                       u"-vf"_s,
                       u"scale=out_color_matrix=bt709:out_range=tv,format=yuv420p"_s,
                       u"-sws_flags"_s,
                       u"bicubic+accurate_rnd+bitexact"_s,
                       u"-colorspace"_s,
                       u"bt709"_s,
                       u"-color_primaries"_s,
                       u"bt709"_s,
                       u"-color_trc"_s,
                       u"bt709"_s,
                       u"-color_range"_s,
                       u"tv"_s}
           + encoderArguments(phone)
           // The movie's time scale divides frames and sound alike, so its length is exact.
           + QStringList{u"-g"_s,
                         keyInterval,
                         u"-c:a"_s,
                         u"aac"_s,
                         u"-b:a"_s,
                         u"128k"_s,
                         u"-map_metadata"_s,
                         u"-1"_s,
                         u"-fflags"_s,
                         u"+bitexact"_s,
                         u"-flags:v"_s,
                         u"+bitexact"_s,
                         u"-flags:a"_s,
                         u"+bitexact"_s,
                         u"-movie_timescale"_s,
                         u"90000"_s,
                         u"-f"_s,
                         u"mov"_s,
                         u"-n"_s,
                         u"file:"_s + moviePath};
}

// A box of an ISO base media file (ISO/IEC 14496-12 section 4.2).
struct Box {
    QByteArray type;
    std::int64_t bodyAt = 0;
    std::int64_t endAt = 0;
};

QByteArray bytesAt(QFile &file, std::int64_t at, std::int64_t count)
{
    if (!file.seek(at))
        return {};
    return file.read(count);
}

// The first box of that type between two places of the file.
Box findBox(QFile &file, const QByteArray &type, std::int64_t from, std::int64_t to)
{
    while (from + 8 <= to) {
        const QByteArray header = bytesAt(file, from, 16);
        if (header.size() < 16)
            break;
        std::int64_t size = qFromBigEndian<std::uint32_t>(header.constData());
        std::int64_t headerSize = 8;
        if (size == 1) {
            size = qFromBigEndian<std::int64_t>(header.constData() + 8);
            headerSize = 16;
        }
        if (size < headerSize || size > to - from)
            break;
        if (header.mid(4, 4) == type)
            return {type, from + headerSize, from + size};
        from += size;
    }
    throw RigError(
        u"%1 has no %2 box where it must be."_s.arg(file.fileName(), QString::fromLatin1(type)));
}

// Says in the track header that the stored picture is to be turned a quarter clockwise. ffmpeg has
// had three ways to ask for it in as many major versions; the matrix itself never changed.
void turnTrackClockwise(const QString &moviePath, QSize codedSize)
{
    QFile file(moviePath);
    if (!file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly))
        throw RigError(u"Cannot open %1: %2."_s.arg(moviePath, file.errorString()));
    const Box movie = findBox(file, "moov"_ba, 0, file.size());
    const Box track = findBox(file, "trak"_ba, movie.bodyAt, movie.endAt);
    const Box header = findBox(file, "tkhd"_ba, track.bodyAt, track.endAt);
    const bool hasWideTimes = bytesAt(file, header.bodyAt, 1) == QByteArray(1, '\1');
    // Section 8.3.2: 16.16 numbers row by row, the last of each row 2.30.
    const std::array<std::int32_t, 9> matrix{
        0, 0x10000, 0, -0x10000, 0, 0, codedSize.height() * 0x10000, 0, 0x40000000};
    QByteArray bytes(qsizetype(sizeof(matrix)), '\0');
    qToBigEndian<std::int32_t>(matrix.data(), qsizetype(matrix.size()), bytes.data());
    if (!file.seek(header.bodyAt + (hasWideTimes ? 52 : 40)) || file.write(bytes) != bytes.size()
        || !file.flush())
        throw RigError(u"Cannot write %1: %2."_s.arg(moviePath, file.errorString()));
}

} // namespace

QString scratchSoundFileName(const PhonePlan &phone)
{
    return phone.fileName + u".pcm"_s;
}

void writeMovie(const PhonePlan &phone, const QString &folder)
{
    const QString moviePath = folder + u'/' + phone.fileName;
    const QString soundPath = folder + u'/' + scratchSoundFileName(phone);
    const bool isUpright = phone.hold == Hold::upright;
    const QSize codedSize = isUpright ? phone.displaySize.transposed() : phone.displaySize;
    writeSound(phone, soundPath);
    const Scene scene(phone.castIndex, phone.displaySize);
    Ffmpeg encoder(u"write "_s + moviePath, movieArguments(phone, codedSize, soundPath, moviePath));
    for (std::int64_t frame = 0; frame < phone.frames; ++frame) {
        QImage picture = scene.picture(phone.sceneSeconds(phone.rate.seconds(frame)));
        if (isUpright)
            picture = picture.transformed(QTransform().rotate(-90));
        encoder.write(QByteArray::fromRawData(reinterpret_cast<const char *>(picture.constBits()),
                                              picture.sizeInBytes()));
    }
    encoder.finish();
    if (isUpright)
        turnTrackClockwise(moviePath, codedSize);
    if (!QFile::remove(soundPath))
        throw RigError(u"Cannot remove %1."_s.arg(soundPath));
}

QImage decodedFrame(const QString &moviePath, const FrameRate &rate, std::int64_t index)
{
    // Decoding starts with the first frame at or after the moment asked for: half a frame early.
    const double wanted = std::max(0.0, (double(index) - 0.5) / rate.perSecond());
    // Jumping straight there may land on a key frame that is stored earlier but shown later (HEVC
    // with leading pictures), so jump well before it and decode up to it.
    const double jump = std::max(0.0, wanted - 2.5);
    Ffmpeg decoder(u"read "_s + moviePath,
                   {u"-protocol_whitelist"_s, u"file,pipe"_s, u"-f"_s, u"mov"_s, u"-ss"_s,
                    QString::number(jump, 'f', 6), u"-i"_s, u"file:"_s + moviePath, u"-ss"_s,
                    QString::number(wanted - jump, 'f', 6), u"-map"_s, u"0:v:0"_s, u"-frames:v"_s,
                    u"1"_s, u"-f"_s, u"image2pipe"_s, u"-c:v"_s, u"ppm"_s, u"pipe:1"_s});
    const QImage picture = QImage::fromData(decoder.finish(), "PPM");
    if (picture.isNull())
        throw RigError(u"%1 has no frame %2."_s.arg(moviePath).arg(index));
    return picture;
}

} // namespace vorn::rig
