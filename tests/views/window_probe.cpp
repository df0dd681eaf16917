#include "window_probe.h"

#include "store/library_file.h"
#include "views/program_windows.h"

#include <QAccessible>
#include <QtTest>

namespace vorn {

using namespace Qt::StringLiterals;

WindowProbe::WindowProbe(std::vector<VORNProject> projects)
{
    LibraryFile(m_folder.path()).save({std::move(projects)});
    m_store = std::make_unique<AppStore>(m_folder.path(), m_folder.path());
    m_view = std::make_unique<LibraryViewModel>(*m_store);
    m_engine = std::make_unique<QQmlEngine>();
    m_owned = makeLibraryWindow(*m_engine, *m_view);
    m_window = qobject_cast<QQuickWindow *>(m_owned.get());
    if (!QTest::qWaitForWindowExposed(m_window))
        qFatal("The Library window does not open.");
    m_window->requestActivate();
    if (!QTest::qWaitForWindowActive(m_window))
        qFatal("The Library window does not become active.");
}

WindowProbe::~WindowProbe() = default;

void WindowProbe::press(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    QTest::keyClick(m_window, key, modifiers);
}

void WindowProbe::type(const QString &text)
{
    for (const QChar c : text)
        QTest::keyClick(m_window, c.toLatin1());
}

void WindowProbe::click(QQuickItem *item)
{
    QVERIFY(item);
    // What has just appeared is placed with the next frame.
    QVERIFY(QTest::qWaitFor([item] { return item->width() > 0 && item->height() > 0; }));
    const QPointF centre(item->width() / 2, item->height() / 2);
    QTest::mouseClick(m_window, Qt::LeftButton, {}, item->mapToScene(centre).toPoint());
}

QQuickItem *WindowProbe::named(const QString &name) const
{
    for (QQuickItem *item : visibleItems(m_window->contentItem())) {
        if (accessibleName(item) == name)
            return item;
    }
    return nullptr;
}

QString WindowProbe::focusName() const
{
    QQuickItem *item = m_window->activeFocusItem();
    return item ? accessibleName(item) : QString();
}

QQuickItem *WindowProbe::listView(const QString &name) const
{
    QQuickItem *list = nullptr;
    for (QQuickItem *item : visibleItems(m_window->contentItem())) {
        if (item->inherits("QQuickListView") && accessibleName(item->parentItem()) == name)
            list = item;
    }
    return list;
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

} // namespace vorn
