// SPDX-License-Identifier: Apache-2.0

#include "walked_item.h"

#include "views/controls/theme_base.h"

#include <QMetaEnum>

namespace vorn {

using namespace Qt::StringLiterals;

QAccessibleInterface *nodeOf(QQuickItem *item)
{
    if (!item)
        return nullptr;
    const bool isWindow = item->window() && item == item->window()->contentItem();
    return QAccessible::queryAccessibleInterface(isWindow ? static_cast<QObject *>(item->window())
                                                          : item);
}

QAccessible::Role roleOf(QQuickItem *item)
{
    return nodeOf(item) ? nodeOf(item)->role() : QAccessible::NoRole;
}

QAccessible::State stateOf(QQuickItem *item)
{
    return nodeOf(item) ? nodeOf(item)->state() : QAccessible::State();
}

QString nameOf(QQuickItem *item)
{
    return nodeOf(item) ? nodeOf(item)->text(QAccessible::Name) : QString();
}

QString spoken(QQuickItem *item)
{
    const auto roles = QMetaEnum::fromType<QAccessible::Role>();
    return QString::fromLatin1(roles.valueToKey(roleOf(item))) + u' ' + nameOf(item);
}

bool isChoice(QQuickItem *item)
{
    return roleOf(item) == QAccessible::PageTab
           || (roleOf(item) == QAccessible::ListItem && stateOf(item).selectable);
}

bool isControl(QQuickItem *item)
{
    static const QSet<QAccessible::Role> roles{
        QAccessible::Button,       QAccessible::CheckBox, QAccessible::RadioButton,
        QAccessible::PageTabList,  QAccessible::Slider,   QAccessible::SpinBox,
        QAccessible::EditableText, QAccessible::ComboBox, QAccessible::Link};
    return roles.contains(roleOf(item)) || item->activeFocusOnTab() || isChoice(item);
}

Items childrenOf(QQuickItem *item)
{
    Items children;
    for (int i = 0; nodeOf(item) && i < nodeOf(item)->childCount(); ++i)
        if (auto *child = qobject_cast<QQuickItem *>(nodeOf(item)->child(i)->object());
            child && child->isVisible())
            children += child;
    return children;
}

QQuickItem *holderOf(QQuickItem *item)
{
    QObject *holder =
        nodeOf(item) && nodeOf(item)->parent() ? nodeOf(item)->parent()->object() : nullptr;
    auto *window = qobject_cast<QQuickWindow *>(holder);
    return window ? window->contentItem() : qobject_cast<QQuickItem *>(holder);
}

QRectF placeOf(const QQuickItem *item)
{
    return item->mapRectToScene({0, 0, item->width(), item->height()});
}

std::pair<Items, QRectF> heardUnder(QQuickItem *root)
{
    std::pair<Items, QRectF> heard;
    if (!root->isVisible() || root->inherits("QQuickOverlay"))
        return heard;
    for (QQuickItem *item : visibleItems(root)) {
        if (nodeOf(item) && childrenOf(holderOf(item)).contains(item)) {
            heard.first += item;
            heard.second |= placeOf(item);
        }
    }
    return heard;
}

int ringPixels(const QImage &picture, const QQuickItem *item)
{
    const QColor ring = ThemeBase().accent;
    const auto isNear = [](int a, int b) { return std::abs(a - b) < 24; };
    const qreal scale = qreal(picture.width()) / item->window()->width();
    const QRectF place = placeOf(item).adjusted(-4, -4, 4, 4);
    const QRect around =
        QRectF(place.topLeft() * scale, place.size() * scale).toRect() & picture.rect();
    int count = 0;
    for (int y = around.top(); y <= around.bottom(); ++y) {
        for (int x = around.left(); x <= around.right(); ++x) {
            const QRgb pixel = picture.pixel(x, y);
            count += isNear(qRed(pixel), ring.red()) && isNear(qGreen(pixel), ring.green())
                     && isNear(qBlue(pixel), ring.blue());
        }
    }
    return count;
}

bool isInSight(const QQuickItem *item)
{
    QRectF sight(QPointF(), item->window()->size());
    for (const QQuickItem *above = item->parentItem(); above; above = above->parentItem())
        if (above->clip())
            sight &= placeOf(above);
    return sight.adjusted(-1, -1, 1, 1).contains(placeOf(item));
}

} // namespace vorn
