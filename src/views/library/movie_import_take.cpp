// SPDX-License-Identifier: Apache-2.0

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
    std::vector<MovieClip> clips;
    std::size_t basis = 0;
    for (const Entry &entry : m_entries) {
        if (entry.isLeftOut)
            continue;
        if (&entry == reference())
            basis = clips.size();
        const AlignmentOrWhyNot *found = alignmentOf(entry);
        clips.push_back({.cameraName = plainName(entry.cameraName),
                         .movie = entry.movie,
                         .anchors = found ? withDistance(std::get<MovieAlignment>(*found).anchors,
                                                         metres().value_or(0))
                                          : std::vector<TimingAnchor>()});
    }
    createTake(manifestOfMovies(place(), clips, basis));
}

QCoro::Task<> MovieImportViewModel::createTake(SourceManifest manifest)
{
    const QPointer<MovieImportViewModel> self(this);
    m_isCreating = true;
    refresh();
    const bool isIn = co_await m_store.createMovieTake(std::move(manifest));
    if (!self)
        co_return;
    m_isCreating = false;
    if (isIn) {
        cancel();
        Q_EMIT created();
    } else {
        m_failure = m_store.errorMessage().value_or(QString());
        refresh();
    }
}

MovieTakePlace MovieImportViewModel::place() const
{
    const QString name = plainName(m_projectName);
    const auto isMeant = [&](const VORNProject &project) {
        return !isUnassignedProject(project.id) && project.name == name;
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
