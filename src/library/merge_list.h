// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QHash>
#include <QString>

#include <utility>

namespace vorn {

/// A list of records with an id, into which others are merged: a record put in takes the place of
/// all that have its id, and stands at the end. Finds by a hash, so that a merge takes time in
/// proportion to the lists. `List` is a std::vector or a QList.
template <class List> class MergeList {
public:
    using Record = typename List::value_type;

    explicit MergeList(List records) : m_records(std::move(records)), m_knownCount(m_records.size())
    {
        m_positions.reserve(qsizetype(m_knownCount));
        // Backwards, so that of several with one id the first is the one that is found.
        for (Position position = m_knownCount; position-- > 0;)
            m_positions.insert(std::as_const(m_records)[position].id, position);
    }

    /// The record of this id, the first if there are several; null if there is none. Valid until
    /// the next `put`.
    [[nodiscard]] const Record *find(const QString &id) const
    {
        const auto found = m_positions.constFind(id);
        return found == m_positions.cend() ? nullptr : &m_records[*found];
    }

    void put(Record record)
    {
        m_positions.insert(record.id, m_records.size());
        m_records.push_back(std::move(record));
    }

    [[nodiscard]] List take() &&
    {
        if (m_records.size() == m_knownCount)
            return std::move(m_records);
        List kept;
        kept.reserve(m_records.size());
        for (Position position = 0; position < m_records.size(); ++position) {
            // A known record stays unless a later one was put in for it.
            const Position current = m_positions.value(m_records[position].id);
            if (current == position || (position < m_knownCount && current < m_knownCount))
                kept.push_back(std::move(m_records[position]));
        }
        return kept;
    }

private:
    using Position = decltype(std::declval<List>().size());

    List m_records;
    Position m_knownCount; ///< of the records at the front that stood in the list before
    QHash<QString, Position> m_positions;
};

} // namespace vorn
