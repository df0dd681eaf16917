// SPDX-License-Identifier: Apache-2.0

#include "views/controls/reading_order.h"

#include <algorithm>

namespace vorn {

ReadingOrder::ReadingOrder(QQuickItem *parent) : QQuickItem(parent) {}

void ReadingOrder::setOf(QQuickItem *item)
{
    if (m_of == item)
        return;
    if (m_of)
        m_of->disconnect(this);
    m_of = item;
    if (item)
        connect(item, &QQuickItem::childrenChanged, this, &ReadingOrder::follow);
    follow();
    Q_EMIT ofChanged();
}

void ReadingOrder::follow()
{
    if (!m_of)
        return;
    // What has just been made gets its place later.
    for (QQuickItem *child : m_of->childItems())
        connect(child, &QQuickItem::yChanged, this, &QQuickItem::polish, Qt::UniqueConnection);
    polish();
}

void ReadingOrder::updatePolish()
{
    if (!m_of)
        return;
    QList<QQuickItem *> children = m_of->childItems();
    if (std::ranges::is_sorted(children, {}, &QQuickItem::y))
        return;
    std::ranges::stable_sort(children, {}, &QQuickItem::y);
    for (qsizetype i = 1; i < children.size(); ++i)
        children.at(i)->stackAfter(children.at(i - 1));
}

} // namespace vorn
