// SPDX-License-Identifier: Apache-2.0

#include "views/controls/typed_search.h"

#include "base/text_order.h"

#include <algorithm>

namespace vorn {

using namespace std::chrono_literals;

TypedSearch::TypedSearch(QObject *parent) : QObject(parent)
{
    m_patience.setSingleShot(true);
    m_patience.setInterval(1s);
    connect(&m_patience, &QTimer::timeout, this, &TypedSearch::forget);
}

bool TypedSearch::press(const QString &text, int modifiers)
{
    constexpr int notTyping = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
    const bool isText = !text.isEmpty() && std::ranges::all_of(text, [](QChar c) {
        return c.isPrint() || c.isSurrogate();
    });
    if (m_role.isEmpty() || !isText || (modifiers & notTyping) != 0
        || (m_typed.isEmpty() && text.trimmed().isEmpty()))
        return false;
    const bool isAgain = !m_typed.isEmpty() && m_typed.count(text) * text.size() == m_typed.size();
    m_typed += text;
    m_patience.start();
    // A first letter leads away from the current row; more of them may still mean it.
    int row = next(m_typed, m_typed == text ? m_current + 1 : m_current);
    if (row < 0 && isAgain)
        row = next(text, m_current + 1);
    if (row >= 0)
        Q_EMIT found(row);
    return true;
}

int TypedSearch::next(const QString &wanted, int first) const
{
    const int count = m_model ? m_model->rowCount() : 0;
    const int role = m_model ? m_model->roleNames().key(m_role.toUtf8(), -1) : -1;
    const QString form = searchForm(wanted);
    int containing = -1;
    for (int i = 0; i < count; ++i) {
        const int row = (std::max(first, 0) + i) % count;
        const QString text = searchForm(m_model->data(m_model->index(row, 0), role).toString());
        if (text.startsWith(form))
            return row;
        if (containing < 0 && text.contains(form))
            containing = row;
    }
    return containing;
}

} // namespace vorn
