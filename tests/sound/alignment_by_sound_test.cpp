// SPDX-License-Identifier: Apache-2.0

#include "sound/lag.h"
#include "sound/overlap.h"
#include "sound/repetition.h"
#include "sound/sound_alignment.h"
#include "sound/sound_reader.h"

#include <QTest>

#include <cmath>
#include <complex>
#include <numbers>
#include <random>

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

using Sound = std::vector<float>;
std::mt19937 chance; // NOLINT(cert-msc51-cpp): the same sounds each time

double between(double least, double most)
{
    // The library's distribution takes ten times as long.
    return least + (most - least) * double(chance()) / double(std::mt19937::max());
}

/// Noise that comes and goes as talk does, when `talks`.
Sound murmur(double seconds, bool talks = true)
{
    Sound sound(std::size_t(seconds * soundRate));
    float loudness = 0, last = 0;
    for (std::size_t at = 0; at < sound.size(); ++at) {
        if (at % (soundRate / 8) == 0)
            loudness = talks && between(0, 1) < 0.5 ? 0.01F : float(between(0.1, 0.3));
        last = 0.6F * last + float(between(-1, 1)) * (talks ? loudness : 0.2F);
        sound[at] = last;
    }
    return sound;
}

/// A piece of `length` seconds again and again.
Sound repeated(const Sound &piece, double seconds)
{
    Sound sound(std::size_t(seconds * soundRate));
    for (std::size_t at = 0; at < sound.size(); ++at)
        sound[at] = piece[at % piece.size()];
    return sound;
}

/// Strings that are plucked, or voices, four notes a second.
Sound tune(double seconds)
{
    Sound sound(std::size_t(seconds * soundRate));
    constexpr std::size_t note = soundRate / 4;
    for (std::size_t begin = 0; begin + 2 * note <= sound.size(); begin += note) {
        const double turn = 2 * std::numbers::pi * between(100, 400) / soundRate;
        const double loudness = between(0.02, 0.1);
        for (int partial = 1; partial < 8; ++partial) {
            // Turned on from sample to sample, and fading meanwhile.
            const auto step = std::polar(1 - 1.0 / note, turn * partial);
            std::complex<double> wave = loudness;
            for (std::size_t at = 0; at < 2 * note; ++at, wave *= step)
                sound[begin + at] += float(wave.imag());
        }
    }
    return sound;
}

Sound sum(Sound sound, const Sound &other, float share)
{
    for (std::size_t at = 0; at < sound.size(); ++at)
        sound[at] += share * other[at];
    return sound;
}

Sound hum(double seconds)
{
    Sound sound(std::size_t(seconds * soundRate));
    for (std::size_t at = 0; at < sound.size(); ++at) {
        for (int overtone = 1; overtone < 30; ++overtone)
            sound[at] +=
                0.2F / float(overtone)
                * float(std::sin(2 * std::numbers::pi * 50 * overtone * double(at) / soundRate));
    }
    return sound;
}

Sound clicks(double seconds, double period)
{
    Sound click(std::size_t(period * soundRate));
    for (std::size_t at = 0; at < 400; ++at)
        click[at] = std::exp(-float(at) / 100) * float(std::sin(0.6 * double(at)));
    return repeated(click, seconds);
}

/// What a phone makes of `sound` from `begin` on at its own clock: as loud as it likes, in a room
/// with echoes, and with noise of its own.
Sound heard(const Sound &sound, double begin, double seconds, double noise, double slope = 0)
{
    const double room = between(0.004, 0.02);
    constexpr std::array<float, 4> echoes{1, 0.5F, 0.25F, 0.125F};
    Sound result(std::size_t(seconds * soundRate));
    for (std::size_t at = 0; at < result.size(); ++at) {
        for (int echo = 0; echo < 4; ++echo) {
            const double place =
                (begin + double(at) / soundRate * (1 + slope) - echo * echo * room) * soundRate;
            const auto first = std::size_t(std::max(0.0, place));
            const auto part = float(place - double(first));
            if (first + 1 < sound.size())
                result[at] += echoes[std::size_t(echo)]
                              * (sound[first] * (1 - part) + sound[first + 1] * part);
        }
        result[at] += float(noise * between(-1, 1));
    }
    return result;
}

