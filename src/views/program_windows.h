// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "views/director/director_view_model.h"
#include "views/director/program_display.h"
#include "views/help/help_view_model.h"
#include "views/library/library_view_model.h"
#include "views/network/network_check_view_model.h"

#include <QObject>
#include <QPointer>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QWindow>

#include <memory>

class QSettings;

namespace vorn {

class AppStore;
class LANDiscovery;
class LiveCameraDiscovery;

/// Gives the application the look of its windows: type, and for the file panels a dark palette.
/// Needs a QApplication, before the first window.
void applyLook();

/// The engine of the windows. As soon as it is made it reads what the Director window is made of,
/// on a thread of its own, while the caller gets ready what that shows. Comes after applyLook().
class WindowEngine : public QQmlEngine {
public:
    WindowEngine();

private:
    QQmlComponent m_directorWindow;
};

/// Makes the Library window. Engine and view model must outlive it, and so with the others.
[[nodiscard]] std::unique_ptr<QWindow> makeLibraryWindow(QQmlEngine &engine,
                                                         LibraryViewModel &library);
/// Makes the Director window.
[[nodiscard]] std::unique_ptr<QWindow> makeDirectorWindow(QQmlEngine &engine,
                                                          DirectorViewModel &director);
/// Makes the window of Program alone, which stays hidden until it is shown.
[[nodiscard]] std::unique_ptr<QWindow> makeProgramPictureWindow(QQmlEngine &engine,
                                                                DirectorViewModel &director);
/// The program's windows, each opened on request: a window that is there comes to the front
/// instead. They are kept when they close; the Director window starts fresh, and takes Program's
/// along. The program ends with the last of Director and Library window, the others being their
/// helpers. Context: UI thread.
class ProgramWindows : public QObject {
    Q_OBJECT
public:
    /// All must outlive it.
    ProgramWindows(WindowEngine &engine, AppStore &store, LANDiscovery &catalogs,
                   LiveCameraDiscovery &cameras, QSettings &settings);

    /// Asks before work ends with the last window.
    bool eventFilter(QObject *watched, QEvent *event) override;

public Q_SLOTS:
    void showDirector();
    void showProgram();
    void showLibrary();
    void showExportCheck();
    void showMovieImport();
    void showNetworkCheck();
    void showSettings();
    void showHelp();
    /// Ends the program, unless the user keeps a running session or running work.
    void quit();
    /// Begins to make a take of the movies at these absolute paths.
    void importMovies(const QStringList &paths);
    /// Brings all open windows to the front.
    void raise();

private Q_SLOTS:
    void endDirector();
    void endWork();
    void stay();
    void endWithTheLastWindow();

private:
    /// One that does not keep the program running, made at the first time as makeWindow does it.
    void showHelper(std::unique_ptr<QWindow> &window, const QString &file, const QString &name,
                    QObject &model);
    /// Answers what any window asks for.
    void listenTo(QWindow &window);
    /// From then on it asks.
    void watch(QWindow &window);
    /// The Director or the Library window is open, beside this one.
    [[nodiscard]] bool isKeptRunning(const QWindow *apart = nullptr) const;
    /// Over `window` where it can ask, otherwise over one that can.
    void askAboutWork(QWindow *window);
    /// Follows the work while the question stands.
    void updateQuestion();

    /// Of the settings and the help, which most starts never open.
    [[nodiscard]] HelpViewModel &help();

    WindowEngine &m_engine;
    AppStore &m_store;
    LANDiscovery &m_catalogs;
    LiveCameraDiscovery &m_cameras;
    QSettings &m_settings;
    LibraryViewModel m_library;
    NetworkCheckViewModel m_networkCheck;
    std::unique_ptr<HelpViewModel> m_help;
    std::unique_ptr<DirectorViewModel> m_director; ///< as long as its window is open
    std::unique_ptr<QWindow> m_libraryWindow;
    std::unique_ptr<QWindow> m_directorWindow;
    std::unique_ptr<ProgramDisplay> m_program;
    std::unique_ptr<QWindow> m_exportCheckWindow;
    std::unique_ptr<QWindow> m_movieImportWindow;
    std::unique_ptr<QWindow> m_networkCheckWindow;
    std::unique_ptr<QWindow> m_settingsWindow;
    std::unique_ptr<QWindow> m_helpWindow;
    bool m_isQuitting = false;  ///< as soon as the Director window has closed
    QPointer<QWindow> m_asking; ///< whether running work may end
    bool m_mayEndWork = false;
};

} // namespace vorn
