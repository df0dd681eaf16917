// SPDX-License-Identifier: Apache-2.0

#include "movies.h"
#include "sound/sound_reader.h"
#include "support.h"

#include <QTemporaryDir>
#include <QTest>

#include <cmath>

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

/// Where the largest sample of each second stands that has one, in seconds of the movie.
std::vector<double> clicksOf(const std::vector<float> &sound, double startSeconds)
{
    std::vector<double> clicks;
    for (auto second = sound.begin(); sound.end() - second >= soundRate; second += soundRate) {
        const auto click = std::max_element(second, second + soundRate, [](float one, float other) {
            return std::abs(one) < std::abs(other);
        });
        if (*click > 0.2F) // what is less precedes one at the next second's first sample
            clicks.push_back(startSeconds + double(click - sound.begin()) / soundRate);
    }
    return clicks;
}

} // namespace

class SoundReaderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_clicks = u"-f lavfi -i aevalsrc=0.8*eq(mod(n\\,48000)\\,24000):s=48000:d=19"_s;
        QVERIFY(m_folder.isValid());
    }

    /// Clicks stand where the headers put them, wherever reading begins.
    void readsTheSoundOfTheMoviesOwnTime_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<double>("firstClick");
        const QString late = u"PICTURE:25 -itsoffset 0.5 "_s + m_clicks;
        QTest::newRow("AAC and its priming") << m_clicks + u" -c:a aac"_s << 0.5;
        QTest::newRow("with pictures that are reordered")
            << u"PICTURE:25 "_s + m_clicks + u" X264 -preset fast -bf 2 -t 19"_s << 0.5;
        QTest::newRow("another rate") << m_clicks + u" -ar 44100 -c:a aac"_s << 0.5;
        QTest::newRow("sound that begins late")
            << late + u" X264 -c:a pcm_s16le -t 19 -f mov"_s << 1.0;
        // An empty edit counts in milliseconds; the priming comes after it: 0.478 s + 1,024
        // samples.
        QTest::newRow("late, and with priming")
            << late + u" X264 -t 19"_s << 0.478 + 1024.0 / 48000 + 0.5;
        QTest::newRow("an edit into the middle") << u"-ss 3.2 -i whole.mp4 -c copy"_s << 0.3;
        QTest::newRow("fragments")
            << m_clicks + u" -c:a pcm_s16le -movflags frag_keyframe+empty_moov -f mov"_s << 0.5;
    }

    void readsTheSoundOfTheMoviesOwnTime()
    {
        QFETCH(const QString, arguments);
        QFETCH(const double, firstClick);
        if (!QFile::exists(m_folder.filePath(u"whole.mp4"_s)))
            makeMovie(m_folder.path(), u"whole.mp4"_s,
                      u"PICTURE:25 "_s + m_clicks + u" X264 -t 19"_s);
        makeMovie(m_folder.path(), u"-a movie.mp4"_s, arguments);
        for (const double start : {0.0, 0.0625, 7.125}) {
            const std::vector<float> sound = readSound(m_folder.filePath(u"-a movie.mp4"_s),
                                                       {.startSeconds = start, .seconds = 4});
            QCOMPARE(sound.size(), std::size_t(4 * soundRate));
            const std::vector<double> clicks = clicksOf(sound, start);
            QVERIFY(clicks.size() >= 2);
            for (const double click : clicks) {
                const double away = click - firstClick - std::round(click - firstClick);
                QVERIFY2(std::abs(away) < 0.75 / soundRate,
                         qPrintable(u"%1 from %2"_s.arg(click, 0, 'f', 6).arg(start)));
            }
        }
    }

    void endsWithTheSound()
    {
        const QString path = m_folder.filePath(u"end.mov"_s);
        makeMovie(m_folder.path(), u"end.mov"_s, m_clicks + u" -c:a pcm_s16le"_s);
        QCOMPARE(readSound(path, {.startSeconds = 18, .seconds = 60}).size(),
                 std::size_t(soundRate));
        QCOMPARE(readSound(path, {.startSeconds = 30, .seconds = 60}).size(), std::size_t(0));
    }

    void saysWhyItCannot_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("no movie") << QByteArray("no movie");
        QTest::newRow("a list of other files")
            << QByteArray("ffconcat version 1.0\nfile end.mov\n");
        QTest::newRow("a playlist")
            << QByteArray("#EXTM3U\n#EXTINF:10,\nend.mov\n#EXT-X-ENDLIST\n");
    }

    void saysWhyItCannot()
    {
        QFETCH(const QByteArray, bytes);
        writePlain(m_folder.filePath(u"bad.mp4"_s), bytes);
        QCOMPARE(thrownText([&] {
                     (void)readSound(m_folder.filePath(u"bad.mp4"_s),
                                     {.startSeconds = 0, .seconds = 1});
                 }),
                 u"The sound of bad.mp4 cannot be read."_s);
    }

    void stopsWhenAsked()
    {
        std::stop_source stop;
        const QString path = m_folder.filePath(u"end.mov"_s);
        try {
            readSound(path, {.startSeconds = 0, .seconds = 19}, stop.get_token(),
                      [&](std::span<const float>) { stop.request_stop(); });
            QFAIL("went on");
        } catch (const SoundError &error) {
            QCOMPARE(error.kind(), SoundError::Case::stopped);
        }
    }

    void needsAListener()
    {
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", "/nowhere");
        const QString text = thrownText([&] {
            (void)readSound(m_folder.filePath(u"end.mov"_s), {.startSeconds = 0, .seconds = 1});
        });
        qputenv("PATH", path);
        QCOMPARE(text, u"Install ffmpeg to let VORN listen."_s);
    }

private:
    QTemporaryDir m_folder;
    QString m_clicks;
};

QTEST_GUILESS_MAIN(SoundReaderTest)
#include "sound_reader_test.moc"
