// SPDX-License-Identifier: Apache-2.0

// Usage: director_timing SECONDS cameras|cuts|decisions
// The Director window with the cameras that are on the network: how soon it has their pictures,
// what six streams cost, how fast a cut is seen, whether opening and closing leaves memory behind;
// or only how fast a cut is seen; or what one more decision and one change of the cameras cost the
// window when many decisions are listed, and a journal of many to read. Needs a display, and the
// network of scripts/lab.

#include "director/session_journal.h"
#include "live/live_camera_discovery.h"
#include "paired.h"
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

void printFigure(const QString &name, double figure, const QString &unit,
                 const QString &aim = u"-"_s)
{
    printRow(name, u"%1 %2"_s.arg(figure, 0, 'f', 1).arg(unit), u"-"_s, u"-"_s, aim);
}

/// The share of one core that the program takes, in percent, and the frames a second.
void printLoad(const QString &name, Opening &opening, std::chrono::seconds time,
               const QString &aim = u"-"_s)
{
    const double cpu = cpuSeconds();
    const int swaps = opening.swaps();
    const auto start = Clock::now();
    workFor(time);
    const double wall = since(start);
    printFigure(name + u", of a core"_s, 100 * (cpuSeconds() - cpu) / wall, u"%"_s, aim);
    printFigure(name + u", frames"_s, (opening.swaps() - swaps) / wall, u"/s"_s);
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
    printFigure(u"key press to the changed monitors, median"_s, share(50), u"ms"_s);
    printFigure(u"key press to the changed monitors, 99 %"_s, share(99), u"ms"_s);
    printFigure(u"key press to the changed monitors, at most"_s, share(100), u"ms"_s);
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
        printFigure(u"one more decision, of %1"_s.arg(count), decision, u"ms"_s);
        printFigure(u"a change of cameras, with %1 decisions"_s.arg(count), change, u"ms"_s);
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
        printFigure(u"journal of %1 decisions, formed"_s.arg(count), written, u"ms"_s);
        printFigure(u"journal of %1 decisions, read"_s.arg(count), read, u"ms"_s);
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
         {std::pair(u"six streams and Program's window of 960 by 540"_s, QSize(960, 540)),
          std::pair(u"six streams and Program's window of 1920 by 1080"_s, QSize(1920, 1080))}) {
        program->resize(size);
        program->show();
        swaps = 0;
        printLoad(name, opening, time);
        printFigure(name + u", frames in it"_s, double(swaps) / Seconds(time).count(), u"/s"_s);
    }
}

} // namespace

int main(int argumentCount, char *arguments[])
try {
    QApplication application(argumentCount, arguments);
    applyLook();
    if (argumentCount != 3)
        throw std::runtime_error("Usage: director_timing SECONDS cameras|cuts|decisions");
    const std::chrono::seconds time(std::atoi(arguments[1]));
    const QTemporaryDir folder;
    AppStore store(folder.path(), folder.path());
    store.createProject(u"Night Shoot"_s);
    QSettings settings(folder.filePath(u"settings.ini"_s), QSettings::IniFormat);
    settings.setValue(u"director.previewNetworkPolicy"_s, u"performance5GHz"_s);
    LANDiscovery catalogs;
    LiveCameraDiscovery discovery;
    QQmlEngine engine;

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
    printFigure(u"opening to four pictures shown"_s, openings[4], u"ms"_s);

    {
        Opening opening(store, catalogs, discovery, settings, engine);
        workUntil([&] { return opening.pictures() == wallSlots; });
        printLoad(u"four wall streams, one selected"_s, opening, time);
        startShow(opening, discovery);
        printLoad(u"four wall streams, two selected"_s, opening, time, u"<= 35 %"_s);
        measureProgramWindow(engine, opening, time);
        measureCuts(opening, time);
    }

    for (int i = 1; i <= 100; ++i) {
        Opening opening(store, catalogs, discovery, settings, engine);
        workUntil([&] { return opening.pictures() == wallSlots; });
        opening.awaitFrame();
        if (i % 10 == 0)
            printFigure(u"memory while open, opening %1"_s.arg(i), residentMiB(), u"MiB"_s);
    }
    return 0;
} catch (const std::exception &error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
