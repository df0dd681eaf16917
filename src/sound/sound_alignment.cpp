// SPDX-License-Identifier: Apache-2.0

#include "sound/sound_alignment.h"

#include <algorithm>
#include <cmath>

namespace vorn {
namespace {

constexpr std::size_t leastPoints = 5;
/// Of the points; the rest may have been wrong.
constexpr double leastShare = 0.6;
/// Of the time from the first to the last point that told anything.
constexpr double leastSpan = 0.7;
/// The gate that anchors have to pass, too.
constexpr double greatestResidualSeconds = 0.005;
/// What clocks drift at most, 1,000 ppm, and what the lags at a short distance may add.
constexpr double greatestSlope = 0.001;

/// A judgement needs the head, the tail, and a witness between.
constexpr std::size_t leastWitnesses = 3;
/// Phones of one scene stand no further apart.
constexpr double farthestMetres = 35;
/// A frame of 50 a second, or how far someone moves who walks about with a phone (7 m).
constexpr double greatestChangeSeconds = 0.02;

struct Line {
    double middle = 0; ///< mean of the times
    double lag = 0;    ///< there
    double slope = 0;
    double spread = 0; ///< weighted sum of the squares of the times about the middle
    double weight = 0; ///< sum of the weights

    [[nodiscard]] double residual(const LagPoint &point) const
    {
        return point.lagSeconds - lag - slope * (point.referenceSeconds - middle);
    }
};

double weightOf(const LagPoint &point)
{
    return 1 / (point.uncertaintySeconds * point.uncertaintySeconds);
}

/// Weighted least squares about the means.
Line fitted(std::span<const LagPoint> points)
{
    Line line;
    for (const LagPoint &point : points) {
        line.weight += weightOf(point);
        line.middle += weightOf(point) * point.referenceSeconds;
        line.lag += weightOf(point) * point.lagSeconds;
    }
    line.middle /= line.weight;
    line.lag /= line.weight;
    double common = 0;
    for (const LagPoint &point : points) {
        const double away = point.referenceSeconds - line.middle;
        line.spread += weightOf(point) * away * away;
        common += weightOf(point) * away * (point.lagSeconds - line.lag);
    }
    line.slope = line.spread > 0 ? common / line.spread : 0;
    return line;
}

std::vector<LagPoint> nearTo(const Line &line, std::span<const LagPoint> points)
{
    std::vector<LagPoint> near;
    std::ranges::copy_if(points, std::back_inserter(near), [&](const LagPoint &point) {
        return std::abs(line.residual(point)) <= greatestResidualSeconds;
    });
    return near;
}

/// How many points lie near a line, the closer the more: a line between two heaps, of a sound and
/// its echo from a wall, is near to many and good for none.
double agreement(const Line &line, std::span<const LagPoint> points)
{
    double sum = 0;
    for (const LagPoint &point : points) {
        const double away = line.residual(point) / greatestResidualSeconds;
        sum += std::max(0.0, 1 - away * away);
    }
    return sum;
}

/// Of the lines through two points each, what lies near the one that agrees best.
std::vector<LagPoint> largestAgreement(std::span<const LagPoint> points)
{
    double best = 0;
    std::vector<LagPoint> near;
    for (std::size_t first = 0; first < points.size(); ++first) {
        for (std::size_t second = first + 1; second < points.size(); ++second) {
            const double apart = points[second].referenceSeconds - points[first].referenceSeconds;
            const double rise = points[second].lagSeconds - points[first].lagSeconds;
            if (!(std::abs(rise) <= greatestSlope * apart + greatestResidualSeconds))
                continue;
            const Line line{.middle = points[first].referenceSeconds,
                            .lag = points[first].lagSeconds,
                            .slope = apart > 0 ? rise / apart : 0};
            const double agreeing = agreement(line, points);
            if (agreeing > best) {
                best = agreeing;
                near = nearTo(line, points);
            }
        }
    }
    return near;
}

double spanOf(std::span<const LagPoint> points)
{
    return points.back().referenceSeconds - points.front().referenceSeconds;
}

SoundLine described(const Line &line, std::vector<LagPoint> points)
{
    double squares = 0;
    SoundLine result;
    result.uncertaintySeconds = points.front().uncertaintySeconds;
    for (const LagPoint &point : points) {
        const double residual = std::abs(line.residual(point));
        result.largestResidualSeconds = std::max(result.largestResidualSeconds, residual);
        result.uncertaintySeconds = std::min(result.uncertaintySeconds, point.uncertaintySeconds);
        squares += weightOf(point) * residual * residual;
    }
    const double variance = squares / double(points.size() - 2); // of a point of weight 1
    const double farthest = std::max(line.middle - points.front().referenceSeconds,
                                     points.back().referenceSeconds - line.middle);
    const double error =
        std::sqrt(variance * (1 / line.weight + farthest * farthest / line.spread));
    result.uncertaintySeconds = std::max(result.uncertaintySeconds, 2 * error);
    result.driftUncertaintyPPM = 2e6 * std::sqrt(variance / line.spread);
    result.offsetSeconds = line.lag - line.slope * line.middle;
    result.driftPPM = line.slope * 1e6;
    result.points = std::move(points);
    return result;
}

} // namespace

std::variant<SoundLine, NoLine> soundAlignment(std::span<const LagPoint> points)
{
    std::vector<LagPoint> sorted(points.begin(), points.end());
    std::ranges::stable_sort(sorted, {}, &LagPoint::referenceSeconds);
    if (sorted.size() < leastPoints)
        return NoLine::tooFew;

    std::vector<LagPoint> agreeing = largestAgreement(sorted);
    if (agreeing.size() < 2)
        return NoLine::disagree;
    // The line through two of them is off by their errors: once more about that of all.
    agreeing = nearTo(fitted(agreeing), sorted);
    if (agreeing.size() < leastPoints
        || double(agreeing.size()) < leastShare * double(sorted.size()))
        return NoLine::disagree;
    if (!(spanOf(agreeing) > 0) || spanOf(agreeing) < leastSpan * spanOf(sorted))
        return NoLine::bunched;
    const Line line = fitted(agreeing);
    const bool holds = nearTo(line, agreeing).size() == agreeing.size();
    if (!holds || std::abs(line.slope) > greatestSlope)
        return NoLine::disagree;
    return described(line, std::move(agreeing));
}

SoundJudgement judgeAlignment(std::span<const LagPoint> points)
{
    if (points.size() < leastWitnesses)
        return {};
    std::vector<double> lags;
    SoundJudgement judgement;
    for (const LagPoint &point : points) {
        lags.push_back(point.lagSeconds);
        judgement.uncertaintySeconds =
            std::max(judgement.uncertaintySeconds, point.uncertaintySeconds);
    }
    std::ranges::sort(lags);
    judgement.lagSeconds = (lags[(lags.size() - 1) / 2] + lags[lags.size() / 2]) / 2;
    judgement.headSeconds = points.front().lagSeconds;
    judgement.tailSeconds = points.back().lagSeconds;
    judgement.changeSeconds = lags.back() - lags.front();
    judgement.metres = std::abs(judgement.lagSeconds) * soundMetresASecond;

    const double explained = farthestMetres / soundMetresASecond;
    if (lags.front() > explained || lags.back() < -explained)
        judgement.kind = SoundJudgement::Kind::off;
    else if (judgement.changeSeconds > greatestChangeSeconds + 2 * judgement.uncertaintySeconds)
        judgement.kind = SoundJudgement::Kind::slipping;
    else
        judgement.kind = std::abs(judgement.lagSeconds) > explained ? SoundJudgement::Kind::off
                                                                    : SoundJudgement::Kind::steady;
    return judgement;
}

} // namespace vorn
