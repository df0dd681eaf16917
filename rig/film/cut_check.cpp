// SPDX-License-Identifier: Apache-2.0

#include "rig/film/cut_check.h"

#include "base/files.h"
#include "rig/base/rig_error.h"

#include <QDir>

#include <algorithm>
#include <cmath>
#include <map>

namespace vorn::rig {
namespace {

using namespace Qt::StringLiterals;

constexpr std::int64_t maximumDocumentBytes = 16 << 20;
constexpr double worstFrames = 2;
constexpr double medianFrames = 0.5;
// That of a few is chance: whole frames alone put a quarter of them further off.
constexpr std::size_t enoughForMedian = 30;
// An edge further away than this is another decision's.
constexpr double reachSeconds = 0.5;
// The shortest dissolve of a live fade, and so the material that every fade asks for.
constexpr double shortestFadeSeconds = 0.1;

// The one of `count` places that is nearest to the moment, and within reach.
template <class Place>
std::optional<std::size_t> nearest(std::size_t count, double seconds, double reach,
                                   const Place &place)
{
    std::optional<std::size_t> best;
    for (std::size_t index = 0; index < count; ++index) {
        const std::optional<double> there = place(index);
        if (there && std::abs(*there - seconds) < reach) {
            reach = std::abs(*there - seconds);
            best = index;
        }
    }
    return best;
}

/// Decides what the document owes to the decisions, and finds it.
class CutChecker {
public:
    CutChecker(const CutTimeline &cut, const TakeTruth &truth,
               const std::vector<ScriptedDecision> &decisions)
        : m_cut(cut), m_truth(truth)
    {
        m_check.framesPerSecond = cut.framesPerSecond;
        m_toleranceSeconds = worstFrames / cut.framesPerSecond;
        m_endSeconds = double(cut.pieces.back().endFrame()) / cut.framesPerSecond;
        for (std::size_t index = 0; index < decisions.size(); ++index) {
            const ScriptedDecision &decision = decisions[index];
            const bool isInside =
                decision.sceneSeconds >= 0 && decision.sceneSeconds < m_endSeconds;
            if (isInside)
                m_check.decisions.push_back(
                    {index + 1, decision, std::nullopt, true, std::nullopt});
            else if (decision.sceneSeconds < 0 && decision.kind != DecisionKind::mark)
                m_cameraAtStart = decision.cameraId;
        }
    }

    /// What stands on both sides of each edge goes to `look` too, with the edge's number from 1.
    template <class Look> CutCheck check(const Look &look)
    {
        placeMarks();
        placeEdges();
        for (std::size_t piece = 1; piece < m_cut.pieces.size(); ++piece)
            verifyEdge(piece, look);
        verifyDissolves();
        verifyShots();
        verifySound();
        for (const FoundDecision &found : m_check.decisions)
            if (found.isMissing())
                m_check.faults += u"Decision %1 is missing."_s.arg(found.number);
        return std::move(m_check);
    }

private:
    enum class Presence { recording, edge, absent };

    // Whether the camera records at that moment; at either end of its recording both may be so.
    [[nodiscard]] Presence presence(const QString &cameraId, double sceneSeconds) const
    {
        const auto phone = std::ranges::find(m_truth.phones, cameraId, &PhoneTruth::cameraId);
        if (phone == m_truth.phones.end())
            return Presence::absent;
        const double sinceBegin = sceneSeconds - phone->offsetSeconds;
        const double untilEnd = phone->endSceneSeconds() - sceneSeconds;
        const double inside = std::min(sinceBegin, untilEnd);
        if (std::abs(inside) <= m_toleranceSeconds)
            return Presence::edge;
        return inside > 0 ? Presence::recording : Presence::absent;
    }

    // Whether a piece of `shown` is right where `decided` is wanted; both may be empty.
    [[nodiscard]] bool fits(const QString &shown, const QString &decided, double seconds) const
    {
        const Presence there = presence(decided, seconds);
        return shown.isEmpty() ? there != Presence::recording
                               : shown == decided && there != Presence::absent;
    }

    [[nodiscard]] double secondsOf(std::int64_t frame) const
    {
        return double(frame) / m_cut.framesPerSecond;
    }

    [[nodiscard]] bool isAtAnEnd(double seconds) const
    {
        return std::min(seconds, m_endSeconds - seconds) <= m_toleranceSeconds;
    }

    void placeMarks()
    {
        std::vector<bool> isTaken(m_cut.markers.size());
        for (FoundDecision &found : m_check.decisions) {
            if (found.decision.kind != DecisionKind::mark)
                continue;
            const double wanted = found.decision.sceneSeconds;
            found.isNeeded = !isAtAnEnd(wanted);
            const auto index =
                nearest(m_cut.markers.size(), wanted, reachSeconds, [&](std::size_t marker) {
                    return isTaken[marker] ? std::nullopt
                                           : std::optional(secondsOf(m_cut.markers[marker].frame));
                });
            if (!index)
                continue;
            isTaken[*index] = true;
            found.documentSeconds = secondsOf(m_cut.markers[*index].frame);
        }
        for (std::size_t marker = 0; marker < isTaken.size(); ++marker)
            if (!isTaken[marker])
                addExtra(u"the marker \"%1\""_s.arg(m_cut.markers[marker].label),
                         m_cut.markers[marker].frame);
    }

