// SPDX-License-Identifier: Apache-2.0

#include "app/start.h"
#include "base/atomic_file.h"
#include "base/folders.h"
#include "desktop/desktop_notification.h"
#include "desktop/file_reveal.h"
#include "desktop/single_instance.h"
#include "director/session_journal.h"
#include "live/live_camera_discovery.h"
#include "store/app_store.h"
#include "transfer/lan_discovery.h"
#include "views/program_windows.h"

#include <QApplication>
#include <QLoggingCategory>
#include <QSettings>

#include <optional>

using namespace Qt::StringLiterals;
using namespace vorn;

int main(int argc, char *argv[])
{
    QApplication::setOrganizationName(u"VORN"_s);
    QApplication::setApplicationName(u"vorn-desktop"_s);
    QApplication::setApplicationVersion(u"" VORN_VERSION ""_s);
    QGuiApplication::setDesktopFileName(u"vorn-desktop"_s);
    // The toolkit tells of surroundings that nobody needs to mend. QT_LOGGING_RULES brings it back.
    QLoggingCategory::setFilterRules(u"default.warning=false"_s);

    if (const auto answer = answerToOptions(argc, argv))
        return endEarly(*answer);
    std::optional<DisplayWatch> watch(std::in_place);
    QApplication application(argc, argv);
    watch.reset();
    if (const auto fault = faultOfArguments(QApplication::arguments()))
        return endEarly(*fault);

    const QStringList movies = moviesOf(QApplication::arguments());
    const SingleInstance instance(applicationSupportFolder(), std::chrono::seconds(10), movies);
    using Outcome = SingleInstance::Outcome;
    if (instance.outcome() == Outcome::handedOver)
        return 0;
    if (instance.outcome() == Outcome::outOfReach || instance.outcome() == Outcome::noFolder) {
        showDesktopNotification(u"VORN Desktop"_s, instance.sentence());
        return endEarly({instance.sentence() + u'\n', 1});
    }

    applyLook();
    WindowEngine engine;
    AppStore store;
    if (instance.outcome() == Outcome::first) {
        store.removeAbandonedSaves();
        removeAbandonedWrites(sessionJournalFolder(store.supportDirectory()));
    } else {
        store.log(instance.sentence(), true);
    }
    QObject::connect(&store, &AppStore::exportCreated, &revealFile);
    LANDiscovery catalogs;
    LiveCameraDiscovery cameras;
    QSettings settings;
    ProgramWindows windows(engine, store, catalogs, cameras, settings);
    if (movies.isEmpty())
        windows.showDirector();
    else
        windows.importMovies(movies);
    QObject::connect(&instance, &SingleInstance::moviesRequested, &windows,
                     &ProgramWindows::importMovies);
    QObject::connect(&instance, &SingleInstance::raiseRequested, &windows, &ProgramWindows::raise);
    return QApplication::exec();
}
