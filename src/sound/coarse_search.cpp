// SPDX-License-Identifier: Apache-2.0

#include "sound/coarse_search.h"

#include <algorithm>
#include <cmath>

namespace vorn {
namespace {

using Frames = std::span<const SoundFeatures::Frame>;
constexpr auto bandCount = SoundFeatures::bandCount;
constexpr double frameSeconds = 1.0 / SoundFeatures::framesASecond;

/// At 1,000 ppm a window of 30 s is smeared over three frames, about as wide as what swells.
constexpr std::size_t longestWindow = 3000;
constexpr std::size_t shortestWindow = 300;
/// More windows than that find no shorter overlap that matters, and each costs as much.
constexpr std::size_t mostWindows = 100;
constexpr std::size_t leastHop = 500;
/// A recorder of speech leaves out the upper ones.
constexpr std::size_t leastBands = 3;
/// Frames of the other recording that are looked at together.
constexpr std::size_t blockFrames = 16'384;

/// What a window may have been mistaken for, beside the best.
constexpr std::size_t candidatesOfAWindow = 4;
constexpr int apartFrames = 20;
/// Over the scatter of all places; chance reaches 5 among the 360,000 of an hour.
constexpr double leastScore = 5.5;

constexpr double greatestSlope = 0.0011;
constexpr double toleranceSeconds = 0.03;
constexpr int leastWindows = 3;
constexpr std::size_t mostLines = 3;

struct Candidate {
    std::size_t window = 0;
    double seconds = 0; ///< the middle of the window
    double lag = 0;
    double score = 0;
};

/// One band of some frames, about its mean.
std::vector<float> bandOf(Frames frames, std::size_t band)
{
    std::vector<float> values(frames.size());
    float sum = 0;
    for (std::size_t at = 0; at < frames.size(); ++at)
        sum += values[at] = float(frames[at][band]);
    const float mean = sum / float(std::max<std::size_t>(frames.size(), 1));
    for (float &value : values)
        value -= mean;
    return values;
}

double powerOf(std::span<const float> values)
{
    double power = 0;
    for (const float value : values)
        power += double(value) * double(value);
    return power;
}

/// A piece of the shorter recording, ready to be looked for.
struct Window {
    std::size_t begin = 0;
    std::array<Spectrum, bandCount> bands;      ///< each of power 1
    std::vector<std::pair<float, double>> best; ///< likeness and place, the best first
    double squares = 0;                         ///< of all likenesses
    std::size_t places = 0;

