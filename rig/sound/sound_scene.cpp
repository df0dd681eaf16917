// SPDX-License-Identifier: Apache-2.0

#include "rig/sound/sound_scene.h"

#include "rig/base/rig_error.h"
#include "rig/sound/sound_makers.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <functional>

namespace vorn::rig {
namespace {

using namespace Qt::StringLiterals;

constexpr std::int64_t pieceSamples = std::int64_t{pieceSeconds} * audioSampleRate;
constexpr std::int64_t wholeSamples = pieceSamples + std::int64_t{ringSeconds} * audioSampleRate;
constexpr int loopPieces = 2;
constexpr double talkShare = 0.32; // 10 dB below

constexpr std::array kinds{
    std::pair{QStringView(u"speech"), SoundKind::speech},
    std::pair{QStringView(u"music"), SoundKind::music},
    std::pair{QStringView(u"loop"), SoundKind::loop},
    std::pair{QStringView(u"traffic"), SoundKind::traffic},
    std::pair{QStringView(u"applause"), SoundKind::applause},
    std::pair{QStringView(u"metronome"), SoundKind::metronome},
    std::pair{QStringView(u"wind"), SoundKind::wind},
    std::pair{QStringView(u"crowd"), SoundKind::crowd},
};

std::int64_t floorDivided(std::int64_t value, std::int64_t by)
{
    return value / by - (value % by < 0 ? 1 : 0);
}

// Dice of one piece. Neighbours must not resemble each other, whatever the seed.
Dice diceOf(std::int64_t seed, std::int64_t piece)
{
    return Dice(std::int64_t(std::uint64_t(seed) * 0x9E3779B97F4A7C15U
                             + std::uint64_t(piece) * 0xD1B54A32D192ED03U));
}

void addKind(std::span<float> piece, const SoundScene &scene, std::int64_t index)
{
    Dice dice = diceOf(scene.seed, index);
    Dice played = diceOf(-1 - scene.tune, index);
    Dice repeated = diceOf(-1 - scene.tune, index - floorDivided(index, loopPieces) * loopPieces);
    switch (scene.kind) {
    case SoundKind::speech:
        return addSpeech(piece, scene.seed, dice);
    case SoundKind::music:
        return addMusic(piece, scene.isPlayback ? played : dice);
    case SoundKind::loop:
        return addMusic(piece, repeated);
    case SoundKind::traffic:
        return addTraffic(piece, dice);
    case SoundKind::applause:
        return addApplause(piece, dice);
    case SoundKind::metronome:
        return addMetronome(piece, index, scene.tune);
    case SoundKind::wind:
        return addWind(piece, dice);
    case SoundKind::crowd:
        return addCrowd(piece, scene.seed, dice);
    }
}

} // namespace

QString soundKindText(SoundKind kind)
{
    return std::ranges::find(kinds, kind, &std::pair<QStringView, SoundKind>::second)
        ->first.toString();
}

SoundKind soundKindFromText(const QString &text)
{
    QStringList names;
    for (const auto &[name, kind] : kinds) {
        if (name == text)
            return kind;
        names += name.toString();
    }
    throw RigError(u"one of these is wanted: "_s + names.join(u", "_s));
}

SceneSound::SceneSound(const SoundScene &scene, std::int64_t first)
    : m_scene(scene),
      m_at(first),
      // What began before may still ring.
      m_nextPiece(floorDivided(first, pieceSamples) - 1),
      m_sumBegin(m_nextPiece * pieceSamples),
      m_sum(std::size_t(wholeSamples), 0.0F)
{
}

void SceneSound::addPiece(std::int64_t index)
{
    if (double(index * pieceSeconds) < m_scene.beginsAtSeconds)
        return;
    if (m_scene.hasGaps && diceOf(m_scene.seed + 1, index).uniform(0, 1) < 1 / 3.0)
        return;
    m_piece.assign(std::size_t(wholeSamples), 0.0F);
    addKind(m_piece, m_scene, index);
    std::ranges::transform(m_piece, m_sum, m_sum.begin(), std::plus());
    if (!m_scene.hasTalk)
        return;
    m_piece.assign(std::size_t(wholeSamples), 0.0F);
    Dice dice = diceOf(m_scene.seed + 2, index);
    addSpeech(m_piece, m_scene.seed, dice);
    std::ranges::transform(m_piece, m_sum, m_sum.begin(),
                           [](float talk, float other) { return other + float(talkShare) * talk; });
}

void SceneSound::fill(std::span<float> samples)
{
    while (!samples.empty()) {
        // m_sum is whole up to where the next piece begins.
        while (m_at >= m_nextPiece * pieceSamples) {
            const auto drop = m_nextPiece * pieceSamples - m_sumBegin;
            std::shift_left(m_sum.begin(), m_sum.end(), drop);
            std::fill(m_sum.end() - drop, m_sum.end(), 0.0F);
            m_sumBegin += drop;
            addPiece(m_nextPiece++);
        }
        const auto ready =
            std::min(std::int64_t(samples.size()), m_nextPiece * pieceSamples - m_at);
        std::copy_n(m_sum.begin() + (m_at - m_sumBegin), ready, samples.begin());
        m_at += ready;
        samples = samples.subspan(std::size_t(ready));
    }
}

} // namespace vorn::rig
