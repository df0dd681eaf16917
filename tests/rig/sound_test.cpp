// SPDX-License-Identifier: Apache-2.0

// Sound made by the rig is what the rig says of it: whatever listens is measured against that.

#include "rig/base/ffmpeg.h"
#include "rig/film/take.h"
#include "rig/sound/sound_set.h"

#include <QDir>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <set>

using namespace Qt::StringLiterals;
using namespace vorn::rig;

namespace {

using Samples = std::vector<double>;

Samples samplesOf(const QByteArray &bytes)
{
    std::vector<std::int16_t> whole(std::size_t(bytes.size()) / 2);
    std::memcpy(whole.data(), bytes.data(), std::size_t(bytes.size()));
    Samples samples(whole.begin(), whole.end());
    for (double &sample : samples)
        sample /= 32'767;
    return samples;
}

Samples recorded(const SoundScene &scene, const RecordingClock &clock, const Hearing &hearing,
                 double seconds)
{
    return samplesOf(
        HeardSound(scene, clock, hearing).next(std::int64_t(seconds * audioSampleRate)));
}

Samples decoded(const QString &path)
{
    Ffmpeg decoder(u"read "_s + path, {u"-i"_s, path, u"-vn"_s, u"-f"_s, u"s16le"_s, u"-"_s});
    return samplesOf(decoder.finish());
}

double level(std::span<const double> samples)
{
    double energy = 0;
    for (const double sample : samples)
        energy += sample * sample;
    return std::sqrt(energy / double(samples.size()));
}

double decibels(double ratio)
{
    return 20 * std::log10(ratio);
}

Samples difference(const Samples &left, const Samples &right)
{
    Samples result(left.size());
    std::ranges::transform(left, right, result.begin(), std::minus());
    return result;
}

constexpr int windowSamples = 1024;

/// The middle of the loudest window within a second from there.
std::size_t loudest(const Samples &samples, double fromSeconds)
{
    const auto first = std::size_t(fromSeconds * audioSampleRate);
    std::size_t best = first;
    double most = 0;
    for (std::size_t at = first; at < first + audioSampleRate; at += windowSamples / 4) {
        const double here = level(std::span(samples).subspan(at, windowSamples));
        if (here > most) {
            most = here;
            best = at;
        }
    }
    return best + windowSamples / 2;
}

/// How many samples after `guess` what stands around `middle` of one stands in the other: the crest
/// of their correlation, by plain sums and a parabola.
double correlatedLag(const Samples &one, std::size_t middle, const Samples &other, double guess)
{
    constexpr int most = 48; // a millisecond
    const auto likeness = [&](int shift) {
        const auto begin = std::size_t(std::lround(guess)) - windowSamples / 2;
        const std::span window(other.data() + begin + shift, windowSamples);
        double sum = 0;
        for (std::size_t index = 0; index < windowSamples; ++index)
            sum += one[middle - windowSamples / 2 + index] * window[index];
        return sum / level(window);
    };
    int best = -most;
    for (int shift = -most; shift <= most; ++shift)
        if (likeness(shift) > likeness(best))
            best = shift;
    const double before = likeness(best - 1);
    const double after = likeness(best + 1);
    const double crest = (before - after) / (2 * (before - 2 * likeness(best) + after));
    return double(std::lround(guess)) + best + crest - guess;
}

} // namespace

class SoundTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isHeardWhenTheTruthSaysSo_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<double>("offset");
        QTest::addColumn<double>("drift");
        QTest::addColumn<double>("distance");
        QTest::addColumn<double>("seconds");
        QTest::newRow("later, near") << u"music"_s << 1.5 << 0.0 << 0.0 << 8.0;
        QTest::newRow("earlier, far") << u"speech"_s << -3.1234567 << -120.0 << 30.0 << 20.0;
        QTest::newRow("between two samples") << u"traffic"_s << 0.5 / 48'000 << 0.0 << 18.0 << 8.0;
        QTest::newRow("drifts ten minutes") << u"speech"_s << 0.25 << 1000.0 << 3.0 << 603.0;
        QTest::newRow("a clock that is slow") << u"applause"_s << 0.25 << -1000.0 << 3.0 << 20.0;
    }

    void isHeardWhenTheTruthSaysSo()
    {
        QFETCH(const QString, kind);
        QFETCH(const double, offset);
        QFETCH(const double, drift);
        QFETCH(const double, distance);
        QFETCH(const double, seconds);
        const SoundScene scene{.kind = soundKindFromText(kind), .seed = 5};
        // The other phone stands where the sound arises, and its clock is the scene's.
        const Samples truth = recorded(scene, {}, {}, seconds + 5);
        const RecordingClock clock{offset, drift};
        const Hearing hearing{.distanceMetres = distance};
        const Samples phone = recorded(scene, clock, hearing, seconds);
        for (const double from : {4.0, seconds / 2, seconds - 2}) {
            const std::size_t middle = loudest(phone, from);
            const double media = double(middle) / audioSampleRate;
            const double heardMs = distance / 0.343;
            const double guess = (clock.sceneSeconds(media) - heardMs / 1000) * audioSampleRate;
            const double errorMs =
                correlatedLag(phone, middle, truth, guess) / audioSampleRate * 1e3;
            QVERIFY2(std::abs(errorMs) < 0.005,
                     qPrintable(u"%1 ms at %2 s"_s.arg(errorMs).arg(media)));
        }
    }

    void isInTheMoviesOfATake()
    {
        const QTemporaryDir folder;
        const QString take = folder.filePath(u"take"_s);
        const TakeOptions options{.cameras = 2,
                                  .seconds = 6,
                                  .fps = {10, 1},
                                  .pictureSize = {160, 90},
                                  .sound = TakeSound{SoundKind::applause, false, {0, 18}},
                                  .hasManifest = false};
        const TakePlan plan = makeTake(options, take);
        QCOMPARE(
            QDir(take).entryList(QDir::Files),
            QStringList({u"take-0001-cam-a.mov"_s, u"take-0001-cam-b.mov"_s, u"truth.json"_s}));
        const PhonePlan &phone = plan.phones[1];
        QVERIFY(phone.anchors.empty());
        const Samples reference = decoded(take + u'/' + plan.phones[0].fileName);
        const Samples other = decoded(take + u'/' + phone.fileName);
        for (const double from : {1.0, 4.0}) {
            const std::size_t middle = loudest(other, from);
            const double scene = phone.sceneSeconds(double(middle) / audioSampleRate) - 18 / 343.0;
            const double errorMs = correlatedLag(other, middle, reference, scene * audioSampleRate)
                                   / audioSampleRate * 1e3;
            QVERIFY2(std::abs(errorMs) < 0.02, qPrintable(QString::number(errorMs)));
        }
    }

    void drawsUpASetThatHasAllThereIsToMeasure()
    {
        const SoundSet set = planSoundSet({});
        QCOMPARE(set.together.size(), std::size_t{200});
        QCOMPARE(set.apart.size(), std::size_t{2000});
        std::set<std::pair<std::size_t, std::size_t>> pairs;
        std::map<QString, int> kinds;
        for (const SoundPair &pair : set.apart) {
            QVERIFY(set.recordings[pair.first].scene != set.recordings[pair.second].scene);
            pairs.insert({pair.first, pair.second});
            ++kinds[pair.kind];
        }
        QCOMPARE(pairs.size(), set.apart.size());
        for (const QString &kind : {u"loop, the same"_s, u"metronome with talk, the same"_s,
                                    u"recorded music with talk, the same"_s, u"wind"_s})
            QVERIFY2(kinds[kind] >= 30, qPrintable(kind));
        double farthest = 0;
        int longOnes = 0;
        for (const SoundPair &pair : set.together) {
            const SoundRecording &one = set.recordings[pair.first];
            const SoundRecording &other = set.recordings[pair.second];
            const auto end = [](const SoundRecording &recording) {
                return recording.clock.sceneSeconds(recording.seconds);
            };
            const double shared = std::min(end(one), end(other))
                                  - std::max(one.clock.offsetSeconds, other.clock.offsetSeconds);
            QVERIFY2(shared >= 30, qPrintable(one.fileName));
            longOnes += shared >= 600 ? 1 : 0;
            farthest =
                std::max(farthest, std::abs(one.clock.offsetSeconds - other.clock.offsetSeconds));
        }
        QVERIFY(farthest > 1800 && longOnes >= 5);
    }

    void isAsLoudAsItsKindAndDistanceSay()
    {
        for (const QString &kind : {u"speech"_s, u"music"_s, u"loop"_s, u"traffic"_s, u"applause"_s,
                                    u"metronome"_s, u"wind"_s, u"crowd"_s}) {
            const SoundScene scene{.kind = soundKindFromText(kind), .seed = 4};
            SceneSound sound(scene, 0);
            std::vector<float> samples(std::size_t{60} * audioSampleRate);
            sound.fill(samples);
            const double is = level(Samples(samples.begin(), samples.end()));
            QVERIFY2(std::abs(decibels(is / sceneLevel)) < 3,
                     qPrintable(u"%1: %2"_s.arg(kind).arg(is)));
        }
        const SoundScene wind{.kind = SoundKind::wind};
        // Each begins when the same sound arrives.
        const auto at = [&wind](double metres) {
            return level(
                recorded(wind, {metres / soundMetresPerSecond, 0}, {.distanceMetres = metres}, 5));
        };
        QVERIFY(std::abs(decibels(at(1) / at(10)) - 20) < 0.1);
        QVERIFY(std::abs(decibels(at(0.5) / at(1))) < 0.1);
    }

    void addsWhatThePhoneAndItsWallsAdd()
    {
        const SoundScene scene{.kind = SoundKind::crowd, .seed = 2};
        const Samples clean = recorded(scene, {}, {.distanceMetres = 4}, 20);
        const auto added = [&](Hearing hearing) {
            hearing.distanceMetres = 4;
            return difference(recorded(scene, {}, hearing, 20), clean);
        };
        const double noise = level(added({.signalToNoiseDB = 10}));
        QVERIFY2(std::abs(decibels(sceneLevel / 4 / noise) - 10) < 0.2,
                 qPrintable(QString::number(noise)));
        const double walls = level(added({.reverberationSeconds = 0.5}));
        QVERIFY2(std::abs(decibels(walls / level(clean))) < 2, qPrintable(QString::number(walls)));

        // A tick, and what is left of it: 60 dB less after the time, so 30 after half of it.
        const SoundScene ticks{.kind = SoundKind::metronome, .tune = 3};
        const Samples echo = difference(
            recorded(ticks, {}, {.reverberationSeconds = 0.4, .signalToNoiseDB = 200}, 0.5),
            recorded(ticks, {}, {.signalToNoiseDB = 200}, 0.5));
        const auto part = [&echo](double from) {
            return level(std::span(echo).subspan(std::size_t(from * audioSampleRate), 4800));
        };
        const double fallDB = decibels(part(0.05) / part(0.25));
        QVERIFY2(std::abs(fallDB - 30) < 5, qPrintable(QString::number(fallDB)));

        const Samples loud =
            recorded(scene, {}, {.distanceMetres = 20, .gain = GainControl::automatic}, 20);
        QVERIFY(decibels(level(loud) / (sceneLevel / 20)) > 20);
        const Samples cut = recorded(scene, {}, {.overdriveDB = 20}, 20);
        QVERIFY(std::ranges::count_if(cut, [](double sample) { return std::abs(sample) == 1; })
                > 5000);
    }

    void repeatsOnlyWhatIsSaidToRepeat()
    {
        const auto from = [](const SoundScene &scene, double second) {
            return recorded(scene, {second, 0}, {.signalToNoiseDB = 200}, 2);
        };
        const SoundScene loop{.kind = SoundKind::loop, .seed = 1, .tune = 2};
        const SoundScene sameLoop{.kind = SoundKind::loop, .seed = 9, .tune = 2};
        QCOMPARE(from(loop, 3), from(loop, 11));
        QCOMPARE(from(loop, 3), from(sameLoop, 3));
        QVERIFY(from(loop, 3) != from({.kind = SoundKind::loop, .tune = 3}, 3));
        const SoundScene music{.kind = SoundKind::music, .seed = 1};
        QVERIFY(from(music, 3) != from(music, 11));
        QVERIFY(from(music, 3) != from({.kind = SoundKind::music, .seed = 2}, 3));
        const SoundScene played{.kind = SoundKind::music, .seed = 1, .isPlayback = true};
        QCOMPARE(from(played, 3),
                 from({.kind = SoundKind::music, .seed = 2, .isPlayback = true}, 3));
        // Somebody speaks over it, and not the same twice.
        SoundScene first = loop;
        SoundScene second = sameLoop;
        first.hasTalk = second.hasTalk = true;
        const double talkDB =
            decibels(level(difference(from(first, 3), from(second, 3))) / sceneLevel);
        QVERIFY2(std::abs(talkDB + 7) < 6, qPrintable(QString::number(talkDB))); // two talks

        const SoundScene late{.kind = SoundKind::wind, .beginsAtSeconds = 8};
        QCOMPARE(level(from(late, 5.9)) > 0, false);
        QVERIFY(level(from(late, 8)) > 0.01);
    }
};

QTEST_MAIN(SoundTest)
#include "sound_test.moc"
