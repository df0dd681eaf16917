// SPDX-License-Identifier: Apache-2.0

#include "views/program_windows.h"

#include "store/app_store.h"
#include "views/controls/theme_base.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFont>
#include <QFontMetrics>
#include <QPalette>
#include <QQmlComponent>
#include <QQuickStyle>
#include <QStyleFactory>
#include <QWindow>

#include <algorithm>
#include <array>
#include <utility>

// Made by the build from the types that are marked QML_ELEMENT.
extern void qml_register_types_Vorn(); // NOLINT(readability-identifier-naming)

namespace vorn {

using namespace Qt::StringLiterals;

namespace {

const QString directorFile = u"director/DirectorWindow.qml"_s;

// For what is drawn by Qt Widgets.
QPalette darkPalette(const ThemeBase &theme)
{
    QPalette palette(theme.raised, theme.panel);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(role, theme.text);
        palette.setColor(QPalette::Disabled, role, theme.disabled);
    }
    palette.setColor(QPalette::Base, theme.field);
    palette.setColor(QPalette::AlternateBase, theme.panel);
    palette.setColor(QPalette::ToolTipBase, theme.raised);
    palette.setColor(QPalette::ToolTipText, theme.text);
    palette.setColor(QPalette::PlaceholderText, theme.secondary);
    palette.setColor(QPalette::Highlight, theme.accentFill);
    palette.setColor(QPalette::HighlightedText, theme.accentText);
    palette.setColor(QPalette::Link, theme.accent);
    return palette;
}

} // namespace

void applyLook()
{
    QApplication::setStyle(QStyleFactory::create(u"Fusion"_s));
    const ThemeBase theme;
    QApplication::setPalette(darkPalette(theme));
    QFont font(theme.sans);
    font.setPixelSize(theme.bodySize);
    QApplication::setFont(font);
    QQuickStyle::setStyle(u"Basic"_s);
}

