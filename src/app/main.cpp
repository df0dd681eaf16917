#include "base/folders.h"
#include "desktop/desktop_notification.h"
#include "desktop/file_reveal.h"
#include "desktop/single_instance.h"
#include "live/live_camera_discovery.h"
#include "store/app_store.h"
#include "transfer/lan_discovery.h"
#include "views/program_windows.h"

#include <QApplication>
#include <QSettings>

#include <cstdio>

using namespace Qt::StringLiterals;
using namespace vorn;

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QApplication::setOrganizationName(u"VORN"_s);
    QApplication::setApplicationName(u"vorn-desktop"_s);
    QGuiApplication::setDesktopFileName(u"vorn-desktop"_s);

    const SingleInstance instance(applicationSupportFolder());
    using Outcome = SingleInstance::Outcome;
    if (instance.outcome() == Outcome::handedOver)
        return 0;
    if (instance.outcome() == Outcome::outOfReach) {
        std::fprintf(stderr, "%s\n", qPrintable(instance.sentence()));
        showDesktopNotification(u"VORN Desktop"_s, instance.sentence());
        return 1;
    }

    applyLook();
    AppStore store;
    if (instance.outcome() == Outcome::first)
        store.removeAbandonedSaves();
    else
        store.log(instance.sentence(), true);
    QObject::connect(&store, &AppStore::exportCreated, &revealFile);
    LANDiscovery catalogs;
    LiveCameraDiscovery cameras;
    QSettings settings;
    ProgramWindows windows(store, catalogs, cameras, settings);
    windows.showDirector();
    QObject::connect(&instance, &SingleInstance::raiseRequested, &windows, &ProgramWindows::raise);
    return QApplication::exec();
}
