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

/// What was found of a movie of `seconds`, where that is enough for an export. Pure.
[[nodiscard]] AlignmentOrWhyNot alignmentOf(const Overlap &shared, double seconds);

/// Where a movie of `seconds` lies that was found in another one (`beyond`), which was found in the
/// reference (`between`): as uncertain as both. Only where the reference was heard counts. Pure.
[[nodiscard]] AlignmentOrWhyNot alignmentThrough(const MovieAlignment &between,
                                                 const MovieAlignment &beyond, double seconds);

/// What `metres` between two phones may hide: sound cannot tell a distance from an offset. It is
/// the same throughout, and so says nothing against a drift that was measured.
[[nodiscard]] double distanceMs(double metres);

} // namespace vorn
