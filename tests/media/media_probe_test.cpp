// SPDX-License-Identifier: Apache-2.0

#include "base/files.h"
#include "media/editor_notes.h"
#include "movie_files.h"
#include "support.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>

#include <cmath>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

/// What a person sees of a movie, and what the export needs.
struct Seen {
    double duration = 2;
    int width = 160;
    int height = 90;
    float rate = 30;
    int videoTracks = 1;
    int audioTracks = 1;
};

const Seen plain;
const Seen silent{.audioTracks = 0};
const Seen ntsc{.duration = 2.002, .rate = 30000 / 1001.F, .audioTracks = 0};

// The rows of seesWhatAPlayerShows: how ffmpeg makes a file from those of initTestCase.

void row(const char *label, const char *name, const char *arguments, const Seen &seen)
{
    QTest::newRow(label) << QString::fromLatin1(name) << QString::fromLatin1(arguments) << seen;
}

void addRates()
{
    row("rounded to the movie's scale", "a.mov", "-i NTSC.mov -c copy -movie_timescale 44100",
        {.duration = 88289. / 44100, .rate = 30000 / 1001.F, .audioTracks = 0});
    row("rate in a coarse scale", "a.mov",
        "PICTURE:30000/1001 -frames:v 60 X264 -video_track_timescale 600 -movie_timescale 600",
        {.duration = 1201. / 600, .rate = 60 * 600 / 1201.F, .audioTracks = 0});
    row("variable rate", "a.mov",
        "PICTURE:60 -t 2 -vf select='lt(t,1)+not(mod(n,4))' -vsync vfr X264",
        {.duration = 1.95, .rate = float(75 / 1.95), .audioTracks = 0});
    row("one frame", "a.mov", "PICTURE:25 -frames:v 1 X264",
        {.duration = 0.04, .rate = 25, .audioTracks = 0});
}

void addSizes()
{
    row("turned", "a.mov", "-i BASE.mp4 -c copy -metadata:s:v:0 rotate=90",
        {.width = 90, .height = 160});
    row("pixels that are not square", "a.mp4", "PICTURE:30 -t 2 -vf setsar=4/3 X264",
        {.width = 213, .audioTracks = 0});
}

void addTimes()
{
    row("picture begins late", "a.mov",
        "-itsoffset 0.5 -i BASE.mp4 -i BASE.mp4 -map 0:v -map 1:a -c copy", {.duration = 2.5});
    row("cut within a group of pictures", "a.mov", "-ss 0.7 -i BASE.mp4 -c copy",
        {.duration = 1.3});
    row("frames out of order, no edit list", "a.mp4",
        "PICTURE:30 -t 2 -c:v libx264 -bf 3 -pix_fmt yuv420p -use_editlist 0", silent);
    row("sound longer than picture", "a.mov",
        "PICTURE:30 -f lavfi -i sine=d=3 -filter:v trim=duration=2 X264", {.duration = 3});
}

void addTracks()
{
    row("time code with dropped frames", "a.mov", "-i NTSC.mov -c copy -timecode 10:20:30;02",
        ntsc);
    row("chapters, MOV", "a.mov", "-i BASE.mp4 -i CHAPTERS.txt -map_chapters 1 -c copy", plain);
    row("cover picture", "a.mp4",
        "-i BASE.mp4 -i COVER.png -map 0 -map 1 -c copy -disposition:v:1 attached_pic", plain);
    row("no picture", "a.mov", "-i BASE.mp4 -vn -c copy", {.videoTracks = 0});
    row("three sounds, two of them off", "a.mov",
        "-i BASE.mp4 -map 0 -map 0:a -map 0:a -c copy -disposition:a:1 0 -disposition:a:2 0",
        {.audioTracks = 3});
}

void addFragments()
{
    row("fragments", "a.mp4", "-i NTSC.mov -c copy -movflags dash+delay_moov", ntsc);
    row("fragments after a movie", "a.mp4", "-i NTSC.mov -c copy -movflags frag_keyframe", ntsc);
    row("fragments with sound, MOV", "a.mov",
        "-i BASE.mp4 -c copy -movflags frag_keyframe+empty_moov+delay_moov+separate_moof", plain);
    row("fragments that begin late", "a.mp4",
        "-itsoffset 0.5 -i BASE.mp4 -map 0:v -c copy -movflags frag_keyframe+empty_moov+delay_moov",
        {.duration = 2.5, .audioTracks = 0});
    row("fragments out of order", "a.mp4",
        "PICTURE:30 -t 2 -c:v libx264 -bf 3 -g 15 -pix_fmt yuv420p "
        "-movflags frag_keyframe+empty_moov+delay_moov",
        silent);
}

} // namespace

class MediaProbeTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        make(u"BASE.mp4"_s, u"PICTURE:30 -f lavfi -i sine -t 2 X264"_s);
        make(u"NTSC.mov"_s, u"PICTURE:30000/1001 -frames:v 60 X264"_s);
        make(u"COVER.png"_s, u"PICTURE:1 -frames:v 1"_s);
        QFile chapters(path(u"CHAPTERS.txt"_s));
        QVERIFY(chapters.open(QFile::WriteOnly));
        chapters.write(";FFMETADATA1\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=1000\ntitle=One\n"
                       "[CHAPTER]\nTIMEBASE=1/1000\nSTART=1000\nEND=2000\ntitle=Two\n");
        chapters.close();
    }

    void seesWhatAPlayerShows_data();
    void seesWhatAPlayerShows();
    void agreesWithAnotherReaderOnCodecsAndRate_data();
    void agreesWithAnotherReaderOnCodecsAndRate();
    void readsWhatAMovieWasFilmedWith_data();
    void readsWhatAMovieWasFilmedWith();
    void opensRegularFilesOnly();
    void readsHeadersAndNotTheMovie();

private:
    [[nodiscard]] QString path(const QString &name) const { return m_folder.filePath(name); }

    void make(const QString &name, const QString &arguments) const
    {
        makeMovie(m_folder.path(), name, arguments);
    }

    QTemporaryDir m_folder;
};

void MediaProbeTest::seesWhatAPlayerShows_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<Seen>("seen");
    row("plain", "a.mov", "-i BASE.mp4 -c copy", plain);
    addRates();
    addSizes();
    addTimes();
    addTracks();
    addFragments();
}

void MediaProbeTest::seesWhatAPlayerShows()
{
    QFETCH(const QString, name);
    QFETCH(const QString, arguments);
    QFETCH(const Seen, seen);
    make(name, arguments);

    const ProbedMedia media = probeMedia(path(name));
    QCOMPARE(int(media.videoTracks.size()), seen.videoTracks);
    QCOMPARE(int(media.audioTracks.size()), seen.audioTracks);
    QCOMPARE(exact(media.durationSeconds), exact(seen.duration));
    if (seen.videoTracks > 0) {
        const ProbedVideoTrack video = media.videoTracks.front();
        QCOMPARE(int(std::abs(video.a * video.naturalWidth + video.c * video.naturalHeight)),
                 seen.width);
        QCOMPARE(int(std::abs(video.b * video.naturalWidth + video.d * video.naturalHeight)),
                 seen.height);
        QCOMPARE(exact(double{video.nominalFrameRate}), exact(double{seen.rate}));
    }
}

void MediaProbeTest::agreesWithAnotherReaderOnCodecsAndRate_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("text"); // picture, sound, then how many notes
    const auto add = [](const char *name, const char *arguments, const QString &text) {
        QTest::newRow(arguments) << QString::fromLatin1(name) << QString::fromLatin1(arguments)
                                 << text;
    };
    add("a.mov", "-i BASE.mp4 -c copy", u"H.264 (avc1), 160 × 90, 30 fps / AAC (mp4a) / 2"_s);
    add("a.mov", "-i NTSC.mov -c copy -metadata:s:v:0 rotate=270",
        u"H.264 (avc1), 160 × 90, 29.97 fps, turned 90° to the right / none / 2"_s);
    add("a.mp4", "-i BASE.mp4 -c:v libx265 -x265-params log-level=0 -tag:v hvc1 -c:a alac",
        u"H.265 (hvc1), 160 × 90, 30 fps / ALAC (alac) / 1"_s);
    add("a.mov", "-i BASE.mp4 -c:v prores -c:a pcm_s24le",
        u"ProRes 422 (apcn), 160 × 90, 30 fps / PCM (in24) / 0"_s);
    add("a.mov",
        "-i BASE.mp4 -c:v dnxhd -profile:v dnxhr_lb -s 256x120 -pix_fmt yuv422p -c:a "
        "pcm_s16le",
        u"DNxHR (AVdh), 256 × 120, 30 fps / PCM (sowt) / 0"_s);
    add("a.mov", "-i BASE.mp4 -vn -c:a pcm_f64le", u"none / other (fl64) / 0"_s);
    add("a.mp4", "-i BASE.mp4 -c copy -movflags frag_keyframe+empty_moov+delay_moov",
        u"H.264 (avc1), 160 × 90, 30 fps / AAC (mp4a) / 2"_s);
    const QString varies = u"H.264 (avc1), 160 × 90, %1 fps on average / none / 2"_s;
    add("a.mov", "PICTURE:60 -t 2 -vf select='lt(t,1)+not(mod(n,4))' -vsync vfr X264",
        varies.arg(u"38.46"_s));
    add("a.mp4",
        "PICTURE:30 -t 2 -vf select='not(eq(n,20))' -vsync vfr X264 "
        "-movflags frag_keyframe+empty_moov+delay_moov",
        varies.arg(u"29.5"_s));
    // Rounded up and down is steady, and so is one whose last picture stays.
    add("a.mov", "PICTURE:30000/1001 -frames:v 60 X264 -video_track_timescale 600",
        u"H.264 (avc1), 160 × 90, 29.98 fps / none / 1"_s);
    add("a.mov", "PICTURE:30 -t 2 -vf select='lt(n,30)+eq(n,50)' -vsync vfr X264 -frames:v 30",
        u"H.264 (avc1), 160 × 90, 30 fps / none / 1"_s);
}