    void found(float likeness, double place)
    {
        if (best.size() == candidatesOfAWindow && likeness <= best.back().first)
            return;
        const auto near = std::ranges::find_if(
            best, [&](const auto &one) { return std::abs(one.second - place) < apartFrames; });
        if (near != best.end()) {
            if (near->first >= likeness)
                return;
            best.erase(near);
        } else if (best.size() == candidatesOfAWindow) {
            best.pop_back();
        }
        best.emplace_back(likeness, place);
        std::ranges::sort(best, std::greater());
    }
};

std::vector<Window> windowsOf(Frames frames, std::size_t length, const RealTransform &transform)
{
    std::vector<Window> windows;
    const std::size_t room = frames.size() - length;
    const std::size_t hop = std::max(leastHop, room / mostWindows + 1);
    for (std::size_t begin = 0; begin <= room; begin += hop) {
        Window window;
        window.begin = begin;
        std::size_t sounding = 0;
        for (std::size_t band = 0; band < bandCount; ++band) {
            std::vector<float> values = bandOf(frames.subspan(begin, length), band);
            const double power = powerOf(values);
            sounding += power > 0 ? 1 : 0;
            for (float &value : values)
                value /= float(std::sqrt(std::max(power, 1.0)));
            window.bands[band] = transform.forward(values);
        }
        if (sounding >= leastBands)
            windows.push_back(std::move(window));
    }
    return windows;
}

/// The power of one band in each stretch as long as a window.
void addLocalPower(std::span<const float> values, std::size_t length, std::vector<float> &powers)
{
    double power = powerOf(values.first(length));
    for (std::size_t at = 0;; ++at) {
        powers[at] += float(power);
        if (at + length >= values.size())
            break;
        power += double(values[at + length]) * double(values[at + length])
                 - double(values[at]) * double(values[at]);
    }
}

/// Keeps the tops of what a window is like from the frame `begin` on.
void lookThrough(std::span<const float> likeness, std::size_t begin, Window &window)
{
    window.squares += powerOf(likeness);
    window.places += likeness.size();
    for (std::size_t at = 0; at < likeness.size(); ++at) {
        const double here = likeness[at];
        const double before = at > 0 ? likeness[at - 1] : here;
        const double after = at + 1 < likeness.size() ? likeness[at + 1] : here;
        if (here < before || here < after)
            continue;
        // The top of a parabola: a tenth of a frame where little disturbs.
        const double bend = before - 2 * here + after;
        const double part = bend < 0 ? 0.5 * (before - after) / bend : 0;
        window.found(likeness[at], double(begin + at) + part);
    }
}

/// Looks for all windows in one block, whose first frame is `begin`.
void searchBlock(Frames block, std::size_t begin, std::size_t length,
                 const RealTransform &transform, std::vector<Window> &windows)
{
    const std::size_t places = block.size() - length + 1;
    std::vector<float> powers(places);
    std::array<Spectrum, bandCount> bands;
    for (std::size_t band = 0; band < bandCount; ++band) {
        std::vector<float> values = bandOf(block, band);
        const float scatter = float(std::sqrt(powerOf(values) / double(values.size())));
        for (float &value : values)
            value /= std::max(scatter, 1.0F);
        addLocalPower(values, length, powers);
        bands[band] = transform.forward(values);
    }
    Spectrum product(transform.bins());
    for (Window &window : windows) {
        std::ranges::fill(product, 0);
        for (std::size_t band = 0; band < bandCount; ++band) {
            for (std::size_t bin = 0; bin < product.size(); ++bin)
                product[bin] += std::conj(window.bands[band][bin]) * bands[band][bin];
        }
        std::vector<float> likeness = transform.inverse(product);
        const float whole = float(transform.size()) * std::sqrt(float(bandCount));
        // Where next to nothing sounds chance is all there is.
        for (std::size_t at = 0; at < places; ++at) {
            const float loudness = std::max(powers[at], 0.1F * float(length * bandCount));
            likeness[at] /= whole * std::sqrt(loudness);
        }
        likeness.resize(places);
        lookThrough(likeness, begin, window);
    }
}

std::vector<Candidate> candidatesOf(const std::vector<Window> &windows, std::size_t length)
{
    std::vector<Candidate> candidates;
    for (std::size_t index = 0; index < windows.size(); ++index) {
        const Window &window = windows[index];
        const double scatter =
            std::sqrt(window.squares / double(std::max<std::size_t>(window.places, 1)));
        for (const auto &[likeness, place] : window.best) {
            const double score = scatter > 0 ? double(likeness) / scatter : 0;
            if (score >= leastScore)
                candidates.push_back(
                    {.window = index,
                     .seconds = (double(window.begin) + double(length) / 2) * frameSeconds,
                     .lag = (place - double(window.begin)) * frameSeconds,
                     .score = score});
        }
    }
    return candidates;
}

bool liesOn(const CoarseLine &line, const Candidate &candidate)
{
    return std::abs(candidate.lag - line.offsetSeconds - line.slope * candidate.seconds)
           <= toleranceSeconds;
}

/// How many windows lie on a line; the candidates come window by window.
int windowsOn(const CoarseLine &line, const std::vector<Candidate> &candidates)
{
    int count = 0;
    std::size_t last = std::size_t(-1);
    for (const Candidate &candidate : candidates) {
        if (candidate.window != last && liesOn(line, candidate)) {
            last = candidate.window;
            ++count;
        }
    }
    return count;
}

/// Least squares over what lies on `line`.
CoarseLine refined(const CoarseLine &line, const std::vector<Candidate> &candidates)
{
    double count = 0, seconds = 0, lag = 0, squares = 0, common = 0;
    for (const Candidate &one : candidates) {
        if (!liesOn(line, one))
            continue;
        ++count;
        seconds += one.seconds;
        lag += one.lag;
        squares += one.seconds * one.seconds;
        common += one.seconds * one.lag;
    }
    const double spread = squares - seconds * seconds / count;
    const double slope = spread > 0 ? (common - seconds * lag / count) / spread : 0;
    CoarseLine result{.offsetSeconds = (lag - slope * seconds) / count, .slope = slope};
    result.windows = windowsOn(result, candidates);
    return result;
}

CoarseLine bestLine(const std::vector<Candidate> &candidates)
{
    CoarseLine best;
    const auto consider = [&](const Candidate &one, double slope) {
        CoarseLine line{.offsetSeconds = one.lag - slope * one.seconds, .slope = slope};
        line.windows = windowsOn(line, candidates);
        if (line.windows > best.windows)
            best = line;
    };
    for (std::size_t first = 0; first < candidates.size(); ++first) {
        consider(candidates[first], 0);
        for (std::size_t second = first + 1; second < candidates.size(); ++second) {
            const double apart = candidates[second].seconds - candidates[first].seconds;
            const double rise = candidates[second].lag - candidates[first].lag;
            // Two windows next to each other tell nothing of the slope.
            if (apart > 60 && std::abs(rise) <= greatestSlope * apart)
                consider(candidates[first], rise / apart);
        }
    }
    return best.windows >= leastWindows ? refined(best, candidates) : best;
}

/// The lag of the longer recording as one of the shorter.
CoarseLine turned(const CoarseLine &line)
{
    return {.offsetSeconds = -line.offsetSeconds / (1 + line.slope),
            .slope = -line.slope / (1 + line.slope),
            .windows = line.windows};
}

} // namespace

std::vector<CoarseLine> coarseSearch(const SoundFeatures &reference, const SoundFeatures &other)
{
    const bool swapped = reference.frames().size() > other.frames().size();
    const Frames shorter = swapped ? other.frames() : reference.frames();
    const Frames longer = swapped ? reference.frames() : other.frames();
    const std::size_t length = std::min(longestWindow, shorter.size() / 4);
    if (length < shortestWindow)
        return {};

    const RealTransform transform(blockFrames);
    std::vector<Window> windows = windowsOf(shorter, length, transform);
    for (std::size_t begin = 0; begin + length <= longer.size();
         begin += blockFrames - length + 1) {
        const std::size_t size = std::min(blockFrames, longer.size() - begin);
        searchBlock(longer.subspan(begin, size), begin, length, transform, windows);
    }

    std::vector<Candidate> candidates = candidatesOf(windows, length);
    std::vector<CoarseLine> lines;
    while (lines.size() < mostLines) {
        const CoarseLine line = bestLine(candidates);
        if (line.windows < leastWindows)
            break;
        lines.push_back(swapped ? turned(line) : line);
        std::erase_if(candidates, [&](const Candidate &one) { return liesOn(line, one); });
    }
    return lines;
}

} // namespace vorn
