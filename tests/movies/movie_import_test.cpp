// SPDX-License-Identifier: Apache-2.0

#include "base/files.h"
#include "drift/anchor_fit.h"
#include "drift/rate_text.h"
#include "hostile_movies.h"
#include "movies.h"
#include "movies/movie_pairs.h"
#include "movies/movie_take.h"
#include "rig/film/take.h"
#include "sound/sound_reader.h"
#include "support.h"

#include <QTemporaryDir>
#include <QtTest>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cerrno>
#include <cmath>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

const auto notTold = [](double) {};

constexpr double refusedSeconds = 10; ///< that are listened to nevertheless
constexpr std::int64_t mostGrowthBytes = 32 << 20;

/// Windows that lie `ms` beside a movie that began 2 s before the reference and runs 100 ppm fast.
Overlap overlapFrom(double from, double to, double ms)
{
    Overlap shared{.line = {}, .fromSeconds = 0, .toSeconds = 100, .windows = {}};
    std::vector<LagPoint> points;
    for (double at = from; at <= to; at += 4) {
        const double beside = points.size() % 2 == 0 ? ms / 1000 : -ms / 1000;
        points.push_back({at, 2 + 1e-4 * at + beside, 0.0003});
        shared.windows.push_back({.point = points.back(), .uniqueness = 2.8});
    }
    shared.line = std::get<SoundLine>(soundAlignment(points));
    return shared;
}

Movie film(const QString &path, double seconds)
{
    Movie movie;
    movie.path = path;
    movie.seconds = seconds;
    return movie;
}

struct Heard {
    double seconds = 0;
    QString sentence; ///< where it went wrong, as it may
};

/// A whole movie, as the import does it; some of one that the look refuses.
Heard listenedTo(const QString &path)
{
    Heard heard;
    const Movie movie = lookAtMovie(path, {});
    const double seconds = movie.refusal.isEmpty() ? movie.seconds : refusedSeconds;
    try {
        readSound(path, {.startSeconds = 0, .seconds = seconds}, {},
                  [&](std::span<const float> piece) {
                      heard.seconds += double(piece.size()) / soundRate;
                  });
    } catch (const SoundError &error) {
        heard.sentence = QString::fromUtf8(error.what());
    } catch (const FileError &error) {
        heard.sentence = QString::fromUtf8(error.what());
    }
    return heard;
}

std::int64_t largestMemoryBytes()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return std::int64_t(usage.ru_maxrss) * 1024;
}

} // namespace

class MovieImportTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_folder.isValid()); }

    void saysWhatIsWrongWithAFile_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<QString>("refusal");
        const QString picture = u"PICTURE:25 -t 1 "_s;
        const QString sound = u"PICTURE:25 -f lavfi -i sine -t 1 "_s;
        QTest::newRow("good.mov") << sound + u"X264"_s << QString();
        QTest::newRow("silent.mov")
            << picture + u"X264"_s << u"It has no sound, so nothing says where it belongs."_s;
        QTest::newRow("two tracks.mov")
            << sound + u"-map 0 -map 1 -map 1 X264"_s
            << u"It has 2 sound tracks, and an export takes one. Keep one of them in a copy, and "
               "import that."_s;
        QTest::newRow("varies.mov")
            << sound + u"-vf select=not(eq(mod(n\\,5)\\,3)) -fps_mode vfr X264"_s
            << u"Its frame rate varies, which a timeline cannot follow. Convert it to a constant "
               "rate, and import that."_s;
        QTest::newRow("long.mov")
            << u"-f lavfi -i testsrc2=s=32x32:r=1/60 -f lavfi -i anullsrc=r=8000:d=2 -t 28860 X264"_s
            << u"It is longer than eight hours. Cut it, and import the part that you need."_s;
        QTest::newRow("sound alone.mov")
            << u"-f lavfi -i sine -t 1"_s << u"Each clip must contain exactly one video track."_s;
        QTest::newRow("text.mov") << QString()
                                  << u"text.mov is not a movie file that VORN can "
                                     "read: the movie header is missing."_s;
    }
    void saysWhatIsWrongWithAFile()
    {
        QFETCH(const QString, arguments);
        QFETCH(const QString, refusal);
        const QString name = QString::fromLatin1(QTest::currentDataTag());
        const QString path = m_folder.filePath(name);
        if (arguments.isEmpty()) {
            QFile text(path);
            QVERIFY(text.open(QFile::WriteOnly) && text.write("not a movie, by any means") > 0);
        } else {
            makeMovie(m_folder.path(), name, arguments);
        }
        const Movie movie = lookAtMovie(path, {});
        QCOMPARE(movie.refusal, refusal);
        QCOMPARE(movie.sha256.isEmpty(), !refusal.isEmpty());
    }

    void namesAndRatesSuitWhatReadsThem()
    {
        const auto named = [](const QString &path, const QString &device,
                              const QStringList &taken) {
            Movie movie;
            movie.path = path;
            movie.device = device;
            return cameraNameFor(movie, taken);
        };
        QCOMPARE(named(u"/a/IMG 0001.final.mov"_s, {}, {}), u"IMG 0001.final"_s);
        QCOMPARE(named(u"/a/b.mov"_s, u" Pocket\u202E\n7 "_s, {}), u"Pocket 7"_s);
        QCOMPARE(named(u"/a/b.mov"_s, u"Pocket"_s, {u"pocket"_s, u"Pocket 2"_s}), u"Pocket 3"_s);
        QCOMPARE(named(u"/a/\n.mov"_s, {}, {}), u"Camera"_s);
        QCOMPARE(plainName(QString(63, u'x') + u"\U0001F3A5"_s), QString(63, u'x'));
        const QString longest(64, u'x');
        QCOMPARE(nameBeside(longest, {longest}), longest.left(62) + u" 2"_s);
        const std::vector<std::pair<double, QString>> rates{
            {30, u"30"_s},
            {double(30000.F / 1001), u"30000/1001"_s},
            {23.976, u"24000/1001"_s},
            {59.9402, u"60000/1001"_s},
            {25.001, u"25"_s},
            {29.5, u"29.500"_s}};
        for (const auto &[fps, text] : rates) {
            QCOMPARE(timelineRateText(fps), text);
            QVERIFY(std::abs(DriftEngine::fpsValue(text) / fps - 1) < 2e-4);
        }
    }

    void givesAnchorsForAnExportOrNone_data()
    {
        QTest::addColumn<double>("from");
        QTest::addColumn<double>("to"); // of the windows that told a lag
        QTest::addColumn<double>("ms");
        QTest::addColumn<double>("seconds"); // of the movie
        QTest::addColumn<QString>("reason"); // how it begins
        QTest::newRow("throughout") << 0.0 << 100.0 << 0.0 << 104.0 << QString();
        QTest::newRow("noisy") << 0.0 << 100.0 << 2.0 << 104.0 << QString();
        QTest::newRow("silent tail") << 0.0 << 60.0 << 0.0 << 104.0 << u"Too little of its sound"_s;
        QTest::newRow("ran on after the reference")
            << 0.0 << 100.0 << 0.0 << 180.0
            << u"The reference has recorded only from 0:02 to 1:42 of it"_s;
    }
    void givesAnchorsForAnExportOrNone()
    {
        QFETCH(const double, from);
        QFETCH(const double, to);
        QFETCH(const double, ms);
        QFETCH(const double, seconds);
        QFETCH(const QString, reason);
        const AlignmentOrWhyNot found = alignmentOf(overlapFrom(from, to, ms), seconds);
        if (const QString *sentence = std::get_if<QString>(&found)) {
            QVERIFY2(!reason.isEmpty() && sentence->startsWith(reason), qPrintable(*sentence));
            return;
        }
        QCOMPARE(QString(), reason);
        const auto &anchors = std::get<MovieAlignment>(found).anchors;
        for (const TimingAnchor &anchor : anchors) {
            QVERIFY(anchor.uncertaintyMs >= std::max(0.3, ms * 0.8));
            QVERIFY(std::abs(anchor.confidence - 0.9) < 1e-9);
        }
    }

    /// A movie that only another one has heard lies where both lines together say.
    void alignsThroughAnother()
    {
        const std::vector<Movie> movies{film(u"a"_s, 120), film(u"b"_s, 104), film(u"c"_s, 104),
                                        film(u"d"_s, 164)};
        HeardPairs heard;
        const auto toHear = [&] { return pairsToHear(u"a"_s, movies, heard); };
        using Pairs = std::vector<MoviePair>;
        QCOMPARE(toHear(), (Pairs{{u"a"_s, u"b"_s}, {u"a"_s, u"c"_s}, {u"a"_s, u"d"_s}}));
        const auto found = [](double from, double to, double seconds) {
            return alignmentOf(overlapFrom(from, to, 1), seconds);
        };
        heard[{u"a"_s, u"b"_s}] = found(0, 100, 104);
        heard[{u"a"_s, u"c"_s}] = heard[{u"a"_s, u"d"_s}] = u"Not found."_s;
        QCOMPARE(toHear(), (Pairs{{u"b"_s, u"c"_s}, {u"b"_s, u"d"_s}}));
        heard[{u"b"_s, u"c"_s}] = found(4, 100, 104);
        heard[{u"b"_s, u"d"_s}] = u"Not found there either."_s;
        heard[{u"c"_s, u"d"_s}] = found(0, 160, 164); // of which the reference has a part only
        QCOMPARE(toHear(), Pairs());

        const auto lies = moviesLying(u"a"_s, movies, heard);
        QCOMPARE(lies.at(u"c"_s).through, u"b"_s);
        const auto &lie = std::get<MovieAlignment>(lies.at(u"c"_s).alignment);
        const DriftCorrection line = DriftEngine::fit(lie.anchors, 104);
        QVERIFY(std::abs(line.offsetSeconds - -4 / 1.0002) < 0.001);
        QVERIFY(std::abs(lie.line.lagAt(50) - (4 + 50 * 2e-4)) < 0.001);
        for (const TimingAnchor &anchor : lie.anchors)
            QVERIFY(anchor.uncertaintyMs >= 2 * 0.8 && anchor.referenceSeconds >= 0);
        QCOMPARE(lie.line.points.size(), lie.anchors.size());
        QCOMPARE(std::get<QString>(lies.at(u"d"_s).alignment), u"Not found."_s);
    }

    /// What the rig filmed is found to within what its phones' distances hide.
    void findsWhatWasFilmedTogether()
    {
        rig::TakeOptions options;
        options.cameras = 3;
        options.seconds = 40; // hardly more than is enough
        options.driftPPM = 300;
        options.pictureSize = {128, 72};
        options.hasManifest = false;
        options.sound.emplace().distancesMetres = {0, 4, 9};
        const rig::TakePlan plan = rig::makeTake(options, m_folder.filePath(u"take"_s));
        std::vector<HeardMovie> heard;
        for (const rig::PhonePlan &phone : plan.phones) {
            const Movie movie = lookAtMovie(m_folder.filePath(u"take/"_s + phone.fileName), {});
            QCOMPARE(movie.refusal, QString());
            heard.push_back(hearMovie(movie, {}, notTold));
        }
        for (std::size_t i = 1; i < heard.size(); ++i) {
            const AlignmentOrWhyNot found = alignMovies(heard[0], heard[i], {}, notTold);
            const auto *alignment = std::get_if<MovieAlignment>(&found);
            QVERIFY2(alignment, alignment ? "" : qPrintable(std::get<QString>(found)));
            const rig::PhonePlan &phone = plan.phones[i];
            const double seconds = heard[i].movie.seconds;
            const DriftCorrection line = DriftEngine::fit(alignment->anchors, seconds);
            const double lateMs =
                phone.sound->hearing.distanceMetres / soundMetresASecond * 1000; // heard later
            for (const double at : {0.0, seconds / 2, seconds}) {
                const double errorMs =
                    1000
                        * (line.offsetSeconds + line.referenceSecondsPerSourceSecond * at
                           - phone.sceneSeconds(at))
                    + lateMs;
                QVERIFY2(std::abs(errorMs) < 2, qPrintable(QString::number(errorMs)));
            }
        }
        std::stop_source stop;
        stop.request_stop();
        QVERIFY_THROWS_EXCEPTION(SoundError,
                                 (void)alignMovies(heard[0], heard[1], stop.get_token(), notTold));
    }

    /// Whatever is in a movie, who listens to it hears something or gets a sentence.
    void hostileMoviesCostASentence_data()
    {
        QTest::addColumn<QByteArrayList>("movies");
        QTest::addColumn<bool>("mayBeHeard");
        const QString both = u"PICTURE:25 -f lavfi -i sine -map 1 -map 0 -t 2 X264"_s;
        const QByteArray aac = made(u"aac.mov"_s, both);
        const QByteArray early = made(u"early.mp4"_s, both + u" -movflags +faststart"_s);
        const QByteArray pcm = made(u"pcm.mov"_s, both + u" -c:a pcm_s16le"_s);
        QTest::newRow("whole") << QByteArrayList{aac, early, pcm} << true;
        QTest::newRow("cut off") << cutOff(aac) + cutOff(early) << true;
        QTest::newRow("other bytes") << mutated(aac, 100) + mutated(pcm, 100) << true;
        QTest::newRow("hours") << sayingHours(aac) + sayingHours(pcm) << true;
        QTest::newRow("huge tables") << withHugeTables(pcm) << true;
        QTest::newRow("absurd sound") << withAbsurdSound(pcm) << true;
        QTest::newRow("the sound of another file")
            << QByteArrayList{ledTo("pcm.mov", pcm)} << false;
        const QString sound = u"-f lavfi -i sine -t 2"_s;
        QTest::newRow("another kind of file")
            << QByteArrayList{made(u"other.mkv"_s, sound), made(u"other.wav"_s, sound),
                              "v=0\nm=audio 9 RTP/AVP 0\nc=IN IP4 127.0.0.1\n", "no movie", ""}
            << false;
    }
    void hostileMoviesCostASentence()
    {
        QFETCH(const QByteArrayList, movies);
        QFETCH(const bool, mayBeHeard);
        const QString path = m_folder.filePath(u"hostile.mov"_s);
        writePlain(path, {});
        const QStringList files = QDir(m_folder.path()).entryList(QDir::Files);
        const std::int64_t before = largestMemoryBytes();
        for (qsizetype at = 0; at < movies.size(); ++at) {
            writePlain(path, movies[at]);
            const Heard heard = listenedTo(path);
            const QByteArray which = QByteArray::number(at) + ": " + heard.sentence.toUtf8();
            QVERIFY2(heard.sentence.isEmpty()
                         || heard.sentence == u"The sound of hostile.mov cannot be read."_s,
                     which.constData());
            QVERIFY2(mayBeHeard || heard.seconds == 0, which.constData());
            QCOMPARE(readAll(path), movies[at]);
        }
        QVERIFY(largestMemoryBytes() - before < mostGrowthBytes);
        QVERIFY(::waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD);
        QCOMPARE(QDir(m_folder.path()).entryList(QDir::Files), files);
    }

    void waitsForNothingThatIsNoFile()
    {
        const QString pipe = m_folder.filePath(u"pipe.mov"_s);
        QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        for (const QString &path : {pipe, m_folder.path(), u"/dev/zero"_s}) {
            const QString sentence = path + u" is not a regular file."_s;
            QCOMPARE(lookAtMovie(path, {}).refusal, sentence);
            QCOMPARE(listenedTo(path).sentence, sentence);
        }
    }

private:
    QByteArray made(const QString &name, const QString &arguments)
    {
        makeMovie(m_folder.path(), name, arguments);
        return readAll(m_folder.filePath(name));
    }

    QTemporaryDir m_folder;
};

QTEST_MAIN(MovieImportTest)
#include "movie_import_test.moc"