void MediaProbeTest::agreesWithAnotherReaderOnCodecsAndRate()
{
    QFETCH(const QString, name);
    QFETCH(const QString, arguments);
    QFETCH(const QString, text);
    make(name, arguments);
    const ProbedMedia media = probeMedia(path(name));
    QCOMPARE(u"%1 / %2 / %3"_s.arg(pictureText(media), soundText(media),
                                   QString::number(editorNotes(media).size())),
             text);

    // The types, and whether pictures but the last last differently, by more than rounding.
    QProcess ffprobe;
    ffprobe.start(u"ffprobe"_s,
                  {u"-v"_s, u"error"_s, u"-of"_s, u"csv=p=0"_s, u"-show_entries"_s,
                   u"stream=codec_tag_string:packet=codec_type,dts_time"_s, path(name)});
    QVERIFY(ffprobe.waitForFinished());
    QStringList types;
    QList<double> times;
    for (const QString &line :
         QString::fromUtf8(ffprobe.readAllStandardOutput()).split(u'\n', Qt::SkipEmptyParts)) {
        const QStringList fields = line.split(u',');
        if (fields.first() == u"video")
            times += fields.value(1).toDouble();
        else if (fields.first() != u"audio")
            types += fields.first();
    }
    for (const QString &type : types)
        QVERIFY2(text.contains(u'(' + type + u')'), qPrintable(type));
    QCOMPARE(qsizetype(text.count(u'(')), types.size());
    double shortest = 1;
    double longest = 0;
    for (qsizetype i = 1; i < times.size(); ++i) {
        shortest = std::min(shortest, times[i] - times[i - 1]);
        longest = std::max(longest, times[i] - times[i - 1]);
    }
    QCOMPARE(longest > shortest * 1.2, text.contains(u"on average"));
}

void MediaProbeTest::readsWhatAMovieWasFilmedWith_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("device");
    const QString picture = u"PICTURE:30 -frames:v 6 X264 "_s;
    const QString keys = picture + u"-movflags use_metadata_tags "_s;
    QTest::newRow("user data.mov") << picture + u"-metadata model=Pocket-7"_s << u"Pocket-7"_s;
    QTest::newRow("keys of a phone.mov")
        << keys + u"-metadata org.example.make=Anybody -metadata org.example.model=Pocket-7é"_s
        << u"Pocket-7é"_s;
    QTest::newRow("keys in an ISO file.mp4")
        << keys + u"-metadata model=Pocket-7"_s << u"Pocket-7"_s;
    QTest::newRow("another key.mp4") << keys + u"-metadata remodel=Pocket-7"_s << QString();
    QTest::newRow("nothing.mp4") << picture.trimmed() << QString();
}

void MediaProbeTest::readsWhatAMovieWasFilmedWith()
{
    QFETCH(const QString, arguments);
    QFETCH(const QString, device);
    const QString name = QString::fromLatin1(QTest::currentDataTag());
    make(name, arguments);
    QCOMPARE(filmingDevice(path(name)), device);
}

void MediaProbeTest::opensRegularFilesOnly()
{
    QCOMPARE(mkfifo(QFile::encodeName(path(u"fifo.mov"_s)).constData(), 0600), 0);
    for (const QString &name : {path(u"fifo.mov"_s), m_folder.path(), u"/dev/zero"_s})
        QVERIFY_THROWS_EXCEPTION(FileError, (void)probeMedia(name));
    QVERIFY_THROWS_EXCEPTION(FileError, (void)probeMedia(path(u"missing.mov"_s)));
    QCOMPARE(thrownText([&] { (void)probeMedia(path(u"COVER.png"_s)); }),
             u"COVER.png is not a movie file that VORN can read: the movie header is missing."_s);
    QVERIFY(QFile::link(path(u"BASE.mp4"_s), path(u"link.mov"_s)));
    QVERIFY(probeMedia(path(u"link.mov"_s)) == probeMedia(path(u"BASE.mp4"_s)));
}

void MediaProbeTest::readsHeadersAndNotTheMovie()
{
    constexpr qint64 hugeBytes = 10'000'000'000;
    const QByteArray base = readAll(path(u"BASE.mp4"_s));
    QFile huge(path(u"huge.mov"_s));
    QVERIFY(huge.open(QFile::ReadWrite));
    huge.write(box("ftyp", "qt  ") + be32(1) + "mdat" + be64(hugeBytes));
    QVERIFY(huge.resize(hugeBytes + 12) && huge.seek(hugeBytes + 12));
    huge.write(box("moov", contentOf(base, "moov")));
    QVERIFY(huge.flush());
    QVERIFY(probeMedia(huge.fileName()) == probed(base));

    CountedBytes counted(std::uint64_t(huge.size()), [&](std::uint64_t offset,
                                                         std::span<std::byte> into) {
        huge.seek(qint64(offset));
        return std::size_t(huge.read(reinterpret_cast<char *>(into.data()), qint64(into.size())));
    });
    QVERIFY(probeMedia(counted.bytes) == probed(base));
    QVERIFY2(counted.read < 4096, QByteArray::number(qulonglong(counted.read)).constData());
}

QTEST_GUILESS_MAIN(MediaProbeTest)
#include "media_probe_test.moc"
