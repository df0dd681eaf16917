#include "platform/file_reveal.h"
#include "platform/single_instance.h"
#include "store/app_store.h"
#include "views/library_view_model.h"
#include "views/library_window.h"

#include <QApplication>
#include <QQmlApplicationEngine>

using namespace Qt::StringLiterals;
using namespace vorn;

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QApplication::setOrganizationName(u"VORN"_s);
    QApplication::setApplicationName(u"vorn-desktop"_s);
    QGuiApplication::setDesktopFileName(u"vorn-desktop"_s);

    SingleInstance instance;
    if (!instance.isFirst())
        return 0;

    applyLook();
    AppStore store;
    QObject::connect(&store, &AppStore::exportCreated, &revealFile);
    LibraryViewModel library(store);
    QQmlApplicationEngine engine;
    openLibraryWindow(engine, library);
    if (engine.rootObjects().isEmpty())
        return 1;
    QObject::connect(&instance, &SingleInstance::raiseRequested, &engine, &raiseWindows);
    return QApplication::exec();
}
