// SPDX-License-Identifier: Apache-2.0

#include "drift/anchor_fit.h"

#include "drift/drift_error.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

// What a list must hold before it is believed. Every gate is written so that NaN fails it.
constexpr std::size_t minimumAnchors = 5;
constexpr double minimumConfidence = 0.8;
constexpr double maximumConfidence = 1.0;
constexpr double maximumUncertaintyMs = 5.0;
constexpr double maximumGapShare = 0.35; // of the media's duration, between neighbours
constexpr double latestFirstShare = 0.1;
constexpr double earliestLastShare = 0.9;
constexpr double maximumDrift = 0.001; // 1,000 parts per million

using Anchors = std::vector<TimingAnchor>;

bool isInRange(const TimingAnchor &anchor, double duration)
{
    return std::isfinite(anchor.sourceSeconds) && std::isfinite(anchor.referenceSeconds)
           && anchor.sourceSeconds >= 0 && anchor.sourceSeconds <= duration
           && anchor.referenceSeconds >= 0 && anchor.confidence >= minimumConfidence
           && anchor.confidence <= maximumConfidence && anchor.uncertaintyMs > 0
           && anchor.uncertaintyMs <= maximumUncertaintyMs;
}

bool isLaterInBoth(const TimingAnchor &earlier, const TimingAnchor &later)
{
    return later.sourceSeconds > earlier.sourceSeconds
           && later.referenceSeconds > earlier.referenceSeconds;
}

double largestGap(const Anchors &sorted)
{
    double largest = 0;
    for (std::size_t next = 1; next < sorted.size(); ++next)
        largest = std::max(largest, sorted[next].sourceSeconds - sorted[next - 1].sourceSeconds);
    return largest;
}

/// The anchors in the order of their source times, once all that can be told without a fit is.
Anchors verifiedAnchors(const Anchors &anchors, double duration)
{
    if (!std::isfinite(duration) || !(duration > 0) || anchors.size() < minimumAnchors)
        throw DriftExportError::invalid(
            u"Need a positive duration and at least five verified anchors."_s);
    // Before the sort: a NaN has no place in an order.
    if (!std::ranges::all_of(anchors,
                             [&](const TimingAnchor &one) { return isInRange(one, duration); }))
        throw DriftExportError::invalid(
            u"An anchor is outside the accepted media range or confidence limits."_s);

    Anchors sorted = anchors;
    std::ranges::stable_sort(sorted, {}, &TimingAnchor::sourceSeconds);
    if (std::ranges::adjacent_find(sorted, std::not_fn(isLaterInBoth)) != sorted.end())
        throw DriftExportError::invalid(
            u"Anchors must be strictly increasing in both media timelines."_s);
    if (!(largestGap(sorted) <= maximumGapShare * duration))
        throw DriftExportError::invalid(
            u"Anchors leave too much of the middle of the take unverified."_s);
    if (!(sorted.front().sourceSeconds <= latestFirstShare * duration)
        || !(sorted.back().sourceSeconds >= earliestLastShare * duration))
        throw DriftExportError::invalid(u"Anchors must cover the beginning and end of the take."_s);
    return sorted;
}

double weight(const TimingAnchor &anchor)
{
    return 1 / (anchor.uncertaintyMs * anchor.uncertaintyMs);
}

/// Σ weight · value, in the order of the list.
template <class Value> double weightedSum(const Anchors &sorted, Value &&value)
{
    double sum = 0;
    for (const TimingAnchor &anchor : sorted)
        sum += weight(anchor) * value(anchor);
    return sum;
}

double largestResidualMs(const Anchors &anchors, const DriftCorrection &line)
{
    double largest = 0;
    for (const TimingAnchor &anchor : anchors) {
        const double residual = std::abs(DriftEngine::latenessMs(anchor, line));
        // A NaN stays, and with it an offset that is none.
        if (residual > largest || std::isnan(residual))
            largest = residual;
    }
    return largest;
}

/// Weighted least squares about the means: the sums of squares of the times themselves would lose
/// the last digits of an hour's recording.
DriftCorrection fittedLine(const Anchors &sorted, double totalWeight)
{
    const double meanSource =
        weightedSum(sorted, [](auto &one) { return one.sourceSeconds; }) / totalWeight;
    const double meanReference =
        weightedSum(sorted, [](auto &one) { return one.referenceSeconds; }) / totalWeight;
    const double spread = weightedSum(sorted, [&](auto &one) {
        return (one.sourceSeconds - meanSource) * (one.sourceSeconds - meanSource);
    });
    // Weights or squares that left the range of a double make no line either.
    if (!(spread > 0) || !std::isfinite(spread) || !std::isfinite(totalWeight))
        throw DriftExportError::invalid(u"Anchors do not span enough media time."_s);
    const double slope = weightedSum(sorted,
                                     [&](auto &one) {
                                         return (one.sourceSeconds - meanSource)
                                                * (one.referenceSeconds - meanReference);
                                     })
                         / spread;
    DriftCorrection line;
    line.offsetSeconds = meanReference - meanSource * slope;
    line.referenceSecondsPerSourceSecond = slope;
    line.driftPPM = (slope - 1) * 1'000'000;
    line.maxResidualMs = largestResidualMs(sorted, line);
    return line;
}

} // namespace

DriftCorrection DriftEngine::fit(const std::vector<TimingAnchor> &anchors, double duration)
{
    const Anchors sorted = verifiedAnchors(anchors, duration);
    const double totalWeight = weightedSum(sorted, [](auto &) { return 1.0; });
    DriftCorrection result = fittedLine(sorted, totalWeight);
    const double drift = std::abs(result.referenceSecondsPerSourceSecond - 1);
    if (!(result.maxResidualMs <= maximumResidualMs) || !(drift <= maximumDrift))
        throw DriftExportError::invalid(
            u"Timing is nonlinear or drift is excessive; manual review is required."_s);

    const auto leastCertain = std::ranges::max_element(sorted, {}, &TimingAnchor::uncertaintyMs);
    result.endpointUncertaintyMs = result.maxResidualMs + 2 * leastCertain->uncertaintyMs;
    result.retime = drift * duration * 1000 > 2 * result.endpointUncertaintyMs;
    if (!result.retime) {
        result.referenceSecondsPerSourceSecond = 1;
        result.driftPPM = 0;
        result.offsetSeconds =
            weightedSum(sorted, [](auto &one) { return one.referenceSeconds - one.sourceSeconds; })
            / totalWeight;
    }
    return result;
}

std::optional<DriftCorrection> DriftEngine::freeLine(const std::vector<TimingAnchor> &anchors)
{
    Anchors numbers;
    std::ranges::copy_if(anchors, std::back_inserter(numbers), [](const TimingAnchor &anchor) {
        return std::isfinite(anchor.sourceSeconds) && std::isfinite(anchor.referenceSeconds)
               && anchor.uncertaintyMs > 0;
    });
    std::ranges::stable_sort(numbers, {}, &TimingAnchor::sourceSeconds);
    try {
        const DriftCorrection line =
            fittedLine(numbers, weightedSum(numbers, [](auto &) { return 1.0; }));
        return std::isfinite(line.maxResidualMs) ? std::optional(line) : std::nullopt;
    } catch (const DriftExportError &) {
        return std::nullopt;
    }
}

double DriftEngine::latenessMs(const TimingAnchor &anchor, const DriftCorrection &line)
{
    return (line.referenceSecondsPerSourceSecond * anchor.sourceSeconds
            - (anchor.referenceSeconds - line.offsetSeconds))
           * 1000;
}

} // namespace vorn
