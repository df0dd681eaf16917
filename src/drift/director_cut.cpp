// SPDX-License-Identifier: Apache-2.0

#include "drift/director_cut.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <numeric>
#include <utility>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

using Kind = CutDecision::Kind;
using std::int64_t;

/// A moment of the reference camera's media.
struct Estimate {
    double seconds = 0;
    double uncertaintySeconds = 0;
};

// A status may say for a second longer that its phone records.
constexpr double afterTheEndSeconds = 1;

/// Absent where the camera has no recording that was as far as that, or more than one.
std::optional<Estimate> estimate(const RecordingMoment &moment,
                                 const std::vector<Placement> &placements)
{
    std::optional<Estimate> found;
    for (const Placement &placement : placements) {
        const Prepared &item = placement.item;
        if (item.clip.cameraId != moment.cameraId
            || moment.seconds
                   > item.media.duration + moment.uncertaintySeconds + afterTheEndSeconds)
            continue;
        if (found)
            return std::nullopt;
        const DriftCorrection &line = item.correction;
        found = {
            .seconds = line.offsetSeconds + line.referenceSecondsPerSourceSecond * moment.seconds,
            .uncertaintySeconds = moment.uncertaintySeconds + line.endpointUncertaintyMs / 1000};
    }
    return found;
}

std::vector<Estimate> estimates(const CutDecision &decision,
                                const std::vector<Placement> &placements)
{
    std::vector<Estimate> all;
    for (const RecordingMoment &moment : decision.then)
        if (const auto one = estimate(moment, placements))
            all.push_back(*one);
    std::ranges::sort(all, {}, &Estimate::seconds);
    return all;
}

/// Of sorted ones, at least one.
double median(const std::vector<Estimate> &sorted)
{
    const std::size_t middle = sorted.size() / 2;
    return sorted.size() % 2 == 1
               ? sorted[middle].seconds
               : std::midpoint(sorted[middle - 1].seconds, sorted[middle].seconds);
}

/// How far from `place` the true moment can be: it lies where all estimates, each give or take
/// its uncertainty, agree (Marzullo's intersection); where they contradict each other, they are
/// spread as far as they are.
double reach(const std::vector<Estimate> &all, double place)
{
    double earliest = -std::numeric_limits<double>::infinity();
    double latest = -earliest;
    double spread = 0;
    for (const Estimate &one : all) {
        earliest = std::max(earliest, one.seconds - one.uncertaintySeconds);
        latest = std::min(latest, one.seconds + one.uncertaintySeconds);
        spread = std::max(spread, std::abs(one.seconds - place));
    }
    return earliest <= latest ? std::max({place - earliest, latest - place, 0.0}) : spread;
}

/// Bounded far beyond any timeline: a line may lead anywhere.
int64_t wholeFrames(double frames)
{
    constexpr double most = 1e15;
    return std::llround(std::clamp(frames, -most, most));
}

/// A decision of which cameras tell the place, in seconds of the reference camera's media.
struct Anchor {
    std::size_t decision = 0;
    double place = 0;
};

/// The places of all. Of those that are no anchor, by the session's clock, from that neighbouring
/// anchor which is nearer in it. Empty where there is no anchor.
std::vector<double> places(const std::vector<CutDecision> &decisions,
                           const std::vector<Anchor> &anchors)
{
    if (anchors.empty())
        return {};
    std::vector<double> result;
    result.reserve(decisions.size());
    auto after = anchors.begin();
    for (std::size_t index = 0; index < decisions.size(); ++index) {
        while (after != anchors.end() && after->decision < index)
            ++after;
        const auto since = [&](const Anchor &anchor) {
            return decisions[index].sessionSeconds - decisions[anchor.decision].sessionSeconds;
        };
        auto nearest = after;
        if (after == anchors.end()
            || (after != anchors.begin() && after->decision != index
                && std::abs(since(*std::prev(after))) <= std::abs(since(*after))))
            nearest = std::prev(after);
        result.push_back(nearest->place + since(*nearest));
    }
    return result;
}

std::vector<PlacedDecision> placedDecisions(const std::vector<CutDecision> &decisions,
                                            const std::vector<Placement> &placements, double fps)
{
    std::vector<Anchor> anchors;
    std::vector<std::optional<double>> within(decisions.size());
    for (std::size_t index = 0; index < decisions.size(); ++index) {
        const std::vector<Estimate> all = estimates(decisions[index], placements);
        if (all.empty())
            continue;
        anchors.push_back({.decision = index, .place = median(all)});
        within[index] = reach(all, anchors.back().place);
    }
    std::vector<PlacedDecision> result;
    result.reserve(decisions.size());
    for (const double place : places(decisions, anchors)) {
        const std::size_t index = result.size();
        const int64_t frame = wholeFrames(place * fps);
        // What was decided later does not come earlier, however the estimates scatter.
        result.push_back({.decision = decisions[index],
                          .frame = result.empty() ? frame : std::max(frame, result.back().frame),
                          .withinSeconds = within[index]});
    }
    return result;
}

/// The frames of a clip on the timeline.
struct Lane {
    QString cameraId;
    int64_t begin = 0;
    int64_t end = 0;
};

std::vector<Lane> lanes(const std::vector<Placement> &placements, double fps)
{
    std::vector<Lane> result;
    result.reserve(placements.size());
    for (const Placement &placement : placements)
        result.push_back({.cameraId = placement.item.clip.cameraId,
                          .begin = wholeFrames(placement.start * fps),
                          .end = wholeFrames((placement.start + placement.duration) * fps)});
    return result;
}

/// Puts one piece behind another, from 0 to the timeline's end.
class Pieces {
public:
    explicit Pieces(const std::vector<Lane> &lanes) : m_lanes(lanes) {}

