// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "views/controls/row_list_model.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace vorn {

class AppStore;

struct TakeRow {
    QString key; ///< the take's id
    qsizetype cameras = 0;
    QString timelineFPS;
    bool complete = false;

    bool operator==(const TakeRow &) const = default;
};

/// The takes of the selected project, in its order. Context: UI thread.
class TakeListViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Part of the library view model.")
    Q_PROPERTY(QAbstractItemModel *takes READ takes CONSTANT)
    Q_PROPERTY(bool hasProject READ hasProject NOTIFY changed)
    Q_PROPERTY(bool hasTakes READ hasTakes NOTIFY changed)
    Q_PROPERTY(QString projectName READ projectName NOTIFY changed)
    Q_PROPERTY(QString countText READ countText NOTIFY changed)
    Q_PROPERTY(int selectedIndex READ selectedIndex NOTIFY changed)
public:
    explicit TakeListViewModel(AppStore &store);

    [[nodiscard]] QAbstractItemModel *takes() { return &m_rows; }
    [[nodiscard]] bool hasProject() const;
    [[nodiscard]] bool hasTakes() const { return !m_rows.rows().empty(); }
    [[nodiscard]] QString projectName() const;
    [[nodiscard]] QString countText() const;
    /// Row of the selected take; -1 when none is selected.
    [[nodiscard]] int selectedIndex() const;

    Q_INVOKABLE void select(int row);

Q_SIGNALS:
    void changed();
    /// Another take is selected: its row should come into sight.
    void selectionMoved();

private:
    void refresh();

    AppStore &m_store;
    RowListModel<TakeRow> m_rows;
};

} // namespace vorn
