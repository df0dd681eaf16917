// SPDX-License-Identifier: Apache-2.0

#include "views/library/take_list_view_model.h"

#include "base/display_text.h"
#include "store/app_store.h"

namespace vorn {

using namespace Qt::StringLiterals;

namespace {

QString detailText(const TakeRow &take)
{
    return u"%1 cameras  \u2022  %2 fps"_s.arg(QString::number(take.cameras),
                                               displayText(take.timelineFPS));
}

} // namespace

TakeListViewModel::TakeListViewModel(AppStore &store)
    : m_store(store),
      m_rows({{"takeId", [](const TakeRow &take) { return displayText(take.key); }},
              {"detail", detailText},
              {"complete", &TakeRow::complete}})
{
    connect(&store, &AppStore::libraryChanged, this, &TakeListViewModel::refresh);
    connect(&store, &AppStore::selectedProjectIDChanged, this, &TakeListViewModel::refresh);
    connect(&store, &AppStore::selectedTakeIDChanged, this, [this] {
        Q_EMIT changed();
        Q_EMIT selectionMoved();
    });
    refresh();
}

bool TakeListViewModel::hasProject() const
{
    return m_store.selectedProject() != nullptr;
}

QString TakeListViewModel::projectName() const
{
    const VORNProject *project = m_store.selectedProject();
    return project ? displayText(project->name) : QString();
}

QString TakeListViewModel::countText() const
{
    return u"%1 takes"_s.arg(m_rows.rows().size());
}

int TakeListViewModel::selectedIndex() const
{
    const auto &id = m_store.selectedTakeID();
    return id ? m_rows.indexOf(*id) : -1;
}

void TakeListViewModel::select(int row)
{
    if (const TakeRow *take = m_rows.at(row))
        m_store.setSelectedTakeID(take->key);
}

void TakeListViewModel::refresh()
{
    std::vector<TakeRow> rows;
    if (const VORNProject *project = m_store.selectedProject()) {
        rows.reserve(project->takes.size());
        for (const VORNTake &take : project->takes)
            rows.push_back({take.id, take.clips.size(), take.timelineFPS, isComplete(take)});
    }
    m_rows.setRows(std::move(rows));
    Q_EMIT changed();
}

} // namespace vorn
