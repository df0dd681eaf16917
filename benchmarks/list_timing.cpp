// SPDX-License-Identifier: Apache-2.0

// Usage: list_timing FOLDER
// For how long a change holds the Library window, at most and in the middle, with takes of four
// recordings in one project, 10,000 and 50,000 recordings in all, beside the same with 20 takes.
// Needs a display, and the network of scripts/lab.

#include "large_samples.h"
#include "live/live_camera_discovery.h"
#include "paired.h"
#include "store/app_store.h"
#include "transfer/lan_discovery.h"
#include "views/program_windows.h"
#include "working.h"

#include <QApplication>
#include <QKeyEvent>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

constexpr int rounds = 25;
/// The window over a library of so many takes, one in the middle of which is selected.
class Bench {
public:
    Bench(const QString &folder, int takes) : m_folder(folder + u"/list-XXXXXX"_s)
    {
        LibraryFile(m_folder.path()).save(libraryOf(1, takes));
        m_store = std::make_unique<AppStore>(m_folder.path(), m_folder.path());
        m_library = std::make_unique<LibraryViewModel>(*m_store, m_catalogs, m_cameras);
        m_window = makeLibraryWindow(m_engine, *m_library);
        select(takes / 2);
        m_list = m_window->findChild<QQuickItem *>(u"takeList"_s);
        m_list->forceActiveFocus();
        if (!workUntil([this] { return m_window->isExposed() && m_list->hasActiveFocus(); }))
            throw std::runtime_error("The window does not open.");
    }

    /// With what the window makes of it in the same turn of the event loop and the next.
    double secondsOfChange(const std::function<void(AppStore &)> &change)
    {
        QCoreApplication::processEvents();
        return secondsOf([&] {
            change(*m_store);
            QCoreApplication::processEvents();
        });
    }
    double secondsOfSelection()
    {
        return secondsOfChange([this](AppStore &) { select(++m_turn); });
    }
    double secondsOfTypedLetter()
    {
        return secondsOfChange([this](AppStore &) {
            QKeyEvent key(QEvent::KeyPress, Qt::Key_Q, {}, u"q"_s); // which no take has
            QCoreApplication::sendEvent(m_list, &key);
        });
    }

private:
    void select(int row) { m_library->takes()->select(row); }

    const QTemporaryDir m_folder;
    std::unique_ptr<AppStore> m_store;
    LANDiscovery m_catalogs;
    LiveCameraDiscovery m_cameras;
    std::unique_ptr<LibraryViewModel> m_library;
    QQmlEngine m_engine;
    std::unique_ptr<QWindow> m_window;
    QQuickItem *m_list = nullptr;
    int m_turn = 0;
};

void measure(const QString &folder, int takes, const QString &bound)
{
    Bench many(folder, takes);
    Bench few(folder, 20);
    const auto row = [&](const QString &name, const std::function<double(Bench &)> &seconds) {
        seconds(many); // the first save writes all of it anew
        double longest = 0;
        const QString what = u"%1 recordings, "_s.arg(takes * 4) + name;
        printRow(what,
                 pairedTimes(
                     rounds,
                     [&] {
                         const double turn = seconds(many);
                         longest = std::max(longest, turn);
                         return turn;
                     },
                     [&] { return seconds(few); }),
                 u"-"_s);
        printRow(what + u", the longest turn"_s, u"%1 ms"_s.arg(longest * 1000, 0, 'f', 1), u"-"_s,
                 u"-"_s, bound);
    };
    row(u"something else changes"_s, [](Bench &bench) {
        return bench.secondsOfChange([](AppStore &store) { Q_EMIT store.libraryChanged(); });
    });
    row(u"another is selected"_s, [](Bench &bench) { return bench.secondsOfSelection(); });
    row(u"a letter finds nothing"_s, [](Bench &bench) { return bench.secondsOfTypedLetter(); });
    int number = 0; // of takes that come before all others
    row(u"one more, saved"_s, [&](Bench &bench) {
        return bench.secondsOfChange([&](AppStore &store) {
            if (!store.prepareDirectorTake(u"a-%1"_s.arg(++number)))
                throw std::runtime_error("A take is refused.");
        });
    });
}

} // namespace

int main(int argumentCount, char *arguments[])
try {
    QApplication application(argumentCount, arguments);
    if (argumentCount != 2)
        throw std::runtime_error("Usage: list_timing FOLDER");
    applyLook();
    const auto folder = QString::fromLocal8Bit(arguments[1]);
    measure(folder, 2'500, u"<= 50 ms"_s);
    measure(folder, 12'500, u"<= 100 ms"_s);
    return 0;
} catch (const std::exception &error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
