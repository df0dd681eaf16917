// SPDX-License-Identifier: Apache-2.0

#include "media/media_probe.h"

#include "base/files.h"
#include "media/movie_headers.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

// Rounding of edits to the movie's time scale stays far below; half a second is a wrong header.
constexpr double durationToleranceSeconds = 0.5;

double secondsOf(std::uint64_t units, std::uint32_t timescale)
{
    return timescale == 0 ? 0.0 : double(units) / timescale;
}

/// How long a track plays, its edits applied.
double editedSeconds(const MovieTrack &track, const MovieHeaders &movie)
{
    if (!track.hasEdits)
        return secondsOf(track.mediaEnd, track.timescale);
    double length = secondsOf(track.editUnits, movie.timescale);
    if (track.openEditStart && *track.openEditStart < track.shownEnd)
        length += secondsOf(track.shownEnd - *track.openEditStart, track.timescale);
    return length;
}

double durationSeconds(const MovieHeaders &movie)
{
    constexpr double contradiction = std::numeric_limits<double>::quiet_NaN();
    double longest = 0;
    for (const MovieTrack &track : movie.tracks)
        longest = std::max(longest, editedSeconds(track, movie));
    if (movie.hasFragments) // the movie header was written before their lengths were known
        return longest > 0 ? longest : contradiction;
    const double stated = secondsOf(movie.units, movie.timescale);
    const bool agrees = stated > 0 && std::abs(stated - longest) <= durationToleranceSeconds;
    return agrees ? stated : contradiction;
}

float nominalFrameRate(const MovieTrack &track)
{
    if (track.sampleUnits == 0)
        return 0;
    return float(double(track.samples) * double(track.timescale) / double(track.sampleUnits));
}

bool hasVariableRate(const SamplePace &pace)
{
    // In units of 1/600 s, 60 frames a second are 10 each, and rates that do not divide it are
    // rounded up and down. Phones' clocks add jitter far below a tenth of a frame.
    constexpr std::uint32_t unitsToRoundIn = 8;
    const std::uint32_t rounding = pace.shortest >= unitsToRoundIn ? 1 : 0;
    return pace.longest > pace.shortest
           && pace.longest - pace.shortest > std::max(rounding, pace.shortest / 10);
}

ProbedVideoTrack videoTrackOf(const MovieTrack &track)
{
    const bool isSizeStated = track.width > 0 && track.height > 0;
    return {.naturalWidth = isSizeStated ? track.width : track.codedWidth,
            .naturalHeight = isSizeStated ? track.height : track.codedHeight,
            .a = track.a,
            .b = track.b,
            .c = track.c,
            .d = track.d,
            .nominalFrameRate = nominalFrameRate(track),
            .hasVariableRate = hasVariableRate(track.pace),
            .codec = track.codec};
}

ProbedMedia probedMedia(const MovieHeaders &movie)
{
    ProbedMedia media;
    media.durationSeconds = durationSeconds(movie);
    for (const MovieTrack &track : movie.tracks) {
        // Pictures of chapters are no recording.
        if (std::ranges::find(movie.chapterTrackIds, track.id) != movie.chapterTrackIds.end())
            continue;
        if (track.handler == "soun"_box)
            media.audioTracks.push_back({.codec = track.codec});
        if (track.handler == "vide"_box)
            media.videoTracks.push_back(videoTrackOf(track));
    }
    return media;
}

/// What `read` makes of the bytes of a file.
template <class Read> auto withMovie(const QString &path, Read read)
{
    const FileDescriptor file = openRegularFile(path);
    const auto readAt = [&](std::uint64_t offset, std::span<std::byte> into) {
        std::size_t filled = 0;
        while (filled < into.size()) {
            const ssize_t got = ::pread(file.get(), into.data() + filled, into.size() - filled,
                                        off_t(offset + filled));
            if (got < 0 && errno == EINTR)
                continue;
            if (got < 0)
                throw FileError(u"Cannot read"_s, path, errno);
            if (got == 0)
                break;
            filled += std::size_t(got);
        }
        return filled;
    };
    return read(MovieBytes{
        .name = fileNameOf(path), .size = std::uint64_t(fileSize(file, path)), .readAt = readAt});
}

} // namespace

ProbedMedia probeMedia(const MovieBytes &bytes)
{
    return probedMedia(readMovieHeaders(bytes));
}

ProbedMedia probeMedia(const QString &path)
{
    return probedMedia(movieHeaders(path, MovieDetail::summary));
}

MovieHeaders movieHeaders(const QString &path, MovieDetail detail)
{
    return withMovie(path,
                     [detail](const MovieBytes &bytes) { return readMovieHeaders(bytes, detail); });
}

QString filmingDevice(const QString &path)
{
    return withMovie(path, [](const MovieBytes &bytes) { return filmingDevice(bytes); });
}

} // namespace vorn
