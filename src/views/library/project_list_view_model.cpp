// SPDX-License-Identifier: Apache-2.0

#include "views/library/project_list_view_model.h"

#include "base/display_text.h"
#include "base/text_order.h"
#include "store/app_store.h"

namespace vorn {

using namespace Qt::StringLiterals;

ProjectListViewModel::ProjectListViewModel(AppStore &store)
    : m_store(store),
      m_rows({{"name", &ProjectRow::name},
              {"takesText", &ProjectRow::takesText},
              {"isUnassigned", &ProjectRow::isUnassigned}})
{
    connect(&store, &AppStore::libraryChanged, this, &ProjectListViewModel::refresh);
    connect(&store, &AppStore::selectedProjectIDChanged, this, [this] {
        Q_EMIT changed();
        Q_EMIT selectionMoved();
    });
    refresh();
}

QString ProjectListViewModel::countText() const
{
    return u"%1 projects"_s.arg(m_store.library().projects.size());
}

void ProjectListViewModel::setSearch(const QString &search)
{
    if (search == m_search)
        return;
    m_search = search;
    refresh();
}

QString ProjectListViewModel::emptyText() const
{
    if (!m_rows.rows().empty())
        return {};
    return m_store.library().projects.empty() ? u"No projects yet"_s : u"No matching projects"_s;
}

int ProjectListViewModel::selectedIndex() const
{
    const auto &id = m_store.selectedProjectID();
    return id ? m_rows.indexOf(*id) : -1;
}

QString ProjectListViewModel::selectedName() const
{
    const VORNProject *project = m_store.selectedProject();
    return project ? project->name : QString();
}

QString ProjectListViewModel::renameObstacle() const
{
    const auto &id = m_store.selectedProjectID();
    if (!id)
        return u"No project is selected."_s;
    if (isUnassignedProject(*id))
        return u"Unassigned takes are no project of their own and keep their name."_s;
    return {};
}

void ProjectListViewModel::select(int row)
{
    if (const ProjectRow *chosen = m_rows.at(row))
        m_store.setSelectedProjectID(chosen->key);
}

void ProjectListViewModel::create(const QString &name)
{
    m_store.createProject(name);
}

void ProjectListViewModel::rename(const QString &name)
{
    m_store.renameSelectedProject(name);
}

void ProjectListViewModel::refresh()
{
    const QString wanted = searchForm(m_search.trimmed());
    std::vector<ProjectRow> rows;
    for (const VORNProject &project : m_store.library().projects) {
        if (wanted.isEmpty() || searchForm(project.name).contains(wanted))
            rows.push_back({project.id, displayText(project.name),
                            u"%1 takes"_s.arg(project.takes.size()),
                            isUnassignedProject(project.id)});
    }
    m_rows.setRows(std::move(rows));
    Q_EMIT changed();
}

} // namespace vorn
