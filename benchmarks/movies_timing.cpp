// SPDX-License-Identifier: Apache-2.0

// Usage: movies_timing FOLDER
// What movies from anywhere cost, over a take that vorn-rig has made: reading and listening until
// all are aligned, two at a time as the program does, beside decoding alone; the memory that takes;
// and what checking the take's export costs beyond reading its bytes. Then how far the alignments
// are from the truth, at head, middle and tail.

#include "base/files.h"
#include "base/json_text.h"
#include "drift/anchor_fit.h"
#include "drift/export_check.h"
#include "library/manifest_import.h"
#include "movies/movie_alignment.h"
#include "paired.h"
#include "rig/base/ffmpeg.h"
#include "rig/base/two_at_once.h"
#include "sound/sound_reader.h"
#include "store/export_listening.h"

#include <QJsonArray>
#include <QStringList>

#include <sys/resource.h>

#include <cstdio>
#include <stdexcept>

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

constexpr std::int64_t maximumTruthBytes = 1 << 24;

/// What the rig knows of one camera.
struct Filmed {
    QString path;
    double offsetSeconds = 0; ///< scene second of its first picture
    double rate = 1;          ///< scene seconds in a second of its own
    double delaySeconds = 0;  ///< of the sound, by distance

    /// Scene second of what it hears.
    [[nodiscard]] double madeAt(double heardAt) const
    {
        return offsetSeconds + rate * heardAt - delaySeconds;
    }
    [[nodiscard]] double heardAt(double madeAt) const
    {
        return (madeAt + delaySeconds - offsetSeconds) / rate;
    }
};

std::vector<Filmed> filmedIn(const QString &folder)
{
    const QString path = folder + u"/truth.json"_s;
    std::vector<Filmed> filmed;
    for (const auto &value :
         parseJsonObject(readFile(path, maximumTruthBytes), path)[u"cameras"_s].toArray()) {
        const QJsonObject camera = value.toObject();
        filmed.push_back({folder + u'/' + camera[u"file"_s].toString(),
                          camera[u"offsetSeconds"_s].toDouble(),
                          1 + camera[u"driftPPM"_s].toDouble() / 1e6,
                          camera[u"sound"_s].toObject()[u"soundDelaySeconds"_s].toDouble()});
    }
    return filmed;
}

struct Imported {
    std::vector<HeardMovie> movies;
    std::vector<AlignmentOrWhyNot> alignments; ///< of all but the first
};

Imported import(const std::vector<Filmed> &filmed)
{
    const auto notTold = [](double) {};
    Imported imported;
    imported.movies.resize(filmed.size());
    imported.alignments.resize(filmed.size() - 1);
    rig::twoAtOnce(filmed.size(), [&](std::size_t index) {
        const Movie movie = lookAtMovie(filmed[index].path, {});
        if (!movie.refusal.isEmpty())
            throw std::runtime_error(movie.refusal.toStdString());
        imported.movies[index] = hearMovie(movie, {}, notTold);
    });
    rig::twoAtOnce(imported.alignments.size(), [&](std::size_t index) {
        imported.alignments[index] =
            alignMovies(imported.movies[0], imported.movies[index + 1], {}, notTold);
    });
    return imported;
}

void decode(const std::vector<Filmed> &filmed)
{
    rig::twoAtOnce(filmed.size(), [&](std::size_t index) {
        rig::Ffmpeg(u"decode"_s,
                    {u"-i"_s, filmed[index].path, u"-map"_s, u"0:a"_s, u"-f"_s, u"null"_s, u"-"_s})
            .finish();
    });
}

void printErrors(const std::vector<Filmed> &filmed, const Imported &imported)
{
    for (std::size_t index = 1; index < filmed.size(); ++index) {
        const QString name = filmed[index].path.section(u'/', -1);
        if (const auto *reason = std::get_if<QString>(&imported.alignments[index - 1])) {
            printRow(name, *reason, {}, {}, {});
            continue;
        }
        const auto &alignment = std::get<MovieAlignment>(imported.alignments[index - 1]);
        const double seconds = imported.movies[index].movie.seconds;
        const DriftCorrection line = DriftEngine::fit(alignment.anchors, seconds);
        QStringList errors;
        for (const double at : {0.0, seconds / 2, seconds}) {
            const double laid = line.offsetSeconds + line.referenceSecondsPerSourceSecond * at;
            const double truth = filmed[0].heardAt(filmed[index].madeAt(at));
            errors += QString::number((laid - truth) * 1000, 'f', 3);
        }
        const double rate = filmed[index].rate / filmed[0].rate;
        printRow(name + u": off at head, middle, tail; drift"_s, errors.join(u", "_s) + u" ms"_s,
                 QString::number((line.referenceSecondsPerSourceSecond - rate) * 1e6, 'f', 2)
                     + u" ppm"_s,
                 u"-"_s, u"2 ms, 2 ppm"_s);
    }
}

double mebibytes(int who)
{
    rusage usage{};
    getrusage(who, &usage);
    return double(usage.ru_maxrss) / 1024;
}

QString inSeconds(double seconds)
{
    return QString::number(seconds, 'f', 1) + u" s"_s;
}

void measure(const QString &folder)
{
    const std::vector<Filmed> filmed = filmedIn(folder);
    // Before ours grows: what a process takes before it becomes another program counts as its own.
    readSound(filmed[0].path, {.startSeconds = 0, .seconds = longestSoundSeconds}, {}, [](auto) {});
    const double readers = 2 * mebibytes(RUSAGE_CHILDREN);
    Imported imported;
    const double importing = secondsOf([&] { imported = import(filmed); });
    const double ours = mebibytes(RUSAGE_SELF);
    const double decoding = secondsOf([&] { decode(filmed); });
    printRow(u"movies to alignments, decoding"_s, inSeconds(importing), inSeconds(decoding),
             QString::number(importing / decoding, 'f', 2), u"60 s"_s);
    printRow(u"memory of that, ours and two readers"_s, QString::number(ours, 'f', 0) + u" MiB"_s,
             QString::number(readers, 'f', 0) + u" MiB"_s, u"-"_s, u"300 MiB in all"_s);

    const QString path = folder + u"/manifest.json"_s;
    const ImportedTake taken = importedTake(readSourceManifest(path), path, VORNLibrary());
    ExportCheck check;
    const double checking = secondsOf(
        [&] { check = DriftEngine::checkExport(taken.project, taken.project.takes.front(), {}); });
    const double listening = secondsOf([&] { listenToExport(check, {}, {}); });
    printRow(u"check of that take, without and with ears"_s, inSeconds(listening),
             inSeconds(checking), u"-"_s, u"15 s"_s);
    for (const ExportFinding &finding : check.findings)
        std::fprintf(stderr, "%s\n", qPrintable(finding.sentence));
    printErrors(filmed, imported);
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc != 2) {
        std::fputs("Usage: movies_timing FOLDER\n", stderr);
        return 2;
    }
    try {
        measure(QString::fromLocal8Bit(argv[1]));
    } catch (const std::exception &error) {
        std::fprintf(stderr, "movies_timing: %s\n", error.what());
        return 1;
    }
}
