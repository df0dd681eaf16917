// SPDX-License-Identifier: Apache-2.0

#include "media/media_error.h"
#include "media/movie_headers.h"
#include "movie_files.h"
#include "support.h"

#include <QTemporaryDir>
#include <QtTest>

#include <cmath>
#include <cstring>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

/// Its first track, with all that is read of a movie.
MovieTrack timed(const QByteArray &movie)
{
    return readMovieHeaders(CountedBytes(movie).bytes, MovieDetail::timing).tracks.at(0);
}

QString refusalOf(const QByteArray &movie)
{
    return thrownText([&] {
        (void)probed(movie);
        (void)timed(movie);
    });
}

QString refusal(const QString &reason)
{
    return u"cam1.mov is not a movie file that VORN can read: "_s + reason;
}

const QString isDamaged = refusal(u"the movie header is damaged."_s);
const QString isCutOff = refusal(u"the file is cut off."_s);
const QString hasTooMany = refusal(u"it has too many pictures."_s);
const QString hasNoHeader = refusal(u"the movie header is missing."_s);

constexpr const char *stbl = "moov/trak/mdia/minf/stbl";

QByteArray inStbl(const char *type)
{
    return QByteArray(stbl) + '/' + type;
}

QByteArray withContent(const QByteArray &movie, const QByteArray &path, const QByteArray &content)
{
    const QByteArray type = path.mid(path.lastIndexOf('/') + 1);
    return changed(movie, path, [&](const QByteArray &) { return box(type, content); });
}

/// A movie in which the content of one box has other bytes from `offset` on.
QByteArray withBytes(const QByteArray &movie, const QByteArray &path, qsizetype offset,
                     const QByteArray &bytes)
{
    const QByteArray content = contentOf(movie, path);
    return withContent(movie, path, QByteArray(content).replace(offset, bytes.size(), bytes));
}

/// A movie with one box more at the end of the one at `path`.
QByteArray withMore(const QByteArray &movie, const QByteArray &path, const QByteArray &more)
{
    return withContent(movie, path, contentOf(movie, path) + more);
}

void row(const char *label, const QByteArray &movie, const ProbedMedia &expected)
{
    QTest::newRow(label) << movie << expected;
}

void row(const char *label, const QByteArray &bytes, const QString &expected)
{
    QTest::newRow(label) << bytes << expected;
}

QByteArray fragment(std::uint32_t track, const QByteArray &boxes)
{
    const QByteArray header = box("tfhd", be32(0x8) + be32(track) + be32(512));
    return box("moof", box("traf", header + boxes)) + box("mdat", "");
}

} // namespace

class MovieHeadersTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void readsHeadersOfEveryForm_data();
    void readsHeadersOfEveryForm();
    void readsWhenPicturesAreShown();
    void findsDurationsThatContradictThemselves_data();
    void findsDurationsThatContradictThemselves();
    void refusesWhatIsNoMovie_data();
    void refusesWhatIsNoMovie();
    void refusesEveryCut();
    void givesUpOnEndlessFiles_data();
    void givesUpOnEndlessFiles();

private:
    void addFragments(const ProbedMedia &plain) const;

    [[nodiscard]] QByteArray made(const QString &name, const QString &arguments) const
    {
        makeMovie(m_folder.path(), name, arguments);
        return readAll(m_folder.filePath(name));
    }

    QTemporaryDir m_folder;
    QByteArray m_plain;  ///< sound and picture of 2 s, the movie header at the end
    QByteArray m_first;  ///< the same with the movie header before the media
    QByteArray m_pieces; ///< the same picture in fragments of half a second
};

void MovieHeadersTest::initTestCase()
{
    m_plain = made(u"PLAIN.mov"_s, u"PICTURE:30 -f lavfi -i sine -t 2 X264"_s);
    m_first = made(u"FIRST.mov"_s, u"-i PLAIN.mov -c copy -movflags faststart"_s);
    m_pieces = made(u"PIECES.mp4"_s,
                    u"-i PLAIN.mov -an -c copy -movflags frag_keyframe+empty_moov+delay_moov"_s);
    m_pieces.truncate(m_pieces.indexOf("mfra") - 4);
}

