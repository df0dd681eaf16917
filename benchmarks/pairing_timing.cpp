// Usage: pairing_timing CATALOG-URL FINGERPRINT SESSION CODE
// Pairs with a phone while the Library window is open: how long it takes until the catalog is in
// the library, on the disk and on the screen, and for how long at most the window stood still
// meanwhile. Needs a display, and the network of scripts/lab.

#include "live/live_camera_discovery.h"
#include "platform/monotonic_clock.h"
#include "store/app_store.h"
#include "transfer/lan_discovery.h"
#include "views/program_windows.h"

#include <QApplication>
#include <QCoroTask>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;

/// The longest time between two turns of the event loop.
class Stillness : public QObject {
public:
    Stillness()
    {
        connect(&m_timer, &QTimer::timeout, this, [this] {
            const auto now = MonotonicClock::now();
            m_longest = std::max(m_longest, Milliseconds(now - m_last));
            m_last = now;
        });
        m_timer.start(0);
    }
    [[nodiscard]] double longest() const { return m_longest.count(); }

private:
    QTimer m_timer;
    MonotonicClock::time_point m_last = MonotonicClock::now();
    Milliseconds m_longest{0};
};

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 5)
        return 2;
    applyLook();
    const QTemporaryDir folder;
    AppStore store(folder.path(), folder.path());
    LANDiscovery catalogs;
    LiveCameraDiscovery cameras;
    LibraryViewModel library(store, catalogs, cameras);
    QQmlEngine engine;
    const auto owned = makeLibraryWindow(engine, library);
    auto *window = qobject_cast<QQuickWindow *>(owned.get());
    QEventLoop loop;
    QObject::connect(window, &QQuickWindow::frameSwapped, &loop, &QEventLoop::quit);
    loop.exec();

    DiscoveredDevice device;
    device.serviceName = u"phone"_s;
    device.serviceType = transferServiceType.toString();
    device.catalogURL = QUrl(arguments[1]);
    device.address = QHostAddress(device.catalogURL.host());
    device.certificateSHA256 = arguments[2];
    device.sessionId = arguments[3];
    device.foregroundOnly = true;
    const Stillness stillness;
    const auto start = MonotonicClock::now();
    const bool isPaired = QCoro::waitFor(store.pairAndConnect(device, arguments[4], true));
    const Milliseconds paired = MonotonicClock::now() - start;
    window->update();
    loop.exec();
    const Milliseconds shown = MonotonicClock::now() - start;
    if (!isPaired) {
        std::fprintf(stderr, "%s\n", qPrintable(store.errorMessage().value_or(QString())));
        return 1;
    }
    std::printf(
        "paired, merged and saved after %.0f ms, shown after %.0f ms, at most %.0f ms without "
        "a turn of the event loop\n",
        paired.count(), shown.count(), stillness.longest());
    return 0;
}
