// SPDX-License-Identifier: Apache-2.0

// Usage: director_timing SECONDS cameras|cuts|decisions|nobody
// The Director window with the cameras that are on the network: how soon it has their pictures,
// what six streams cost, how fast a cut is seen, whether opening and closing leaves memory behind;
// or only how fast a cut is seen; or what one more decision and one change of the cameras cost the
// window when many decisions are listed, and a journal of many to read. With nobody there: what the
// window costs when nothing happens. Needs a display, and the network of scripts/lab.

#include "director/session_journal.h"
#include "live/live_camera_discovery.h"
#include "store/app_store.h"
#include "transfer/lan_discovery.h"
#include "views/program_windows.h"
#include "working.h"

#include <QApplication>
#include <QEventLoop>
#include <QFile>
#include <QKeyEvent>
#include <QQuickWindow>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <string_view>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace std::string_view_literals;
using namespace vorn;

namespace {

using Clock = MonotonicClock;
using Seconds = std::chrono::duration<double>;

constexpr std::size_t wallSlots = 4;

double since(Clock::time_point start)
{
    return Seconds(Clock::now() - start).count();
}

void workFor(std::chrono::milliseconds time)
{
    QEventLoop loop;
    QTimer::singleShot(time, &loop, &QEventLoop::quit);
    loop.exec();
}

/// Of the program, or of this thread.
double cpuSeconds(int who = RUSAGE_SELF)
{
    rusage usage{};
    getrusage(who, &usage);
    const auto seconds = [](const timeval &time) {
        return double(time.tv_sec) + double(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double residentMiB()
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        throw std::runtime_error("no /proc");
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.mid(6).simplified().split(' ').first().toDouble() / 1024;
    throw std::runtime_error("no VmRSS");
}

/// One opening of the window.
class Opening {
public:
    Opening(AppStore &store, LANDiscovery &catalogs, LiveCameraDiscovery &discovery,
            QSettings &settings, QQmlEngine &engine)
        : m_director(store, catalogs, discovery, settings),
          m_owned(makeDirectorWindow(engine, m_director)),
          m_window(qobject_cast<QQuickWindow *>(m_owned.get()))
    {
        QObject::connect(m_window, &QQuickWindow::frameSwapped, m_window, [this] { ++m_swaps; });
        m_window->requestActivate();
    }

    [[nodiscard]] DirectorViewModel &director() { return m_director; }
    [[nodiscard]] int swaps() const { return m_swaps; }

    [[nodiscard]] std::size_t pictures() const
    {
        return m_director.session().previews().wallFrames().size();
    }

    void awaitFrame()
    {
        const int before = m_swaps;
        workUntil([&] { return m_swaps > before; });
    }

    void pressSpace()
    {
        for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease})
            QCoreApplication::postEvent(m_window,
                                        new QKeyEvent(type, Qt::Key_Space, Qt::NoModifier, u" "_s));
    }

private:
    DirectorViewModel m_director;
    std::unique_ptr<QWindow> m_owned;
    QQuickWindow *m_window;
    int m_swaps = 0;
};

/// The share of one core that the program takes, in percent, and the frames a second.
void printLoad(const char *name, Opening &opening, std::chrono::seconds time)
{
    const double cpu = cpuSeconds();
    const int swaps = opening.swaps();
    const auto start = Clock::now();
    workFor(time);
    const double wall = since(start);
    std::printf("%-44s %6.1f %% of a core, %5.1f frames a second\n", name,
                100 * (cpuSeconds() - cpu) / wall, (opening.swaps() - swaps) / wall);
}

/// With Preview and Program on cameras that send large pictures.
void startShow(Opening &opening, const LiveCameraDiscovery &discovery)
{
    workUntil([&] { return opening.pictures() == wallSlots; });
    opening.director().sessionPage()->start();
    opening.director().cut();
    opening.director().wall()->select(discovery.cameras()[1].id);
    workUntil([&] { return opening.director().session().previews().selectedFrames().size() == 2; });
}

void measureCuts(Opening &opening, std::chrono::seconds time)
{
    std::vector<double> milliseconds;
    const auto end = Clock::now() + time;
    for (int cut = 0; Clock::now() < end; ++cut) {
        workFor(std::chrono::milliseconds(50 + cut * 7 % 60));
        const auto program = opening.director().session().timeline().programCameraID;
        const auto start = Clock::now();
        opening.pressSpace();
        if (!workUntil(
                [&] { return opening.director().session().timeline().programCameraID != program; }))
            throw std::runtime_error("the space bar does not cut");
        opening.awaitFrame();
        milliseconds.push_back(since(start) * 1000);
    }
    std::ranges::sort(milliseconds);
    const auto share = [&](std::size_t percent) {
        return milliseconds[(milliseconds.size() - 1) * percent / 100];
    };
    std::printf("%-44s %6.1f ms median, 95 %% %.1f, 99 %% %.1f, %.1f at most, of %zu\n",
                "key press to the changed monitors", share(50), share(95), share(99), share(100),
                milliseconds.size());
}

/// Of so many rounds.
double medianMs(const std::function<double()> &seconds)
{
    std::vector<double> rounds(25);
    std::ranges::generate(rounds, seconds);
    std::ranges::sort(rounds);
    return rounds[rounds.size() / 2] * 1000;
}

/// What is done for one of many decisions, and with them listed at each change of the cameras.
void measureDecisions(Opening &opening, LiveCameraDiscovery &discovery)
{
    const DirectorSession &session = opening.director().session();
    const QAbstractItemModel *list = opening.director().editsPage()->edits();
    opening.director().setInspectorIndex(int(DirectorInspectorTab::edits));
    const auto decide = [&] {
        const int before = list->rowCount();
        const double cpu = cpuSeconds(RUSAGE_THREAD);
        opening.director().cut();
        workUntil([&] { return list->rowCount() > before; });
        return cpuSeconds(RUSAGE_THREAD) - cpu;
    };
    for (const int count : {30, 300, 3000}) {
        while (list->rowCount() < count)
            decide();
        const double decision = medianMs(decide);
        const double change = medianMs([&] {
            const auto start = Clock::now();
            Q_EMIT discovery.camerasChanged();
            return since(start);
        });
        std::printf("with %5d decisions %37.3f ms a decision, %.3f ms a change of cameras\n", count,
                    decision, change);
    }
    for (const std::size_t count : {3'000U, 30'000U}) {
        QByteArray text = journalLine(JournalHead{.sessionID = QUuid::createUuid(),
                                                  .startedAt = session.now(),
                                                  .plannedTakeID = u"take"_s,
                                                  .projectID = u"project"_s,
                                                  .projectName = u"Night"_s});
        const auto &events = session.timeline().events;
        const auto start = Clock::now();
        for (std::size_t i = 0; i < count; ++i) {
            DirectorEditEvent event = events[i == 0 ? 0 : 1 + i % (events.size() - 1)];
            event.id = QUuid::createUuid();
            text +=
                journalLine(journalEntry(event, discovery.cameras(), session.now(), Clock::now()));
        }
        const double written = since(start) * 1000;
        const double read = medianMs([&] {
            const auto begun = Clock::now();
            (void)sessionJournalFromText(text, u"journal"_s);
            return since(begun);
        });
        std::printf("journal of %6zu decisions %30.1f ms to form, %.1f ms to read, %.1f MB\n",
                    count, written, read, double(text.size()) / 1e6);
    }
}

/// What Program's own window costs, in two sizes.
void measureProgramWindow(QQmlEngine &engine, Opening &opening, std::chrono::seconds time)
{
    const auto program = makeProgramPictureWindow(engine, opening.director());
    int swaps = 0;
    QObject::connect(qobject_cast<QQuickWindow *>(program.get()), &QQuickWindow::frameSwapped,
                     [&swaps] { ++swaps; });
    for (const auto &[name, size] :
         {std::pair("the same, and Program's window", QSize(960, 540)),
          std::pair("the same, that of 1920 by 1080", QSize(1920, 1080))}) {
        program->resize(size);
        program->show();
        swaps = 0;
        printLoad(name, opening, time);
        std::printf("%-44s %*.1f frames a second\n", "  in it", 26,
                    double(swaps) / Seconds(time).count());
    }
}

} // namespace

