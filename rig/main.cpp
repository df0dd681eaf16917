// SPDX-License-Identifier: Apache-2.0

// vorn-rig: simulated phones for tests and demonstrations.

#include "base/json_text.h"
#include "rig/base/cast.h"
#include "rig/command_line.h"
#include "rig/film/check.h"
#include "rig/film/cut_report.h"
#include "rig/film_commands.h"
#include "rig/phone/control.h"
#include "rig/phone/phones.h"

#include <QCommandLineParser>
#include <QGuiApplication>

#include <exception>

namespace {

using namespace Qt::StringLiterals;
using namespace vorn;
using namespace vorn::rig;

ExitCode runCheck()
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Measures by the pictures how well an exported package aligns the cameras of a take.\n"
        "Ends with 0 when all lie within one frame at head, middle and tail, with 1 when not,\n"
        "and with 2 when the files cannot be read."_s);
    parser.addOptions({
        {u"package"_s, u"Folder of the package, with its timeline.fcpxml."_s, u"DIR"_s},
        {u"truth"_s, u"The truth.json of the take."_s, u"FILE"_s},
        {u"timeline"_s, u"Another timeline of the package (timeline.fcpxml)."_s, u"NAME"_s,
         u"timeline.fcpxml"_s},
        {u"within"_s, u"How far a camera may lie off, instead of one frame."_s, u"FRAMES"_s,
         u"1"_s},
        {u"by-ear"_s,
         u"The cameras were aligned by their sound: takes away what their distances explain."_s},
        {u"json"_s, u"Print the figures as JSON."_s},
    });
    if (!parse(parser, u"check"_s))
        return done;
    AlignmentQuestion question{required(parser, u"package"_s), required(parser, u"truth"_s),
                               parser.value(u"timeline"_s)};
    if (parser.isSet(u"by-ear"_s))
        question.by = AlignedBy::sound;
    bool isNumber = false;
    question.boundFrames = parser.value(u"within"_s).toDouble(&isNumber);
    if (!isNumber || !(question.boundFrames > 0))
        throw UsageError(u"--within must be frames, such as 0.5."_s);
    const AlignmentCheck check = checkAlignment(question);
    print(stdout, parser.isSet(u"json"_s)
                      ? QString::fromUtf8(QJsonDocument(alignmentJson(check)).toJson())
                      : alignmentText(check));
    return check.isWithinBound() ? done : failed;
}

ExitCode runCut()
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Measures by the document and by its pictures how well the director's cut of an exported\n"
        "package keeps the decisions that were made. Ends with 0 when the worst lies within two\n"
        "frames, half of them (of thirty at least) within half a frame, and none is missing, too "
        "much or on the wrong\n"
        "camera; with 1 when not, and with 2 when the files cannot be read."_s);
    parser.addOptions({
        {u"package"_s, u"Folder of the package, with its director-cut.fcpxml."_s, u"DIR"_s},
        {u"truth"_s, u"The truth.json of the take."_s, u"FILE"_s},
        {u"decisions"_s,
         u"What was decided, in order, by the scene's time (the command film tells it): JSON, "
         "[{\"kind\":\"CUT|FADE|MARK\",\"cameraId\":\"cam-b\",\"sceneSeconds\":12.3}, ...]"_s,
         u"FILE"_s},
        {u"pictures"_s, u"Gets a picture of both sides of each edge."_s, u"DIR"_s},
        {u"json"_s, u"Print the figures as JSON."_s},
    });
    if (!parse(parser, u"cut"_s))
        return done;
    const CutCheck check =
        checkCut({required(parser, u"package"_s), required(parser, u"truth"_s),
                  required(parser, u"decisions"_s), parser.value(u"pictures"_s)});
    print(stdout, parser.isSet(u"json"_s)
                      ? QString::fromUtf8(QJsonDocument(cutJson(check)).toJson())
                      : cutText(check));
    return check.isRight() ? done : failed;
}