void MovieHeadersTest::readsHeadersOfEveryForm_data()
{
    QTest::addColumn<QByteArray>("movie");
    QTest::addColumn<ProbedMedia>("expected");
    const ProbedMedia plain = probed(m_plain);
    const auto sized = [&](const char *label, const QByteArray &path, BoxSize size) {
        const QByteArray type = path.mid(path.lastIndexOf('/') + 1);
        QTest::newRow(label) << changed(m_plain, path, [&](const QByteArray &content) {
            return box(type, content, size);
        }) << plain;
    };
    const auto wide = [&](const char *label, const QByteArray &path,
                          const QList<qsizetype> &offsets) {
        QTest::newRow(label) << withContent(m_plain, path,
                                            widened(contentOf(m_plain, path), offsets))
                             << plain;
    };

    sized("64-bit size of the media", "mdat", BoxSize::large);
    sized("64-bit size of the movie header", "moov", BoxSize::large);
    sized("last box to the end of the file", "moov", BoxSize::toTheEnd);
    wide("movie header, version 1", "moov/mvhd", {4, 8, 16});
    wide("track header, version 1", "moov/trak/tkhd", {4, 8, 20});
    wide("media header, version 1", "moov/trak/mdia/mdhd", {4, 8, 16});
    wide("edit list, version 1", "moov/trak/edts/elst", {8, 12});

    row("boxes without meaning",
        box("free", "") + box("uuid", QByteArray(16, 'u')) + box("wide", "")
            + withMore(m_plain, "moov/trak", box("Xtra", "?")) + box("junk", "?"),
        plain);
    row("padding at the end of a list", withMore(m_plain, "moov", be32(0)), plain);
    row("a second movie header", m_plain + box("moov", ""), plain);
    row("size only in the sample entry",
        withBytes(m_plain, "moov/trak/tkhd", 76, QByteArray(8, '\0')), plain);
    ProbedMedia other = plain;
    other.videoTracks.clear();
    row("timed metadata", withBytes(m_plain, "moov/trak/mdia/hdlr", 8, "meta"), other);
    other.audioTracks.insert(other.audioTracks.begin(), ProbedAudioTrack{});
    row("a sample entry without a name",
        withContent(withBytes(m_plain, "moov/trak/mdia/hdlr", 8, "soun"), inStbl("stsd"),
                    be32(0) + be32(1)),
        other);
    other.audioTracks = plain.audioTracks;
    row("pictures of chapters",
        withMore(m_plain, "moov/trak", box("tref", box("chap", be32(1) + be32(99)))), other);
    other = plain;
    other.videoTracks.resize(63, plain.videoTracks[0]);
    row("64 tracks",
        withMore(m_plain, "moov", box("trak", contentOf(m_plain, "moov/trak")).repeated(62)),
        other);
    other = plain;
    other.videoTracks[0].nominalFrameRate = 0;
    row("no table of samples",
        changed(m_plain, inStbl("stts"), [](const QByteArray &) { return QByteArray(); }), other);
    row("no scale of the media", withBytes(m_plain, "moov/trak/mdia/mdhd", 12, be32(0)), other);
    addFragments(plain);
}

