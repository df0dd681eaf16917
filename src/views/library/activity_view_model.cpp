// SPDX-License-Identifier: Apache-2.0

#include "views/library/activity_view_model.h"

#include "base/display_text.h"
#include "store/app_store.h"

#include <QLocale>

namespace vorn {

ActivityViewModel::ActivityViewModel(AppStore &store)
    : m_store(store),
      m_rows({{"message", &ActivityRow::message},
              {"time", &ActivityRow::time},
              {"isError", &ActivityRow::isError}})
{
    connect(&store, &AppStore::activitiesChanged, this, &ActivityViewModel::refresh);
    refresh();
}

void ActivityViewModel::refresh()
{
    std::vector<ActivityRow> rows;
    for (const ActivityEntry &entry : m_store.activities())
        rows.push_back({entry.id.toString(), displayText(entry.message, longestMessage),
                        QLocale().toString(entry.date.toLocalTime().time(), QLocale::ShortFormat),
                        entry.isError});
    m_rows.setRows(std::move(rows));
    Q_EMIT changed();
}

} // namespace vorn
