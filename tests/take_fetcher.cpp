// SPDX-License-Identifier: Apache-2.0

// Usage: take_fetcher STORAGE RECORDINGS CATALOG-URL FINGERPRINT SESSION CODE
// Pairs with a phone and fetches every take of its catalog, as the program does, without a window.
// A process of its own, so that it can be measured. Prints the seconds that the download
// took, the processor seconds of it, and by how many MiB the memory grew; ends with 0 when all is
// verified.

#include "base/monotonic_clock.h"
#include "shared_phone.h"
#include "store/app_store.h"

#include <QCoreApplication>
#include <QCoroTask>
#include <QFile>

#include <sys/resource.h>

#include <cstdio>

using namespace vorn;
using namespace Qt::StringLiterals;

namespace {

double cpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval &time) {
        return double(time.tv_sec) + double(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// MiB: of now, and the most so far.
double memory(const char *field)
{
    QFile status(u"/proc/self/status"_s);
    if (status.open(QIODevice::ReadOnly))
        for (const QByteArray &line : status.readAll().split('\n'))
            if (line.startsWith(field))
                return line.mid(line.indexOf(':') + 1).simplified().split(' ').first().toDouble()
                       / 1024;
    return 0;
}

QCoro::Task<bool> fetchAll(AppStore *store, DiscoveredDevice device, QString code)
{
    if (!co_await store->pairAndConnect(std::move(device), std::move(code), true))
        co_return false;
    const double memoryBefore = memory("VmRSS");
    const double cpu = cpuSeconds();
    const auto start = MonotonicClock::now();
    const VORNLibrary library = store->library();
    for (const VORNProject &project : library.projects) {
        store->setSelectedProjectID(project.id);
        for (const VORNTake &take : project.takes) {
            store->setSelectedTakeID(take.id);
            co_await store->downloadSelectedTake();
        }
    }
    const std::chrono::duration<double> time = MonotonicClock::now() - start;
    std::printf("%.3f %.3f %.1f\n", time.count(), cpuSeconds() - cpu,
                memory("VmHWM") - memoryBefore);
    const auto complete = [](const VORNProject &project) {
        return std::ranges::all_of(project.takes, isComplete);
    };
    co_return std::ranges::all_of(store->library().projects, complete);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 7)
        return 2;
    AppStore store(arguments[1], arguments[2]);
    const DiscoveredDevice device =
        sharedPhone(u"phone"_s, arguments[3], arguments[4], arguments[5]);
    const bool isComplete = QCoro::waitFor(fetchAll(&store, device, arguments[6]));
    if (!isComplete)
        std::fprintf(stderr, "%s\n",
                     qPrintable(store.errorMessage().value_or(u"Something is missing."_s)));
    return isComplete ? 0 : 1;
}
