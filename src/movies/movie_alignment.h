// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "library/records.h"
#include "movies/movie_look.h"
#include "sound/overlap.h"

#include <memory>
#include <stop_token>
#include <variant>
#include <vector>

namespace vorn {

/// A movie and what is left of its sound for finding others in it.
struct HeardMovie {
    Movie movie;
    std::shared_ptr<const SoundFeatures> features;
};

/// Told of each further second of a movie that has been listened to. Called on the thread that
/// listens.
using OnSecondsHeard = std::function<void(double seconds)>;

/// Listens to a movie as a whole. Throws FileError and SoundError. Any thread; blocks.
[[nodiscard]] HeardMovie hearMovie(const Movie &movie, const std::stop_token &stop,
                                   const OnSecondsHeard &onHeard);

/// What one window of two movies told.
struct HeardWindow {
    LagPoint point;
    double uniqueness = 0; ///< as of LagEstimate

    bool operator==(const HeardWindow &) const = default;
};

/// Where a movie lies in the reference's time, by sound.
struct MovieAlignment {
    SoundLine line; ///< from the reference's time to the lag of the movie
    /// Enough for an export, each with what was measured as its uncertainty.
    std::vector<TimingAnchor> anchors;

    bool operator==(const MovieAlignment &) const = default;
};

/// Or a sentence that says why not.
using AlignmentOrWhyNot = std::variant<MovieAlignment, QString>;

/// Finds `other` in `reference`. Throws FileError and SoundError. Any thread; blocks for seconds.
[[nodiscard]] AlignmentOrWhyNot alignMovies(const HeardMovie &reference, const HeardMovie &other,
                                            const std::stop_token &stop,
                                            const OnSecondsHeard &onHeard);

/// What `windows` say of a movie of `seconds`, where they are enough for an export. `shared` is
/// where both recordings are, in the reference's time. Pure.
[[nodiscard]] AlignmentOrWhyNot alignmentOf(const std::vector<HeardWindow> &windows,
                                            const Overlap &shared, double seconds);

/// Sound cannot tell a distance from an offset. What `metres` between two phones may hide.
[[nodiscard]] double distanceMs(double metres);

/// The anchors when phones may stand `metres` apart: less certain by that, as far as an export
/// takes it.
[[nodiscard]] std::vector<TimingAnchor> withDistance(std::vector<TimingAnchor> anchors,
                                                     double metres);

} // namespace vorn
