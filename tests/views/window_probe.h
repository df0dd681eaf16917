// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "live/live_camera_discovery.h"
#include "store/app_store.h"
#include "transfer/lan_discovery.h"
#include "views/program_windows.h"

#include <QQuickItem>
#include <QQuickWindow>
#include <QSettings>
#include <QTemporaryDir>

#include <functional>

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

/// A take with recordings of so many cameras, on this computer or not.
[[nodiscard]] VORNTake take(const QString &id, int cameras = 0, bool local = true);
/// Of each kind one: with takes, without, and of the takes that belong to none.
[[nodiscard]] std::vector<VORNProject> fewProjects();
/// A manifest in `folder` of the take "filmed": one recording of so many bytes, A.mov, which are
/// not those of its checksum. Gives its path.
[[nodiscard]] QString filmedManifest(const QString &folder, qint64 bytes);

/// Runs the program while `work` is done in it. Gives its exit code, 1 when it does not quit.
[[nodiscard]] int runProgram(const std::function<void()> &work);

/// The program's windows, and all that they show, over a folder of their own.
struct Desk {
    /// The library holds these projects, or this text; without both there is none.
    explicit Desk(const std::vector<VORNProject> &projects = {}, const QByteArray &text = {});
    /// Verifies a take that takes longer than any test.
    void verifyALongFile();

    QTemporaryDir folder;
    AppStore store;
    LANDiscovery catalogs;
    LiveCameraDiscovery cameras;
    QSettings settings{folder.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat};
    WindowEngine engine;
    ProgramWindows windows{engine, store, catalogs, cameras, settings};
};

/// Hands to work a window like a user.
class WindowHands {
public:
    WindowHands() = default;
    explicit WindowHands(const QString &title) { takeUp(title); }

    /// Waits until the window is shown and active.
    void takeUp(QWindow *window);
    void takeUp(const QString &title);
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

/// The Library window alone.
class WindowProbe : public WindowHands {
public:
    explicit WindowProbe(const std::vector<VORNProject> &projects = {}) : m_desk(projects)
    {
        takeUp(m_owned.get());
    }

    [[nodiscard]] AppStore &store() { return m_desk.store; }
    [[nodiscard]] LibraryViewModel &view() { return m_view; }
    [[nodiscard]] QString folder() const { return m_desk.folder.path(); }

private:
    Desk m_desk;
    LibraryViewModel m_view{m_desk.store, m_desk.catalogs, m_desk.cameras};
    QQmlEngine m_engine;
    std::unique_ptr<QWindow> m_owned = makeLibraryWindow(m_engine, m_view);
};

/// The visible window of this title; null when there is none.
[[nodiscard]] QQuickWindow *shownWindow(const QString &title);
/// All items under `root` that are visible, and it.
[[nodiscard]] QList<QQuickItem *> visibleItems(QQuickItem *root);
/// Name of an item for assistive tools; empty when it has none.
[[nodiscard]] QString accessibleName(QQuickItem *item);
/// What they tell of it besides.
[[nodiscard]] QString descriptionOf(QQuickItem *item);
/// The rows of a list, of each the texts by these names.
[[nodiscard]] QString texts(QAbstractItemModel *model, const QList<QByteArray> &names);
/// Presses it as they do.
void pressAccessibly(QQuickItem *item);

} // namespace vorn
