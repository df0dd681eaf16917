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

#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

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

/// What ffprobe says of the movie's pictures, in its words.
QString look(const QString &movie, const QString &entries)
{
    QString text = QString::fromUtf8(
        outputOf(u"ffprobe"_s, {u"-select_streams"_s, u"v:0"_s, u"-show_entries"_s, entries,
                                u"-of"_s, u"default=nw=1:nk=1"_s, movie}));
    return text.trimmed().replace(u'\n', u' ');
}

/// When a player shows each picture.
std::vector<double> shownTimes(const QString &movie)
{
    std::vector<double> times;
    for (const QString &word : look(movie, u"frame=best_effort_timestamp_time"_s).split(u' '))
        if (bool isNumber = false; word.toDouble(&isNumber), isNumber)
            times.push_back(word.toDouble());
    return times;
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

    void init() { m_samples.renewParent(); }

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
        if (expected == shownTimes(original)) // the next picture of this scene is at 25
            QVERIFY(likeness(original, copy) > 35);
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

    /// The package without copies is in the one with copies, byte by byte.
    void liesInThePackage()
    {
        const VORNTake take = longTake();
        std::vector<ExportProgress> told;
        const QDir with(exported(take, EditingCopies::make, [&](const ExportProgress &now) {
            if (now.stage == ExportProgress::Stage::copying)
                told.push_back(now);
        }));
        const QDir package(m_samples.parent() + u"/with"_s);
        QVERIFY(QDir().rename(with.path(), package.path()));
        const QDir plain(exported(take, EditingCopies::none, {}));
        const auto textOf = [](const QDir &folder, const QString &name) {
            return readFile(folder.filePath(name), 100'000);
        };
        const QStringList names = plain.entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
        QCOMPARE(names.size(), 3);
        for (const QString &name : names)
            QCOMPARE(textOf(package, name), textOf(plain, name));
        QCOMPARE(package.entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
                 QStringList({u"alignment-report.json"_s, u"media"_s, u"source-manifest.json"_s,
                              u"timeline-editing-copies.fcpxml"_s, u"timeline.fcpxml"_s}));
        QByteArray expected = textOf(package, u"timeline.fcpxml"_s);
        const QStringList copies{u"01-wide.mov"_s, u"02-b--c.mov"_s};
        for (const qsizetype at : {0, 1})
            expected.replace(take.clips[at].localPath->toUtf8(),
                             (with.path() + u"/media/"_s + copies[at]).toUtf8());
        QCOMPARE(textOf(package, u"timeline-editing-copies.fcpxml"_s), expected);
        QCOMPARE(QDir(package.filePath(u"media"_s)).entryList(QDir::Files), copies);

        QCOMPARE(told.back().cameraId, u"B/\u00A0c"_s);
        QVERIFY(std::ranges::is_sorted(told, {}, &ExportProgress::completedBytes));
        const EditingCopyForecast forecast = EditingCopy::forecast(take, {});
        QCOMPARE(told.back().totalBytes, forecast.bytes);
        std::int64_t bytes = 0;
        for (const QString &name : copies)
            bytes += QFileInfo(package.filePath(u"media/"_s + name)).size();
        QVERIFY2(std::abs(bytes - forecast.bytes) < bytes / 20, qPrintable(QString::number(bytes)));
        QVERIFY(forecast.seconds > 0.1 && forecast.seconds < 300);
    }

    void leavesNothingWhereItEnds()
    {
        const VORNTake take = longTake();
        const auto cancel = [](const ExportProgress &now) {
            if (now.completedBytes > 0 && now.stage == ExportProgress::Stage::copying)
                throw std::runtime_error("cancelled");
        };
        QCOMPARE(thrownText([&] { (void)exported(take, EditingCopies::make, cancel); }),
                 u"cancelled"_s);
        QCOMPARE(m_samples.inParent(), QStringList());

        // Killed with a part of a copy on the disk: its ffmpeg ends too, and the next export clears
        // all of it that can be its own.
        const pid_t process = ::fork();
        if (process == 0) {
            (void)exported(take, EditingCopies::make, {});
            ::_exit(0);
        }
        const auto part = [&] {
            const QStringList left = m_samples.inParent().filter(u".vorn-export-"_s);
            return left.isEmpty() ? QString()
                                  : m_samples.parent() + u'/' + left.first() + u"/media"_s;
        };
        const auto hasBegun = [&] {
            return !part().isEmpty() && QFileInfo(part() + u"/01-wide.mov"_s).size() > 0;
        };
        QVERIFY(QTest::qWaitFor(hasBegun, 60'000));
        ::kill(process, SIGKILL);
        ::waitpid(process, nullptr, 0);
        const QString folder = part();
        const auto isWritten = [&] {
            for (const QString &id : QDir(u"/proc"_s).entryList({u"[0-9]*"_s}, QDir::Dirs)) {
                QFile words(u"/proc/"_s + id + u"/cmdline"_s);
                if (words.open(QFile::ReadOnly) && words.readAll().contains(folder.toUtf8()))
                    return true;
            }
            return false;
        };
        QVERIFY(QTest::qWaitFor([&] { return !isWritten(); }, 60'000));
        writePlain(folder + u"/notes.txt"_s, "precious");
        VORNTake other = take;
        other.clips.resize(1);
        (void)exported(other, EditingCopies::none, {});
        QCOMPARE(QDir(folder).entryList(QDir::Files), QStringList{u"notes.txt"_s});
        QVERIFY(QFile::remove(folder + u"/notes.txt"_s));
        other.id = u"another"_s;
        (void)exported(other, EditingCopies::none, {});
        QVERIFY(!QFile::exists(folder));
    }

    /// In a mount namespace of its own: a small disk comes over the parent folder.
    void leavesNothingOnAFullDisk_data()
    {
        QTest::addColumn<QByteArray>("disk");
        QTest::addColumn<QString>("told");
        QTest::newRow("from the start")
            << QByteArray("size=8m") << u"The editing copies take about 0.1 GB, and "_s;
        QTest::newRow("meanwhile") << QByteArray("size=100m") << u"Cannot write "_s;
    }

    void leavesNothingOnAFullDisk()
    {
        QFETCH(const QByteArray, disk);
        QFETCH(const QString, told);
        const VORNTake take = longTake();
        const pid_t process = ::fork();
        if (process == 0) {
            const QString parent = m_samples.parent();
            const QByteArray user = QByteArray::number(::getuid());
            const QByteArray group = QByteArray::number(::getgid());
            if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
                ::_exit(2);
            writePlain(u"/proc/self/uid_map"_s, user + ' ' + user + " 1");
            writePlain(u"/proc/self/setgroups"_s, "deny");
            writePlain(u"/proc/self/gid_map"_s, group + ' ' + group + " 1");
            if (::mount("tmpfs", QFile::encodeName(parent).constData(), "tmpfs", 0, disk.data())
                != 0)
                ::_exit(2);
            const auto fill = [&](const ExportProgress &now) {
                if (now.stage == ExportProgress::Stage::copying && now.completedBytes > 0) {
                    QFile filler(parent + u"/filler"_s);
                    if (filler.open(QFile::WriteOnly | QFile::Unbuffered))
                        while (filler.write(QByteArray(4'096, 'x')) == 4'096) {
                        }
                }
            };
            const QString text =
                thrownText([&] { (void)exported(take, EditingCopies::make, fill); });
            QStringList left = m_samples.inParent();
            left.removeOne(u"filler"_s);
            ::_exit(text.startsWith(told) && left.isEmpty() ? 0 : 1);
        }
        int status = 0;
        ::waitpid(process, &status, 0);
        if (WIFEXITED(status) && WEXITSTATUS(status) == 2)
            QSKIP("This machine forbids user namespaces.");
        QCOMPARE(status, 0);
    }

    void saysWhyItCannot()
    {
        const auto refused = [&](const QString &movie) {
            VORNTake take = longTake();
            take.clips.resize(1);
            take.clips[0].localPath = movie;
            take.clips[0].sha256 = sha256OfFile(movie);
            return thrownText([&] { (void)exported(take, EditingCopies::make, {}); });
        };
        const QString end = u" Switch editing copies off to export without them."_s;
        QCOMPARE(
            refused(m_samples.movie(u"wide.mov"_s)),
            u"No editing copy of Wide can be made: a picture of 160 by 90 pixels is too small."_s
                + end);
        QByteArray damaged = readFile(m_folder.filePath(u"base.mp4"_s), 10'000'000);
        const qsizetype pictures = damaged.indexOf("mdat") + 4'000;
        damaged.replace(pictures, 100'000, QByteArray(100'000, '\xFF'));
        writePlain(m_folder.filePath(u"damaged.mp4"_s), damaged);
        const QString text = refused(m_folder.filePath(u"damaged.mp4"_s));
        QVERIFY2(text.startsWith(u"No editing copy of Wide can be made: "_s), qPrintable(text));
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", "/nowhere");
        const QString missing = refused(m_folder.filePath(u"base.mp4"_s));
        qputenv("PATH", path);
        QCOMPARE(missing, u"Install ffmpeg to make editing copies."_s);
        QCOMPARE(m_samples.inParent(), QStringList());
    }

private:
    [[nodiscard]] VORNTake longTake()
    {
        if (!QFile::exists(m_folder.filePath(u"long.mp4"_s)))
            make(u"long.mp4"_s, u"-f lavfi -i testsrc2=s=1280x720:r=10"_s + sound
                                    + u" -c:v libx264 -preset ultrafast -c:a aac -t 8"_s);
        (void)QFile::copy(m_folder.filePath(u"long.mp4"_s), m_folder.filePath(u"b.mp4"_s));
        VORNTake take = m_samples.take();
        take.clips.resize(2);
        take.clips[1].cameraId = u"B/\u00A0c"_s;
        take.clips[0].localPath = m_folder.filePath(u"long.mp4"_s);
        take.clips[1].localPath = m_folder.filePath(u"b.mp4"_s);
        for (VORNClip &clip : take.clips)
            clip.sha256 = sha256OfFile(*clip.localPath);
        return take;
    }

    [[nodiscard]] QString exported(const VORNTake &take, EditingCopies copies,
                                   const std::function<void(const ExportProgress &)> &onProgress)
    {
        return DriftEngine::exportPackage(ExportSamples::project(), take, m_samples.parent(),
                                          onProgress, {}, copies);
    }

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
    ExportSamples m_samples;
    const QString picture = u"-f lavfi -i testsrc2=s=320x180:r=30"_s;
    const QString sound = u" -f lavfi -i aevalsrc=0.8*eq(mod(n\\,24000)\\,0):s=48000:d=9"_s;
};

QTEST_GUILESS_MAIN(EditingCopyTest)
#include "editing_copy_test.moc"