namespace {

QUrl urlOf(const QString &file)
{
    return QUrl(u"qrc:/qt/qml/Vorn/"_s + file);
}

/// The engine finds our types.
void teach(QQmlEngine &engine)
{
    // The linker takes a registration out of a static library only when something asks for it.
    [[maybe_unused]] volatile const auto registration = &qml_register_types_Vorn;
    engine.addImportPath(u"qrc:/qt/qml"_s);
}

/// Of the view model `model`, which its file knows by this name.
std::unique_ptr<QWindow> makeWindow(QQmlEngine &engine, const QString &file, const QString &name,
                                    QObject &model)
{
    teach(engine);
    QQmlComponent component(&engine, urlOf(file)); // waits for what is being read
    if (!component.isReady())
        qFatal("%s", qPrintable(component.errorString()));
    auto *window = qobject_cast<QWindow *>(
        component.createWithInitialProperties({{name, QVariant::fromValue(&model)}}));
    return std::unique_ptr<QWindow>(window);
}

/// What becomes of unfinished work when the program ends; empty when there is none.
QString fateOfWork(const AppStore &store, const MovieImportViewModel &movies)
{
    QStringList sentences;
    if (store.isDownloading())
        sentences += u"The download stops. What has come is kept: connect to the phone and press "
                     "Download Take to go on."_s;
    if (store.longWork() == LongWork::exporting)
        sentences += u"The export stops and leaves nothing behind."_s;
    if (store.longWork() == LongWork::checkingExport)
        sentences += u"The check of the export stops without a result."_s;
    if (store.longWork() == LongWork::verifying)
        sentences += u"The verification stops without a result."_s;
    if (store.longWork() == LongWork::savingChecksums)
        sentences += u"The checksums are not saved."_s;
    if (movies.wouldBeLost())
        sentences += u"The movies to import are forgotten, and what was heard of them. No take has "
                     "been created."_s;
    return sentences.join(u'\n');
}

void bringToFront(QWindow &window)
{
    if (window.windowStates().testFlag(Qt::WindowMinimized))
        window.setWindowStates(window.windowStates() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    window.requestActivate();
}

} // namespace

std::unique_ptr<QWindow> makeLibraryWindow(QQmlEngine &engine, LibraryViewModel &library)
{
    return makeWindow(engine, u"library/LibraryWindow.qml"_s, u"library"_s, library);
}

std::unique_ptr<QWindow> makeDirectorWindow(QQmlEngine &engine, DirectorViewModel &director)
{
    return makeWindow(engine, directorFile, u"director"_s, director);
}

std::unique_ptr<QWindow> makeProgramPictureWindow(QQmlEngine &engine, DirectorViewModel &director)
{
    return makeWindow(engine, u"director/ProgramPictureWindow.qml"_s, u"director"_s, director);
}

WindowEngine::WindowEngine() : m_directorWindow(this)
{
    teach(*this);
    m_directorWindow.loadUrl(urlOf(directorFile), QQmlComponent::Asynchronous);
    // Meanwhile this thread reads the system's fonts, which the first text of a window asks for.
    (void)QFontMetrics(QGuiApplication::font()).height();
}

ProgramWindows::ProgramWindows(WindowEngine &engine, AppStore &store, LANDiscovery &catalogs,
                               LiveCameraDiscovery &cameras, QSettings &settings)
    : m_engine(engine),
      m_store(store),
      m_catalogs(catalogs),
      m_cameras(cameras),
      m_settings(settings),
      m_library(store, catalogs, cameras),
      m_networkCheck(catalogs, cameras)
{
    connect(&m_engine, &QQmlEngine::quit, this, &ProgramWindows::quit);
    connect(m_library.movieImport(), &MovieImportViewModel::requested, this,
            &ProgramWindows::showMovieImport);
    connect(m_library.movieImport(), &MovieImportViewModel::created, this,
            &ProgramWindows::showLibrary);
    connect(m_library.movieImport(), &MovieImportViewModel::changed, this,
            &ProgramWindows::updateQuestion);
    connect(&store, &AppStore::isBusyChanged, this, &ProgramWindows::updateQuestion);
    connect(&store, &AppStore::downloadsEnded, this, &ProgramWindows::updateQuestion);
}

void ProgramWindows::watch(QWindow &window)
{
    window.installEventFilter(this);
    connect(&window, SIGNAL(endConfirmed()), this, SLOT(endWork()));
    connect(&window, SIGNAL(endDeclined()), this, SLOT(stay()));
}

bool ProgramWindows::isKeptRunning(const QWindow *apart) const
{
    return std::ranges::any_of(std::array{m_directorWindow.get(), m_libraryWindow.get()},
                               [apart](const QWindow *window) {
                                   return window && window != apart && window->isVisible();
                               });
}

bool ProgramWindows::eventFilter(QObject *watched, QEvent *event)
{
    auto *window = qobject_cast<QWindow *>(watched);
    if (event->type() != QEvent::Close || !window || m_mayEndWork || isKeptRunning(window)
        || fateOfWork(m_store, *m_library.movieImport()).isEmpty())
        return QObject::eventFilter(watched, event);
    event->ignore();
    askAboutWork(window);
    return true;
}

void ProgramWindows::askAboutWork(QWindow *window)
{
    if (!window || (window != m_directorWindow.get() && window != m_libraryWindow.get())) {
        window = m_directorWindow.get();
        if (!window) {
            showLibrary();
            window = m_libraryWindow.get();
        }
    }
    m_asking = window;
    bringToFront(*window);
    updateQuestion();
}

void ProgramWindows::updateQuestion()
{
    if (!m_asking)
        return;
    const QString work = fateOfWork(m_store, *m_library.movieImport());
    m_asking->setProperty("endingWork", work);
    if (work.isEmpty())
        stay();
}

void ProgramWindows::endWork()
{
    m_mayEndWork = true;
    if (const QPointer<QWindow> window = std::exchange(m_asking, nullptr))
        window->setProperty("endingWork", QString());
    quit();
}

void ProgramWindows::listenTo(QWindow &window)
{
    connect(&window, SIGNAL(directorRequested()), this, SLOT(showDirector()));
    connect(&window, SIGNAL(libraryRequested()), this, SLOT(showLibrary()));
    connect(&window, SIGNAL(settingsRequested()), this, SLOT(showSettings()));
    connect(&window, SIGNAL(helpRequested()), this, SLOT(showHelp()));
    connect(&window, SIGNAL(networkCheckRequested()), this, SLOT(showNetworkCheck()));
    connect(&window, &QWindow::visibleChanged, this, &ProgramWindows::endWithTheLastWindow,
            Qt::QueuedConnection);
}

void ProgramWindows::showDirector()
{
    if (!m_directorWindow) {
        m_director =
            std::make_unique<DirectorViewModel>(m_store, m_catalogs, m_cameras, m_settings);
        m_directorWindow = makeDirectorWindow(m_engine, *m_director);
        listenTo(*m_directorWindow);
        // After the event in which it closes.
        connect(m_directorWindow.get(), SIGNAL(closed()), this, SLOT(endDirector()),
                Qt::QueuedConnection);
        connect(m_directorWindow.get(), SIGNAL(stayed()), this, SLOT(stay()));
        connect(m_directorWindow.get(), SIGNAL(programRequested()), this, SLOT(showProgram()));
        watch(*m_directorWindow);
    }
    bringToFront(*m_directorWindow);
}

void ProgramWindows::showProgram()
{
    if (!m_program) {
        auto window = makeProgramPictureWindow(m_engine, *m_director);
        listenTo(*window);
        m_program = std::make_unique<ProgramDisplay>(std::move(window), *m_directorWindow);
    }
    m_program->takePlace();
    bringToFront(m_program->window());
}

void ProgramWindows::endDirector()
{
    m_program.reset();
    m_directorWindow.reset();
    m_director.reset();
    if (m_isQuitting)
        QCoreApplication::quit();
}

void ProgramWindows::quit()
{
    m_isQuitting = true;
    if (!m_mayEndWork && !fateOfWork(m_store, *m_library.movieImport()).isEmpty()) {
        askAboutWork(QGuiApplication::focusWindow());
        return;
    }
    if (!m_directorWindow) {
        QCoreApplication::quit();
        return;
    }
    bringToFront(*m_directorWindow); // where it may have to ask
    m_directorWindow->close();
}

void ProgramWindows::stay()
{
    m_isQuitting = false;
    m_mayEndWork = false;
    if (m_directorWindow)
        m_directorWindow->setProperty("mayClose", false); // it asks anew
    if (const QPointer<QWindow> window = std::exchange(m_asking, nullptr))
        window->setProperty("endingWork", QString());
}

void ProgramWindows::showLibrary()
{
    if (!m_libraryWindow) {
        m_libraryWindow = makeLibraryWindow(m_engine, m_library);
        listenTo(*m_libraryWindow);
        connect(m_libraryWindow.get(), SIGNAL(exportCheckRequested()), this,
                SLOT(showExportCheck()));
        watch(*m_libraryWindow);
    }
    bringToFront(*m_libraryWindow);
}

void ProgramWindows::showHelper(std::unique_ptr<QWindow> &window, const QString &file,
                                const QString &name, QObject &model)
{
    if (!window) {
        window = makeWindow(m_engine, file, name, model);
        listenTo(*window);
    }
    bringToFront(*window);
}

void ProgramWindows::showExportCheck()
{
    showHelper(m_exportCheckWindow, u"library/ExportCheckWindow.qml"_s, u"library"_s, m_library);
}

void ProgramWindows::showMovieImport()
{
    showHelper(m_movieImportWindow, u"library/MovieImportWindow.qml"_s, u"library"_s, m_library);
}

void ProgramWindows::showNetworkCheck()
{
    showHelper(m_networkCheckWindow, u"network/NetworkCheckWindow.qml"_s, u"check"_s,
               m_networkCheck);
}

HelpViewModel &ProgramWindows::help()
{
    if (!m_help)
        m_help = std::make_unique<HelpViewModel>(m_store, m_settings);
    return *m_help;
}

void ProgramWindows::showSettings()
{
    showHelper(m_settingsWindow, u"help/SettingsWindow.qml"_s, u"help"_s, help());
}

void ProgramWindows::showHelp()
{
    showHelper(m_helpWindow, u"help/HelpWindow.qml"_s, u"help"_s, help());
}

void ProgramWindows::importMovies(const QStringList &paths)
{
    showLibrary();
    m_library.movieImport()->addPaths(paths);
}

void ProgramWindows::endWithTheLastWindow()
{
    if (!isKeptRunning())
        quit();
}

void ProgramWindows::raise()
{
    for (const auto &window :
         {m_program ? &m_program->window() : nullptr, m_directorWindow.get(), m_libraryWindow.get(),
          m_exportCheckWindow.get(), m_movieImportWindow.get(), m_networkCheckWindow.get(),
          m_settingsWindow.get(), m_helpWindow.get()}) {
        if (window && window->isVisible())
            bringToFront(*window);
    }
}

} // namespace vorn
