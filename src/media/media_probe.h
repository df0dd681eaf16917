// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "media/media_error.h"
#include "media/movie_headers.h"

#include <QString>

#include <cstdint>
#include <vector>

namespace vorn {

/// What a movie's headers say of one video track.
struct ProbedVideoTrack {
    double naturalWidth = 0;  ///< pixels, before the transform
    double naturalHeight = 0; ///< pixels, before the transform
    /// Linear part of the display transform, row vectors as in ISO/IEC 14496-12 8.3.2:
    /// x' = a*x + c*y, y' = b*x + d*y.
    double a = 1, b = 0, c = 0, d = 1;
    float nominalFrameRate = 0; ///< samples per second over the whole track; 0 when unknown
    /// Pictures stand for different times, by more than what rounding to the time scale explains.
    bool hasVariableRate = false;
    std::uint32_t codec = 0; ///< type of the first sample entry, as of "avc1"_box; 0 without one

    bool operator==(const ProbedVideoTrack &) const = default;
};

/// What a movie's headers say of one audio track.
struct ProbedAudioTrack {
    std::uint32_t codec = 0; ///< as of a video track

    bool operator==(const ProbedAudioTrack &) const = default;
};

/// What the headers of a MOV or MP4 file say.
struct ProbedMedia {
    double durationSeconds = 0; ///< as the container states it; NaN when it contradicts itself
    std::vector<ProbedVideoTrack> videoTracks;
    std::vector<ProbedAudioTrack> audioTracks;

    bool operator==(const ProbedMedia &) const = default;
};

/// Reads the headers of a MOV, MP4, M4V or 3GP file (ISO/IEC 14496-12, and QuickTime where it
/// differs). Reads a few kilobytes, whatever the size of the file, and follows no reference out of
/// it. Throws FileError and MediaProbeError. Any thread; blocks for these reads.
[[nodiscard]] ProbedMedia probeMedia(const QString &path);

/// All that readMovieHeaders can tell of a file. Throws as probeMedia does.
[[nodiscard]] MovieHeaders movieHeaders(const QString &path, MovieDetail detail);

/// What a movie says it was filmed with, such as the model of a phone; empty where it says nothing
/// that can be read. Throws FileError. Any thread; blocks as probeMedia does.
[[nodiscard]] QString filmingDevice(const QString &path);

/// The same for bytes that lie elsewhere. The former throws MediaProbeError.
[[nodiscard]] ProbedMedia probeMedia(const MovieBytes &bytes);
[[nodiscard]] QString filmingDevice(const MovieBytes &bytes);

} // namespace vorn