    void placeEdges()
    {
        std::vector<FoundDecision *> takes;
        for (FoundDecision &found : m_check.decisions)
            if (found.decision.kind != DecisionKind::mark)
                takes.push_back(&found);
        std::size_t firstFree = 0;
        QString before = m_cameraAtStart;
        for (std::size_t index = 0; index < takes.size(); ++index) {
            FoundDecision &take = *takes[index];
            const QString &cameraId = take.decision.cameraId;
            const double wanted = take.decision.sceneSeconds;
            // Of two on one frame the later counts, and a gap after a gap is no edge.
            const bool isFollowed =
                index + 1 < takes.size()
                && takes[index + 1]->decision.sceneSeconds - wanted < 1 / m_cut.framesPerSecond;
            const bool changesNothing =
                before == cameraId || (fits({}, before, wanted) && fits({}, cameraId, wanted));
            take.isNeeded = !isFollowed && !changesNothing && !isAtAnEnd(wanted);
            before = cameraId;
            const auto edge =
                nearest(m_cut.pieces.size(), wanted,
                        take.isNeeded ? reachSeconds : m_toleranceSeconds, [&](std::size_t piece) {
                            // What stands at the beginning is an edge for what was decided right
                            // there.
                            const bool isOpen =
                                piece >= firstFree && (piece > 0 || isAtAnEnd(wanted));
                            return isOpen && fits(m_cut.pieces[piece].cameraId(), cameraId, wanted)
                                       ? std::optional(secondsOf(m_cut.pieces[piece].startFrame))
                                       : std::nullopt;
                        });
            if (!edge)
                continue;
            firstFree = *edge + 1;
            take.documentSeconds = secondsOf(m_cut.pieces[*edge].startFrame);
            m_decisionAt.emplace(*edge, &take);
        }
    }

    template <class Look> void verifyEdge(std::size_t piece, const Look &look)
    {
        const CutSides sides = lookAtEdge(m_cut, piece, m_truth);
        look(piece, sides);
        for (const CutSide *side : {&sides.left, &sides.right})
            if (const QString fault = side->fault(); !fault.isEmpty())
                m_check.faults += fault;
        const auto decision = m_decisionAt.find(piece);
        if (decision != m_decisionAt.end())
            decision->second->sides = sides;
        else if (!isEdgeOfRecording(piece))
            addExtra(u"an edge"_s, m_cut.pieces[piece].startFrame);
    }

    // Between gaps, which may have reasons of their own, or where a recording begins or ends.
    [[nodiscard]] bool isEdgeOfRecording(std::size_t piece) const
    {
        const QString left = m_cut.pieces[piece - 1].cameraId();
        const QString right = m_cut.pieces[piece].cameraId();
        if (!left.isEmpty() && !right.isEmpty())
            return false;
        return left == right
               || presence(left + right, secondsOf(m_cut.pieces[piece].startFrame))
                      == Presence::edge;
    }

    void verifyDissolves()
    {
        for (const CutTransition &transition : m_cut.transitions) {
            const auto found = std::ranges::find_if(m_decisionAt, [&](const auto &entry) {
                return m_cut.pieces[entry.first].startFrame == transition.edgeFrame()
                       && entry.second->decision.kind == DecisionKind::fade;
            });
            if (found == m_decisionAt.end())
                addExtra(u"a dissolve"_s, transition.edgeFrame());
        }
        for (const auto &[piece, found] : m_decisionAt)
            if (found->decision.kind == DecisionKind::fade && hasMaterialForFade(piece)
                && std::ranges::find(m_cut.transitions, m_cut.pieces[piece].startFrame,
                                     &CutTransition::edgeFrame)
                       == m_cut.transitions.end())
                m_check.faults += u"Decision %1 is no dissolve."_s.arg(found->number);
    }

    [[nodiscard]] bool hasMaterialForFade(std::size_t piece) const
    {
        if (piece == 0)
            return false;
        const TimelinePiece &left = m_cut.pieces[piece - 1];
        const TimelinePiece &right = m_cut.pieces[piece];
        const double edge = secondsOf(right.startFrame);
        return std::min(secondsOf(left.frames), secondsOf(right.frames)) > 2 * shortestFadeSeconds
               && presence(left.cameraId(), edge + shortestFadeSeconds) == Presence::recording
               && presence(right.cameraId(), edge - shortestFadeSeconds) == Presence::recording;
    }

