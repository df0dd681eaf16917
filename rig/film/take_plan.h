// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/base/cast.h"
#include "rig/film/frame_rate.h"
#include "rig/sound/hearing.h"

#include <QSize>
#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

namespace vorn::rig {

/// How far an anchor's reference time may be off: normally distributed, cut at the limit, which is
/// also the uncertainty that the anchor states.
inline constexpr double anchorNoiseSigmaMs = 0.5;
inline constexpr double anchorNoiseLimitMs = 1.0;

/// Which sound the phones hear instead of the click track, and where they stand.
struct TakeSound {
    SoundKind kind = SoundKind::speech;
    bool hasTalk = false;                ///< somebody speaks over it
    std::vector<double> distancesMetres; ///< of each phone; 0 for those that it does not name
};

/// What the caller chooses of a take.
struct TakeOptions {
    int cameras = 4;       ///< 1 to maximumCameras
    int seconds = 20;      ///< length of the reference phone's movie, 4 to 3600
    FrameRate fps;         ///< of the timeline, and of all phones but one kind
    std::int64_t seed = 1; ///< the same seed gives the same take
    int number = 1;        ///< of the take, 1 to 9999
    /// At which most phones drift against the reference, in ppm, up to 1,000; absent for what suits
    /// the length.
    std::optional<double> driftPPM = {};
    QSize pictureSize{640, 360}; ///< of a level phone: even, at least 128 by 72
    std::optional<TakeSound> sound = {};
    /// Without, no phone has told anything of its clock: no manifest and no anchors.
    bool hasManifest = true;
    bool hasHevcEncoder = true; ///< without it that phone writes H.264 too
};

enum class VideoCodec { h264, hevc };
enum class Hold { landscape, upright };

/// The time of one event in a phone's media and in the reference phone's media.
struct PlannedAnchor {
    double sourceSeconds = 0;
    double referenceSeconds = 0;
    double confidence = 0;

    bool operator==(const PlannedAnchor &) const = default;
};

/// A scene's sound as one phone hears it.
struct PlannedSound {
    SoundScene scene;
    Hearing hearing;

    bool operator==(const PlannedSound &) const = default;
};

/// One phone's recording, known before it is made. The scene's time is the reference phone's media
/// time: what stands at media time m in this phone's movie, picture or sound, happened at
/// offsetSeconds + (1 + driftPPM / 1,000,000) * m. Frame k stands at media time k / rate.
struct PhonePlan {
    int castIndex = 0;
    QString cameraId;
    QString fileName;
    double offsetSeconds = 0; ///< below 0 for a phone that started before the reference
    double driftPPM = 0;
    FrameRate rate;
    std::int64_t frames = 0;
    QSize displaySize; ///< pixels, as a person sees it
    Hold hold = Hold::landscape;
    VideoCodec codec = VideoCodec::h264;
    std::vector<PlannedAnchor> anchors; ///< none for the reference phone
    std::optional<PlannedSound> sound;  ///< instead of the click track

    [[nodiscard]] double sceneSeconds(double mediaSeconds) const
    {
        return offsetSeconds + (1 + driftPPM / 1'000'000) * mediaSeconds;
    }
    /// Length of the picture track, and of the movie.
    [[nodiscard]] double durationSeconds() const { return rate.seconds(frames); }
    /// Samples of the sound track: whole AAC frames of 1024, not longer than the picture.
    [[nodiscard]] std::int64_t audioSamples() const
    {
        return std::int64_t(durationSeconds() * audioSampleRate) / 1024 * 1024;
    }

    bool operator==(const PhonePlan &) const = default;
};

/// A take, known before it is made. The first phone is the reference.
struct TakePlan {
    QString takeId;
    FrameRate fps;
    std::int64_t seed = 0;
    bool hasManifest = true;
    std::vector<PhonePlan> phones;

    bool operator==(const TakePlan &) const = default;
};

/// Draws up a take. The same options give the same plan, to the last bit, on every machine.
[[nodiscard]] TakePlan planTake(const TakeOptions &options);

} // namespace vorn::rig
