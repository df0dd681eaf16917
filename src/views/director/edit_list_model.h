// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QAbstractListModel>
#include <QString>

#include <map>

namespace vorn {

class DirectorSession;

/// The edits of a session, newest first. Rows are made when the view asks for them: one more edit
/// costs its own row, however many there are, and a change of the cameras nothing unless one is
/// called otherwise than the list shows. Context: UI thread.
class EditListModel : public QAbstractListModel {
    Q_OBJECT
public:
    /// It must outlive the list.
    explicit EditListModel(const DirectorSession &session);

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

private:
    enum Role { TimeRole = Qt::UserRole, KindRole, DetailRole, IsMarkerRole };

    void followEdits();
    void followNames();

    const DirectorSession &m_session;
    int m_count = 0;
    std::map<QString, QString> m_names; ///< of cameras that went to Program, as they are shown
};

} // namespace vorn
