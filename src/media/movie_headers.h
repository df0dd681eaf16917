// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "media/media_boxes.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

namespace vorn {

/// The shortest and the longest duration of a track's samples, without the last one, which ends
/// where the recording was stopped. With fewer than two samples there is neither.
struct SamplePace {
    std::uint32_t shortest = std::numeric_limits<std::uint32_t>::max();
    std::uint32_t longest = 0;
    std::optional<std::uint32_t> last; ///< of the last sample

    /// So many more samples of this duration.
    void add(std::uint32_t samples, std::uint32_t units);
};

/// How much is kept of what the headers say.
enum class MovieDetail {
    summary,
    timing, ///< also each picture's time, each edit, and the forms of picture and sound
};

/// A piece of a track's media, as it is played.
struct MovieEdit {
    std::uint64_t units = 0;     ///< length, in units of the movie; 0 for all there is
    std::int64_t mediaStart = 0; ///< in units of the media; -1 where nothing is played
    bool isPlain = true;         ///< at the speed of its recording
};

/// Of a whole movie: more than a day has at 60 a second. Each costs eight bytes.
constexpr std::size_t maximumTimedPictures = 6'000'000;

/// What the headers of a movie say of one of its tracks.
struct MovieTrack {
    std::uint32_t id = 0;
    std::uint32_t handler = 0;   ///< "vide"_box, "soun"_box or what else there is
    std::uint32_t timescale = 0; ///< units a second of the media
    std::uint64_t samples = 0;
    std::uint64_t sampleUnits = 0; ///< sum of all sample durations
    std::uint64_t mediaEnd =
        0; ///< where the last sample ends in decoding order; fragments may leave gaps
    std::uint64_t shownEnd = 0;           ///< where the last picture shown ends, counted likewise
    std::uint32_t defaultSampleUnits = 0; ///< of samples in fragments that state none
    bool hasEdits = false;
    std::uint64_t editUnits = 0; ///< sum of all edits, in units of the movie
    /// Start in the media of an edit without a length, which shows the media to its end.
    std::optional<std::uint64_t> openEditStart;
    double width = 0, height = 0; ///< pixels, before the matrix; 0 where the header states none
    std::uint16_t codedWidth = 0, codedHeight = 0; ///< pixels, as the first sample entry has them
    double a = 0, b = 0, c = 0, d = 0;             ///< linear part of the matrix
    std::uint32_t codec = 0;                       ///< type of the first sample entry
    SamplePace pace;

    // With MovieDetail::timing alone.
    std::vector<MovieEdit> edits;
    std::vector<std::int64_t> pictureTimes; ///< units of the media, in decoding order
    bool mayBeDeep = false;                 ///< nothing says that its pictures have 8 bits a sample
    std::uint32_t soundRate = 0;
    std::uint16_t channels = 0;
};

/// What the headers of a movie say, as plain values.
struct MovieHeaders {
    MovieDetail detail = MovieDetail::summary;
    std::uint32_t timescale = 0;
    std::uint64_t units = 0; ///< the stated duration; all ones where it was not known
    std::vector<MovieTrack> tracks;
    std::vector<std::uint32_t> chapterTrackIds; ///< tracks that hold the chapters of others
    bool mayHaveFragments = false;
    bool hasFragments = false;
    std::size_t timedPictures = 0; ///< whose times are kept, of all tracks
};

/// Reads the boxes of ISO/IEC 14496-12 clause 8 that say these things, and no others. Throws
/// MediaProbeError, and what `bytes.readAt` throws.
[[nodiscard]] MovieHeaders readMovieHeaders(const MovieBytes &bytes,
                                            MovieDetail detail = MovieDetail::summary);

} // namespace vorn
