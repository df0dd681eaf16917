// SPDX-License-Identifier: Apache-2.0

#include "media/editor_notes.h"

#include "media/media_boxes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

enum class Codec { h264, h265, aac, other };

struct KnownCodec {
    std::uint32_t type = 0;
    QStringView name;
    Codec codec = Codec::other;
};

// Types of sample entries, as registered for ISO/IEC 14496-12 files and for QuickTime's.
constexpr std::array knownCodecs{
    KnownCodec{"avc1"_box, u"H.264", Codec::h264},
    KnownCodec{"avc3"_box, u"H.264", Codec::h264},
    KnownCodec{"hvc1"_box, u"H.265", Codec::h265},
    KnownCodec{"hev1"_box, u"H.265", Codec::h265},
    KnownCodec{"dvh1"_box, u"H.265 with Dolby Vision", Codec::h265},
    KnownCodec{"dvhe"_box, u"H.265 with Dolby Vision", Codec::h265},
    KnownCodec{"mp4v"_box, u"MPEG-4"},
    KnownCodec{"s263"_box, u"H.263"},
    KnownCodec{"av01"_box, u"AV1"},
    KnownCodec{"vp09"_box, u"VP9"},
    KnownCodec{"jpeg"_box, u"JPEG"},
    KnownCodec{"mjpa"_box, u"JPEG"},
    KnownCodec{"apco"_box, u"ProRes 422 Proxy"},
    KnownCodec{"apcs"_box, u"ProRes 422 LT"},
    KnownCodec{"apcn"_box, u"ProRes 422"},
    KnownCodec{"apch"_box, u"ProRes 422 HQ"},
    KnownCodec{"ap4h"_box, u"ProRes 4444"},
    KnownCodec{"ap4x"_box, u"ProRes 4444 XQ"},
    KnownCodec{"AVdn"_box, u"DNxHD or DNxHR"},
    KnownCodec{"AVdh"_box, u"DNxHR"},
    KnownCodec{"mp4a"_box, u"AAC", Codec::aac},
    KnownCodec{"alac"_box, u"ALAC"},
    KnownCodec{"Opus"_box, u"Opus"},
    KnownCodec{".mp3"_box, u"MP3"},
    KnownCodec{"ac-3"_box, u"AC-3"},
    KnownCodec{"samr"_box, u"AMR"},
    KnownCodec{"sawb"_box, u"AMR wideband"},
    KnownCodec{"sowt"_box, u"PCM"},
    KnownCodec{"twos"_box, u"PCM"},
    KnownCodec{"lpcm"_box, u"PCM"},
    KnownCodec{"ipcm"_box, u"PCM"},
    KnownCodec{"fpcm"_box, u"PCM"},
    KnownCodec{"in24"_box, u"PCM"},
    KnownCodec{"in32"_box, u"PCM"},
    KnownCodec{"fl32"_box, u"PCM"},
    KnownCodec{"raw "_box, u"PCM"},
};

const KnownCodec *knownCodec(std::uint32_t type)
{
    const auto *const found = std::ranges::find(knownCodecs, type, &KnownCodec::type);
    return found == knownCodecs.end() ? nullptr : found;
}

Codec codecOf(std::uint32_t type)
{
    const KnownCodec *known = knownCodec(type);
    return known ? known->codec : Codec::other;
}

/// The four characters of a type, those that cannot be shown as "?".
QString typeText(std::uint32_t type)
{
    QString text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const auto character = char16_t(type >> shift & 0xFF);
        text += character > u' ' && character <= u'~' ? QChar(character) : QChar(u'?');
    }
    return text;
}

QString codecText(std::uint32_t type)
{
    if (type == 0)
        return u"not stated"_s;
    const KnownCodec *known = knownCodec(type);
    return u"%1 (%2)"_s.arg(known ? known->name.toString() : u"other"_s, typeText(type).trimmed());
}

/// Clockwise.
int turnedDegrees(const ProbedVideoTrack &video)
{
    const double degrees = std::atan2(video.b, video.a) * 180 / std::numbers::pi;
    return (int(std::lround(degrees)) + 360) % 360;
}

int wholePixels(double size)
{
    return int(std::abs(size));
}

QString pictureText(const ProbedVideoTrack &video)
{
    QString text = u"%1, %2 \u00D7 %3, %4 fps"_s.arg(
        codecText(video.codec), QString::number(wholePixels(video.naturalWidth)),
        QString::number(wholePixels(video.naturalHeight)),
        QString::number(std::round(double{video.nominalFrameRate} * 100) / 100));
    if (video.hasVariableRate)
        text += u" on average"_s;
    if (const int degrees = turnedDegrees(video); degrees > 180)
        text += u", turned %1\u00B0 to the left"_s.arg(360 - degrees);
    else if (degrees > 0)
        text += u", turned %1\u00B0 to the right"_s.arg(degrees);
    return text;
}

} // namespace

QString pictureText(const ProbedMedia &media)
{
    QStringList tracks;
    for (const ProbedVideoTrack &video : media.videoTracks)
        tracks += pictureText(video);
    return tracks.isEmpty() ? u"none"_s : tracks.join(u"; "_s);
}

QString soundText(const ProbedMedia &media)
{
    QStringList tracks;
    for (const ProbedAudioTrack &sound : media.audioTracks)
        tracks += codecText(sound.codec);
    return tracks.isEmpty() ? u"none"_s : tracks.join(u"; "_s);
}

QStringList editorNotes(const ProbedMedia &media)
{
    const auto hasPicture = [&](auto predicate) {
        return std::ranges::any_of(media.videoTracks, predicate);
    };
    QStringList notes;
    for (const auto &[codec, name] :
         {std::pair{Codec::h264, u"H.264"_s}, {Codec::h265, u"H.265"_s}})
        if (hasPicture([&](auto &video) { return codecOf(video.codec) == codec; }))
            notes += u"DaVinci Resolve on Linux reads no %1 in its free edition: export with "
                     "editing copies."_s.arg(name);
    if (std::ranges::any_of(media.audioTracks,
                            [](auto &sound) { return codecOf(sound.codec) == Codec::aac; }))
        notes += u"DaVinci Resolve on Linux reads no AAC sound: export with editing copies."_s;
    if (hasPicture(&ProbedVideoTrack::hasVariableRate))
        notes += u"The frame rate varies: look at the sync in the middle and at the tail."_s;
    if (hasPicture([](auto &video) { return turnedDegrees(video) != 0; }))
        notes += u"The picture is turned: see that it stands upright in the editor."_s;
    if (media.audioTracks.size() > 1)
        notes += u"There are several audio tracks: an editor may play another one."_s;
    return notes;
}

} // namespace vorn