    /// That camera is on Program up to `end`; none before the first decision.
    void add(const std::optional<QString> &cameraId, std::optional<std::size_t> decision,
             int64_t end)
    {
        while (m_at < end) {
            CutPiece piece = next(cameraId, end);
            piece.decision = std::exchange(decision, std::nullopt);
            m_at = piece.end;
            // Also where Program left a camera and came back within one frame.
            if (!m_pieces.empty() && isSame(m_pieces.back(), piece))
                m_pieces.back().end = piece.end;
            else
                m_pieces.push_back(std::move(piece));
        }
    }

    [[nodiscard]] std::vector<CutPiece> take() && { return std::move(m_pieces); }

private:
    static bool isSame(const CutPiece &one, const CutPiece &other)
    {
        return one.clip == other.clip && one.gapReason == other.gapReason;
    }

    [[nodiscard]] CutPiece next(const std::optional<QString> &cameraId, int64_t end) const
    {
        CutPiece piece;
        piece.begin = m_at;
        piece.end = end;
        bool isEarly = false;
        bool isLate = false;
        for (std::size_t index = 0; index < m_lanes.size(); ++index) {
            const Lane &lane = m_lanes[index];
            if (lane.cameraId != cameraId)
                continue;
            if (lane.begin <= m_at && m_at < lane.end) {
                piece.end = std::min(end, lane.end);
                piece.clip = index;
                return piece;
            }
            if (m_at < lane.begin) {
                isEarly = true;
                piece.end = std::min(piece.end, lane.begin);
            } else {
                isLate = true;
            }
        }
        piece.gapReason = gapReason(cameraId, isEarly, isLate);
        return piece;
    }

    static QString gapReason(const std::optional<QString> &cameraId, bool isEarly, bool isLate)
    {
        if (!cameraId)
            return u"No decision had been made yet."_s;
        if (isEarly)
            return *cameraId + u" was on Program, and had not begun to record."_s;
        if (isLate)
            return *cameraId + u" was on Program, and had ended its recording."_s;
        return *cameraId + u" was on Program, and has no recording in this take."_s;
    }

    const std::vector<Lane> &m_lanes;
    int64_t m_at = 0;
    std::vector<CutPiece> m_pieces;
};

std::vector<CutPiece> pieces(const std::vector<PlacedDecision> &decisions,
                             const std::vector<Lane> &lanes)
{
    const int64_t end = std::ranges::max(lanes, {}, &Lane::end).end;
    Pieces result(lanes);
    std::optional<QString> program;
    std::optional<std::size_t> decision; // that put it there, and has no piece yet
    for (std::size_t index = 0; index < decisions.size(); ++index) {
        const PlacedDecision &next = decisions[index];
        if (next.decision.kind == Kind::marker || next.decision.cameraId == program)
            continue;
        result.add(program, decision, std::min(next.frame, end));
        program = next.decision.cameraId;
        decision = index;
    }
    result.add(program, decision, end);
    return std::move(result).take();
}

/// Half the length of a dissolve of which this much is wanted, without leaving the material of
/// either side, or the pieces themselves.
int64_t halfFade(int64_t wanted, const CutPiece &left, const CutPiece &right, bool isFadedAfter,
                 const std::vector<Lane> &lanes)
{
    const int64_t edge = right.begin;
    int64_t half = std::min(wanted, edge - left.begin - left.fadeFrames / 2);
    half = std::min(half, (right.end - edge) / (isFadedAfter ? 2 : 1));
    if (left.clip)
        half = std::min(half, lanes[*left.clip].end - edge);
    if (right.clip)
        half = std::min(half, edge - lanes[*right.clip].begin);
    return std::max(half, int64_t{0});
}

void addFades(std::vector<CutPiece> &pieces, const std::vector<PlacedDecision> &decisions,
              const std::vector<Lane> &lanes, double fps)
{
    const auto wanted = [&](std::size_t index) -> int64_t {
        if (index >= pieces.size() || !pieces[index].decision)
            return 0;
        const CutDecision &decision = decisions[*pieces[index].decision].decision;
        return decision.kind == Kind::fade ? wholeFrames(decision.fadeSeconds * fps / 2) : 0;
    };
    for (std::size_t index = 1; index < pieces.size(); ++index)
        if (const int64_t half = wanted(index); half > 0)
            pieces[index].fadeFrames =
                2 * halfFade(half, pieces[index - 1], pieces[index], wanted(index + 1) > 0, lanes);
}

} // namespace

std::int64_t framesWithin(const PlacedDecision &placed, double fps)
{
    constexpr double rounding = 0.5;
    return wholeFrames(std::ceil(placed.withinSeconds.value_or(0) * fps + rounding));
}

std::optional<DirectorCut> DriftEngine::directorCut(const std::vector<CutDecision> &decisions,
                                                    const std::vector<Placement> &placements,
                                                    double fps)
{
    Q_ASSERT(!placements.empty());
    DirectorCut cut{.decisions = placedDecisions(decisions, placements, fps), .pieces = {}};
    if (cut.decisions.empty())
        return std::nullopt;
    const std::vector<Lane> all = lanes(placements, fps);
    cut.pieces = pieces(cut.decisions, all);
    addFades(cut.pieces, cut.decisions, all, fps);
    return cut;
}

CutOutlook DriftEngine::cutOutlook(const DirectorCut &cut, double fps)
{
    CutOutlook outlook;
    for (const PlacedDecision &placed : cut.decisions) {
        if (!cut.contains(placed))
            continue;
        ++outlook.decisions;
        if (placed.withinSeconds)
            outlook.withinFrames = std::max(outlook.withinFrames, framesWithin(placed, fps));
        else
            ++outlook.bySessionClock;
    }
    return outlook;
}

} // namespace vorn
