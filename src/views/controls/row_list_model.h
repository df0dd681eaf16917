// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "views/controls/list_steps.h"

#include <QAbstractListModel>

#include <functional>
#include <utility>
#include <vector>

namespace vorn {

/// A list of value rows as QML sees it. A row has a `key`, which says which row it is across
/// changes: setRows tells the view what was inserted, removed, moved and changed, never
/// "everything", so that rows keep their place, focus and selection. Context: UI thread.
template <class Row> class RowListModel : public QAbstractListModel {
public:
    /// A member of the row, or what a function makes of the row when it is shown, and the name that
    /// delegates know it by.
    struct Column {
        template <class Part>
        Column(const char *columnName, Part part)
            : name(columnName),
              value([part](const Row &row) { return QVariant::fromValue(std::invoke(part, row)); })
        {
        }
        QByteArray name;
        std::function<QVariant(const Row &)> value;
    };

    explicit RowListModel(std::vector<Column> columns) : m_columns(std::move(columns)) {}

    [[nodiscard]] const std::vector<Row> &rows() const { return m_rows; }
    /// Null where there is no such row.
    [[nodiscard]] const Row *at(int row) const
    {
        return row >= 0 && std::size_t(row) < m_rows.size() ? &m_rows[std::size_t(row)] : nullptr;
    }
    /// -1 where there is none.
    [[nodiscard]] int indexOf(const QString &key) const
    {
        const auto found = std::ranges::find(m_rows, key, &Row::key);
        return found == m_rows.end() ? -1 : int(found - m_rows.begin());
    }

    void setRows(std::vector<Row> rows)
    {
        for (const ListStep &step : listSteps(keys(m_rows), keys(rows)))
            apply(step, rows);
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (m_rows[i] == rows[i])
                continue;
            m_rows[i] = std::move(rows[i]);
            Q_EMIT dataChanged(index(int(i)), index(int(i)));
        }
    }

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override
    {
        return parent.isValid() ? 0 : int(m_rows.size());
    }

    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override
    {
        const Row *row = index.isValid() ? at(index.row()) : nullptr;
        const int column = role - Qt::UserRole;
        if (!row || column < 0 || std::size_t(column) >= m_columns.size())
            return {};
        return m_columns[std::size_t(column)].value(*row);
    }

    [[nodiscard]] QHash<int, QByteArray> roleNames() const override
    {
        QHash<int, QByteArray> names;
        for (const Column &column : m_columns)
            names.insert(Qt::UserRole + int(names.size()), column.name);
        return names;
    }

private:
    static std::vector<QString> keys(const std::vector<Row> &rows)
    {
        std::vector<QString> result;
        result.reserve(rows.size());
        for (const Row &row : rows)
            result.push_back(row.key);
        return result;
    }

    void apply(const ListStep &step, const std::vector<Row> &rows)
    {
        const auto first = m_rows.begin() + step.first;
        const int row = int(step.first);
        const int last = int(step.first + step.count - 1);
        switch (step.kind) {
        case ListStep::Kind::remove:
            beginRemoveRows({}, row, last);
            m_rows.erase(first, first + step.count);
            endRemoveRows();
            break;
        case ListStep::Kind::insert: {
            beginInsertRows({}, row, last);
            const auto source = rows.begin() + step.source;
            m_rows.insert(first, source, source + step.count);
            endInsertRows();
            break;
        }
        case ListStep::Kind::move: {
            // Qt counts the target before the row has left.
            const int target = int(step.source);
            beginMoveRows({}, row, row, {}, target > row ? target + 1 : target);
            const auto destination = m_rows.begin() + step.source;
            if (first < destination)
                std::rotate(first, first + 1, destination + 1);
            else
                std::rotate(destination, first, first + 1);
            endMoveRows();
            break;
        }
        }
    }

    std::vector<Column> m_columns;
    std::vector<Row> m_rows;
};

} // namespace vorn
