// SPDX-License-Identifier: Apache-2.0

#include "base/off_thread.h"
#include "base/sentence_error.h"
#include "store/progress_report.h"
#include "views/library/movie_import_view_model.h"

#include <QFileInfo>
#include <QPointer>

using namespace Qt::StringLiterals;

// What is read and heard of movies on their way to a take, in which order, and on which threads.

namespace vorn {
namespace {

constexpr int mostJobs = 2;
/// What finding a movie in another one comes to, in seconds of sound.
constexpr double secondsAnAlignment = 700;

/// The entry of that path; null where there is none.
auto *entryIn(auto &entries, const QString &path)
{
    const auto found =
        std::ranges::find(entries, path, [](const auto &entry) { return entry.movie.path; });
    return found == entries.end() ? nullptr : &*found;
}

} // namespace

const MovieImportViewModel::Entry *MovieImportViewModel::entryOf(const QString &path) const
{
    return entryIn(m_entries, path);
}

MovieImportViewModel::Entry *MovieImportViewModel::entryOf(const QString &path)
{
    return entryIn(m_entries, path);
}

const MovieImportViewModel::Entry *MovieImportViewModel::repeatedBy(const Entry &entry) const
{
    if (entry.isLeftOut || entry.movie.sha256.isEmpty())
        return nullptr;
    for (const Entry &other : m_entries) {
        if (&other == &entry)
            break;
        if (!other.isLeftOut && other.movie.sha256 == entry.movie.sha256)
            return &other;
    }
    return nullptr;
}

QString MovieImportViewModel::problemOf(const Entry &entry) const
{
    if (!entry.movie.refusal.isEmpty())
        return entry.movie.refusal;
    if (const Entry *same = repeatedBy(entry))
        return u"It is the same recording as %1."_s.arg(same->movie.path);
    const MovieLie *lie = lieOf(entry);
    const QString *reason = lie ? std::get_if<QString>(&lie->alignment) : nullptr;
    return reason ? *reason : QString();
}

bool MovieImportViewModel::isUsable(const Entry &entry) const
{
    return entry.isLookedAt && !entry.isLeftOut && entry.movie.refusal.isEmpty()
           && !repeatedBy(entry);
}

const MovieImportViewModel::Entry *MovieImportViewModel::reference() const
{
    const Entry *longest = nullptr;
    for (const Entry &entry : m_entries) {
        if (!entry.isLookedAt && !entry.isLeftOut)
            return nullptr; // it may be the longest
        if (!isUsable(entry))
            continue;
        if (entry.movie.path == m_chosenReference)
            return &entry;
        if (!longest || entry.movie.seconds > longest->movie.seconds)
            longest = &entry;
    }
    return longest;
}

void MovieImportViewModel::reckon()
{
    m_lies.clear();
    m_toHear.clear();
    const Entry *basis = reference();
    if (!basis)
        return;
    std::vector<Movie> movies;
    HeardPairs heard;
    for (const Entry &entry : m_entries) {
        // What is left out may still be the way to another one.
        if (!isUsable(entry) && !(entry.isLeftOut && entry.features))
            continue;
        movies.push_back(entry.movie);
        for (const auto &[path, alignment] : entry.alignments)
            heard[{path, entry.movie.path}] = alignment;
    }
    m_lies = moviesLying(basis->movie.path, movies, heard);
    m_toHear = pairsToHear(basis->movie.path, movies, heard);
}

const MovieLie *MovieImportViewModel::lieOf(const Entry &entry) const
{
    const auto found = m_lies.find(entry.movie.path);
    if (found == m_lies.end())
        return nullptr;
    const bool isSought = std::ranges::count(m_toHear, entry.movie.path, &MoviePair::second) > 0;
    const bool isFound = std::holds_alternative<MovieAlignment>(found->second.alignment);
    return isFound || !isSought ? &found->second : nullptr;
}

const MovieAlignment *MovieImportViewModel::alignmentOf(const Entry &entry) const
{
    const MovieLie *lie = lieOf(entry);
    return lie ? std::get_if<MovieAlignment>(&lie->alignment) : nullptr;
}

bool MovieImportViewModel::isRunning() const
{
    // What waits for a thread runs, too.
    return std::ranges::any_of(m_entries, &Entry::isBusy) || nextJob();
}

bool MovieImportViewModel::wouldBeLost() const
{
    return isRunning()
           || std::ranges::any_of(m_entries, [](const Entry &entry) { return !!entry.features; });
}

double MovieImportViewModel::fraction() const
{
    double all = 0;
    double done = 0;
    for (const Entry &entry : m_entries) {
        if (entry.isLeftOut)
            continue;
        const bool isRefused = entry.isLookedAt && !isUsable(entry);
        all += isRefused ? 1 : 3; // read, heard, aligned
        done += entry.isLookedAt ? 1 : 0;
        if (entry.features && !isRefused)
            done += 1 + alignedShare(entry);
        else if (entry.isBusy)
            done += entry.doneShare;
    }
    return all > 0 ? std::min(1.0, done / all) : 0;
}

double MovieImportViewModel::alignedShare(const Entry &entry) const
{
    if (lieOf(entry) || &entry == reference())
        return 1;
    const auto left = std::ranges::count(m_toHear, entry.movie.path, &MoviePair::second);
    const auto all = double(left) + double(entry.alignments.size());
    return (double(entry.alignments.size()) + (entry.isBusy ? entry.doneShare : 0))
           / std::max(1.0, all);
}

void MovieImportViewModel::stop(Entry &entry)
{
    entry.stop.request_stop();
    entry.isBusy = false;
}

void MovieImportViewModel::startAnew(Entry &entry)
{
    Entry fresh;
    fresh.movie.path = entry.movie.path;
    fresh.cameraName = entry.cameraName;
    fresh.isLeftOut = entry.isLeftOut;
    entry = fresh;
    for (Entry &other : m_entries)
        other.alignments.erase(fresh.movie.path);
}

MovieImportViewModel::FileStamp MovieImportViewModel::stampOf(const QString &path)
{
    const QFileInfo file(path);
    return {.bytes = file.size(), .modified = file.lastModified()};
}

MovieImportViewModel::Job MovieImportViewModel::lookJob(const Entry &entry)
{
    return Job{entry.movie.path,
               [path = entry.movie.path](const std::stop_token &, const OnShare &onShare) {
                   const FileStamp stamp = stampOf(path);
                   const auto size = double(std::max<std::int64_t>(1, stamp.bytes));
                   Movie movie = lookAtMovie(
                       path, [&](std::int64_t bytes) { onShare(double(bytes) / size); });
                   return Change([movie, stamp](Entry &changed) {
                       changed.movie = movie;
                       changed.stamp = stamp;
                       changed.isLookedAt = true;
                   });
               }};
}

MovieImportViewModel::Job MovieImportViewModel::hearJob(const Entry &entry)
{
    return Job{entry.movie.path,
               [movie = entry.movie](const std::stop_token &stop, const OnShare &onShare) {
                   double heard = 0;
                   const HeardMovie result = hearMovie(movie, stop, [&](double seconds) {
                       onShare((heard += seconds) / movie.seconds);
                   });
                   return Change([features = result.features](Entry &changed) {
                       changed.features = features;
                   });
               }};
}

MovieImportViewModel::Job MovieImportViewModel::alignJob(const Entry &there, const Entry &entry)
{
    return Job{entry.movie.path, [basis = HeardMovie{there.movie, there.features},
                                  other = HeardMovie{entry.movie, entry.features}](
                                     const std::stop_token &stop, const OnShare &onShare) {
                   double heard = 0;
                   AlignmentOrWhyNot found;
                   try {
                       found = alignMovies(basis, other, stop, [&](double seconds) {
                           onShare(std::min(1.0, (heard += seconds) / secondsAnAlignment));
                       });
                   } catch (const SentenceError &error) { // it may be the other one that is gone
                       found = QString::fromUtf8(error.what());
                   }
                   return Change([found = std::move(found), path = basis.movie.path](
                                     Entry &changed) { changed.alignments[path] = found; });
               }};
}

std::optional<MovieImportViewModel::Job> MovieImportViewModel::nextJob() const
{
    for (const Entry &entry : m_entries) {
        if (!entry.isLookedAt && !entry.isBusy && !entry.isLeftOut)
            return lookJob(entry);
    }
    const Entry *basis = reference();
    if (!basis)
        return std::nullopt;
    if (!basis->features && !basis->isBusy)
        return hearJob(*basis);
    for (const Entry &entry : m_entries) {
        if (isUsable(entry) && !entry.features && !entry.isBusy)
            return hearJob(entry);
    }
    for (const auto &[path, sought] : m_toHear) {
        const Entry *there = entryOf(path);
        const Entry *entry = entryOf(sought);
        if (isUsable(*entry) && !entry->isBusy && entry->features && there->features)
            return alignJob(*there, *entry);
    }
    return std::nullopt;
}

void MovieImportViewModel::startJobs()
{
    reckon();
    while (m_running < mostJobs) {
        std::optional<Job> job = nextJob();
        if (!job)
            break;
        Entry *entry = entryOf(job->path);
        entry->isBusy = true;
        entry->doneShare = 0;
        entry->stop = std::stop_source();
        ++m_running;
        run(std::move(*job), entry->stop.get_token());
    }
    refresh();
}

QCoro::Task<> MovieImportViewModel::run(Job job, std::stop_token stop)
{
    const QPointer<MovieImportViewModel> self(this);
    const auto report = progressReport<double>(stop, [self, stop, path = job.path](double share) {
        if (!self || stop.stop_requested())
            return;
        if (Entry *entry = self->entryOf(path))
            entry->doneShare = share;
        Q_EMIT self->changed();
    });
    Change change;
    try {
        change = co_await offThread([work = job.work, stop, report] { return work(stop, report); });
    } catch (const std::exception &error) {
        change = [sentence = QString::fromUtf8(error.what())](Entry &entry) {
            entry.movie.refusal = sentence;
            entry.isLookedAt = true;
        };
    }
    if (!self)
        co_return;
    --m_running;
    if (stop.stop_requested()) {
        startJobs();
        co_return;
    }
    apply(job.path, [&](Entry &entry) {
        change(entry);
        entry.isBusy = false;
        if (entry.cameraName.isEmpty() && entry.isLookedAt)
            entry.cameraName = cameraNameFor(entry.movie, cameraNames(&entry));
    });
}

QStringList MovieImportViewModel::cameraNames(const Entry *except) const
{
    QStringList names;
    for (const Entry &entry : m_entries) {
        if (&entry != except)
            names += entry.cameraName;
    }
    return names;
}

void MovieImportViewModel::apply(const QString &path, const Change &change)
{
    if (Entry *entry = entryOf(path))
        change(*entry);
    startJobs();
}

} // namespace vorn
