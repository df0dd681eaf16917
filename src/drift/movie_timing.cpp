// SPDX-License-Identifier: Apache-2.0

#include "drift/movie_timing.h"

#include "media/media_probe.h"

#include <algorithm>
#include <cmath>

namespace vorn {
namespace {

/// The one piece of a track's media that is played. In seconds, but for the media's start.
struct PlayedPiece {
    double startSeconds = 0;
    std::int64_t mediaStart = 0;
    std::optional<double> lengthSeconds; ///< absent: to the end
};

std::optional<PlayedPiece> playedPiece(const MovieTrack &track, std::uint32_t movieTimescale)
{
    PlayedPiece piece;
    std::size_t pieces = 0;
    for (const MovieEdit &edit : track.edits) {
        const double length = double(edit.units) / movieTimescale;
        if (edit.mediaStart < 0 && pieces == 0) {
            piece.startSeconds += length;
        } else if (edit.mediaStart >= 0) {
            piece.mediaStart = edit.mediaStart;
            if (edit.units > 0)
                piece.lengthSeconds = length;
            if (!edit.isPlain || ++pieces > 1)
                return std::nullopt;
        }
    }
    return pieces == 1 || track.edits.empty() ? std::optional(piece) : std::nullopt;
}

void placePictures(std::vector<std::int64_t> times, const PlayedPiece &piece, double roundedBy,
                   MovieTiming &timing)
{
    std::ranges::sort(times);
    // The picture that is on when the piece begins is shown then, and none that comes with its end.
    auto first = std::ranges::upper_bound(times, piece.mediaStart);
    if (first != times.begin())
        --first;
    auto last = times.end();
    if (piece.lengthSeconds) {
        const double end =
            double(piece.mediaStart) + (*piece.lengthSeconds - roundedBy) * timing.timescale;
        last = std::ranges::lower_bound(times, std::int64_t(std::ceil(end)));
    }
    if (first >= last)
        return;
    timing.mediaStart = piece.mediaStart;
    timing.startUnits = std::llround(piece.startSeconds * timing.timescale);
    timing.firstMedia = *first;
    timing.lastMedia = *(last - 1);
    for (auto time = first; time != last; ++time)
        timing.pictures.push_back(std::max<std::int64_t>(*time - piece.mediaStart, 0)
                                  + timing.startUnits);
}

} // namespace

std::optional<MovieTiming> DriftEngine::movieTiming(const QString &path)
{
    const MovieHeaders movie = movieHeaders(path, MovieDetail::timing);
    // Half a unit of the movie, in which edits are counted.
    const double roundedBy = 0.5 / std::max(movie.timescale, 1U);
    MovieTiming timing;
    for (const MovieTrack &track : movie.tracks) {
        const bool isPicture = track.handler == "vide"_box;
        if ((!isPicture && track.handler != "soun"_box) || track.timescale == 0
            || std::ranges::find(movie.chapterTrackIds, track.id) != movie.chapterTrackIds.end())
            continue;
        const auto piece = playedPiece(track, std::max(movie.timescale, 1U));
        if (!piece)
            return std::nullopt;
        if (!isPicture) {
            timing.sound =
                SoundTiming{.startSeconds = piece->startSeconds,
                            .mediaStartSeconds = double(piece->mediaStart) / track.timescale,
                            .lengthSeconds = piece->lengthSeconds,
                            .rate = track.soundRate,
                            .channels = track.channels};
            continue;
        }
        timing.timescale = track.timescale;
        timing.codedWidth = track.codedWidth;
        timing.codedHeight = track.codedHeight;
        timing.matrix = {track.a, track.b, track.c, track.d};
        timing.mayBeDeep = track.mayBeDeep;
        placePictures(track.pictureTimes, *piece, roundedBy, timing);
    }
    return timing.pictures.empty() ? std::nullopt : std::optional(timing);
}

} // namespace vorn
