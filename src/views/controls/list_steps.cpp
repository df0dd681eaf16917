// SPDX-License-Identifier: Apache-2.0

#include "views/controls/list_steps.h"

#include <QHash>

#include <algorithm>
#include <ranges>
#include <span>
#include <utility>

namespace vorn {
namespace {

using Keys = std::span<const QString>;
using Indices = std::vector<qsizetype>;
constexpr qsizetype gone = -1;

// For each row of `from` its index in `to`, or `gone`.
Indices newIndices(Keys from, Keys to)
{
    if (from.empty())
        return {};
    QHash<QString, Indices> places;
    places.reserve(qsizetype(to.size()));
    for (std::size_t i = to.size(); i > 0; --i)
        places[to[i - 1]].push_back(qsizetype(i - 1));
    Indices result;
    result.reserve(from.size());
    for (const QString &key : from) {
        const auto found = places.find(key);
        if (found == places.end() || found->empty()) {
            result.push_back(gone);
        } else {
            result.push_back(found->back());
            found->pop_back();
        }
    }
    return result;
}

// Marks the rows of a longest rising subsequence: they stay where they are.
std::vector<bool> stayingRows(const Indices &rows, std::size_t newCount)
{
    Indices tails; // positions in `rows`, by length of the subsequence that they end
    Indices previous(rows.size(), gone);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const auto place = std::ranges::lower_bound(
            tails, rows[i], {}, [&](qsizetype tail) { return rows[std::size_t(tail)]; });
        if (place != tails.begin())
            previous[i] = *std::prev(place);
        if (place == tails.end())
            tails.push_back(qsizetype(i));
        else
            *place = qsizetype(i);
    }
    std::vector<bool> stays(newCount, false);
    for (auto i = tails.empty() ? gone : tails.back(); i != gone; i = previous[std::size_t(i)])
        stays[std::size_t(rows[std::size_t(i)])] = true;
    return stays;
}

void removeGone(Indices &rows, std::vector<ListStep> &steps)
{
    for (auto end = rows.end(); end != rows.begin();) {
        if (*std::prev(end) != gone) {
            --end;
            continue;
        }
        auto first = end;
        while (first != rows.begin() && *std::prev(first) == gone)
            --first;
        steps.push_back({ListStep::Kind::remove, first - rows.begin(), end - first, 0});
        end = rows.erase(first, end);
    }
}

std::vector<ListStep> stepsBetween(Keys from, Keys to)
{
    std::vector<ListStep> steps;
    Indices rows = newIndices(from, to);
    removeGone(rows, steps);

    const std::vector<bool> stays = stayingRows(rows, to.size());
    std::vector<bool> isOld(to.size(), false);
    for (const qsizetype row : rows)
        isOld[std::size_t(row)] = true;

    // Left to right: everything before `next` in the new list stands in the right order already, so
    // a row belongs right behind its predecessor.
    qsizetype place = 0; // in `rows`, behind the predecessor of `next`
    for (std::size_t next = 0; next < to.size();) {
        if (stays[next]) {
            place = std::find(rows.begin() + place, rows.end(), qsizetype(next)) - rows.begin() + 1;
            ++next;
        } else if (isOld[next]) {
            const auto mover = std::ranges::find(rows, qsizetype(next));
            const qsizetype old = mover - rows.begin();
            rows.erase(mover);
            const qsizetype target = old < place ? place - 1 : place;
            rows.insert(rows.begin() + target, qsizetype(next));
            if (old != target)
                steps.push_back({ListStep::Kind::move, old, 1, target});
            place = target + 1;
            ++next;
        } else {
            std::size_t end = next;
            while (end < to.size() && !isOld[end])
                ++end;
            const auto count = qsizetype(end - next);
            steps.push_back({ListStep::Kind::insert, place, count, qsizetype(next)});
            Indices fresh;
            for (std::size_t i = next; i < end; ++i)
                fresh.push_back(qsizetype(i));
            rows.insert(rows.begin() + place, fresh.begin(), fresh.end());
            place += count;
            next = end;
        }
    }
    return steps;
}

/// How many keys both begin with.
std::size_t commonHead(Keys from, Keys to)
{
    return std::size_t(std::ranges::mismatch(from, to).in1 - from.begin());
}

std::size_t commonTail(Keys from, Keys to)
{
    const auto last = std::ranges::mismatch(from | std::views::reverse, to | std::views::reverse);
    return std::size_t(last.in1 - std::ranges::rbegin(from));
}

} // namespace

std::vector<ListStep> listSteps(const std::vector<QString> &from, const std::vector<QString> &to)
{
    // Most changes touch few rows of a long list.
    const std::size_t head = commonHead(from, to);
    Keys changed = Keys(from).subspan(head);
    Keys into = Keys(to).subspan(head);
    const std::size_t tail = commonTail(changed, into);
    std::vector<ListStep> steps =
        stepsBetween(changed.first(changed.size() - tail), into.first(into.size() - tail));
    for (ListStep &step : steps) {
        step.first += qsizetype(head);
        if (step.kind != ListStep::Kind::remove)
            step.source += qsizetype(head);
    }
    return steps;
}

} // namespace vorn
