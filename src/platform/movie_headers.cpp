#include "platform/movie_headers.h"

#include <QtEndian>

#include <algorithm>
#include <bit>
#include <limits>

using namespace Qt::StringLiterals;

// Field offsets in this file are those of ISO/IEC 14496-12 clause 8, counted from the first byte
// after a box's header.

namespace vorn {
namespace {

// A phone's recording has two to eight; the bound keeps every list of this reader short.
constexpr std::size_t maximumTracks = 64;

struct TrackFragment {
    MovieTrack *track = nullptr;
    std::uint32_t sampleUnits = 0; ///< of samples that state none
    std::uint64_t end = 0;         ///< where the samples that were read end
};

/// Builds the headers from their boxes. The way down is fixed (moov, trak, mdia, minf, stbl,
/// table): boxes inside of themselves lead nowhere.
class MovieReader {
public:
    explicit MovieReader(BoxReader &boxes) : m_boxes(boxes) {}

    void readMovie(const MovieBox &moov);
    void readFragment(const MovieBox &moof);
    [[nodiscard]] const MovieHeaders &movie() const { return m_movie; }

private:
    void readMovieHeader(const MovieBox &mvhd);
    void readTrack(const MovieBox &trak);
    void readTrackHeader(const MovieBox &tkhd, MovieTrack &track);
    void readCodedSize(MovieTrack &track);
    void readChapterReferences(const MovieBox &tref);
    void readEdits(const MovieBox &elst, MovieTrack &track);
    void readMedia(const MovieBox &mdia, MovieTrack &track);
    void readSampleTable(const MovieBox &stbl, MovieTrack &track);
    void readSampleDurations(const MovieBox &stts, MovieTrack &track);
    void readFragmentDefaults(const MovieBox &mvex);
    void readTrackFragment(const MovieBox &traf);
    TrackFragment readFragmentHeader(const MovieBox &tfhd);
    void readRun(const MovieBox &trun, TrackFragment &fragment);

    [[nodiscard]] bool isLong(const MovieBox &box);
    [[nodiscard]] std::uint64_t units(const MovieBox &box, std::uint64_t offset, bool isLong);
    [[nodiscard]] double fixedPoint(const MovieBox &box, std::uint64_t offset);
    [[nodiscard]] MovieTrack &trackWithId(std::uint32_t id);

