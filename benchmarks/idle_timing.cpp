// SPDX-License-Identifier: Apache-2.0

// Usage: idle_timing SECONDS
// What the program costs when nothing happens, in so many seconds with its two windows open, and
// with both taken off the screen as by minimising. No camera may be there. Needs a display, and the
// network of scripts/lab.

#include "live/live_camera_discovery.h"
#include "paired.h"
#include "store/app_store.h"
#include "transfer/lan_discovery.h"
#include "views/program_windows.h"

#include <QApplication>
#include <QEventLoop>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>

#include <sys/resource.h>

#include <cstdio>
#include <stdexcept>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace vorn;

namespace {

constexpr auto settling = 15s; // the scan of a start, and what the windows load later

void workFor(std::chrono::milliseconds time)
{
    QEventLoop loop;
    QTimer::singleShot(time, &loop, &QEventLoop::quit);
    loop.exec();
}

void measure(const QString &name, std::chrono::seconds time)
{
    const auto used = [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return usage;
    };
    const auto seconds = [](const timeval &value) {
        return double(value.tv_sec) + double(value.tv_usec) / 1e6;
    };
    const rusage before = used();
    const double wall = secondsOf([&] { workFor(time); });
    const rusage after = used();
    const double cpu = seconds(after.ru_utime) + seconds(after.ru_stime) - seconds(before.ru_utime)
                       - seconds(before.ru_stime);
    printRow(u"idle, %1: wake-ups"_s.arg(name),
             u"%1 /s"_s.arg(double(after.ru_nvcsw - before.ru_nvcsw) / wall, 0, 'f', 1), u"-"_s,
             u"-"_s, u"-"_s);
    printRow(u"idle, %1: processor"_s.arg(name), u"%1 %"_s.arg(100 * cpu / wall, 0, 'f', 2), u"-"_s,
             u"-"_s, u"-"_s);
}

/// As a window manager does that minimises.
void takeOffTheScreen()
{
    for (QWindow *window : QGuiApplication::topLevelWindows()) {
        if (window->isVisible()
            && QProcess::execute(u"xdotool"_s, {u"windowunmap"_s, QString::number(window->winId())})
                   != 0)
            throw std::runtime_error("A window stays on the screen.");
    }
}

} // namespace

int main(int argumentCount, char *arguments[])
try {
    QApplication application(argumentCount, arguments);
    if (argumentCount != 2)
        throw std::runtime_error("Usage: idle_timing SECONDS");
    applyLook();
    const std::chrono::seconds time(std::atoi(arguments[1]));
    const QTemporaryDir folder;
    WindowEngine engine;
    AppStore store(folder.path(), folder.path());
    LANDiscovery catalogs;
    LiveCameraDiscovery cameras;
    QSettings settings(folder.filePath(u"settings.ini"_s), QSettings::IniFormat);
    ProgramWindows windows(engine, store, catalogs, cameras, settings);
    windows.showDirector();
    windows.showLibrary();
    workFor(settling);
    measure(u"both windows open"_s, time);
    takeOffTheScreen();
    workFor(1s);
    measure(u"both minimised"_s, time);
    return 0;
} catch (const std::exception &error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
