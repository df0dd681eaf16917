// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "library/source_manifest.h"
#include "movies/movie_look.h"

#include <QStringList>

namespace vorn {

/// A text as the name of a camera, a take or a project: on one line, of characters that are seen,
/// and of a length that can be shown. May be empty.
[[nodiscard]] QString plainName(const QString &text);

/// A name for the camera of a movie: what filmed it, or else the file's name without its ending;
/// none of `taken`.
[[nodiscard]] QString cameraNameFor(const Movie &movie, const QStringList &taken);

/// `name`, with a number where it is one of `taken` in upper or lower case.
[[nodiscard]] QString nameBeside(const QString &name, const QStringList &taken);

/// The rate of a timeline for pictures of this rate: "30", "30000/1001" where they follow an odd
/// clock, and in decimals where they follow none.
[[nodiscard]] QString timelineRateText(double fps);

/// One movie's part of a take.
struct MovieClip {
    QString cameraName;
    Movie movie;
    std::vector<TimingAnchor> anchors; ///< empty for the reference
};

/// Where a take goes.
struct MovieTakePlace {
    QString projectId;
    /// Of a project that is to be made; absent for one that the library has.
    std::optional<QString> newProjectName;
    QString takeId;
};

/// A source manifest of movies that stay where they are. `reference` is an index of `clips`. Pure.
[[nodiscard]] SourceManifest manifestOfMovies(const MovieTakePlace &place,
                                              const std::vector<MovieClip> &clips,
                                              std::size_t reference);

/// Writes the manifest into a new folder of its own in `recordings`, all of it or nothing, and
/// gives its path. Throws FileError. Any thread; blocks.
[[nodiscard]] QString writeMovieManifest(const SourceManifest &manifest, const QString &recordings);

} // namespace vorn
