// SPDX-License-Identifier: Apache-2.0

// Usage: pairing_timing CLIPS
// A phone goes into Transfer Mode while the connect sheet is open: how soon the sheet shows it,
// announced by itself and approved after a request. Then the phone is paired, with a catalog of so
// many clips: how long it takes until that is in the library, on the disk and on the screen, and
// for how long at most the window stood still meanwhile. Needs a display, and the network of
// scripts/lab.

#include "live/live_camera_discovery.h"
#include "paired.h"
#include "rig_phones.h"
#include "store/app_store.h"
#include "transfer/lan_discovery.h"
#include "views/program_windows.h"
#include "working.h"

#include <QApplication>
#include <QCoroTask>
#include <QKeyEvent>
#include <QQuickWindow>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;
using Clock = MonotonicClock;

constexpr int rounds = 7;

/// The longest time between two turns of the event loop.
class Stillness : public QObject {
public:
    Stillness()
    {
        connect(&m_timer, &QTimer::timeout, this, [this] {
            const auto now = Clock::now();
            m_longest = std::max(m_longest, Milliseconds(now - m_last));
            m_last = now;
        });
        m_timer.start(0);
    }
    [[nodiscard]] double longest() const { return m_longest.count(); }

private:
    QTimer m_timer;
    Clock::time_point m_last = Clock::now();
    Milliseconds m_longest{0};
};

void require(bool holds, const char *what)
{
    if (!holds)
        throw std::runtime_error(what);
}

QString inMilliseconds(double time)
{
    return u"%1 ms"_s.arg(time, 0, 'f', 0);
}

class Bench {
public:
    explicit Bench(int clips)
        : m_clips(clips),
          m_phones({.count = 1, .transfer = u"ask"_s, .clips = clips}),
          m_store(m_folder.path(), m_folder.path()),
          m_library(m_store, m_catalogs, m_cameras),
          m_owned(makeLibraryWindow(m_engine, m_library)),
          m_window(qobject_cast<QQuickWindow *>(m_owned.get()))
    {
        QObject::connect(m_window, &QQuickWindow::frameSwapped, m_window, [this] { ++m_swaps; });
        m_window->requestActivate();
        for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease})
            QCoreApplication::postEvent(m_window,
                                        new QKeyEvent(type, Qt::Key_K, Qt::ControlModifier));
        awaitFrame();
    }

    /// From a command to the phone to the frame that shows its row.
    void measureRow(const QString &name, const QString &command, bool isAsked)
    {
        std::vector<double> times;
        for (int round = 0; round < rounds; ++round) {
            m_phones.must(u"cam-a server off"_s);
            require(workUntil([this] { return !sheet().hasDevices() && sheet().hasCameras(); }),
                    "the phone stays listed");
            if (isAsked) {
                sheet().ask(0);
                require(workUntil([this] {
                            return m_phones.phone(u"cam-a"_s)[u"isTransferWaiting"_s].toBool();
                        }),
                        "the phone is not asked");
            }
            const auto start = Clock::now();
            m_phones.must(command);
            require(workUntil([this] { return sheet().hasDevices(); }), "the phone is not listed");
            awaitFrame();
            times.push_back(Milliseconds(Clock::now() - start).count());
        }
        std::ranges::sort(times);
        printRow(name, inMilliseconds(times[rounds / 2]), u"-"_s, u"-"_s, u"-"_s);
    }

    void measurePairing()
    {
        const DiscoveredDevice device = m_catalogs.devices().front();
        const QString code = m_phones.transfer(u"cam-a"_s)[u"code"_s].toString();
        const Stillness stillness;
        const auto start = Clock::now();
        require(QCoro::waitFor(m_store.pairAndConnect(device, code, true)), "the pairing failed");
        const Milliseconds paired = Clock::now() - start;
        awaitFrame();
        const Milliseconds shown = Clock::now() - start;
        const QString name = u"%1 clips paired: "_s.arg(m_clips);
        printRow(name + u"merged and saved"_s, inMilliseconds(paired.count()), u"-"_s, u"-"_s,
                 u"-"_s);
        printRow(name + u"shown"_s, inMilliseconds(shown.count()), u"-"_s, u"-"_s, u"-"_s);
        printRow(name + u"the longest turn"_s, inMilliseconds(stillness.longest()), u"-"_s, u"-"_s,
                 m_clips > 10'000 ? u"<= 100 ms"_s : u"<= 50 ms"_s);
    }

private:
    [[nodiscard]] SecureConnectViewModel &sheet() { return *m_library.connection(); }

    void awaitFrame()
    {
        const int before = m_swaps;
        m_window->update();
        require(workUntil([&] { return m_swaps > before; }), "the window shows nothing");
    }

    int m_clips;
    RigPhones m_phones;
    const QTemporaryDir m_folder;
    AppStore m_store;
    LANDiscovery m_catalogs;
    LiveCameraDiscovery m_cameras;
    LibraryViewModel m_library;
    QQmlEngine m_engine;
    std::unique_ptr<QWindow> m_owned;
    QQuickWindow *m_window;
    int m_swaps = 0;
};

} // namespace

int main(int argumentCount, char *arguments[])
try {
    QApplication application(argumentCount, arguments);
    if (argumentCount != 2)
        throw std::runtime_error("Usage: pairing_timing CLIPS");
    applyLook();
    Bench bench(std::atoi(arguments[1]));
    bench.measureRow(u"announced to row shown"_s, u"cam-a server on"_s, false);
    bench.measureRow(u"approved to row shown"_s, u"cam-a approve"_s, true);
    bench.measurePairing();
    return 0;
} catch (const std::exception &error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
