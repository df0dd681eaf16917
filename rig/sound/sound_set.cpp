// SPDX-License-Identifier: Apache-2.0

#include "rig/sound/sound_set.h"

#include "base/atomic_file.h"
#include "base/json_text.h"
#include "rig/base/ffmpeg.h"
#include "rig/base/new_folder.h"
#include "rig/base/two_at_once.h"

#include <QJsonArray>

#include <algorithm>
#include <array>
#include <cmath>
#include <set>

namespace vorn::rig {
namespace {

using namespace Qt::StringLiterals;

enum class Length { usual, tenMinutes, hourApart };

// So many tunes and beats there are: scenes share them.
constexpr int tunes = 3;

constexpr std::array sceneKinds{
    SoundScene{.kind = SoundKind::speech},
    SoundScene{.kind = SoundKind::music},
    SoundScene{.kind = SoundKind::loop, .hasTalk = true},
    SoundScene{.kind = SoundKind::traffic},
    SoundScene{.kind = SoundKind::applause},
    SoundScene{.kind = SoundKind::metronome, .hasTalk = true},
    SoundScene{.kind = SoundKind::wind},
    SoundScene{.kind = SoundKind::crowd},
    SoundScene{.kind = SoundKind::music, .hasTalk = true, .isPlayback = true},
    SoundScene{.kind = SoundKind::speech, .hasGaps = true},
    SoundScene{.kind = SoundKind::music, .hasGaps = true},
    SoundScene{.kind = SoundKind::loop},
    SoundScene{.kind = SoundKind::metronome},
};

QString kindText(const SoundScene &scene)
{
    QString text = scene.isPlayback ? u"recorded music"_s : soundKindText(scene.kind);
    if (scene.hasTalk)
        text += u" with talk"_s;
    if (scene.hasGaps)
        text += u" with gaps"_s;
    return text;
}

bool repeatsItsTune(const SoundScene &scene)
{
    return scene.kind == SoundKind::loop || scene.kind == SoundKind::metronome || scene.isPlayback;
}

/// Where walls are as loud as the sound itself, in a hall of 10,000 m³ that rings for a second, and
/// with who speaks or plays turned to the phones: 0.057 sqrt(Q V / T) m, with Q = 3.
constexpr double hallMetres = 10;

/// Below that the nearest wall alone would be heard: who films is outdoors.
constexpr double shortestReverberation = 0.1;

Hearing planHearing(std::int64_t seed, Dice &dice)
{
    Hearing hearing;
    hearing.distanceMetres = dice.uniform(0, 30);
    hearing.reverberationSeconds = dice.uniform(0, 1);
    if (hearing.reverberationSeconds < shortestReverberation)
        hearing.reverberationSeconds = 0;
    hearing.wallsDB = std::clamp(20 * std::log10(hearing.distanceMetres / hallMetres), -20.0, 10.0);
    hearing.signalToNoiseDB = dice.uniform(0, 40);
    hearing.gain = dice.uniform(0, 1) < 0.5 ? GainControl::automatic : GainControl::none;
    // What is overdriven must be loud.
    if (dice.uniform(0, 1) < 0.15) {
        hearing.gain = GainControl::automatic;
        hearing.overdriveDB = dice.uniform(10, 20);
    }
    hearing.seed = seed;
    return hearing;
}

// Half of the clocks are as good as phones' are, the others as bad as they may be.
double planDrift(Dice &dice)
{
    const double most = dice.uniform(0, 1) < 0.5 ? 30 : 500;
    return dice.uniform(-most, most);
}

double togetherSeconds(Length length, Dice &dice)
{
    if (length == Length::tenMinutes)
        return dice.uniform(600, 700);
    if (length == Length::hourApart)
        return dice.uniform(60, 120);
    return dice.uniform(0, 1) < 0.1 ? dice.uniform(90, 200) : dice.uniform(30, 60);
}

void planScene(SoundSet &set, int index, Length length, Dice &dice)
{
    SoundScene scene = sceneKinds[std::size_t(index) % sceneKinds.size()];
    // So that no two scenes of a set, and of sets with neighbouring seeds, have one seed.
    scene.seed = set.seed * 100'000 + index;
    scene.tune = set.seed * tunes + std::int64_t(dice.uniform(0, tunes));
    // One phone runs before the other, and ends before or after it.
    const double begin = dice.uniform(0, 60);
    const double apart =
        length == Length::hourApart ? dice.uniform(1800, 3600) : dice.uniform(0, 15);
    const double end = begin + apart + togetherSeconds(length, dice);
    if (length == Length::hourApart)
        scene.beginsAtSeconds = begin + apart - 10;
    set.scenes.push_back(scene);
    const int early = dice.uniform(0, 1) < 0.5 ? 0 : 1;
    for (int phone = 0; phone < 2; ++phone) {
        SoundRecording recording;
        recording.fileName =
            u"scene-%1-%2.mov"_s.arg(index, 3, 10, QChar(u'0')).arg(QChar(u'a' + phone));
        recording.scene = index;
        recording.clock = {phone == early ? begin : begin + apart, planDrift(dice)};
        recording.hearing = planHearing(scene.seed * 2 + phone, dice);
        const double until = end + (phone == early ? 0 : dice.uniform(0, 15));
        recording.seconds =
            (until - recording.clock.offsetSeconds) / (1 + recording.clock.driftPPM / 1e6);
        constexpr std::array rates{64, 96, 128, 192, 0};
        // A file without compression is large.
        const double choices = recording.seconds < 120 ? rates.size() : rates.size() - 1;
        recording.kilobits = rates[std::size_t(dice.uniform(0, choices))];
        set.recordings.push_back(recording);
    }
    set.together.push_back({std::size_t(index) * 2, std::size_t(index) * 2 + 1, kindText(scene)});
}

void planPairsApart(SoundSet &set, int wanted, Dice &dice)
{
    std::vector<SoundPair> all;
    for (std::size_t first = 0; first < set.recordings.size(); ++first)
        for (std::size_t second = first / 2 * 2 + 2; second < set.recordings.size(); ++second) {
            const SoundScene &one = set.scenes[first / 2];
            const SoundScene &other = set.scenes[second / 2];
            const QString kind = kindText(one);
            // Hours are listened to once: they would take as long as all the others.
            const bool isShort =
                std::max(set.recordings[first].seconds, set.recordings[second].seconds) < 600;
            if (kind != kindText(other) || !isShort)
                continue;
            const bool isSameTune = repeatsItsTune(one) && one.tune == other.tune;
            all.push_back({first, second, isSameTune ? kind + u", the same"_s : kind});
        }
    for (std::size_t count = all.size(); count > 1; --count)
        std::swap(all[count - 1], all[std::size_t(dice.uniform(0, double(count)))]);
    all.resize(std::min(all.size(), std::size_t(wanted)));
    set.apart = std::move(all);
}

void writeRecording(const SoundScene &scene, const SoundRecording &recording, const QString &folder)
{
    const QString path = folder + u'/' + recording.fileName;
    QStringList codec{u"-c:a"_s, u"pcm_s16le"_s};
    // Phones have no time to search long for the best way to code a moment.
    if (recording.kilobits > 0)
        codec = {u"-aac_coder"_s, u"fast"_s, u"-c:a"_s,
                 u"aac"_s,        u"-b:a"_s, u"%1k"_s.arg(recording.kilobits)};
    Ffmpeg encoder(u"write "_s + path,
                   QStringList{u"-f"_s, u"s16le"_s, u"-ar"_s, QString::number(audioSampleRate),
                               u"-ac"_s, u"1"_s, u"-i"_s, u"pipe:0"_s}
                       + codec
                       + QStringList{u"-fflags"_s, u"+bitexact"_s, u"-flags:a"_s, u"+bitexact"_s,
                                     u"-f"_s, u"mov"_s, u"-n"_s, u"file:"_s + path});
    HeardSound heard(scene, recording.clock, recording.hearing);
    for (auto left = std::int64_t(recording.seconds * audioSampleRate); left > 0;) {
        const std::int64_t count = std::min<std::int64_t>(left, audioSampleRate);
        encoder.write(heard.next(count));
        left -= count;
    }
    encoder.finish();
}

QJsonArray pairsJson(const std::vector<SoundPair> &pairs)
{
    QJsonArray array;
    for (const SoundPair &pair : pairs)
        array.append(QJsonObject{{u"first"_s, qint64(pair.first)},
                                 {u"second"_s, qint64(pair.second)},
                                 {u"kind"_s, pair.kind}});
    return array;
}

QJsonObject soundSetJson(const SoundSet &set)
{
    QJsonArray recordings;
    for (const SoundRecording &recording : set.recordings) {
        QJsonObject object = hearingJson(recording.hearing);
        object.insert(u"file"_s, recording.fileName);
        object.insert(u"scene"_s, recording.scene);
        object.insert(u"offsetSeconds"_s, recording.clock.offsetSeconds);
        object.insert(u"driftPPM"_s, recording.clock.driftPPM);
        object.insert(u"seconds"_s, recording.seconds);
        object.insert(u"kilobits"_s, recording.kilobits);
        recordings.append(object);
    }
    return {{u"schemaVersion"_s, 1},
            {u"seed"_s, qint64(set.seed)},
            {u"recordings"_s, recordings},
            {u"together"_s, pairsJson(set.together)},
            {u"apart"_s, pairsJson(set.apart)}};
}

} // namespace

SoundSet planSoundSet(const SoundSetOptions &options)
{
    SoundSet set;
    set.seed = options.seed;
    Dice dice(options.seed);
    for (int index = 0; index < options.scenes; ++index) {
        Length length = Length::usual;
        if (index % 40 == 9)
            length = Length::tenMinutes;
        if (index % 100 == 4)
            length = Length::hourApart;
        planScene(set, index, length, dice);
    }
    planPairsApart(set, options.pairs, dice);
    return set;
}

SoundSet makeSoundSet(const SoundSetOptions &options, const QString &folder,
                      const std::function<void(const SoundRecording &)> &onRecording)
{
    SoundSet set = planSoundSet(options);
    QStringList names{u"truth.json"_s};
    for (const SoundRecording &recording : set.recordings)
        names << recording.fileName;
    NewFolder newFolder(folder, names);
    twoAtOnce(
        set.recordings.size(),
        [&](std::size_t index) {
            writeRecording(set.scenes[index / 2], set.recordings[index], folder);
        },
        [&](std::size_t index) {
            if (onRecording)
                onRecording(set.recordings[index]);
        });
    writeFileAtomically(folder + u"/truth.json"_s, QJsonDocument(soundSetJson(set)).toJson(),
                        FileMode::followUmask);
    newFolder.keep();
    return set;
}

} // namespace vorn::rig
