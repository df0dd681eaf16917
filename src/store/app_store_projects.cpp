// SPDX-License-Identifier: Apache-2.0

#include "base/text_order.h"
#include "store/app_store.h"

#include <QDateTime>
#include <QUuid>

#include <limits>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

/// True when the take was captured under another name or revision of its project.
bool isFrozenToAnotherRevision(const VORNTake &take, const VORNProject &project)
{
    return (take.projectNameAtCapture && *take.projectNameAtCapture != project.name)
           || (take.projectRevisionAtCapture && take.projectRevisionAtCapture != project.revision);
}

} // namespace

void AppStore::createProject(const QString &name)
{
    m_ui.assertCurrent();
    const QString trimmed = name.trimmed();
    if (trimmed.isEmpty())
        return;
    const QString id = QUuid::createUuid().toString(QUuid::WithoutBraces);
    m_library.projects.push_back({.id = id, .name = trimmed, .revision = 1, .takes = {}});
    Q_EMIT libraryChanged();
    setSelectedProjectID(id);
    save();
    log(u"Created project %1."_s.arg(trimmed));
}

void AppStore::renameSelectedProject(const QString &name)
{
    m_ui.assertCurrent();
    const QString trimmed = name.trimmed();
    VORNProject *project = selectedProjectForChange();
    if (trimmed.isEmpty() || !project || isUnassignedProject(project->id)
        || trimmed == project->name)
        return;
    const std::int64_t revision = project->revision.value_or(0);
    if (revision == std::numeric_limits<std::int64_t>::max()) {
        fail(u"Project %1 cannot be renamed: its revision is the highest there is."_s.arg(
            project->name));
        return;
    }
    project->name = trimmed;
    project->revision = revision + 1;
    sortByText(m_library.projects, &VORNProject::name);
    Q_EMIT libraryChanged();
    save();
    log(u"Renamed project to %1."_s.arg(trimmed));
}

bool AppStore::prepareDirectorTake(const QString &id)
{
    m_ui.assertCurrent();
    const QString takeId = id.trimmed();
    VORNProject *project = selectedProjectForChange();
    if (takeId.isEmpty() || takeId.toUtf8().size() > maximumTakeIdBytes || !project
        || isUnassignedProject(project->id)) {
        fail(
            u"Choose a regular project and a valid take ID before starting the Director session."_s);
        return false;
    }
    if (const VORNTake *known = findById(project->takes, takeId)) {
        if (isFrozenToAnotherRevision(*known, *project)) {
            fail(u"Take %1 is frozen to a different project revision."_s.arg(takeId));
            return false;
        }
        setSelectedTakeID(takeId);
        return true;
    }

    VORNTake take;
    take.id = takeId;
    take.projectNameAtCapture = project->name;
    take.projectRevisionAtCapture = project->revision;
    take.createdAt = QDateTime::currentDateTimeUtc().toString(u"yyyy-MM-dd'T'HH:mm:ss'Z'"_s);
    project->takes.push_back(std::move(take));
    sortByText(project->takes, &VORNTake::id);
    const QString message = u"Prepared take %1 for %2 revision %3."_s.arg(
        takeId, project->name, QString::number(project->revision.value_or(0)));
    Q_EMIT libraryChanged();
    setSelectedTakeID(takeId);
    save();
    log(message);
    return true;
}

void AppStore::setReferenceCamera(const QString &cameraId)
{
    m_ui.assertCurrent();
    VORNProject *project = selectedProjectForChange();
    VORNTake *take =
        project && m_selectedTakeID ? findById(project->takes, *m_selectedTakeID) : nullptr;
    if (!take)
        return;
    take->referenceCameraId = cameraId;
    Q_EMIT libraryChanged();
    save();
}

} // namespace vorn
