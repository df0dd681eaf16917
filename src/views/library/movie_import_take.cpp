// SPDX-License-Identifier: Apache-2.0

#include "base/off_thread.h"
#include "store/app_store.h"
#include "views/library/movie_import_view_model.h"

#include <QDate>
#include <QPointer>
#include <QUuid>

using namespace Qt::StringLiterals;

// What becomes of movies that have been aligned.

namespace vorn {
namespace {

constexpr auto defaultProject = "Imported movies"_L1;

} // namespace

void MovieImportViewModel::create()
{
    if (!isAvailable())
        return;
    m_failure.clear();
    std::vector<MovieClip> clips;
    std::map<QString, FileStamp> movies;
    std::size_t basis = 0;
    for (const Entry &entry : m_entries) {
        if (entry.isLeftOut)
            continue;
        if (&entry == reference())
            basis = clips.size();
        movies[entry.movie.path] = entry.stamp;
        const MovieAlignment *alignment = alignmentOf(entry);
        clips.push_back({.cameraName = plainName(entry.cameraName),
                         .movie = entry.movie,
                         .anchors = alignment ? alignment->anchors : std::vector<TimingAnchor>()});
    }
    createTake(manifestOfMovies(place(), clips, basis), std::move(movies));
}

QStringList MovieImportViewModel::changedOf(const std::map<QString, FileStamp> &movies)
{
    QStringList changed;
    for (const auto &[path, stamp] : movies) {
        if (stampOf(path) != stamp)
            changed += path;
    }
    return changed;
}

QCoro::Task<> MovieImportViewModel::createTake(SourceManifest manifest,
                                               std::map<QString, FileStamp> movies)
{
    const QPointer<MovieImportViewModel> self(this);
    m_isCreating = true;
    refresh();
    const QStringList changed = co_await offThread([movies] { return changedOf(movies); });
    if (!self)
        co_return;
    const bool isIn = changed.isEmpty() && co_await m_store.createMovieTake(std::move(manifest));
    if (!self)
        co_return;
    m_isCreating = false;
    if (isIn) {
        endWith(movies);
        co_return;
    }
    for (const QString &path : changed) {
        if (Entry *entry = entryOf(path))
            startAnew(*entry);
    }
    m_failure = changed.isEmpty() ? m_store.errorMessage().value_or(QString())
                                  : u"Some movies have changed since they were listened to. They "
                                    "are listened to again."_s;
    startJobs();
}

void MovieImportViewModel::endWith(const std::map<QString, FileStamp> &taken)
{
    QStringList later; // dropped while the take was created
    for (const Entry &entry : m_entries) {
        if (!entry.isLeftOut && !taken.contains(entry.movie.path))
            later += entry.movie.path;
    }
    cancel();
    if (later.isEmpty())
        Q_EMIT created();
    else
        addPaths(later);
}

MovieTakePlace MovieImportViewModel::place() const
{
    const QString name = plainName(m_projectName);
    const auto isMeant = [&](const VORNProject &project) {
        return !isUnassignedProject(project.id) && plainName(project.name) == name;
    };
    MovieTakePlace place{.projectId = {}, .newProjectName = {}, .takeId = plainName(m_takeName)};
    const auto &projects = m_store.library().projects;
    const VORNProject *selected = m_store.selectedProject();
    const auto known = std::ranges::find_if(projects, isMeant);
    if (selected && isMeant(*selected)) {
        place.projectId = selected->id;
    } else if (known != projects.end()) {
        place.projectId = known->id;
    } else {
        place.projectId = QUuid::createUuid().toString(QUuid::WithoutBraces);
        place.newProjectName = name;
    }
    return place;
}

void MovieImportViewModel::proposeNames()
{
    if (m_projectName.isEmpty()) {
        const VORNProject *selected = m_store.selectedProject();
        const bool isRegular = selected && !isUnassignedProject(selected->id);
        m_projectName = isRegular ? selected->name : defaultProject;
    }
    if (m_takeName.isEmpty()) {
        QStringList taken;
        for (const VORNProject &project : m_store.library().projects) {
            for (const VORNTake &take : project.takes)
                taken += take.id;
        }
        m_takeName = nameBeside(u"movies-"_s + QDate::currentDate().toString(Qt::ISODate), taken);
    }
}

} // namespace vorn
