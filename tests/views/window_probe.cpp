// SPDX-License-Identifier: Apache-2.0

#include "window_probe.h"

#include "store/library_file.h"
#include "views/program_windows.h"

#include <QAccessible>
#include <QtTest>

namespace vorn {

using namespace Qt::StringLiterals;

void WindowTest::initMain()
{
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
}

void WindowTest::initTestCase()
{
    QVERIFY2(qEnvironmentVariableIsSet("VORN_LAB_PHONES"), "no lab");
    QAccessible::setActive(true);
    applyLook();
}

WindowProbe::WindowProbe(std::vector<VORNProject> projects)
{
    LibraryFile(m_folder.path()).save({std::move(projects)});
    m_store = std::make_unique<AppStore>(m_folder.path(), m_folder.path());
    m_view = std::make_unique<LibraryViewModel>(*m_store, m_catalogs, m_cameras);
    m_engine = std::make_unique<QQmlEngine>();
    m_owned = makeLibraryWindow(*m_engine, *m_view);
    takeUp(m_owned.get());
}

WindowProbe::~WindowProbe() = default;

void WindowHands::takeUp(QWindow *window)
{
    m_window = qobject_cast<QQuickWindow *>(window);
    if (!m_window || !QTest::qWaitForWindowExposed(m_window, limitMs))
        qFatal("The window does not open.");
    m_window->requestActivate();
    if (!QTest::qWaitForWindowActive(m_window, limitMs))
        qFatal("The window does not become active.");
}

void WindowHands::press(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    QTest::keyClick(m_window, key, modifiers);
}

void WindowHands::type(const QString &text)
{
    for (const QChar c : text)
        QTest::keyClick(m_window, c.toLatin1());
}

QPoint WindowHands::middleOf(QQuickItem *item) const
{
    // What has just appeared is placed with the next frames.
    const auto middle = [item] {
        return item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
    };
    QPointF before;
    const auto isAtRest = [&] {
        before = middle();
        m_window->grabWindow();
        return item->width() > 0 && item->height() > 0 && middle() == before;
    };
    if (!QTest::qWaitFor(isAtRest, limitMs))
        qFatal("An item does not come to rest.");
    return before.toPoint();
}

void WindowHands::click(QQuickItem *item)
{
    QVERIFY(item);
    QTest::mouseClick(m_window, Qt::LeftButton, {}, middleOf(item));
}

void WindowHands::pointAt(QQuickItem *item)
{
    QVERIFY(item);
    QTest::mouseMove(m_window, middleOf(item));
}

QQuickItem *WindowHands::named(const QString &name) const
{
    for (QQuickItem *item : visibleItems(m_window->contentItem())) {
        if (accessibleName(item) == name)
            return item;
    }
    return nullptr;
}

QString WindowHands::focusName() const
{
    QQuickItem *item = m_window->activeFocusItem();
    return item ? accessibleName(item) : QString();
}

QQuickItem *WindowHands::listView(const QString &name) const
{
    QQuickItem *list = nullptr;
    for (QQuickItem *item : visibleItems(m_window->contentItem())) {
        if (item->inherits("QQuickListView") && accessibleName(item->parentItem()) == name)
            list = item;
    }
    return list;
}

QStringList WindowHands::spokenRows(const QString &name) const
{
    QStringList rows;
    QQuickItem *view = listView(name);
    QAccessibleInterface *list =
        view ? QAccessible::queryAccessibleInterface(view->parentItem()) : nullptr;
    for (int i = 0; list && i < list->childCount(); ++i)
        rows += list->child(i)->text(QAccessible::Name);
    return rows;
}

QQuickWindow *shownWindow(const QString &title)
{
    for (QWindow *window : QGuiApplication::topLevelWindows()) {
        if (window->title() == title && window->isVisible())
            return qobject_cast<QQuickWindow *>(window);
    }
    return nullptr;
}

QList<QQuickItem *> visibleItems(QQuickItem *root)
{
    QList<QQuickItem *> items{root};
    for (qsizetype i = 0; i < items.size(); ++i) {
        for (QQuickItem *child : items.at(i)->childItems()) {
            if (child->isVisible())
                items.append(child);
        }
    }
    return items;
}

QString accessibleName(QQuickItem *item)
{
    QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(item);
    return accessible ? accessible->text(QAccessible::Name) : QString();
}

QString descriptionOf(QQuickItem *item)
{
    QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(item);
    return accessible ? accessible->text(QAccessible::Description) : QString();
}

void pressAccessibly(QQuickItem *item)
{
    QVERIFY(item);
    QAccessible::queryAccessibleInterface(item)->actionInterface()->doAction(
        QAccessibleActionInterface::pressAction());
}

namespace {

// Why an item is of no use to assistive tools; empty when it is.
QString accessibilityFault(QQuickItem *item)
{
    // Rows and tabs are worked by a pointer area that lies over them.
    QQuickItem *control = item->inherits("QQuickMouseArea") ? item->parentItem() : item;
    const bool isPressed = control != item || item->inherits("QQuickAbstractButton");
    if (!isPressed && !item->activeFocusOnTab())
        return {};
    const QString type = QString::fromLatin1(control->metaObject()->className());
    QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(control);
    if (!accessible)
        return type + u": unknown to assistive tools"_s;
    const QString name = accessible->text(QAccessible::Name);
    if (name.isEmpty())
        return type + u": no name"_s;
    if (accessible->role() == QAccessible::NoRole || accessible->role() == QAccessible::Client)
        return name + u": no role"_s;
    if (!item->isEnabled() && accessible->text(QAccessible::Description).isEmpty())
        return name + u": does not say why it is disabled"_s;
    const QAccessibleActionInterface *action = accessible->actionInterface();
    if (isPressed
        && (!action || !action->actionNames().contains(QAccessibleActionInterface::pressAction())))
        return name + u": cannot be pressed"_s;
    return {};
}

} // namespace

QString accessibilityFaults(QQuickWindow *window)
{
    QStringList faults;
    for (QQuickItem *item : visibleItems(window->contentItem())) {
        const QString fault = accessibilityFault(item);
        if (!fault.isEmpty())
            faults += fault;
    }
    return faults.join(u'\n');
}

} // namespace vorn