    BoxReader &m_boxes;
    MovieHeaders m_movie;
    std::optional<MovieBox> m_sampleDescription; ///< of the track that is being read
};

/// True when the times of a box have 64 bits, as version 1 has it.
bool MovieReader::isLong(const MovieBox &box)
{
    const std::uint32_t version = m_boxes.u32(box, 0) >> 24;
    if (version > 1)
        m_boxes.refuseDamaged();
    return version == 1;
}

std::uint64_t MovieReader::units(const MovieBox &box, std::uint64_t offset, bool isLong)
{
    return isLong ? m_boxes.u64(box, offset) : m_boxes.u32(box, offset);
}

/// A signed number of 16.16 bits.
double MovieReader::fixedPoint(const MovieBox &box, std::uint64_t offset)
{
    return std::bit_cast<std::int32_t>(m_boxes.u32(box, offset)) / 65536.0;
}

MovieTrack &MovieReader::trackWithId(std::uint32_t id)
{
    const auto track = std::ranges::find(m_movie.tracks, id, &MovieTrack::id);
    if (track == m_movie.tracks.end())
        m_boxes.refuseDamaged();
    return *track;
}

void MovieReader::readMovie(const MovieBox &moov)
{
    std::optional<MovieBox> header;
    std::optional<MovieBox> extends;
    m_boxes.forEachChild(moov, [&](const MovieBox &box) {
        if (box.type == boxType("mvhd"))
            header = box;
        else if (box.type == boxType("trak"))
            readTrack(box);
        else if (box.type == boxType("mvex"))
            extends = box;
    });
    if (!header)
        m_boxes.refuseDamaged();
    readMovieHeader(*header);
    if (extends)
        readFragmentDefaults(*extends);
}

void MovieReader::readMovieHeader(const MovieBox &mvhd)
{
    const bool large = isLong(mvhd);
    m_movie.timescale = m_boxes.u32(mvhd, large ? 20 : 12);
    const std::uint64_t stated = units(mvhd, large ? 24 : 16, large);
    const std::uint64_t unknown = large ? std::numeric_limits<std::uint64_t>::max()
                                        : std::numeric_limits<std::uint32_t>::max();
    if (stated != unknown)
        m_movie.units = stated;
}

void MovieReader::readTrack(const MovieBox &trak)
{
    if (m_movie.tracks.size() == maximumTracks)
        m_boxes.refuse(u"it has more than %1 tracks."_s.arg(maximumTracks));
    MovieTrack track;
    std::optional<MovieBox> header;
    m_sampleDescription.reset();
    m_boxes.forEachChild(trak, [&](const MovieBox &box) {
        if (box.type == boxType("tkhd"))
            header = box;
        else if (box.type == boxType("tref"))
            readChapterReferences(box);
        else if (box.type == boxType("edts"))
            m_boxes.forEachChild(box, [&](const MovieBox &elst) {
                if (elst.type == boxType("elst"))
                    readEdits(elst, track);
            });
        else if (box.type == boxType("mdia"))
            readMedia(box, track);
    });
    if (!header)
        m_boxes.refuseDamaged();
    readTrackHeader(*header, track);
    if (track.handler == boxType("vide") && (track.width == 0 || track.height == 0))
        readCodedSize(track);
    m_movie.tracks.push_back(track);
}

void MovieReader::readTrackHeader(const MovieBox &tkhd, MovieTrack &track)
{
    const bool large = isLong(tkhd);
    track.id = m_boxes.u32(tkhd, large ? 20 : 12);
    // Three rows a b u, c d v, x y w.
    const std::uint64_t matrix = large ? 52 : 40;
    track.a = fixedPoint(tkhd, matrix);
    track.b = fixedPoint(tkhd, matrix + 4);
    track.c = fixedPoint(tkhd, matrix + 12);
    track.d = fixedPoint(tkhd, matrix + 16);
    track.width = m_boxes.u32(tkhd, matrix + 36) / 65536.0;
    track.height = m_boxes.u32(tkhd, matrix + 40) / 65536.0;
}

/// Sizes of the first sample entry, for a track header that states none.
void MovieReader::readCodedSize(MovieTrack &track)
{
    if (!m_sampleDescription)
        m_boxes.refuseDamaged();
    track.width = m_boxes.u16(*m_sampleDescription, 40);
    track.height = m_boxes.u16(*m_sampleDescription, 42);
}

/// Notes which tracks hold another one's chapters: their pictures are no recording.
void MovieReader::readChapterReferences(const MovieBox &tref)
{
    m_boxes.forEachChild(tref, [&](const MovieBox &box) {
        if (box.type != boxType("chap"))
            return;
        const std::uint64_t count = box.size() / 4;
        if (count + m_movie.chapterTrackIds.size() > maximumTracks)
            m_boxes.refuseDamaged();
        m_boxes.forEachEntry(
            box, 0, std::uint32_t(count), 4, [&](std::span<const std::byte> entry) {
                m_movie.chapterTrackIds.push_back(qFromBigEndian<std::uint32_t>(entry.data()));
            });
    });
}

void MovieReader::readEdits(const MovieBox &elst, MovieTrack &track)
{
    const bool large = isLong(elst);
    const std::uint32_t count = m_boxes.u32(elst, 4);
    track.hasEdits = count > 0;
    track.editUnits = 0;
    track.openEditStart.reset();
    m_boxes.forEachEntry(elst, 8, count, large ? 20 : 12, [&](std::span<const std::byte> entry) {
        const std::uint64_t length = large ? qFromBigEndian<std::uint64_t>(entry.data())
                                           : qFromBigEndian<std::uint32_t>(entry.data());
        const std::int64_t start = large ? qFromBigEndian<std::int64_t>(entry.data() + 8)
                                         : qFromBigEndian<std::int32_t>(entry.data() + 4);
        track.editUnits = m_boxes.sum(track.editUnits, length);
        if (length == 0 && start >= 0)
            track.openEditStart = std::uint64_t(start);
    });
}

void MovieReader::readMedia(const MovieBox &mdia, MovieTrack &track)
{
    m_boxes.forEachChild(mdia, [&](const MovieBox &box) {
        if (box.type == boxType("mdhd"))
            track.timescale = m_boxes.u32(box, isLong(box) ? 20 : 12);
        else if (box.type == boxType("hdlr"))
            track.handler = m_boxes.u32(box, 8);
        else if (box.type == boxType("minf"))
            m_boxes.forEachChild(box, [&](const MovieBox &stbl) {
                if (stbl.type == boxType("stbl"))
                    readSampleTable(stbl, track);
            });
    });
}

void MovieReader::readSampleTable(const MovieBox &stbl, MovieTrack &track)
{
    m_boxes.forEachChild(stbl, [&](const MovieBox &box) {
        if (box.type == boxType("stts"))
            readSampleDurations(box, track);
        else if (box.type == boxType("stsd"))
            m_sampleDescription = box;
    });
}

void MovieReader::readSampleDurations(const MovieBox &stts, MovieTrack &track)
{
    const std::uint32_t count = m_boxes.u32(stts, 4);
    track.samples = 0;
    track.sampleUnits = 0;
    m_boxes.forEachEntry(stts, 8, count, 8, [&](std::span<const std::byte> entry) {
        const std::uint64_t samples = qFromBigEndian<std::uint32_t>(entry.data());
        const std::uint64_t each = qFromBigEndian<std::uint32_t>(entry.data() + 4);
        track.samples = m_boxes.sum(track.samples, samples);
        track.sampleUnits = m_boxes.sum(track.sampleUnits, m_boxes.product(samples, each));
    });
    track.mediaEnd = track.sampleUnits;
}

void MovieReader::readFragmentDefaults(const MovieBox &mvex)
{
    m_movie.mayHaveFragments = true;
    m_boxes.forEachChild(mvex, [&](const MovieBox &box) {
        if (box.type == boxType("trex"))
            trackWithId(m_boxes.u32(box, 4)).defaultSampleUnits = m_boxes.u32(box, 12);
    });
}

void MovieReader::readFragment(const MovieBox &moof)
{
    m_movie.hasFragments = true;
    m_boxes.forEachChild(moof, [&](const MovieBox &box) {
        if (box.type == boxType("traf"))
            readTrackFragment(box);
    });
}

void MovieReader::readTrackFragment(const MovieBox &traf)
{
    TrackFragment fragment;
    m_boxes.forEachChild(traf, [&](const MovieBox &box) {
        if (box.type == boxType("tfhd")) {
            fragment = readFragmentHeader(box);
            return;
        }
        const bool isRun = box.type == boxType("trun");
        if (!isRun && box.type != boxType("tfdt"))
            return;
        if (!fragment.track) // the header comes first
            m_boxes.refuseDamaged();
        if (isRun)
            readRun(box, fragment);
        else
            fragment.end = units(box, 4, isLong(box));
    });
}

TrackFragment MovieReader::readFragmentHeader(const MovieBox &tfhd)
{
    const std::uint32_t flags = m_boxes.u32(tfhd, 0);
    MovieTrack &track = trackWithId(m_boxes.u32(tfhd, 4));
    // Optional fields, each behind its flag: data offset, description index, sample duration.
    const std::uint64_t duration = 8u + (flags & 0x1 ? 8u : 0u) + (flags & 0x2 ? 4u : 0u);
    return {.track = &track,
            .sampleUnits = flags & 0x8 ? m_boxes.u32(tfhd, duration) : track.defaultSampleUnits,
            .end = track.mediaEnd};
}

void MovieReader::readRun(const MovieBox &trun, TrackFragment &fragment)
{
    const std::uint32_t flags = m_boxes.u32(trun, 0);
    const std::uint32_t count = m_boxes.u32(trun, 4);
    // Data offset and first sample's flags; then each sample's duration, size, flags and offset.
    const std::uint64_t table = 8u + (flags & 0x1 ? 4u : 0u) + (flags & 0x4 ? 4u : 0u);
    const auto entryBytes = std::uint32_t(4 * std::popcount(flags & 0xF00));
    std::uint64_t runUnits = 0; // holds 2^32 - 1 times 2^32 - 1
    if (flags & 0x100) {
        m_boxes.forEachEntry(trun, table, count, entryBytes, [&](std::span<const std::byte> entry) {
            runUnits += qFromBigEndian<std::uint32_t>(entry.data());
        });
    } else {
        m_boxes.checkTable(trun, table, count, entryBytes);
        runUnits = std::uint64_t{count} * fragment.sampleUnits;
    }
    MovieTrack &track = *fragment.track;
    track.samples = m_boxes.sum(track.samples, count);
    track.sampleUnits = m_boxes.sum(track.sampleUnits, runUnits);
    fragment.end = m_boxes.sum(fragment.end, runUnits);
    track.mediaEnd = std::max(track.mediaEnd, fragment.end);
}

} // namespace

MovieHeaders readMovieHeaders(const MovieBytes &bytes)
{
    BoxReader boxes(bytes);
    if (bytes.size == 0)
        boxes.refuse(u"the file is empty."_s);
    MovieReader reader(boxes);
    bool hasMovie = false;
    for (std::uint64_t position = 0; !hasMovie || reader.movie().mayHaveFragments;) {
        const auto box = boxes.boxAt(position, bytes.size);
        if (!box)
            break;
        const bool isMovie = !hasMovie && box->type == boxType("moov");
        const bool isFragment = hasMovie && box->type == boxType("moof");
        // Pictures and sound that are cut off are found by the digest, not here.
        if ((isMovie || isFragment) && box->end > bytes.size)
            boxes.refuseCutOff();
        if (isMovie)
            reader.readMovie(*box);
        else if (isFragment)
            reader.readFragment(*box);
        hasMovie = hasMovie || isMovie;
        position = box->end;
    }
    if (!hasMovie)
        boxes.refuse(u"the movie header is missing."_s);
    return reader.movie();
}

} // namespace vorn