void MovieHeadersTest::addFragments(const ProbedMedia &plain) const
{
    const QByteArray mvex =
        box("mvex", box("trex", be32(0) + be32(1) + be32(1) + be32(512) + be32(0) + be32(0)));
    row("might have had fragments", withMore(m_plain, "moov", mvex), plain);
    row("fragments nobody announced", m_plain + fragment(9, ""), plain);
    const QByteArray fifteen = box("trun", be32(0) + be32(15));
    const ProbedMedia pieces = probed(m_pieces);
    ProbedMedia other = pieces;
    other.durationSeconds = 2.5;
    row("samples of the fragment's length", m_pieces + fragment(1, fifteen), other);
    row("samples of the track's length",
        withBytes(m_pieces, "moov/mvex/trex", 12, be32(512))
            + box("moof", box("traf", box("tfhd", be64(1)) + fifteen)),
        other);
    other.durationSeconds = 12.5;
    row("a gap before the last fragment",
        m_pieces + fragment(1, box("tfdt", be32(0) + be32(15360 * 12)) + fifteen), other);
    const QByteArray edit = contentOf(m_pieces, "moov/trak/edts/elst").sliced(8);
    row("another edit, of nothing",
        withContent(m_pieces, "moov/trak/edts/elst",
                    be32(0) + be32(2) + edit + be64(~0U) + be32(1U << 16)),
        pieces);
    other = pieces;
    const QByteArray unedited =
        changed(m_pieces, "moov/trak/edts", [](const QByteArray &) { return QByteArray(); });
    row("a fragment again", unedited + fragment(1, box("tfdt", be64(0)) + fifteen), other);
    other.durationSeconds = 39424. / 15360;
    row("pictures shown later than decoded",
        m_pieces
            + fragment(1, fifteen.chopped(4) + be32(14)
                              + box("trun", be32(0x800) + be32(1) + be32(1024))),
        other);
}

void MovieHeadersTest::readsHeadersOfEveryForm()
{
    QFETCH(const QByteArray, movie);
    QFETCH(const ProbedMedia, expected);
    const ProbedMedia media = probed(movie);
    QCOMPARE(exact(media.durationSeconds), exact(expected.durationSeconds));
    QCOMPARE(media.audioTracks.size(), expected.audioTracks.size());
    QCOMPARE(media.videoTracks.size(), expected.videoTracks.size());
    QVERIFY(media == expected);
}

void MovieHeadersTest::readsWhenPicturesAreShown()
{
    const QByteArray three =
        withContent(m_plain, inStbl("stts"), be32(0) + be32(1) + be32(3) + be32(10));
    const QByteArray more = box("ctts", be32(0) + be32(1) + be32(~0U) + be32(5)); // than there are
    QCOMPARE(timed(withMore(three, stbl, more)).pictureTimes,
             (std::vector<std::int64_t>{5, 15, 25}));
    QVERIFY(timed(withContent(three, inStbl("stsd"), be64(0))).pictureTimes.empty()); // no form
}

void MovieHeadersTest::findsDurationsThatContradictThemselves_data()
{
    QTest::addColumn<QByteArray>("movie");
    QTest::addColumn<bool>("contradicts");
    const QByteArray mvhd = "moov/mvhd"; // 2000 units of a millisecond
    QTest::newRow("zero") << withBytes(m_plain, mvhd, 16, be32(0)) << true;
    QTest::newRow("all ones") << withBytes(m_plain, mvhd, 16, be32(~0U)) << true;
    QTest::newRow("no scale") << withBytes(m_plain, mvhd, 12, be32(0)) << true;
    QTest::newRow("too long") << withBytes(m_plain, mvhd, 16, be32(2501)) << true;
    QTest::newRow("rather long") << withBytes(m_plain, mvhd, 16, be32(2500)) << false;
    QTest::newRow("rather short") << withBytes(m_plain, mvhd, 16, be32(1500)) << false;
    QTest::newRow("too short") << withBytes(m_plain, mvhd, 16, be32(1499)) << true;
    QTest::newRow("an edit that ends later")
        << withBytes(m_plain, "moov/trak/edts/elst", 8, be32(2501)) << true;
    QTest::newRow("announced fragments are missing")
        << m_pieces.left(m_pieces.indexOf("moof") - 4) << true;
    QTest::newRow("fragments without samples")
        << m_pieces.left(m_pieces.indexOf("moof") - 4) + fragment(1, "") << true;
}

void MovieHeadersTest::findsDurationsThatContradictThemselves()
{
    QFETCH(const QByteArray, movie);
    QTEST(std::isnan(probed(movie).durationSeconds), "contradicts");
}

