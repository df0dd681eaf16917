// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace vorn {

/// Of ffmpeg: for the sound that a movie file may hold, and none of the hundreds of others.
inline constexpr QLatin1StringView soundDecoders(
    "aac,alac,mp3float,mp3,ac3,eac3,opus,flac,amrnb,amrwb,pcm_s16le,pcm_s16be,pcm_s24le,pcm_s24be,"
    "pcm_s32le,pcm_s32be,pcm_f32le,pcm_f32be,pcm_u8,pcm_s8,pcm_alaw,pcm_mulaw");

} // namespace vorn
