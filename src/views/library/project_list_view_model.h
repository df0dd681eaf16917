// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "views/controls/row_list_model.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace vorn {

class AppStore;

struct ProjectRow {
    QString key; ///< the project's id
    QString name;
    QString takesText;
    bool isUnassigned = false;

    bool operator==(const ProjectRow &) const = default;
};

/// The sidebar: the projects that the search leaves, the selected one, and what may be done with
/// it. Context: UI thread.
class ProjectListViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Part of the library view model.")
    Q_PROPERTY(QAbstractItemModel *projects READ projects CONSTANT)
    Q_PROPERTY(QString countText READ countText NOTIFY changed)
    Q_PROPERTY(QString search READ search WRITE setSearch NOTIFY changed)
    Q_PROPERTY(QString emptyText READ emptyText NOTIFY changed)
    Q_PROPERTY(int selectedIndex READ selectedIndex NOTIFY changed)
    Q_PROPERTY(QString selectedName READ selectedName NOTIFY changed)
    Q_PROPERTY(bool canRename READ canRename NOTIFY changed)
    Q_PROPERTY(QString renameObstacle READ renameObstacle NOTIFY changed)
public:
    explicit ProjectListViewModel(AppStore &store);

    [[nodiscard]] QAbstractItemModel *projects() { return &m_rows; }
    /// Counts the whole library, whatever the search leaves.
    [[nodiscard]] QString countText() const;
    [[nodiscard]] const QString &search() const { return m_search; }
    void setSearch(const QString &search);
    /// What stands in place of an empty list; empty when the list is not.
    [[nodiscard]] QString emptyText() const;
    /// Row of the selected project; -1 when none is selected or the search hides it.
    [[nodiscard]] int selectedIndex() const;
    /// The exact name, for editing; empty when no project is selected.
    [[nodiscard]] QString selectedName() const;
    [[nodiscard]] bool canRename() const { return renameObstacle().isEmpty(); }
    /// Why the selected project cannot be renamed; empty when it can.
    [[nodiscard]] QString renameObstacle() const;

    /// Selects the project in this row, and of another project than before its first take.
    Q_INVOKABLE void select(int row);
    Q_INVOKABLE void create(const QString &name);
    Q_INVOKABLE void rename(const QString &name);

Q_SIGNALS:
    void changed();
    /// Another project is selected: its row should come into sight.
    void selectionMoved();

private:
    void refresh();

    AppStore &m_store;
    QString m_search;
    RowListModel<ProjectRow> m_rows;
};

} // namespace vorn
