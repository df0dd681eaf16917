// vorn-rig: simulated phones for tests and demonstrations.

#include "platform/json_text.h"
#include "rig/check.h"
#include "rig/rig_error.h"
#include "rig/take.h"

#include <QCommandLineParser>
#include <QGuiApplication>

#include <cmath>
#include <cstdio>
#include <exception>

namespace {

using namespace Qt::StringLiterals;
using namespace vorn;
using namespace vorn::rig;

enum ExitCode { done = 0, failed = 1, badInput = 2 };

/// The command line asks for what there is not.
class UsageError : public RigError {
public:
    using RigError::RigError;
};

void print(std::FILE *stream, const QString &text)
{
    std::fputs(text.toUtf8().constData(), stream);
    std::fflush(stream);
}

// Parses the arguments of one command. Gives false when help was asked for, and printed.
bool parse(QCommandLineParser &parser, const QString &command)
{
    parser.addPositionalArgument(command, QString(), command);
    const QCommandLineOption help({u"h"_s, u"help"_s}, u"Show this text."_s);
    parser.addOption(help);
    if (!parser.parse(QCoreApplication::arguments()))
        throw UsageError(parser.errorText());
    if (parser.isSet(help)) {
        print(stdout, parser.helpText());
        return false;
    }
    if (parser.positionalArguments().size() != 1)
        throw UsageError(u"Unexpected argument %1."_s.arg(parser.positionalArguments().at(1)));
    return true;
}

qint64 wholeNumber(const QCommandLineParser &parser, const QString &option, qint64 least,
                   qint64 most)
{
    bool isNumber = false;
    const qint64 value = parser.value(option).toLongLong(&isNumber);
    if (!isNumber || value < least || value > most)
        throw UsageError(
            u"--%1 must be a whole number from %2 to %3."_s.arg(option).arg(least).arg(most));
    return value;
}

QString required(const QCommandLineParser &parser, const QString &option)
{
    const QString value = parser.value(option);
    if (value.isEmpty())
        throw UsageError(u"--%1 is missing."_s.arg(option));
    return value;
}

QString movieText(const PhonePlan &phone)
{
    return u"%1  %2  %3 x %4, %5 fps, starts %6 s, drifts %7 ppm\n"_s
        .arg(phone.fileName, castMember(phone.castIndex).deviceName)
        .arg(phone.displaySize.width())
        .arg(phone.displaySize.height())
        .arg(phone.rate.perSecond(), 0, 'g', 4)
        .arg(phone.offsetSeconds, 0, 'f', 3)
        .arg(phone.driftPPM, 0, 'f', 1);
}

ExitCode runTake()
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Films one synthetic scene with several phones, each with its own start and its own "
        u"clock.\n"
        "Writes their movies, the source manifest (manifest.json) and what only the rig knows\n"
        "(truth.json). The same options give the same files."_s);
    parser.addOptions({
        {u"out"_s, u"Folder for the take; must be empty or not exist."_s, u"DIR"_s},
        {u"cameras"_s, u"Phones, 1 to 16 (4)."_s, u"N"_s, u"4"_s},
        {u"seconds"_s, u"Length of the take, 4 to 3600 (20)."_s, u"S"_s, u"20"_s},
        {u"fps"_s, u"Frame rate, 10 to 120, or such as 30000/1001 (30)."_s, u"RATE"_s, u"30"_s},
        {u"seed"_s, u"Chooses starts, drifts and noise (1)."_s, u"N"_s, u"1"_s},
    });
    if (!parse(parser, u"take"_s))
        return done;
    const QString folder = required(parser, u"out"_s);
    TakeOptions options;
    options.cameras = int(wholeNumber(parser, u"cameras"_s, 1, maximumCameras));
    options.seconds = int(wholeNumber(parser, u"seconds"_s, 4, 3600));
    options.seed = wholeNumber(parser, u"seed"_s, 0, std::numeric_limits<qint64>::max());
    const std::optional<FrameRate> fps = frameRateFromText(parser.value(u"fps"_s));
    if (!fps)
        throw UsageError(u"--fps must be from 10 to 120, or such as 30000/1001."_s);
    options.fps = *fps;
    const TakePlan plan =
        makeTake(options, folder, [](const PhonePlan &phone) { print(stdout, movieText(phone)); });
    print(stdout,
          u"%1 of %2 phones is in %3\n"_s.arg(plan.takeId).arg(plan.phones.size()).arg(folder));
    return done;
}

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
        {u"json"_s, u"Print the figures as JSON."_s},
    });
    if (!parse(parser, u"check"_s))
        return done;
    const AlignmentCheck check =
        checkAlignment(required(parser, u"package"_s), required(parser, u"truth"_s));
    print(stdout, parser.isSet(u"json"_s) ? QString::fromUtf8(prettyJson(alignmentJson(check)))
                                          : alignmentText(check));
    return check.isWithinOneFrame() ? done : failed;
}

const QString usage = u"Usage: vorn-rig COMMAND [options]\n"
                      "  take   film a synthetic scene with several simulated phones\n"
                      "  check  measure the alignment of an exported package\n"
                      "vorn-rig COMMAND --help tells more. Exit codes: 0 done, 1 failed or not\n"
                      "aligned, 2 wrong usage or unreadable input.\n"_s;

ExitCode run()
{
    const QString command = QCoreApplication::arguments().value(1);
    if (command == u"take")
        return runTake();
    if (command == u"check")
        try {
            return runCheck();
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
