// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "movies/movie_alignment.h"

#include <QString>

#include <map>
#include <utility>
#include <vector>

namespace vorn {

/// Two movies by their paths: the one in which was listened, and the one that was sought in it.
using MoviePair = std::pair<QString, QString>;
using HeardPairs = std::map<MoviePair, AlignmentOrWhyNot>;

/// Where a movie lies in the reference's time, or why nobody knows.
struct MovieLie {
    AlignmentOrWhyNot alignment;
    QString through; ///< path of the movie in which it was found; empty where that is the reference
};

/// What `heard` says of `movies` beside the reference, by their paths: those that were not found in
/// the reference itself lie by way of one that was, where they were found in that. Pure.
[[nodiscard]] std::map<QString, MovieLie>
moviesLying(const QString &reference, const std::vector<Movie> &movies, const HeardPairs &heard);

/// The pairs that may yet say where a movie lies, the most promising first: all with the reference,
/// then those that were not found there with those that were. Pure.
[[nodiscard]] std::vector<MoviePair>
pairsToHear(const QString &reference, const std::vector<Movie> &movies, const HeardPairs &heard);

} // namespace vorn
