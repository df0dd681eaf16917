// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace vorn {

/// What of a movie's sound is heard, and when.
struct SoundTiming {
    double startSeconds = 0;             ///< when it begins, on the movie's own time
    double mediaStartSeconds = 0;        ///< what of its media sounds then
    std::optional<double> lengthSeconds; ///< absent: to the end of its media
    std::uint32_t rate = 0;              ///< samples a second, as far as the headers know
    std::uint16_t channels = 0;
};

/// When everything of a movie is shown, by its headers.
struct MovieTiming {
    std::uint32_t timescale = 0; ///< units a second, of the pictures
    /// When each picture that is shown appears, in order, in units from the movie's second 0.
    std::vector<std::int64_t> pictures;
    // In the media, in units: the first and the last of these, what is shown at `startUnits`, and
    // when that is.
    std::int64_t firstMedia = 0, lastMedia = 0, mediaStart = 0, startUnits = 0;
    std::uint32_t codedWidth = 0, codedHeight = 0; ///< pixels as stored
    std::array<double, 4> matrix{};                ///< linear part: a, b, c, d
    bool mayBeDeep = false;                        ///< samples of more than 8 bits
    std::optional<SoundTiming> sound;
};

namespace DriftEngine {

/// The timing of a file that mediaInfo accepts. Absent where the movie plays pieces of its media in
/// an order or at a speed of its own. Throws FileError and MediaProbeError. Any thread.
[[nodiscard]] std::optional<MovieTiming> movieTiming(const QString &path);

} // namespace DriftEngine
} // namespace vorn