std::optional<Endpoint> desktopEndpoint(const QString &text)
{
    if (text == u"none")
        return std::nullopt;
    const QHostAddress address(text.section(u':', 0, 0));
    bool isNumber = true;
    const quint16 port =
        text.contains(u':') ? text.section(u':', 1).toUShort(&isNumber) : statusPort;
    if (address.protocol() != QAbstractSocket::IPv4Protocol || !isNumber || port == 0)
        throw UsageError(u"--desktop must be such as 10.77.0.1 or 127.0.0.1:50000, or none."_s);
    return Endpoint{address, port};
}

PictureFormat formatOption(const QCommandLineParser &parser, const QString &option,
                           const QString &text)
{
    const std::optional<PictureFormat> format = pictureFormatFromText(text);
    if (!format)
        throw UsageError(u"--%1 must give from 64x64@1 to 4096x4096@120, not %2."_s.arg(
            option, parser.value(option)));
    return *format;
}

// One of the phones, or empty.
QString cameraOption(const QCommandLineParser &parser, const QString &option, int count)
{
    QStringList cameras{QString()};
    for (int index = 0; index < count; ++index)
        cameras += castMember(index).cameraId;
    if (!cameras.contains(parser.value(option)))
        throw UsageError(u"--%1 must name one of the phones, such as cam-a."_s.arg(option));
    return parser.value(option);
}

