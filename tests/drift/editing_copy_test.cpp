// SPDX-License-Identifier: Apache-2.0

#include "drift/drift_error.h"
#include "drift/editing_copy.h"
#include "drift/editing_copy_forecast.h"
#include "drift/export_package.h"
#include "export_samples.h"
#include "media/media_probe.h"
#include "support.h"

#include <QXmlStreamReader>
#include <QtTest>

#include <sys/wait.h>

#include <csignal>
#include <cstring>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

QByteArray outputOf(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, QStringList{u"-v"_s, u"error"_s} + arguments);
    if (!process.waitForFinished(120'000) || process.exitCode() != 0)
        throw std::runtime_error(process.readAllStandardError().toStdString());
    return process.readAllStandardOutput();
}

/// When a player shows each picture.
std::vector<double> shownTimes(const QString &movie)
{
    std::vector<double> times;
    const QByteArray text =
        outputOf(u"ffprobe"_s,
                 {u"-select_streams"_s, u"v:0"_s, u"-show_entries"_s,
                  u"frame=best_effort_timestamp_time"_s, u"-of"_s, u"default=nw=1:nk=1"_s, movie});
    for (const QByteArray &line : text.split('\n'))
        if (bool isNumber = false; line.toDouble(&isNumber), isNumber)
            times.push_back(line.toDouble());
    return times;
}

/// What ffprobe says of the movie's pictures, in its words.
QString look(const QString &movie, const QString &entries)
{
    QString text = QString::fromUtf8(
        outputOf(u"ffprobe"_s, {u"-select_streams"_s, u"v:0"_s, u"-show_entries"_s, entries,
                                u"-of"_s, u"default=nw=1:nk=1"_s, movie}));
    return text.trimmed().replace(u'\n', u' ');
}

/// When the sound is loud, in seconds, to the sample.
std::vector<double> clicks(const QString &movie)
{
    const QByteArray bytes = outputOf(u"ffmpeg"_s, {u"-i"_s, movie, u"-map"_s, u"0:a:0"_s, u"-ac"_s,
                                                    u"1"_s, u"-f"_s, u"f32le"_s, u"-"_s});
    std::vector<float> samples(std::size_t(bytes.size()) / sizeof(float));
    std::memcpy(samples.data(), bytes.constData(), samples.size() * sizeof(float));
    std::vector<double> found;
    for (std::size_t at = 0; at < samples.size(); ++at) {
        const auto from = samples.begin() + std::ptrdiff_t(at > 1'000 ? at - 1'000 : 0);
        const auto to = samples.begin() + std::ptrdiff_t(std::min(at + 1'000, samples.size()));
        if (std::abs(samples[at]) > 0.2F
            && std::all_of(from, to, [&](float other) { return other <= samples[at]; }))
            found.push_back(double(at) / 48'000);
    }
    return found;
}

/// The least that a picture of one is like that of the other at its time, in decibels.
double likeness(const QString &one, const QString &other)
{
    const QByteArray text = outputOf(
        u"ffmpeg"_s,
        {u"-i"_s, one, u"-i"_s, other, u"-lavfi"_s,
         u"[0:v]format=yuv422p[a];[1:v]format=yuv422p[b];[a][b]psnr=stats_file=-:eof_action=endall"_s,
         u"-f"_s, u"null"_s, u"/dev/null"_s});
    double least = 1'000;
    for (const QByteArray &line : text.split('\n'))
        if (const qsizetype at = line.indexOf("psnr_avg:"); at >= 0) {
            const QByteArray number = line.mid(at + 9).split(' ').first();
            if (number != "inf")
                least = std::min(least, number.toDouble());
        }
    return least;
}

} // namespace

class EditingCopyTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        make(u"base.mp4"_s, picture + sound + u" -c:v libx264 -preset fast -bf 2 -c:a aac -t 4"_s);
    }

    /// Times, pictures, turning and sound are those of the recording.
    void isTheRecordingInAnotherForm_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<double>("firstClick"); // -1: no sound
        QTest::addColumn<QString>("form");
        const QString x264 = u" -c:v libx264 -preset ultrafast -c:a aac -t 4"_s;
        const QString plain = u"DNXHR HQ 320 180 yuv422p"_s;
        QTest::newRow("reordered pictures, AAC and its priming")
            << u"-i base.mp4 -c copy"_s << 0.0 << plain;
        QTest::newRow("turned") << u"-i base.mp4 -c copy -metadata:s:v:0 rotate=90"_s << 0.0
                                << plain;
        QTest::newRow("fragments")
            << picture + sound + x264
                   + u" -c:a pcm_s16le -f mov -movflags frag_keyframe+empty_moov"_s
            << 0.0 << plain;
        QTest::newRow("an edit into the middle, between pictures")
            << u"-ss 1.21 -i base.mp4 -c copy"_s << 0.29 << plain;
        QTest::newRow("an edit that ends early")
            << u"-i base.mp4 -c copy -t 2.51"_s << 0.0 << plain;
        QTest::newRow("sound that begins late")
            << picture + u" -itsoffset 0.5"_s + sound + x264 + u" -c:a pcm_s16le -f mov"_s << 0.5
            << plain;
        QTest::newRow("pictures that begin late")
            << u"-itsoffset 0.4 -i base.mp4 -i base.mp4 -map 0:v -map 1:a -c copy"_s << 0.0
            << plain;
        QTest::newRow("a variable rate, without sound")
            << picture + u" -vf select=not(eq(mod(n\\,7)\\,3)) -fps_mode vfr"_s + x264 << -1.0
            << plain;
        QTest::newRow("an odd size")
            << u"-f lavfi -i testsrc2=s=320x180:r=30 -vf scale=321:181 -pix_fmt yuv444p"_s + x264
            << -1.0 << u"DNXHR HQX 321 181 yuv422p10le"_s;
        QTest::newRow("ten bits") << u"-f lavfi -i testsrc2=s=320x180:r=30 -pix_fmt yuv420p10le "
                                     "-c:v libx265 -x265-params log-level=error -t 1"_s
                                  << -1.0 << u"DNXHR HQX 320 180 yuv422p10le"_s;
        QTest::newRow("six channels") << picture + sound + x264 + u" -ac 6"_s << 0.0 << plain;
    }

    void isTheRecordingInAnotherForm()
    {
        QFETCH(const QString, arguments);
        QFETCH(const double, firstClick);
        QFETCH(const QString, form);
        const QString name = u"-a source.mp4"_s;
        make(name, arguments);
        const auto [source, copy] = copied(name);
        const QString original = m_folder.filePath(name);

        const std::vector<double> times = shownTimes(copy);
        std::vector<double> expected = shownTimes(original);
        if (std::abs(firstClick - 0.29) < 1e-9) {
            // ffprobe drops the picture that is on at the beginning and shows the next one then.
            for (double &time : expected)
                time += 37.0 / 30 - 1.21;
            expected.insert(expected.begin(), 0);
        }
        QCOMPARE(times.size(), expected.size());
        for (std::size_t at = 0; at < times.size(); ++at)
            QVERIFY2(std::abs(times[at] - expected[at]) < 0.0015,
                     qPrintable(u"%1: %2 for %3"_s.arg(at).arg(times[at]).arg(expected[at])));
        QCOMPARE(look(copy, u"stream=profile,width,height,pix_fmt"_s), form);
        QCOMPARE(look(copy, u"stream_side_data=rotation"_s),
                 look(original, u"stream_side_data=rotation"_s));
        const bool areTimesAlike = expected == shownTimes(original);
        if (areTimesAlike) // the next picture of this scene is at 25
            QVERIFY2(likeness(original, copy) > 35,
                     qPrintable(QString::number(likeness(original, copy))));
        if (firstClick < 0) {
            QVERIFY(std::abs(QFileInfo(copy).size() - source.bytes) < source.bytes / 20);
            return;
        }
        const std::vector<double> heard = clicks(copy);
        QVERIFY(heard.size() >= 4);
        for (const double click : heard) {
            const double away = (click - firstClick) * 2 - std::round((click - firstClick) * 2);
            QVERIFY2(std::abs(away) < 2.5 / 48'000, qPrintable(QString::number(click, 'f', 6)));
        }
        QVERIFY(heard.front() < firstClick + 0.51);
    }

private:
    void make(const QString &name, const QString &arguments) const
    {
        makeMovie(m_folder.path(), name, arguments);
    }

    std::pair<EditingCopySource, QString> copied(const QString &name)
    {
        const QString path = m_folder.filePath(name);
        const QString target = m_folder.filePath(u"copy.mov"_s);
        QFile::remove(target);
        const EditingCopySource source =
            EditingCopy::source(u"Wide"_s, path, DriftEngine::mediaInfo(probeMedia(path), path));
        EditingCopy::make(source, target, [](std::int64_t) {});
        return {source, target};
    }

    QTemporaryDir m_folder;
    const QString picture = u"-f lavfi -i testsrc2=s=320x180:r=30"_s;
    const QString sound = u" -f lavfi -i aevalsrc=0.8*eq(mod(n\\,24000)\\,0):s=48000:d=4"_s;
};

QTEST_GUILESS_MAIN(EditingCopyTest)
#include "editing_copy_test.moc"
