// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "live/live_camera_discovery.h"
#include "store/app_store.h"
#include "transfer/lan_discovery.h"
#include "views/library/library_view_model.h"

#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTemporaryDir>

#include <memory>

namespace vorn {

/// What is awaited longest: far longer than anything takes on a busy machine.
inline constexpr int limitMs = 30'000;

/// A test of windows that look as the program's. In the lab only: they look for phones.
class WindowTest : public QObject {
    Q_OBJECT
public:
    static void initMain();

private Q_SLOTS:
    void initTestCase();
};

/// Hands to work a window like a user.
class WindowHands {
public:
    /// Waits until the window is shown and active.
    void takeUp(QWindow *window);
    [[nodiscard]] QQuickWindow *window() const { return m_window; }

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {});
    void type(const QString &text);
    void click(QQuickItem *item);

    /// The visible item that assistive tools know by this name; null when there is none.
    [[nodiscard]] QQuickItem *named(const QString &name) const;
    [[nodiscard]] bool shows(const QString &name) const { return named(name) != nullptr; }
    /// What assistive tools call the item that has the keyboard.
    [[nodiscard]] QString focusName() const;
    /// The list that assistive tools know by this name.
    [[nodiscard]] QQuickItem *listView(const QString &name) const;

    /// What assistive tools say of the rows of that list, in their order.
    [[nodiscard]] QStringList spokenRows(const QString &name) const;
    void pointAt(QQuickItem *item);

private:
    /// Where the middle of an item is, once it has come to rest.
    [[nodiscard]] QPoint middleOf(QQuickItem *item) const;

    QQuickWindow *m_window = nullptr;
};

/// The Library window over a store of its own. In the lab only: it looks for phones.
class WindowProbe : public WindowHands {
public:
    explicit WindowProbe(std::vector<VORNProject> projects);
    ~WindowProbe();

    [[nodiscard]] AppStore &store() { return *m_store; }
    [[nodiscard]] LibraryViewModel &view() { return *m_view; }
    [[nodiscard]] QString folder() const { return m_folder.path(); }

private:
    QTemporaryDir m_folder;
    std::unique_ptr<AppStore> m_store;
    LANDiscovery m_catalogs;
    LiveCameraDiscovery m_cameras;
    std::unique_ptr<LibraryViewModel> m_view;
    std::unique_ptr<QQmlEngine> m_engine;
    std::unique_ptr<QWindow> m_owned;
};

/// The visible window of this title; null when there is none.
[[nodiscard]] QQuickWindow *shownWindow(const QString &title);
/// All items under `root` that are visible, and it.
[[nodiscard]] QList<QQuickItem *> visibleItems(QQuickItem *root);
/// Name of an item for assistive tools; empty when it has none.
[[nodiscard]] QString accessibleName(QQuickItem *item);
/// What they tell of it besides.
[[nodiscard]] QString descriptionOf(QQuickItem *item);
/// Presses it as they do.
void pressAccessibly(QQuickItem *item);
/// What of a window is of no use to assistive tools, a line for each fault.
[[nodiscard]] QString accessibilityFaults(QQuickWindow *window);

} // namespace vorn
