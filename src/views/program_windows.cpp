#include "views/program_windows.h"

#include <QApplication>
#include <QFont>
#include <QPalette>
#include <QQmlComponent>
#include <QQuickStyle>
#include <QStyleFactory>
#include <QWindow>

// Made by the build from the types that are marked QML_ELEMENT.
extern void qml_register_types_Vorn(); // NOLINT(readability-identifier-naming)

namespace vorn {

using namespace Qt::StringLiterals;

namespace {

// The colours of Theme.qml, for what is drawn by Qt Widgets.
QPalette darkPalette()
{
    const QColor window(0x15, 0x18, 0x1E);
    const QColor field(0x0A, 0x0C, 0x0F);
    const QColor raised(0x1D, 0x21, 0x29);
    const QColor text(0xE7, 0xEA, 0xF0);
    const QColor disabled(0x6E, 0x78, 0x87);
    QPalette palette(raised, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::Base, field);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::ToolTipBase, raised);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::PlaceholderText, QColor(0xA3, 0xAC, 0xBA));
    palette.setColor(QPalette::Highlight, QColor(0x2F, 0x6F, 0xDB));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(0x5B, 0x9B, 0xFF));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, disabled);
    return palette;
}

} // namespace

void applyLook()
{
    QApplication::setStyle(QStyleFactory::create(u"Fusion"_s));
    QApplication::setPalette(darkPalette());
    QFont font(u"Inter"_s);
    font.setPixelSize(13);
    QApplication::setFont(font);
    QQuickStyle::setStyle(u"Basic"_s);
}

namespace {

std::unique_ptr<QWindow> makeWindow(QQmlEngine &engine, const QString &file,
                                    const QVariantMap &properties)
{
    // The linker takes a registration out of a static library only when something asks for it.
    [[maybe_unused]] volatile const auto registration = &qml_register_types_Vorn;
    engine.addImportPath(u"qrc:/qt/qml"_s);
    QQmlComponent component(&engine, QUrl(u"qrc:/qt/qml/Vorn/"_s + file));
    if (!component.isReady())
        qFatal("%s", qPrintable(component.errorString()));
    auto *window = qobject_cast<QWindow *>(component.createWithInitialProperties(properties));
    return std::unique_ptr<QWindow>(window);
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
    return makeWindow(engine, u"library/LibraryWindow.qml"_s,
                      {{u"library"_s, QVariant::fromValue(&library)}});
}

std::unique_ptr<QWindow> makeDirectorWindow(QQmlEngine &engine, DirectorViewModel &director)
{
    return makeWindow(engine, u"director/DirectorWindow.qml"_s,
                      {{u"director"_s, QVariant::fromValue(&director)}});
}

ProgramWindows::ProgramWindows(AppStore &store, LANDiscovery &catalogs,
                               LiveCameraDiscovery &cameras, QSettings &settings)
    : m_store(store),
      m_catalogs(catalogs),
      m_cameras(cameras),
      m_settings(settings),
      m_library(store, catalogs, cameras)
{
    connect(&m_engine, &QQmlEngine::quit, this, &ProgramWindows::quit);
}

void ProgramWindows::showDirector()
{
    if (!m_directorWindow) {
        m_director =
            std::make_unique<DirectorViewModel>(m_store, m_catalogs, m_cameras, m_settings);
        m_directorWindow = makeDirectorWindow(m_engine, *m_director);
        connect(m_directorWindow.get(), SIGNAL(libraryRequested()), this, SLOT(showLibrary()));
        // After the event in which it closes.
        connect(m_directorWindow.get(), SIGNAL(closed()), this, SLOT(endDirector()),
                Qt::QueuedConnection);
        connect(m_directorWindow.get(), SIGNAL(stayed()), this, SLOT(stay()));
    }
    bringToFront(*m_directorWindow);
}

void ProgramWindows::endDirector()
{
    m_directorWindow.reset();
    m_director.reset();
    if (m_isQuitting)
        QCoreApplication::quit();
}

void ProgramWindows::quit()
{
    if (!m_directorWindow) {
        QCoreApplication::quit();
        return;
    }
    m_isQuitting = true;
    bringToFront(*m_directorWindow); // where it may have to ask
    m_directorWindow->close();
}

void ProgramWindows::stay()
{
    m_isQuitting = false;
}

void ProgramWindows::showLibrary()
{
    if (!m_libraryWindow) {
        m_libraryWindow = makeLibraryWindow(m_engine, m_library);
        connect(m_libraryWindow.get(), SIGNAL(directorRequested()), this, SLOT(showDirector()));
    }
    bringToFront(*m_libraryWindow);
}

void ProgramWindows::raise()
{
    for (const auto &window : {m_directorWindow.get(), m_libraryWindow.get()}) {
        if (window && window->isVisible())
            bringToFront(*window);
    }
}

} // namespace vorn