    // In the middle between a decision and the next stands what was decided.
    void verifyShots()
    {
        QString camera = m_cameraAtStart;
        double from = 0;
        for (const FoundDecision &found : m_check.decisions) {
            if (found.decision.kind == DecisionKind::mark)
                continue;
            verifyShot(camera, from, found.decision.sceneSeconds);
            camera = found.decision.cameraId;
            from = found.decision.sceneSeconds;
        }
        verifyShot(camera, from, m_endSeconds);
    }

    void verifyShot(const QString &cameraId, double from, double to)
    {
        // Both ends may be off.
        if (to - from <= 2 * m_toleranceSeconds)
            return;
        const double middle = (from + to) / 2;
        const auto frame = std::int64_t(middle * m_cut.framesPerSecond);
        const auto piece =
            std::ranges::find_if(m_cut.pieces, [frame](const TimelinePiece &candidate) {
                return frame < candidate.endFrame();
            });
        if (fits(piece->cameraId(), cameraId, middle))
            return;
        ++m_check.wrongCameras;
        m_check.faults += u"At %1 s stands %2 where %3 was decided."_s.arg(
            QString::number(middle), shownName(piece->cameraId()), shownName(cameraId));
    }

    static QString shownName(const QString &cameraId)
    {
        return cameraId.isEmpty() ? u"a gap"_s : cameraId;
    }

    // It is the reference camera's, whose media time is the timeline's.
    void verifySound()
    {
        const std::optional<TimelineClip> &sound = m_cut.sound;
        const double frame = secondsOf(1);
        if (!sound || sound->cameraId != m_truth.referenceCameraId
            || std::abs(sound->sourceStartSeconds - sound->startSeconds) > frame
            || std::abs(sound->sourceEndSeconds - sound->endSeconds()) > frame
            || sound->startSeconds > frame || sound->endSeconds() < endOfReference() - frame)
            m_check.faults += u"The reference camera's sound does not run through."_s;
    }

    [[nodiscard]] double endOfReference() const
    {
        const auto phone =
            std::ranges::find(m_truth.phones, m_truth.referenceCameraId, &PhoneTruth::cameraId);
        return phone == m_truth.phones.end() ? 0 : phone->endSceneSeconds();
    }

    void addExtra(const QString &what, std::int64_t frame)
    {
        ++m_check.extra;
        m_check.faults += u"Nobody decided %1 at %2 s."_s.arg(what).arg(secondsOf(frame));
    }

    const CutTimeline &m_cut;
    const TakeTruth &m_truth;
    CutCheck m_check;
    double m_toleranceSeconds = 0; ///< what the worst decision may be off
    double m_endSeconds = 0;
    QString m_cameraAtStart;                             ///< decided before the timeline begins
    std::map<std::size_t, FoundDecision *> m_decisionAt; ///< by the piece that it begins
};

std::vector<double> sortedErrors(const CutCheck &check)
{
    std::vector<double> errors;
    for (const FoundDecision &found : check.decisions)
        if (found.documentSeconds)
            errors.push_back(std::abs(found.errorSeconds()));
    std::ranges::sort(errors);
    return errors;
}

} // namespace

int CutCheck::missing() const
{
    return int(std::ranges::count_if(decisions, &FoundDecision::isMissing));
}

double CutCheck::medianSeconds() const
{
    const std::vector<double> errors = sortedErrors(*this);
    return errors.empty() ? 0 : (errors[(errors.size() - 1) / 2] + errors[errors.size() / 2]) / 2;
}

double CutCheck::worstSeconds() const
{
    const std::vector<double> errors = sortedErrors(*this);
    return errors.empty() ? 0 : errors.back();
}

bool CutCheck::isRight() const
{
    const bool hasMedian = decisions.size() >= enoughForMedian;
    return faults.isEmpty() && (!hasMedian || medianSeconds() * framesPerSecond <= medianFrames)
           && worstSeconds() * framesPerSecond <= worstFrames;
}

CutCheck checkCut(const CutCheckFiles &files)
{
    const TakeTruth truth = takeTruth(files.truthPath);
    const CutTimeline cut = readCutTimeline(
        readFile(files.packageFolder + u"/director-cut.fcpxml"_s, maximumDocumentBytes));
    const std::vector<ScriptedDecision> decisions = readDecisions(files.decisionsPath);
    if (!files.picturesFolder.isEmpty() && !QDir().mkpath(files.picturesFolder))
        throw RigError(u"Cannot create %1."_s.arg(files.picturesFolder));
    return CutChecker(cut, truth, decisions).check([&](std::size_t edge, const CutSides &sides) {
        if (!files.picturesFolder.isEmpty())
            writeSides(sides,
                       u"%1/%2.png"_s.arg(files.picturesFolder).arg(edge, 3, 10, QChar(u'0')));
    });
}

} // namespace vorn::rig
