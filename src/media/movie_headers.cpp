// SPDX-License-Identifier: Apache-2.0

#include "media/movie_headers.h"

#include <QtEndian>

#include <algorithm>
#include <bit>

using namespace Qt::StringLiterals;

// Field offsets in this file are those of ISO/IEC 14496-12 clause 8, counted from the first byte
// after a box's header. The way down is fixed (moov, trak, mdia, minf, stbl, table): boxes inside
// of themselves lead nowhere.

namespace vorn {
namespace {

// A phone's recording has two to eight; the bound keeps every list of this reader short.
constexpr std::size_t maximumTracks = 64;

using Entry = std::span<const std::byte>;

template <class Number> Number fieldOf(Entry entry, std::size_t offset)
{
    return qFromBigEndian<Number>(entry.subspan(offset, sizeof(Number)).data());
}

/// True when the times of a box have 64 bits, as in version 1.
bool isLong(BoxReader &boxes, const MovieBox &box)
{
    const std::uint32_t version = boxes.u32(box, 0) >> 24;
    if (version > 1)
        boxes.refuseDamaged();
    return version == 1;
}

void readMovieHeader(BoxReader &boxes, const MovieBox &mvhd, MovieHeaders &movie)
{
    if (isLong(boxes, mvhd)) {
        movie.timescale = boxes.u32(mvhd, 20);
        movie.units = boxes.u64(mvhd, 24);
    } else {
        movie.timescale = boxes.u32(mvhd, 12);
        movie.units = boxes.u32(mvhd, 16);
    }
}

void readTrackHeader(BoxReader &boxes, const MovieBox &tkhd, MovieTrack &track)
{
    const bool large = isLong(boxes, tkhd);
    track.id = boxes.u32(tkhd, large ? 20 : 12);
    // A matrix of three rows a b u, c d v, x y w, then the size; all but u, v, w in 16.16 bits.
    const std::uint64_t matrix = large ? 52 : 40;
    const auto fixedPoint = [&](std::uint64_t offset) {
        return std::bit_cast<std::int32_t>(boxes.u32(tkhd, matrix + offset)) / 65536.0;
    };
    track.a = fixedPoint(0);
    track.b = fixedPoint(4);
    track.c = fixedPoint(12);
    track.d = fixedPoint(16);
    track.width = boxes.u32(tkhd, matrix + 36) / 65536.0;
    track.height = boxes.u32(tkhd, matrix + 40) / 65536.0;
}

void readEdits(BoxReader &boxes, const MovieBox &elst, MovieDetail detail, MovieTrack &track)
{
    const bool large = isLong(boxes, elst);
    const std::uint32_t count = boxes.u32(elst, 4);
    track.hasEdits = count > 0;
    boxes.forEachEntry(elst, 8, count, large ? 20 : 12, [&](Entry entry) {
        const std::uint64_t length =
            large ? fieldOf<std::uint64_t>(entry, 0) : fieldOf<std::uint32_t>(entry, 0);
        const std::int64_t start =
            large ? fieldOf<std::int64_t>(entry, 8) : fieldOf<std::int32_t>(entry, 4);
        const auto rate = fieldOf<std::uint32_t>(entry, large ? 16 : 8); // 16.16
        if (detail == MovieDetail::timing)
            track.edits.push_back(
                {.units = length, .mediaStart = start, .isPlain = rate >> 16 == 1});
        track.editUnits = boxes.sum(track.editUnits, length);
        if (length == 0 && start >= 0)
            track.openEditStart = std::uint64_t(start);
    });
}

void readSampleDurations(BoxReader &boxes, const MovieBox &stts, MovieTrack &track)
{
    boxes.forEachEntry(stts, 8, boxes.u32(stts, 4), 8, [&](Entry entry) {
        const std::uint64_t samples = fieldOf<std::uint32_t>(entry, 0);
        const auto each = fieldOf<std::uint32_t>(entry, 4);
        const std::uint64_t units = samples * each;
        track.pace.add(std::uint32_t(samples), each);
        track.samples = boxes.sum(track.samples, samples);
        track.sampleUnits = boxes.sum(track.sampleUnits, units);
    });
    track.mediaEnd = track.sampleUnits;
    track.shownEnd = track.sampleUnits;
}

void addPictureTime(BoxReader &boxes, std::uint64_t units, std::int64_t offset, MovieHeaders &movie,
                    MovieTrack &track)
{
    // Beyond what a sum of such offsets can spoil.
    constexpr std::uint64_t latest = std::uint64_t(1) << 62;
    if (++movie.timedPictures > maximumTimedPictures || units > latest)
        boxes.refuse(u"it has too many pictures."_s);
    track.pictureTimes.push_back(std::int64_t(units) + offset);
}

void readPictureTimes(BoxReader &boxes, const MovieBox &stbl, MovieHeaders &movie,
                      MovieTrack &track)
{
    const auto stts = boxes.find(stbl, {"stts"_box});
    if (!stts)
        return;
    std::uint64_t time = 0;
    boxes.forEachEntry(*stts, 8, boxes.u32(*stts, 4), 8, [&](Entry entry) {
        for (auto samples = fieldOf<std::uint32_t>(entry, 0); samples > 0; --samples) {
            addPictureTime(boxes, time, 0, movie, track);
            time += fieldOf<std::uint32_t>(entry, 4);
        }
    });
    const auto ctts = boxes.find(stbl, {"ctts"_box});
    if (!ctts)
        return;
    auto next = track.pictureTimes.begin();
    boxes.forEachEntry(*ctts, 8, boxes.u32(*ctts, 4), 8, [&](Entry entry) {
        auto samples = fieldOf<std::uint32_t>(entry, 0);
        for (; samples > 0 && next != track.pictureTimes.end(); --samples)
            *next++ += fieldOf<std::int32_t>(entry, 4);
    });
}

/// True unless the first sample entry says that its pictures have 8 bits a sample (ISO/IEC 14496-15
/// 5.3.3 and 8.3.3).
bool mayBeDeep(BoxReader &boxes, const MovieBox &stsd)
{
    auto entry = boxes.boxAt(stsd.begin + 8, stsd.end);
    constexpr std::uint64_t fixedBytes = 78; // of a picture's entry, before its boxes
    if (!entry || entry->end > stsd.end || entry->size() < fixedBytes)
        boxes.refuseDamaged();
    entry->begin += fixedBytes;
    if (const auto avcC = boxes.find(*entry, {"avcC"_box})) {
        const std::uint32_t profile = boxes.u16(*avcC, 0) & 0xFF;
        return profile != 66 && profile != 77 && profile != 88 && profile != 100;
    }
    const auto hvcC = boxes.find(*entry, {"hvcC"_box});
    return !hvcC || (boxes.u16(*hvcC, 16) & 0x7) > 0;
}

void readForms(BoxReader &boxes, const MovieBox &stbl, MovieHeaders &movie, MovieTrack &track)
{
    const auto stsd = boxes.find(stbl, {"stsd"_box});
    if (!stsd || boxes.u32(*stsd, 4) == 0)
        return;
    if (track.handler == "vide"_box) {
        track.mayBeDeep = mayBeDeep(boxes, *stsd);
        readPictureTimes(boxes, stbl, movie, track);
    } else if (track.handler == "soun"_box) {
        track.channels = boxes.u16(*stsd, 32);
        track.soundRate = boxes.u32(*stsd, 40) >> 16;
    }
}

/// Notes which tracks hold the chapters of this one.
void readChapterReferences(BoxReader &boxes, const MovieBox &chap, MovieHeaders &movie)
{
    const std::uint64_t count = chap.size() / 4;
    if (movie.chapterTrackIds.size() + count > maximumTracks)
        boxes.refuseDamaged();
    boxes.forEachEntry(chap, 0, std::uint32_t(count), 4, [&](Entry entry) {
        movie.chapterTrackIds.push_back(fieldOf<std::uint32_t>(entry, 0));
    });
}

void readTrack(BoxReader &boxes, const MovieBox &trak, MovieHeaders &movie)
{
    if (movie.tracks.size() == maximumTracks)
        boxes.refuse(u"it has more than %1 tracks."_s.arg(maximumTracks));
    MovieTrack &track = movie.tracks.emplace_back();
    const auto tkhd = boxes.find(trak, {"tkhd"_box});
    const auto mdhd = boxes.find(trak, {"mdia"_box, "mdhd"_box});
    const auto hdlr = boxes.find(trak, {"mdia"_box, "hdlr"_box});
    if (!tkhd || !mdhd || !hdlr)
        boxes.refuseDamaged();
    readTrackHeader(boxes, *tkhd, track);
    track.timescale = boxes.u32(*mdhd, isLong(boxes, *mdhd) ? 20 : 12);
    track.handler = boxes.u32(*hdlr, 8);
    if (const auto elst = boxes.find(trak, {"edts"_box, "elst"_box}))
        readEdits(boxes, *elst, movie.detail, track);
    if (const auto chap = boxes.find(trak, {"tref"_box, "chap"_box}))
        readChapterReferences(boxes, *chap, movie);
    const auto stbl = boxes.find(trak, {"mdia"_box, "minf"_box, "stbl"_box});
    if (!stbl)
        return;
    if (const auto stts = boxes.find(*stbl, {"stts"_box}))
        readSampleDurations(boxes, *stts, track);
    const auto stsd = boxes.find(*stbl, {"stsd"_box});
    const bool isMedia = track.handler == "vide"_box || track.handler == "soun"_box;
    // What is too short to name a type was no reason to refuse a movie, and is none now.
    if (stsd && isMedia && stsd->size() >= 16 && boxes.u32(*stsd, 4) > 0)
        track.codec = boxes.u32(*stsd, 12);
    if (stsd && track.handler == "vide"_box && boxes.u32(*stsd, 4) > 0) {
        track.codedWidth = boxes.u16(*stsd, 40);
        track.codedHeight = boxes.u16(*stsd, 42);
    }
    if (movie.detail == MovieDetail::timing)
        readForms(boxes, *stbl, movie, track);
}

MovieTrack &trackWithId(BoxReader &boxes, MovieHeaders &movie, std::uint32_t id)
{
    const auto track = std::ranges::find(movie.tracks, id, &MovieTrack::id);
    if (track == movie.tracks.end())
        boxes.refuseDamaged();
    return *track;
}

void readMovie(BoxReader &boxes, const MovieBox &moov, MovieHeaders &movie)
{
    const auto mvhd = boxes.find(moov, {"mvhd"_box});
    if (!mvhd)
        boxes.refuseDamaged();
    readMovieHeader(boxes, *mvhd, movie);
    boxes.forEachChild(moov, [&](const MovieBox &box) {
        if (box.type == "trak"_box)
            readTrack(boxes, box, movie);
    });
    const auto mvex = boxes.find(moov, {"mvex"_box});
    if (!mvex)
        return;
    movie.mayHaveFragments = true;
    boxes.forEachChild(*mvex, [&](const MovieBox &box) {
        if (box.type == "trex"_box)
            trackWithId(boxes, movie, boxes.u32(box, 4)).defaultSampleUnits = boxes.u32(box, 12);
    });
}

struct TrackFragment {
    MovieTrack *track = nullptr;
    std::uint32_t sampleUnits = 0; ///< of samples that state none
    std::uint64_t end = 0;         ///< where the samples that were read end
    bool isTimed = false;          ///< each sample's time is kept
};

TrackFragment readFragmentHeader(BoxReader &boxes, const MovieBox &tfhd, MovieHeaders &movie)
{
    const std::uint32_t flags = boxes.u32(tfhd, 0);
    MovieTrack &track = trackWithId(boxes, movie, boxes.u32(tfhd, 4));
    // Optional fields, each behind its flag: data offset, description index, sample duration.
    const std::uint64_t duration = 8u + (flags & 0x1 ? 8u : 0u) + (flags & 0x2 ? 4u : 0u);
    return {.track = &track,
            .sampleUnits = flags & 0x8 ? boxes.u32(tfhd, duration) : track.defaultSampleUnits,
            .end = track.mediaEnd,
            .isTimed = movie.detail == MovieDetail::timing && track.handler == "vide"_box};
}

void readRun(BoxReader &boxes, const MovieBox &trun, MovieHeaders &movie, TrackFragment &fragment)
{
    const std::uint32_t flags = boxes.u32(trun, 0);
    const std::uint32_t count = boxes.u32(trun, 4);
    // Data offset and first sample's flags; then each sample's duration, size, flags and offset.
    const std::uint64_t table = 8u + (flags & 0x1 ? 4u : 0u) + (flags & 0x4 ? 4u : 0u);
    const auto entryBytes = std::uint32_t(4 * std::popcount(flags & 0xF00));
    boxes.checkTable(trun, table, count, entryBytes);
    MovieTrack &track = *fragment.track;
    const auto add = [&](std::uint64_t units, std::int64_t offset) {
        if (fragment.isTimed)
            addPictureTime(boxes, fragment.end, offset, movie, track);
        track.sampleUnits = boxes.sum(track.sampleUnits, units);
        fragment.end = boxes.sum(fragment.end, units);
        track.mediaEnd = std::max(track.mediaEnd, fragment.end);
        const std::uint64_t shownEnd =
            offset < 0 ? fragment.end - std::min(fragment.end, std::uint64_t(-offset))
                       : boxes.sum(fragment.end, std::uint64_t(offset));
        track.shownEnd = std::max(track.shownEnd, shownEnd);
    };
    track.samples = boxes.sum(track.samples, count);
    const bool statesDuration = flags & 0x100;
    const bool statesOffset = flags & 0x800;
    if (!statesDuration && !statesOffset) {
        track.pace.add(count, fragment.sampleUnits);
        for (std::uint32_t sample = 0; fragment.isTimed && sample < count; ++sample)
            add(fragment.sampleUnits, 0);
        if (fragment.isTimed)
            return;
        add(std::uint64_t{count} * fragment.sampleUnits, 0);
        return;
    }
    boxes.forEachEntry(trun, table, count, entryBytes, [&](Entry entry) {
        const auto units = statesDuration ? fieldOf<std::uint32_t>(entry, 0) : fragment.sampleUnits;
        track.pace.add(1, units);
        add(units, statesOffset ? fieldOf<std::int32_t>(entry, entryBytes - 4) : 0);
    });
}

void readTrackFragment(BoxReader &boxes, const MovieBox &traf, MovieHeaders &movie)
{
    TrackFragment fragment;
    boxes.forEachChild(traf, [&](const MovieBox &box) {
        const bool isTime = box.type == "tfdt"_box;
        const bool isRun = box.type == "trun"_box;
        if (box.type == "tfhd"_box)
            fragment = readFragmentHeader(boxes, box, movie);
        else if ((isTime || isRun) && !fragment.track) // the header comes first
            boxes.refuseDamaged();
        else if (isTime)
            fragment.end = isLong(boxes, box) ? boxes.u64(box, 4) : boxes.u32(box, 4);
        else if (isRun)
            readRun(boxes, box, movie, fragment);
    });
}

} // namespace

void SamplePace::add(std::uint32_t samples, std::uint32_t units)
{
    if (samples == 0)
        return;
    const auto widen = [this](std::uint32_t each) {
        shortest = std::min(shortest, each);
        longest = std::max(longest, each);
    };
    if (last)
        widen(*last);
    if (samples > 1)
        widen(units);
    last = units;
}

MovieHeaders readMovieHeaders(const MovieBytes &bytes, MovieDetail detail)
{
    BoxReader boxes(bytes);
    if (bytes.size == 0)
        boxes.refuse(u"the file is empty."_s);
    MovieHeaders movie;
    movie.detail = detail;
    bool hasMovie = false;
    for (std::uint64_t position = 0; !hasMovie || movie.mayHaveFragments;) {
        const auto box = boxes.boxAt(position, bytes.size);
        if (!box)
            break;
        const bool isMovie = !hasMovie && box->type == "moov"_box;
        const bool isFragment = hasMovie && box->type == "moof"_box;
        // Pictures and sound that are cut off are found by the digest, not here.
        if ((isMovie || isFragment) && box->end > bytes.size)
            boxes.refuseCutOff();
        if (isMovie)
            readMovie(boxes, *box, movie);
        if (isFragment)
            boxes.forEachChild(*box, [&](const MovieBox &child) {
                if (child.type == "traf"_box)
                    readTrackFragment(boxes, child, movie);
            });
        hasMovie = hasMovie || isMovie;
        movie.hasFragments = movie.hasFragments || isFragment;
        position = box->end;
    }
    if (!hasMovie)
        boxes.refuse(u"the movie header is missing."_s);
    return movie;
}

} // namespace vorn
