// SPDX-License-Identifier: Apache-2.0

#include "rig/film_commands.h"

#include "rig/film/take.h"
#include "rig/phone/pictures.h"
#include "rig/sound/sound_set.h"

#include <limits>

namespace vorn::rig {
namespace {

using namespace Qt::StringLiterals;

QString movieText(const PhonePlan &phone)
{
    return u"%1  %2  %3 x %4, %5 fps, starts %6 s, drifts %7 ppm\n"_s
        .arg(phone.fileName, castMember(phone.castIndex).deviceName)
        .arg(phone.displaySize.width())
        .arg(phone.displaySize.height())
        .arg(phone.rate.perSecond(), 0, 'g', 4)
        .arg(phone.offsetSeconds, 0, 'f', 3)
        .arg(phone.driftPPM, 0, 'f', 1);
}

QSize pictureSize(const QCommandLineParser &parser)
{
    const std::optional<PictureFormat> format =
        pictureFormatFromText(parser.value(u"size"_s) + u"@30"_s);
    const QSize size = format ? format->size : QSize();
    // Below, the counter cannot be read; half a picture's colours are stored, so it is even.
    if (size.width() < 128 || size.height() < 72 || size.width() % 2 != 0 || size.height() % 2 != 0)
        throw UsageError(u"--size must be even numbers from 128x72 on, such as 160x90."_s);
    return size;
}

// Absent for the click track.
std::optional<TakeSound> soundOption(const QCommandLineParser &parser)
{
    if (!parser.isSet(u"sound"_s)) {
        if (parser.isSet(u"talk"_s) || parser.isSet(u"distances"_s))
            throw UsageError(u"--talk and --distances go with --sound."_s);
        return std::nullopt;
    }
    TakeSound sound;
    try {
        sound.kind = soundKindFromText(parser.value(u"sound"_s));
    } catch (const RigError &error) {
        throw UsageError(u"--sound: "_s + QString::fromUtf8(error.what()) + u'.');
    }
    sound.hasTalk = parser.isSet(u"talk"_s);
    for (const QString &text : parser.value(u"distances"_s).split(u',', Qt::SkipEmptyParts)) {
        bool isNumber = false;
        sound.distancesMetres.push_back(text.toDouble(&isNumber));
        if (!isNumber
            || !(sound.distancesMetres.back() >= 0 && sound.distancesMetres.back() <= 300))
            throw UsageError(u"--distances must be metres from 0 to 300, such as 0,5,18."_s);
    }
    return sound;
}

} // namespace

ExitCode runTake()
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Films one synthetic scene with several phones, each with its own start and its own "
        u"clock.\n"
        "Writes their movies, the source manifest (manifest.json) and what only the rig knows\n"
        "(truth.json). The same options give the same files."_s);
    parser.addOptions({
        {u"out"_s, u"Folder for the take; must be empty or not exist."_s, u"DIR"_s},
        {u"cameras"_s, u"Phones, 1 to 16 (4)."_s, u"N"_s, u"4"_s},
        {u"seconds"_s, u"Length of the take, 4 to 3600 (20)."_s, u"S"_s, u"20"_s},
        {u"fps"_s, u"Frame rate, 10 to 120, or such as 30000/1001 (30)."_s, u"RATE"_s, u"30"_s},
        {u"seed"_s, u"Chooses starts, drifts and noise (1)."_s, u"N"_s, u"1"_s},
        {u"drift"_s, u"Most drift by 0.8 to 1 of so many ppm, 0 to 1000 (what suits the length)."_s,
         u"PPM"_s},
        {u"size"_s, u"Of the pictures, at least 128x72 (640x360)."_s, u"WxH"_s, u"640x360"_s},
        {u"sound"_s,
         u"What is heard instead of clicks: speech, music, loop, traffic, applause, metronome, "
         "wind or crowd."_s,
         u"SCENE"_s},
        {u"talk"_s, u"Somebody speaks over that sound."_s},
        {u"distances"_s, u"How far each phone is from it, such as 0,5,18 (0)."_s, u"METRES"_s},
        {u"no-manifest"_s, u"Movies and truth.json alone: no phone knew of the others."_s},
        {u"number"_s, u"The take is called take-0001 and so on, 1 to 9999 (1)."_s, u"N"_s, u"1"_s},
    });
    if (!parse(parser, u"take"_s))
        return done;
    const QString folder = required(parser, u"out"_s);
    TakeOptions options;
    options.cameras = int(wholeNumber(parser, u"cameras"_s, 1, maximumCameras));
    options.seconds = int(wholeNumber(parser, u"seconds"_s, 4, 3600));
    options.seed = wholeNumber(parser, u"seed"_s, 0, std::numeric_limits<qint64>::max());
    options.number = int(wholeNumber(parser, u"number"_s, 1, 9999));
    if (parser.isSet(u"drift"_s))
        options.driftPPM = double(wholeNumber(parser, u"drift"_s, 0, 1000));
    const std::optional<FrameRate> fps = frameRateFromText(parser.value(u"fps"_s));
    if (!fps)
        throw UsageError(u"--fps must be from 10 to 120, or such as 30000/1001."_s);
    options.fps = *fps;
    options.pictureSize = pictureSize(parser);
    options.sound = soundOption(parser);
    options.hasManifest = !parser.isSet(u"no-manifest"_s);
    const TakePlan plan =
        makeTake(options, folder, [](const PhonePlan &phone) { print(stdout, movieText(phone)); });
    print(stdout,
          u"%1 of %2 phones is in %3\n"_s.arg(plan.takeId).arg(plan.phones.size()).arg(folder));
    return done;
}

ExitCode runSounds()
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Makes recordings by which to measure what listens: scenes of all kinds, heard by two\n"
        "phones each, and pairs of recordings that do not belong together. Writes sound alone, "
        "and\n"
        "truth.json. The same options give the same files."_s);
    parser.addOptions({
        {u"out"_s, u"Folder for them; must be empty or not exist."_s, u"DIR"_s},
        {u"count"_s, u"Scenes, 1 to 10000 (200)."_s, u"N"_s, u"200"_s},
        {u"pairs"_s, u"Pairs that do not belong together, 0 to 100000 (2000)."_s, u"N"_s,
         u"2000"_s},
        {u"seed"_s, u"Chooses all of it (1)."_s, u"N"_s, u"1"_s},
    });
    if (!parse(parser, u"sounds"_s))
        return done;
    const QString folder = required(parser, u"out"_s);
    const SoundSet set = makeSoundSet({.scenes = int(wholeNumber(parser, u"count"_s, 1, 10'000)),
                                       .pairs = int(wholeNumber(parser, u"pairs"_s, 0, 100'000)),
                                       .seed = wholeNumber(parser, u"seed"_s, 0, 1'000'000'000)},
                                      folder);
    print(stdout, u"%1 recordings, %2 pairs that belong together and %3 that do not are in %4\n"_s
                      .arg(set.recordings.size())
                      .arg(set.together.size())
                      .arg(set.apart.size())
                      .arg(folder));
    return done;
}

} // namespace vorn::rig