int main(int argumentCount, char *arguments[])
try {
    QApplication application(argumentCount, arguments);
    applyLook();
    if (argumentCount != 3)
        throw std::runtime_error("Usage: director_timing SECONDS cameras|cuts|decisions|nobody");
    const std::chrono::seconds time(std::atoi(arguments[1]));
    const QTemporaryDir folder;
    AppStore store(folder.path(), folder.path());
    store.createProject(u"Night Shoot"_s);
    QSettings settings(folder.filePath(u"settings.ini"_s), QSettings::IniFormat);
    settings.setValue(u"director.previewNetworkPolicy"_s, u"performance5GHz"_s);
    LANDiscovery catalogs;
    LiveCameraDiscovery discovery;
    QQmlEngine engine;

    if (arguments[2] == "nobody"sv) {
        Opening opening(store, catalogs, discovery, settings, engine);
        printLoad("first seconds, with the scan", opening, 12s);
        printLoad("nothing happens", opening, time);
        return 0;
    }

    workUntil([&] { return discovery.cameras().size() >= wallSlots; });
    if (arguments[2] != "cameras"sv) {
        Opening opening(store, catalogs, discovery, settings, engine);
        startShow(opening, discovery);
        if (arguments[2] == "cuts"sv)
            measureCuts(opening, time);
        else
            measureDecisions(opening, discovery);
        return 0;
    }
    std::vector<double> openings;
    for (int i = 0; i < 9; ++i) {
        const auto start = Clock::now();
        Opening opening(store, catalogs, discovery, settings, engine);
        if (!workUntil([&] { return opening.pictures() == wallSlots; }))
            throw std::runtime_error("not all pictures came");
        opening.awaitFrame();
        openings.push_back(since(start) * 1000);
    }
    std::ranges::sort(openings);
    std::printf("%-44s %6.0f ms median, %.0f ms at most\n", "opening to four pictures shown",
                openings[4], openings.back());

    {
        Opening opening(store, catalogs, discovery, settings, engine);
        workUntil([&] { return opening.pictures() == wallSlots; });
        printLoad("four wall streams, one selected", opening, time);
        startShow(opening, discovery);
        printLoad("four wall streams, two selected", opening, time);
        measureProgramWindow(engine, opening, time);
        measureCuts(opening, time);
    }

    double memory = 0;
    for (int i = 1; i <= 100; ++i) {
        Opening opening(store, catalogs, discovery, settings, engine);
        workUntil([&] { return opening.pictures() == wallSlots; });
        opening.awaitFrame();
        if (i == 10)
            memory = residentMiB();
        if (i % 10 == 0)
            std::printf("memory while open, opening %3d %20.1f MiB (%+.1f)\n", i, residentMiB(),
                        residentMiB() - memory);
    }
    return 0;
} catch (const std::exception &error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
