// SPDX-License-Identifier: Apache-2.0

// vorn-probe, a developer's tool: what the program sees of the cameras on the network, without its
// windows.

#include "probe/probe.h"

#include <QCommandLineParser>
#include <QGuiApplication>
#include <QSocketNotifier>
#include <QTimer>

#include <sys/signalfd.h>

#include <csignal>
#include <cstdio>
#include <exception>

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

/// Blocks the signals that ask for an end, in all threads made from now on, and gives a descriptor
/// that can be read once one has come.
int endSignals()
{
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, SIGINT);
    ::sigaddset(&signals, SIGTERM);
    ::sigprocmask(SIG_BLOCK, &signals, nullptr);
    return ::signalfd(-1, &signals, SFD_CLOEXEC);
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen"); // Qt Gui for its pictures only
    const FileDescriptor signals(endSignals());
    const QGuiApplication application(argc, argv);

    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Looks for cameras on the local network and receives their previews, as VORN Desktop\n"
        "does; prints what changes, and at the end each stream's rate, drops and gaps."_s);
    const QCommandLineOption seconds(u"seconds"_s, u"Ends after so long; else when interrupted."_s,
                                     u"N"_s);
    const QCommandLineOption folder(u"out"_s, u"Keeps the last picture of each stream there."_s,
                                    u"DIR"_s);
    const QCommandLineOption select(
        u"select"_s, u"Wants the large pictures of this camera too (again for another; all)."_s,
        u"ID"_s);
    const QCommandLineOption ask(u"ask"_s, u"Asks this camera to share its files."_s, u"ID"_s);
    const QCommandLineOption turns(u"turns"_s, u"Times the turns of the event loop."_s);
    parser.addOptions({seconds, folder, select, ask, turns});
    parser.addHelpOption();
    parser.process(application);

    bool isDuration = true;
    const double duration = parser.isSet(seconds) ? parser.value(seconds).toDouble(&isDuration) : 0;
    if (!isDuration || !(duration >= 0) || duration > 1e6
        || !parser.positionalArguments().isEmpty()) {
        std::fputs(qPrintable(parser.helpText()), stderr);
        return 2;
    }

    const QStringList selected = parser.values(select);
    Probe probe({.folder = parser.value(folder),
                 .selected = selected,
                 .selectsAll = selected.contains(u"all"_s),
                 .asked = parser.value(ask),
                 .timesTurns = parser.isSet(turns)});
    const QSocketNotifier interrupted(signals.get(), QSocketNotifier::Read);
    QObject::connect(&interrupted, &QSocketNotifier::activated, &QCoreApplication::quit);
    if (duration > 0)
        QTimer::singleShot(std::chrono::milliseconds(qint64(duration * 1000)),
                           &QCoreApplication::quit);
    QGuiApplication::exec();
    try {
        return probe.finish() ? 0 : 1;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
