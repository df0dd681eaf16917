// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "views/controls/row_list_model.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace vorn {

class AppStore;

struct ActivityRow {
    QString key; ///< the entry's id
    QString message;
    QString time; ///< a clock time, as the user's language writes it
    bool isError = false;

    bool operator==(const ActivityRow &) const = default;
};

/// The activity log, newest first. Context: UI thread.
class ActivityViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Part of the library view model.")
    Q_PROPERTY(QAbstractItemModel *entries READ entries CONSTANT)
    Q_PROPERTY(bool hasEntries READ hasEntries NOTIFY changed)
public:
    explicit ActivityViewModel(AppStore &store);

    [[nodiscard]] QAbstractItemModel *entries() { return &m_rows; }
    [[nodiscard]] bool hasEntries() const { return !m_rows.rows().empty(); }

Q_SIGNALS:
    void changed();

private:
    void refresh();

    AppStore &m_store;
    RowListModel<ActivityRow> m_rows;
};

} // namespace vorn
