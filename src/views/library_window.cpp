#include "views/library_window.h"

#include "views/library_view_model.h"

#include <QApplication>
#include <QFont>
#include <QPalette>
#include <QQmlApplicationEngine>
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

void openLibraryWindow(QQmlApplicationEngine &engine, LibraryViewModel &library)
{
    // The linker takes a registration out of a static library only when something asks for it.
    [[maybe_unused]] volatile const auto registration = &qml_register_types_Vorn;
    engine.addImportPath(u"qrc:/qt/qml"_s);
    engine.setInitialProperties({{u"library"_s, QVariant::fromValue(&library)}});
    engine.load(QUrl(u"qrc:/qt/qml/Vorn/LibraryWindow.qml"_s));
}

void raiseWindows()
{
    for (QWindow *window : QGuiApplication::topLevelWindows()) {
        if (!window->isVisible())
            continue;
        if (window->windowStates().testFlag(Qt::WindowMinimized))
            window->setWindowStates(window->windowStates() & ~Qt::WindowMinimized);
        window->raise();
        window->requestActivate();
    }
}

} // namespace vorn