std::vector<LagPoint> pointsAt(const std::vector<double> &lagsMs, double apartSeconds = 60)
{
    std::vector<LagPoint> points;
    for (const double lag : lagsMs)
        points.push_back({.referenceSeconds = double(points.size()) * apartSeconds,
                          .lagSeconds = lag / 1000,
                          .uncertaintySeconds = 0.0002});
    return points;
}

struct Recording {
    explicit Recording(Sound from) : sound(std::move(from)) { features.add(sound); }

    [[nodiscard]] HeardRecording heard() const
    {
        return {.features = features, .soundAt = [this](double start, double seconds) {
                    const auto at =
                        std::min(sound.size(), std::size_t(std::llround(start * soundRate)));
                    const auto count =
                        std::min(sound.size() - at, std::size_t(seconds * soundRate));
                    return Sound(sound.begin() + std::ptrdiff_t(at),
                                 sound.begin() + std::ptrdiff_t(at + count));
                }};
    }

    Sound sound;
    SoundFeatures features;
};

/// In words, for comparing.
QString textOf(const std::variant<Overlap, NoOverlap> &result)
{
    constexpr std::array reasons{"nothing alike", "too short", "in part", "several fit",
                                 "cannot tell"};
    return std::holds_alternative<Overlap>(result)
               ? u"found"_s
               : QString::fromLatin1(reasons[std::size_t(std::get<NoOverlap>(result))]);
}

} // namespace

class AlignmentBySoundTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { chance.seed(1); }

    void tellsTheLagOrThatItCannot_data()
    {
        QTest::addColumn<Sound>("sound");
        QTest::addColumn<Sound>("otherSound"); // as the other phone hears it
        QTest::addColumn<double>("noise");
        QTest::addColumn<QString>("told");
        const auto row = [](const char *name, const Sound &sound, double noise,
                            const QString &told) {
            QTest::newRow(name) << sound << sound << noise << told;
        };
        row("talk", murmur(10), 0.001, u"lag"_s);
        row("talk as loud as the noise", murmur(10), 0.15, u"lag"_s);
        row("steady noise of a street", murmur(10, false), 0.02, u"lag"_s);
        row("a metronome", clicks(10, 0.5), 0.001, u"tonal repeats"_s);
        row("music that repeats", repeated(murmur(0.2, false), 10), 0.01, u"repeats"_s);
        row("hum", hum(10), 0.001, u"tonal"_s);
        row("nearly nothing", Sound(10 * soundRate), 0.0001, u"too quiet"_s);
        QTest::newRow("two rooms") << murmur(10) << murmur(10) << 0.01 << u"no peak"_s;
        Sound loud = murmur(10, false), louder = murmur(10, false);
        for (Sound *sound : {&loud, &louder})
            std::ranges::transform(*sound, sound->begin(),
                                   [](float one) { return one > 0 ? 1.0F : -1.0F; });
        QTest::newRow("two rooms, clipped") << loud << louder << 0.0 << u"clipped"_s;
    }

    void tellsTheLagOrThatItCannot()
    {
        QFETCH(const Sound, sound);
        QFETCH(const Sound, otherSound);
        QFETCH(const double, noise);
        QFETCH(const QString, told);
        constexpr std::array reasons{"too quiet", "clipped", "tonal", "repeats", "no peak"};
        for (const double lag : {-0.0803, 0.25003}) {
            const Lag result =
                lagBetween(heard(sound, 1, 8, noise), heard(otherSound, 1 - lag, 8, noise), 0.3);
            if (const auto *estimate = std::get_if<LagEstimate>(&result)) {
                QVERIFY2(told == u"lag"_s, qPrintable(u"%1 for %2, %3"_s.arg(estimate->seconds)
                                                          .arg(lag)
                                                          .arg(estimate->uniqueness)));
                QVERIFY(std::abs(estimate->seconds - lag) < 0.0001);
                QVERIFY(std::abs(estimate->seconds - lag) < estimate->uncertaintySeconds);
            } else {
                const auto *reason = reasons[std::size_t(std::get<NoLag>(result))];
                QVERIFY2(told.contains(QLatin1StringView(reason)), reason);
            }
        }
    }

    void findsTheLineOfLags_data()
    {
        QTest::addColumn<std::vector<LagPoint>>("points");
        QTest::addColumn<int>("refused"); // -1: a line
        QTest::addColumn<double>("driftPPM");
        const auto no = [](NoLine reason) { return int(reason); };
        QTest::newRow("steady") << pointsAt({11, 11.1, 10.9, 11, 11}) << -1 << 0.0;
        QTest::newRow("145 ppm over an hour")
            << pointsAt({0, 87, 174, 261, 348, 435, 522}, 600) << -1 << 145.0;
        QTest::newRow("two that are wrong")
            << pointsAt({0, 6, 300, 18, 24, -90, 36, 42}) << -1 << 100.0;
        QTest::newRow("four") << pointsAt({1, 1, 1, 1}) << no(NoLine::tooFew) << 0.0;
        QTest::newRow("chance") << pointsAt({1, 80, -40, 33, 150, -99}) << no(NoLine::disagree)
                                << 0.0;
        QTest::newRow("steeper than clocks")
            << pointsAt({0, 120, 240, 360, 480, 600}) << no(NoLine::disagree) << 0.0;
        QTest::newRow("a step") << pointsAt({0, 0, 0, 0, 85, 85, 85, 85}) << no(NoLine::disagree)
                                << 0.0;
        QTest::newRow("a wall's echo in every other window")
            << pointsAt({0, 9, 9, 9, 9, 9, 0, 0, 0, 0, 0, 0, 0, 9, 9, 9, 9, 9, 9, 0}, 5)
            << no(NoLine::disagree) << 0.0;
        QTest::newRow("the beginning only")
            << pointsAt({0, 0, 0, 0, 0, 0, 85, -50, 33, 120}) << no(NoLine::bunched) << 0.0;
    }

    void findsTheLineOfLags()
    {
        QFETCH(const std::vector<LagPoint>, points);
        QFETCH(const int, refused);
        QFETCH(const double, driftPPM);
        const auto result = soundAlignment(points);
        const auto *line = std::get_if<SoundLine>(&result);
        QCOMPARE(line ? -1 : int(std::get<NoLine>(result)), refused);
        if (line) {
            QVERIFY(std::abs(line->driftPPM - driftPPM) < 1);
            QVERIFY(
                std::abs(line->lagAt(points.front().referenceSeconds) - points.front().lagSeconds)
                < 0.0003);
            QVERIFY(line->largestResidualSeconds < 0.0003 && line->uncertaintySeconds >= 0.0002);
        }
    }

    void judges_data()
    {
        using Kind = SoundJudgement::Kind;
        QTest::addColumn<std::vector<LagPoint>>("points");
        QTest::addColumn<int>("kind");
        QTest::newRow("4 m away") << pointsAt({11, 11.5, 12, 11.6, 11.8}) << int(Kind::steady);
        QTest::newRow("slipping") << pointsAt({0, 20, 43, 64, 85}) << int(Kind::slipping);
        QTest::newRow("a step in the middle") << pointsAt({0, 0, 85, 0, 0}) << int(Kind::slipping);
        QTest::newRow("another take") << pointsAt({-2400, -2390, -2401}) << int(Kind::off);
        QTest::newRow("two witnesses") << pointsAt({0, 0}) << int(Kind::cannotTell);
    }

    void judges()
    {
        QFETCH(const std::vector<LagPoint>, points);
        QFETCH(const int, kind);
        const SoundJudgement judgement = judgeAlignment(points);
        QCOMPARE(int(judgement.kind), kind);
        if (judgement.kind == SoundJudgement::Kind::steady)
            QVERIFY(std::abs(judgement.metres - 3.98) < 0.01);
    }

    void knowsWhatRepeats()
    {
        const auto repetitions = [](const Sound &sound) {
            const Recording recording(heard(sound, 0, 60, 0.02));
            return repetitionsIn(recording.features, 4, 56);
        };
        const Sound loop = repeated(tune(8), 60);
        const auto alone = repetitions(loop);
        QCOMPARE(alone.size(), std::size_t{2});
        QVERIFY(alone[0].likeness > 0.85 && alone[1].likeness > 0.85);
        QVERIFY(std::abs(std::remainder(alone[0].seconds, 8)) <= 0.02);
        for (const Sound &other : {sum(murmur(60), loop, 0.3F), murmur(60), tune(60)}) {
            for (const Repetition &repetition : repetitions(other))
                QVERIFY2(repetition.likeness < 0.65,
                         qPrintable(QString::number(repetition.likeness)));
        }
    }

    void findsWhereRecordingsOverlap_data()
    {
        QTest::addColumn<Sound>("reference");
        QTest::addColumn<Sound>("other");
        QTest::addColumn<QString>("result");
        const Sound scene = murmur(150), music = murmur(100), strings = tune(115);
        const Sound band = sum(strings, tune(115), 0.32F);
        QTest::newRow("one moment")
            << heard(scene, 5, 100, 0.05) << heard(scene, 42.5, 100, 0.05, 300e-6) << u"found"_s;
        QTest::newRow("the longer one second")
            << heard(band, 42.5, 50, 0.02) << heard(band, 42.5, 70, 0.02, 300e-6) << u"found"_s;
        QTest::newRow("no common moment")
            << heard(scene, 0, 70, 0.05) << heard(scene, 71, 70, 0.05) << u"nothing alike"_s;
        QTest::newRow("the same music under other voices")
            << heard(band, 5, 60, 0.01) << heard(sum(strings, tune(115), 0.32F), 15, 60, 0.01)
            << u"in part"_s;
        // One period on, 21 s of it fit as well: too short to be believed, but not to raise a
        // doubt.
        const Sound loop = repeated(tune(14), 60);
        QTest::newRow("a loop") << heard(loop, 0, 36, 0.01) << heard(loop, 15, 36, 0.01)
                                << u"several fit"_s;
        // Behind talk that differs the same music is played, 40 s of it without.
        const auto played = [&](double begin) {
            Sound sound = murmur(100);
            const auto from = std::ptrdiff_t(begin * soundRate);
            std::copy_n(music.begin(), 40 * soundRate, sound.begin() + from);
            return heard(sound, 0, 100, 0.01);
        };
        QTest::newRow("music that was played twice") << played(30) << played(45) << u"in part"_s;
    }

    void findsWhereRecordingsOverlap()
    {
        QFETCH(const Sound, reference);
        QFETCH(const Sound, other);
        QFETCH(const QString, result);
        const Recording first(reference), second(other);
        const auto overlap = findOverlap(first.heard(), second.heard());
        QVERIFY2(result.contains(textOf(overlap)), qPrintable(textOf(overlap)));
        if (const auto *found = std::get_if<Overlap>(&overlap)) {
            // What the second has at t it hears at 42.5 + t * 1.0003 of the scene.
            const double begin = reference.size() > other.size() * 3 / 4 ? 5 : 42.5;
            for (const double at : {found->fromSeconds, found->toSeconds}) {
                const double truth = (begin + at - 42.5) / 1.0003 - at;
                QVERIFY2(std::abs(found->line.lagAt(at) - truth) < 0.0005,
                         qPrintable(QString::number((found->line.lagAt(at) - truth) * 1000)));
            }
            QVERIFY(std::abs(found->line.driftPPM + 300) < 5);
        }
    }
};

QTEST_GUILESS_MAIN(AlignmentBySoundTest)
#include "alignment_by_sound_test.moc"
