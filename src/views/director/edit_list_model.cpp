// SPDX-License-Identifier: Apache-2.0

#include "views/director/edit_list_model.h"

#include "base/display_text.h"
#include "director/director_session.h"
#include "director/edit_log_text.h"

#include <utility>

namespace vorn {

EditListModel::EditListModel(const DirectorSession &session) : m_session(session)
{
    connect(&session, &DirectorSession::editsChanged, this, &EditListModel::followEdits);
    connect(&session, &DirectorSession::camerasChanged, this, &EditListModel::followNames);
    followEdits();
}

int EditListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_count;
}

QVariant EditListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const DirectorEditEvent &edit = m_session.editEvents()[std::size_t(m_count - 1 - index.row())];
    switch (role) {
    case TimeRole:
        return elapsedText(edit.elapsedSeconds);
    case KindRole:
        return editKindText(edit);
    case DetailRole: {
        const auto nameOf = [this](const std::optional<QString> &id) {
            return m_names.at(id.value_or(QString()));
        };
        return displayText(editDetailText(edit, nameOf), longestMessage);
    }
    case IsMarkerRole:
        return edit.kind == DirectorEditEventKind::marker;
    default:
        return {};
    }
}

QHash<int, QByteArray> EditListModel::roleNames() const
{
    return {
        {TimeRole, "time"}, {KindRole, "kind"}, {DetailRole, "detail"}, {IsMarkerRole, "isMarker"}};
}

void EditListModel::followEdits()
{
    const auto added = m_session.editEvents().subspan(std::size_t(m_count));
    if (added.empty())
        return;
    for (const DirectorEditEvent &edit : added) {
        if (edit.toCameraID)
            m_names.try_emplace(*edit.toCameraID, m_session.shownCameraName(edit.toCameraID));
    }
    beginInsertRows({}, 0, int(added.size()) - 1);
    m_count += int(added.size());
    endInsertRows();
}

void EditListModel::followNames()
{
    bool hasChanged = false;
    for (auto &[id, shown] : m_names) {
        const QString name = m_session.shownCameraName(id);
        hasChanged |= std::exchange(shown, name) != name;
    }
    if (hasChanged) // nothing is made of rows that are out of sight
        Q_EMIT dataChanged(index(0), index(m_count - 1), {DetailRole});
}

} // namespace vorn
