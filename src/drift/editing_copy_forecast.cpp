// SPDX-License-Identifier: Apache-2.0

#include "drift/editing_copy_forecast.h"

#include "base/byte_sum.h"
#include "base/confined_process.h"
#include "base/files.h"
#include "drift/drift_error.h"
#include "drift/editing_copy.h"
#include "media/media_probe.h"

#include <QDir>
#include <QElapsedTimer>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

constexpr qint64 longestMeasureMs = 2'000;
/// A short recording is no measure of a long one's length, but all there is.
constexpr auto measuredPictures = "60"_L1;

/// What the work on a recording grows with.
double workOf(const EditingCopySource &source)
{
    return double(source.timing.pictures.size()) * source.timing.codedWidth
           * source.timing.codedHeight;
}

/// Seconds for one picture of this recording, by coding its beginning into nothing.
double measuredSeconds(const EditingCopySource &source, const std::stop_token &stop)
{
    QElapsedTimer clock;
    clock.start();
    ConfinedProcess process(EditingCopy::maker(),
                            EditingCopy::codingArguments(source)
                                << u"-frames:v"_s << measuredPictures << u"-f"_s << u"null"_s
                                << u"-"_s,
                            {.memoryBytes = EditingCopy::maximumMemoryBytes,
                             .processorSeconds = longestMeasureMs,
                             .fileBytes = 0});
    QByteArray progress;
    double seconds = 0;
    while (!process.isOver() && !stop.stop_requested() && !clock.hasExpired(longestMeasureMs)) {
        const QByteArray come = process.read();
        progress += come;
        if (!come.isEmpty())
            seconds = double(clock.elapsed()) / 1'000;
    }
    const auto pictures = EditingCopy::lastNumber(progress, "frame").value_or(0);
    // Where none came in time it takes that long at least.
    return pictures > 0 ? seconds / double(pictures) : double(longestMeasureMs) / 1'000;
}

} // namespace

EditingCopyForecast EditingCopy::forecast(const VORNTake &take, const std::stop_token &stop)
{
    (void)maker();
    std::vector<EditingCopySource> sources;
    for (const VORNClip &clip : take.clips) {
        if (!clip.localPath || !fileExists(*clip.localPath))
            throw DriftExportError::missing(
                u"What the copies take is known when all recordings are on this computer."_s);
        const QString path = QDir::current().absoluteFilePath(*clip.localPath);
        sources.push_back(
            source(clip.cameraId, path, DriftEngine::mediaInfo(probeMedia(path), path)));
    }
    EditingCopyForecast forecast;
    double work = 0;
    for (const EditingCopySource &each : sources) {
        forecast.bytes = byteSum(forecast.bytes, each.bytes);
        work += workOf(each);
    }
    if (work > 0) {
        const double pictures =
            work * double(sources.front().timing.pictures.size()) / workOf(sources.front());
        forecast.seconds = pictures * measuredSeconds(sources.front(), stop);
    }
    return forecast;
}

} // namespace vorn
