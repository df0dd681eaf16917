// SPDX-License-Identifier: Apache-2.0

#include "window_probe.h"

#include "store/library_file.h"
#include "support.h"

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

VORNTake take(const QString &id, int cameras, bool local)
{
    VORNTake result;
    result.id = id;
    for (int i = 0; i < cameras; ++i) {
        VORNClip clip;
        clip.cameraId = u"Camera %1"_s.arg(QChar(u'A' + char16_t(i)));
        clip.id = id + clip.cameraId;
        clip.fileName = clip.cameraId + u".mov"_s;
        clip.sha256 = u"0"_s.repeated(64);
        if (local)
            clip.localPath = u"/media/"_s + clip.fileName;
        result.clips.push_back(clip);
    }
    return result;
}

std::vector<VORNProject> fewProjects()
{
    return {{u"p1"_s,
             u"Night Shoot"_s,
             1,
             {take(u"take-1"_s, 4), take(u"take-2"_s, 12, false), take(u"take-3"_s)}},
            {u"p2"_s, u"Rehearsal"_s, 1, {}},
            {u"unassigned-a"_s, u"Loose"_s, {}, {take(u"loose-1"_s, 1)}}};
}

QString filmedManifest(const QString &folder, qint64 bytes)
{
    const QString manifest = folder + u"/manifest.json"_s;
    writePlain(manifest, R"({"schemaVersion": 1, "projectId": "film", "takeId": "filmed",
        "referenceCameraId": "A", "clips": [{"cameraId": "A", "takeId": "filmed", "path": "A.mov",
        "sha256": ")" + QByteArray(64, '0')
                             + R"("}]})");
    writePlain(folder + u"/A.mov"_s, {});
    if (!QFile::resize(folder + u"/A.mov"_s, bytes))
        qFatal("no room for a sparse file");
    return manifest;
}

int runProgram(const std::function<void()> &work)
{
    // Only a running program can quit; one that does not is ended by the limit.
    QTimer limit;
    QObject::connect(&limit, &QTimer::timeout, qApp, [] { QCoreApplication::exit(1); });
    limit.start(limitMs);
    QTimer::singleShot(0, qApp, work);
    return QCoreApplication::exec();
}

namespace {

QString holding(const QString &folder, const std::vector<VORNProject> &projects,
                const QByteArray &text)
{
    if (!projects.empty())
        LibraryFile(folder).save({projects});
    if (!text.isEmpty())
        writePlain(folder + u"/library.json"_s, text);
    return folder;
}

} // namespace

Desk::Desk(const std::vector<VORNProject> &projects, const QByteArray &text)
    : store(holding(folder.path(), projects, text), folder.filePath(u"Videos"_s))
{
}

void Desk::verifyALongFile()
{
    store.importManifest(filmedManifest(folder.path(), qint64{1} << 40));
    QTRY_COMPARE(store.selectedTakeID(), u"filmed"_s);
    store.verifySelectedTake();
    QTRY_VERIFY(store.checkProgress());
}

void WindowHands::takeUp(QWindow *window)
{
    m_window = qobject_cast<QQuickWindow *>(window);
    if (!m_window || !QTest::qWaitForWindowExposed(m_window, limitMs))
        qFatal("The window does not open.");
    m_window->requestActivate();
    if (!QTest::qWaitForWindowActive(m_window, limitMs))
        qFatal("The window does not become active.");
}

void WindowHands::takeUp(const QString &title)
{
    if (!QTest::qWaitFor([&] { return shownWindow(title); }, limitMs))
        qFatal("%s does not open.", qPrintable(title));
    takeUp(shownWindow(title));
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

QString texts(QAbstractItemModel *model, const QList<QByteArray> &names)
{
    QStringList rows;
    for (int i = 0; i < model->rowCount(); ++i) {
        QStringList fields;
        for (const QByteArray &name : names)
            fields += model->data(model->index(i, 0), model->roleNames().key(name)).toString();
        rows += fields.join(u'|');
    }
    return rows.join(u'\n');
}

void pressAccessibly(QQuickItem *item)
{
    QVERIFY(item);
    QAccessible::queryAccessibleInterface(item)->actionInterface()->doAction(
        QAccessibleActionInterface::pressAction());
}

} // namespace vorn
