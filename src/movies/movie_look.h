// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/digest.h"
#include "media/media_probe.h"

#include <QString>

namespace vorn {

/// A movie file that is to become a clip of a take, as far as it can be told without listening.
struct Movie {
    QString path;   ///< absolute
    QString sha256; ///< empty where its headers refuse it already
    QString device; ///< what it was filmed with, as it says itself; may be empty
    double seconds = 0;
    double fps = 0;
    /// Why it cannot be used, a sentence; empty where it can.
    QString refusal;

    bool operator==(const Movie &) const = default;
};

/// Why a movie whose headers say this cannot be aligned by its sound and then exported; empty where
/// it can. Pure.
[[nodiscard]] QString refusalOf(const ProbedMedia &media, const QString &path);

/// Reads headers and digest. What the file is at fault for is its refusal; throws only what
/// `report` does, which gets the bytes read. Any thread; blocks.
[[nodiscard]] Movie lookAtMovie(const QString &path, const ByteReport &report);

} // namespace vorn
