// SPDX-License-Identifier: Apache-2.0

#include "movies/movie_pairs.h"

#include <optional>

namespace vorn {
namespace {

using Lies = std::map<QString, MovieLie>;

bool isFound(const AlignmentOrWhyNot &alignment)
{
    return std::holds_alternative<MovieAlignment>(alignment);
}

/// Where a movie lies by way of one that has been found, if it does.
std::optional<MovieLie> lieThroughAnother(const Movie &movie, const Lies &lies,
                                          const HeardPairs &heard)
{
    for (const auto &[between, lie] : lies) {
        const auto pair = heard.find({between, movie.path});
        if (!isFound(lie.alignment) || pair == heard.end() || !isFound(pair->second))
            continue;
        AlignmentOrWhyNot alignment =
            alignmentThrough(std::get<MovieAlignment>(lie.alignment),
                             std::get<MovieAlignment>(pair->second), movie.seconds);
        if (isFound(alignment))
            return MovieLie{.alignment = std::move(alignment), .through = between};
    }
    return std::nullopt;
}

} // namespace

std::map<QString, MovieLie> moviesLying(const QString &reference, const std::vector<Movie> &movies,
                                        const HeardPairs &heard)
{
    Lies lies;
    for (const Movie &movie : movies) {
        const auto pair = heard.find({reference, movie.path});
        if (pair != heard.end())
            lies[movie.path] = {.alignment = pair->second, .through = {}};
    }
    // Once more, for each movie that was found may be the way to another one.
    for (bool hasChanged = true; hasChanged;) {
        hasChanged = false;
        for (const Movie &movie : movies) {
            const auto lie = lies.find(movie.path);
            if (lie == lies.end() || isFound(lie->second.alignment))
                continue;
            if (auto through = lieThroughAnother(movie, lies, heard)) {
                lie->second = std::move(*through);
                hasChanged = true;
            }
        }
    }
    return lies;
}

std::vector<MoviePair> pairsToHear(const QString &reference, const std::vector<Movie> &movies,
                                   const HeardPairs &heard)
{
    std::vector<MoviePair> pairs;
    for (const Movie &movie : movies) {
        if (movie.path != reference && !heard.contains({reference, movie.path}))
            pairs.emplace_back(reference, movie.path);
    }
    const Lies lies = moviesLying(reference, movies, heard);
    for (const auto &[lost, lie] : lies) {
        if (isFound(lie.alignment))
            continue;
        for (const auto &[between, other] : lies) {
            if (isFound(other.alignment) && !heard.contains({between, lost}))
                pairs.emplace_back(between, lost);
        }
    }
    return pairs;
}

} // namespace vorn
