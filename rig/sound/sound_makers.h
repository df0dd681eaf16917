// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/base/dice.h"

#include <cstdint>
#include <span>

/// The makers of a scene's pieces. Each adds what begins within the first pieceSeconds of `piece`,
/// which is long enough for what rings on, by dice of that piece alone.
namespace vorn::rig {

inline constexpr int pieceSeconds = 4;
inline constexpr int ringSeconds = 2;

/// One of three people speaks, at times with a second one. `persons` decides who they are.
void addSpeech(std::span<float> piece, std::int64_t persons, Dice &dice);
void addCrowd(std::span<float> piece, std::int64_t persons, Dice &dice);

void addMusic(std::span<float> piece, Dice &dice);
/// Beats at what the tune makes their rate, those of piece `index`.
void addMetronome(std::span<float> piece, std::int64_t index, std::int64_t tune);

void addTraffic(std::span<float> piece, Dice &dice);
void addApplause(std::span<float> piece, Dice &dice);
void addWind(std::span<float> piece, Dice &dice);

} // namespace vorn::rig
