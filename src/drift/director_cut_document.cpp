// SPDX-License-Identifier: Apache-2.0

#include "drift/director_cut_document.h"

#include "drift/fcpxml_text.h"

#include <cmath>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

using Kind = CutDecision::Kind;

class CutDocument {
public:
    CutDocument(double fps, const std::vector<Placement> &placements, const DirectorCut &cut,
                std::optional<std::size_t> soundClip)
        : m_fps(fps), m_placements(placements), m_cut(cut), m_soundClip(soundClip)
    {
        for (const PlacedDecision &placed : cut.decisions)
            if (placed.decision.kind == Kind::marker && cut.contains(placed))
                m_markers.push_back(&placed);
    }

    [[nodiscard]] QString length() const { return time(m_cut.frames()); }

    [[nodiscard]] QString spine()
    {
        QString text;
        for (const CutPiece &piece : m_cut.pieces) {
            if (piece.fadeFrames > 0)
                text += transition(piece);
            text += element(piece);
        }
        return text;
    }

private:
    [[nodiscard]] QString time(std::int64_t frames) const
    {
        return DriftEngine::frameTime(frames, m_fps);
    }

    [[nodiscard]] static QString attribute(const QString &name, const QString &value)
    {
        return u' ' + name + u"=\""_s + DriftEngine::xmlEscape(value) + u'"';
    }

    [[nodiscard]] static QString note(const QString &text)
    {
        return u"<note>"_s + DriftEngine::xmlEscape(DriftEngine::xmlText(text)) + u"</note>"_s;
    }

    /// In the middle of its two neighbours' edge.
    [[nodiscard]] QString transition(const CutPiece &piece) const
    {
        return u"<transition"_s + attribute(u"name"_s, u"Cross Dissolve"_s)
               + attribute(u"offset"_s, time(piece.begin - piece.fadeFrames / 2))
               + attribute(u"duration"_s, time(piece.fadeFrames)) + u"/>"_s;
    }

    [[nodiscard]] QString element(const CutPiece &piece)
    {
        const QString rest = (piece.begin == 0 ? underTheCut() : QString()) + markers(piece);
        if (!piece.clip)
            return u"<gap"_s + attribute(u"name"_s, u"Gap"_s)
                   + attribute(u"offset"_s, time(piece.begin)) + attribute(u"start"_s, u"0s"_s)
                   + attribute(u"duration"_s, time(piece.end - piece.begin)) + u'>'
                   + note(piece.gapReason + decisionText(piece)) + rest + u"</gap>"_s;
        return clipStart(*piece.clip) + attribute(u"offset"_s, time(piece.begin))
               + attribute(u"start"_s, time(localStart(piece)))
               + attribute(u"duration"_s, time(piece.end - piece.begin))
               + attribute(u"srcEnable"_s, u"video"_s) + u'>'
               + note(u"VORN director's cut."_s + decisionText(piece))
               + DriftEngine::timeMap(m_placements[*piece.clip]) + rest + u"</asset-clip>"_s;
    }

    [[nodiscard]] QString clipStart(std::size_t clip) const
    {
        const QString number = QString::number(clip + 1);
        return u"<asset-clip"_s + attribute(u"ref"_s, u"asset-"_s + number)
               + attribute(u"format"_s, u"format-"_s + number)
               + attribute(u"name"_s, m_placements[clip].item.clip.cameraId);
    }

    /// In the time of the piece itself, which for a clip is that of its map.
    [[nodiscard]] std::int64_t localStart(const CutPiece &piece) const
    {
        return piece.clip ? piece.begin - std::llround(m_placements[*piece.clip].start * m_fps) : 0;
    }

    /// Connected to the first piece, whose own time begins with the timeline's.
    [[nodiscard]] QString underTheCut() const
    {
        QString text;
        if (m_soundClip)
            text += connected(*m_soundClip, 1, u"audio"_s, true);
        for (std::size_t clip = 0; clip < m_placements.size(); ++clip)
            text += connected(clip, clip + 2, u"all"_s, false);
        return text;
    }

    [[nodiscard]] QString connected(std::size_t clip, std::size_t depth, const QString &sources,
                                    bool isEnabled) const
    {
        const Placement &placement = m_placements[clip];
        return clipStart(clip) + attribute(u"lane"_s, u'-' + QString::number(depth))
               + attribute(u"offset"_s, DriftEngine::seconds(placement.start))
               + attribute(u"start"_s, u"0s"_s)
               + attribute(u"duration"_s, DriftEngine::seconds(placement.duration))
               + (isEnabled ? QString() : attribute(u"enabled"_s, u"0"_s))
               + attribute(u"srcEnable"_s, sources) + u'>' + DriftEngine::timeMap(placement)
               + u"</asset-clip>"_s;
    }

    /// Those of the piece; the pieces come in the markers' order.
    [[nodiscard]] QString markers(const CutPiece &piece)
    {
        QString text;
        for (; m_marker < m_markers.size() && m_markers[m_marker]->frame < piece.end; ++m_marker) {
            const PlacedDecision &marker = *m_markers[m_marker];
            text += u"<marker"_s
                    + attribute(u"start"_s, time(localStart(piece) + marker.frame - piece.begin))
                    + attribute(u"duration"_s, time(1))
                    + attribute(u"value"_s, DriftEngine::xmlText(marker.decision.label))
                    + attribute(u"note"_s, placeText(marker)) + u"/>"_s;
        }
        return text;
    }

    [[nodiscard]] QString decisionText(const CutPiece &piece) const
    {
        if (!piece.decision)
            return {};
        const PlacedDecision &placed = m_cut.decisions[*piece.decision];
        if (placed.decision.kind == Kind::cut)
            return u" CUT "_s + placeText(placed);
        const auto wanted = std::llround(placed.decision.fadeSeconds * m_fps / 2) * 2;
        const QString shortened =
            piece.fadeFrames < wanted
                ? u" Its dissolve of %1 frames has %2, for want of material."_s.arg(wanted).arg(
                      piece.fadeFrames)
                : QString();
        return u" FADE "_s + placeText(placed) + shortened;
    }

    [[nodiscard]] QString placeText(const PlacedDecision &placed) const
    {
        const QString when =
            u"at %1 s of the session, placed "_s.arg(placed.decision.sessionSeconds, 0, 'f', 2);
        if (!placed.withinSeconds)
            return when + u"by the clock of the computer alone."_s;
        const std::int64_t frames = framesWithin(placed, m_fps);
        return when
               + u"within %1 frame%2."_s.arg(QString::number(frames),
                                             frames == 1 ? QString() : u"s"_s);
    }

    const double m_fps;
    const std::vector<Placement> &m_placements;
    const DirectorCut &m_cut;
    const std::optional<std::size_t> m_soundClip;
    std::vector<const PlacedDecision *> m_markers;
    std::size_t m_marker = 0; ///< that has no piece yet
};

} // namespace

QString DriftEngine::directorCutDocument(const QString &projectName, const QString &takeId,
                                         double fps, const std::vector<Placement> &placements,
                                         const DirectorCut &cut,
                                         std::optional<std::size_t> soundClip)
{
    CutDocument document(fps, placements, cut, soundClip);
    return fcpxmlDocument(projectName, takeId + u" director's cut"_s, fps, placements,
                          document.length(), document.spine());
}

} // namespace vorn