void MovieHeadersTest::refusesWhatIsNoMovie_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("expected");
    row("nothing", "", refusal(u"the file is empty."_s));
    row("seven bytes", "\0\0\0\7moo"_ba, hasNoHeader);
    row("zeros", QByteArray(100'000, '\0'), hasNoHeader);
    row("movie without its header", m_plain.left(m_plain.indexOf("moov") - 4), hasNoHeader);

    row("size smaller than its header", be32(7) + "free" + m_plain, isDamaged);
    row("64-bit size smaller than its header", be32(1) + "free" + be64(15) + m_plain, isDamaged);
    // Added to where it begins, it would lead back to the first box.
    row("64-bit size beyond all numbers",
        box("free", "") + be32(1) + "free" + be64(~7ULL) + m_plain, hasNoHeader);
    row("header larger than the file", be32(~0U) + "moov" + m_plain, isCutOff);
    row("box larger than its parent", withMore(m_plain, "moov", be32(100) + "trak"), isDamaged);
    row("box larger than its track", withMore(m_plain, "moov/trak", be32(100) + "junk"), isDamaged);
    row("empty header", box("moov", ""), isDamaged);
    for (const char *name :
         {"moov/mvhd", "moov/trak/tkhd", "moov/trak/mdia/mdhd", "moov/trak/mdia/hdlr"})
        QTest::addRow("no %s", name)
            << changed(m_plain, name, [](const QByteArray &) { return QByteArray(); }) << isDamaged;
    for (const char *name :
         {"moov/mvhd", "moov/trak/tkhd", "moov/trak/mdia/mdhd", "moov/trak/edts/elst"}) {
        QTest::addRow("%s of version 2", name)
            << withBytes(m_plain, name, 0, be32(2U << 24)) << isDamaged;
        QTest::addRow("%s cut short", name)
            << withContent(m_plain, name, contentOf(m_plain, name).left(11)) << isDamaged;
    }
    row("more durations than fit", withBytes(m_plain, inStbl("stts"), 4, be32(2)), isDamaged);
    row("2^32 durations", withBytes(m_plain, inStbl("stts"), 4, be32(~0U)), isDamaged);
    row("2^32 pictures",
        withContent(m_plain, inStbl("stts"), be32(0) + be32(1) + be32(~0U) + be32(1)), hasTooMany);
    row("pictures beyond all times",
        m_pieces
            + fragment(1, box("tfdt", be32(1U << 24) + be64((1ULL << 62) + 1))
                              + box("trun", be32(0) + be32(1))),
        hasTooMany);
    row("a short sample entry",
        withContent(m_plain, inStbl("stsd"), be32(0) + be32(1) + box("avc1", QByteArray(40, 0))),
        isDamaged);
    row("durations beyond 64 bits",
        withContent(m_plain, inStbl("stts"), be32(0) + be32(2) + QByteArray(16, '\xFF')),
        isDamaged);
    row("edits beyond 64 bits",
        withContent(m_plain, "moov/trak/edts/elst",
                    be32(1U << 24) + be32(2) + QByteArray(40, '\xFF')),
        isDamaged);
    row("chapters without end",
        withMore(m_plain, "moov/trak",
                 box("tref", box("chap", QByteArray(qsizetype{4} * 65, 'c')))),
        isDamaged);
    const QByteArray track = box("trak", contentOf(m_plain, "moov/trak"));
    row("65 tracks", withMore(m_plain, "moov", track.repeated(63)),
        refusal(u"it has more than 64 tracks."_s));

    row("fragment of no track", m_pieces + fragment(9, ""), isDamaged);
    row("fragment without a header", m_pieces + box("moof", box("traf", box("trun", be64(0)))),
        isDamaged);
    row("more samples than fit",
        m_pieces + fragment(1, box("trun", be32(0x100) + be32(2) + be32(9))), isDamaged);
    row("2^32 samples", m_pieces + fragment(1, box("trun", be32(0xF05) + be32(~0U))), isDamaged);
    row("fragments beyond 64 bits",
        m_pieces
            + fragment(1, box("tfdt", be32(1U << 24) + be64(~0ULL))
                              + box("trun", be32(0) + be32(~0U))),
        isDamaged);
    row("cut off within a fragment", (m_pieces + fragment(1, box("free", "free"))).chopped(9),
        isCutOff);

    QByteArray nested = box("trak", "");
    for (int depth = 0; depth < 10'000; ++depth)
        nested = box("trak", nested);
    row("boxes within boxes", withMore(m_plain, "moov", nested), isDamaged);
}

void MovieHeadersTest::refusesWhatIsNoMovie()
{
    QFETCH(const QByteArray, bytes);
    QTEST(refusalOf(bytes), "expected");
}

void MovieHeadersTest::refusesEveryCut()
{
    const qsizetype headerEnd = m_first.indexOf("mdat") - 4;
    const ProbedMedia whole = probed(m_first);
    for (qsizetype size = 0; size < headerEnd - 8; ++size)
        QVERIFY2(!refusalOf(m_first.left(size)).isEmpty(), QByteArray::number(size).constData());
    for (qsizetype size = headerEnd; size < m_first.size(); size += 100)
        QVERIFY2(probed(m_first.left(size)) == whole, QByteArray::number(size).constData());

    // Cut while it is read.
    const ProbedMedia plain = probed(m_plain);
    for (auto end = std::size_t(m_plain.indexOf("moov")); end < std::size_t(m_plain.size());
         ++end) {
        CountedBytes shrinking(
            std::uint64_t(m_plain.size()), [&](std::uint64_t offset, std::span<std::byte> into) {
                const std::size_t count = offset < end ? std::min(into.size(), end - offset) : 0;
                std::memcpy(into.data(), m_plain.constData() + offset, count);
                return count;
            });
        try {
            QVERIFY2(probeMedia(shrinking.bytes) == plain, QByteArray::number(end).constData());
        } catch (const MediaProbeError &error) {
            QCOMPARE(QString::fromUtf8(error.what()), isCutOff);
        }
    }
}

// Endless files are made while they are read.

void MovieHeadersTest::givesUpOnEndlessFiles_data()
{
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<QByteArray>("repeated");
    QTest::addColumn<QString>("expected");
    const QString parts = refusal(u"it is made of too many parts."_s);
    const QString tooLong = refusal(u"its headers are too long."_s);
    QTest::newRow("boxes") << QByteArray() << box("free", "") << parts;
    QTest::newRow("fragments") << m_pieces << fragment(1, box("trun", be32(0) + be32(1))) << parts;
    QTest::newRow("one fragment of many parts")
        << m_pieces + be32(0) + "moof" << box("traf", box("tfhd", be64(1))) << parts;
    const auto endless = [](const QByteArray &type) { return be32(0) + type; };
    const QByteArray track = endless("moov") + box("mvhd", contentOf(m_plain, "moov/mvhd"))
                             + endless("trak") + box("tkhd", contentOf(m_plain, "moov/trak/tkhd"));
    QTest::newRow("a track") << track << box("free", "") << parts;
    QTest::newRow("a run of samples")
        << m_pieces + endless("moof") + endless("traf") + box("tfhd", be64(1)) + endless("trun")
               + be32(0x100) + be32(2'000'000'000)
        << be32(1) << tooLong;
}

void MovieHeadersTest::givesUpOnEndlessFiles()
{
    QFETCH(const QByteArray, head);
    QFETCH(const QByteArray, repeated);
    QFETCH(const QString, expected);
    const auto size = std::uint64_t(head.size());
    CountedBytes file(10'000'000'000, [&](std::uint64_t offset, std::span<std::byte> into) {
        for (std::byte &byte : into) {
            byte = std::byte(
                offset < size
                    ? head[qsizetype(offset)]
                    : repeated[qsizetype((offset - size) % std::uint64_t(repeated.size()))]);
            ++offset;
        }
        return into.size();
    });
    QCOMPARE(thrownText([&] { (void)probeMedia(file.bytes); }), expected);
    QVERIFY2(file.read <= std::uint64_t{64} * 1024 * 1024 && file.reads < 2'000'000,
             QByteArray::number(file.reads).constData());
}

QTEST_GUILESS_MAIN(MovieHeadersTest)
#include "movie_headers_test.moc"