PhonesOptions phonesOptions(const QCommandLineParser &parser)
{
    PhonesOptions options;
    options.count = int(wholeNumber(parser, u"count"_s, 1, maximumCameras));
    options.address = QHostAddress(parser.value(u"address"_s));
    if (options.address.protocol() != QAbstractSocket::IPv4Protocol)
        throw UsageError(u"--address must be an IPv4 address."_s);
    options.port = quint16(wholeNumber(parser, u"port"_s, 0, 65'535));
    options.previewPort = quint16(wholeNumber(parser, u"preview-port"_s, 0, 65'535));
    options.desktop = desktopEndpoint(parser.value(u"desktop"_s));
    const std::optional<TransferHabit> transfer =
        transferHabitFromText(parser.value(u"transfer"_s));
    if (!transfer)
        throw UsageError(u"--transfer must be ask, approve, decline, pending or silent."_s);
    options.transfer = *transfer;
    options.seed = wholeNumber(parser, u"seed"_s, 0, 1'000'000'000);
    options.media.folder = parser.value(u"media"_s);
    options.media.clips = int(wholeNumber(parser, u"clips"_s, 0, 100'000));
    options.media.clipBytes = wholeNumber(parser, u"clip-bytes"_s, 1, qint64{1} << 40);
    options.media.unassignedOf = cameraOption(parser, u"unassigned"_s, options.count);
    options.wall = formatOption(parser, u"wall"_s, parser.value(u"wall"_s));
    options.selected =
        formatOption(parser, u"size"_s, parser.value(u"size"_s) + u'@' + parser.value(u"fps"_s));
    return options;
}

ExitCode runPhones()
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Puts phones on the network, each on an address of its own: status packets, previews of\n"
        "the scene, and in Transfer Mode their recordings. They are turned while they run by\n"
        "commands: on the terminal, on the control socket, or by a scenario, a file whose lines\n"
        "are commands with a time in front (+2.5 cam-a sleep). Says ready once all is open, and\n"
        "ends with the process that started it. Meant for the network of scripts/lab:\n"
        "nsenter --target $VORN_LAB_PHONES --net vorn-rig phones"_s);
    parser.addOptions({
        {u"count"_s, u"Phones, 1 to 16 (4)."_s, u"N"_s, u"4"_s},
        {u"address"_s, u"Of the first phone; the others have the next (10.77.0.11)."_s,
         u"ADDRESS"_s, u"10.77.0.11"_s},
        {u"desktop"_s, u"Gets each status by unicast too (10.77.0.1)."_s, u"ADDRESS[:PORT]|none"_s,
         u"10.77.0.1"_s},
        {u"control"_s, u"Path of the control socket."_s, u"PATH"_s},
        {u"scenario"_s, u"Commands with their times."_s, u"FILE"_s},
        {u"transfer"_s, u"ask, approve, decline, pending or silent (ask)."_s, u"HABIT"_s, u"ask"_s},
        {u"media"_s, u"A folder of vorn-rig take, or of several, for Transfer Mode."_s, u"DIR"_s},
        {u"clips"_s, u"Synthetic clips of each phone besides (0)."_s, u"N"_s, u"0"_s},
        {u"clip-bytes"_s, u"Size of each of them (4096)."_s, u"BYTES"_s, u"4096"_s},
        {u"unassigned"_s, u"The phone that has one more, of no project."_s, u"CAMERA"_s},
        {u"seed"_s, u"Decides which datagrams the faults hit (1)."_s, u"N"_s, u"1"_s},
        {u"size"_s, u"Of the selected preview (1280x720)."_s, u"WxH"_s, u"1280x720"_s},
        {u"fps"_s, u"Of the selected preview (30)."_s, u"RATE"_s, u"30"_s},
        {u"wall"_s, u"Of the wall's previews (640x360@12)."_s, u"WxH@RATE"_s, u"640x360@12"_s},
        {u"port"_s, u"UDP port of the phones; 0: any (45454)."_s, u"PORT"_s, u"45454"_s},
        {u"preview-port"_s, u"TCP port of the phones; 0: any (45455)."_s, u"PORT"_s, u"45455"_s},
    });
    if (!parse(parser, u"phones"_s,
               u"\nA command is one line, and so is its answer: ok, ok VALUE or error WORDS.\n"_s
                   + Phones::help()))
        return done;
    QObject owner;
    quitWithParent(&owner);
    Phones phones(phonesOptions(parser));
    const CommandHandler handler = [&phones](const QString &line) { return phones.command(line); };
    QObject::connect(&phones, &Phones::said,
                     [](const QString &text) { print(stdout, text + u'\n'); });
    std::optional<ControlSocket> control;
    if (parser.isSet(u"control"_s))
        control.emplace(parser.value(u"control"_s), handler);
    const TerminalControl terminal(handler);
    if (parser.isSet(u"scenario"_s))
        scheduleScenario(parser.value(u"scenario"_s), handler, &owner);
    print(stdout, u"ready\n"_s);
    QCoreApplication::exec();
    return done;
}

const QString usage = u"Usage: vorn-rig COMMAND [options]\n"
                      "  take   film a synthetic scene with several simulated phones\n"
                      "  sounds make recordings by which to measure what listens\n"
                      "  phones put simulated phones on the network, live\n"
                      "  check  measure the alignment of an exported package\n"
                      "  cut    measure the director's cut of an exported package\n"
                      "vorn-rig COMMAND --help tells more. Exit codes: 0 done, 1 failed or not\n"
                      "right, 2 wrong usage or unreadable input.\n"_s;

ExitCode run()
{
    const QString command = QCoreApplication::arguments().value(1);
    if (command == u"take")
        return runTake();
    if (command == u"sounds")
        return runSounds();
    if (command == u"phones")
        return runPhones();
    if (command == u"check" || command == u"cut")
        try {
            return command == u"cut" ? runCut() : runCheck();
        } catch (const std::exception &error) {
            print(stderr, u"vorn-rig: %1\n"_s.arg(QString::fromUtf8(error.what())));
            return badInput;
        }
    const bool wantsHelp = command == u"--help" || command == u"-h";
    print(wantsHelp ? stdout : stderr, usage);
    return wantsHelp ? done : badInput;
}

} // namespace

int main(int argc, char *argv[])
{
    // Fonts are needed, windows are not: works without a display.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    try {
        return run();
    } catch (const UsageError &error) {
        print(stderr, u"vorn-rig: %1\n"_s.arg(QString::fromUtf8(error.what())));
        return badInput;
    } catch (const std::exception &error) {
        print(stderr, u"vorn-rig: %1\n"_s.arg(QString::fromUtf8(error.what())));
        return failed;
    }
}
