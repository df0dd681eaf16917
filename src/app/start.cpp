// SPDX-License-Identifier: Apache-2.0

#include "app/start.h"

#include "base/files.h"
#include "desktop/single_instance.h"

#include <QCoreApplication>
#include <QDir>

#include <cstdio>
#include <cstdlib>
#include <span>
#include <string_view>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

constexpr QStringView usage =
    u"Usage: vorn-desktop [--help | --version | --import-movies FILES]\n"
    "Shows the phone cameras of the local network, Preview and Program, and the library of\n"
    "their recordings. --import-movies makes a take of movies of one moment, by their sound.\n";

constexpr auto importMovies = "--import-movies"_L1;

void meetNoDisplay(QtMsgType type, const QMessageLogContext & /*context*/, const QString &message)
{
    // What was asked for, when the toolkit has nothing of that name.
    static QString unknownPlatform;
    // The other messages only lead up to the last one.
    if (type != QtFatalMsg) {
        if (message.startsWith("Could not find the Qt platform plugin"_L1))
            unknownPlatform = message.section(u'"', 1, 1);
        else if (message.startsWith("Could not load the Qt platform plugin"_L1))
            unknownPlatform.clear();
        return;
    }
    const QString sentence =
        unknownPlatform.isEmpty()
            ? u"VORN Desktop finds no display. Start it from your desktop, or set DISPLAY or "
              "WAYLAND_DISPLAY to the display that it should use.\n"_s
            : u"VORN Desktop does not know the platform \"%1\". Unset QT_QPA_PLATFORM, or "
              "set it to xcb.\n"_s.arg(unknownPlatform);
    std::_Exit(endEarly({sentence, 1}));
}

} // namespace

std::optional<EarlyEnd> answerToOptions(int argc, char *const *argv)
{
    for (const std::string_view argument : std::span(argv, std::size_t(argc)).subspan(1)) {
        if (argument == "--help" || argument == "-h")
            return EarlyEnd{usage.toString()};
        if (argument == "--version" || argument == "-v")
            return EarlyEnd{u"VORN Desktop %1\n"_s.arg(QCoreApplication::applicationVersion())};
    }
    return std::nullopt;
}

std::optional<EarlyEnd> faultOfArguments(const QStringList &arguments)
{
    if (arguments.size() < 2)
        return std::nullopt;
    if (arguments.at(1) == importMovies) {
        const qsizetype movies = arguments.size() - 2;
        if (movies > 0 && movies <= SingleInstance::mostMovies)
            return std::nullopt;
        return EarlyEnd{u"--import-movies takes 1 to %1 files.\n%2"_s.arg(
                            QString::number(SingleInstance::mostMovies), usage),
                        1};
    }
    return EarlyEnd{
        u"VORN Desktop does not know what \"%1\" means.\n%2"_s.arg(arguments.at(1), usage), 1};
}

QStringList moviesOf(const QStringList &arguments)
{
    QStringList paths;
    if (arguments.size() > 2 && arguments.at(1) == importMovies) {
        for (const QString &path : arguments.sliced(2))
            paths += resolvedPath(QDir::currentPath(), path);
    }
    return paths;
}

int endEarly(const EarlyEnd &end)
{
    std::fputs(qPrintable(end.text), end.exitCode == 0 ? stdout : stderr);
    return end.exitCode;
}

DisplayWatch::DisplayWatch()
{
    qInstallMessageHandler(meetNoDisplay);
}

DisplayWatch::~DisplayWatch()
{
    qInstallMessageHandler(nullptr);
}

} // namespace vorn
