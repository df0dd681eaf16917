// SPDX-License-Identifier: Apache-2.0

#include "movies/movie_take.h"

#include "base/files.h"
#include "base/json_text.h"
#include "drift/anchor_fit.h"
#include "drift/package_folder.h"
#include "library/record_json.h"
#include "library/safe_identifier.h"

#include <QFileInfo>

#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

constexpr auto manifestName = "manifest.json"_L1;
constexpr qsizetype longestName = 64;

/// Its first `length` UTF-16 units, or one less where that would be half a character.
QString beginning(const QString &text, qsizetype length)
{
    const bool isHalf = text.size() > length && text.at(length - 1).isHighSurrogate();
    return text.left(isHalf ? length - 1 : length).trimmed();
}

} // namespace

QString plainName(const QString &text)
{
    QString name;
    for (const char32_t point : text.toUcs4())
        name += QChar::isPrint(point) ? QString::fromUcs4(&point, 1) : u" "_s;
    return beginning(name.simplified(), longestName);
}

QString nameBeside(const QString &name, const QStringList &taken)
{
    QString candidate = name;
    for (int number = 2; taken.contains(candidate, Qt::CaseInsensitive); ++number) {
        const QString suffix = u' ' + QString::number(number);
        candidate = beginning(name, longestName - suffix.size()) + suffix;
    }
    return candidate;
}

QString cameraNameFor(const Movie &movie, const QStringList &taken)
{
    QString name = plainName(movie.device);
    if (name.isEmpty())
        name = plainName(QFileInfo(movie.path).completeBaseName());
    return nameBeside(name.isEmpty() ? u"Camera"_s : name, taken);
}

QString timelineRateText(double fps)
{
    // What headers round: a rate of whole milliseconds a frame, or a file of a few seconds.
    constexpr double tolerance = 1e-4;
    const auto isNear = [fps](double rate) { return std::abs(fps / rate - 1) < tolerance; };
    const double whole = std::max(1.0, std::round(fps));
    if (isNear(whole))
        return QString::number(qint64(whole));
    for (const int base : {24, 30, 48, 60, 120, 240}) {
        if (isNear(base * 1000 / 1001.0))
            return u"%1/1001"_s.arg(base * 1000);
    }
    return QString::number(fps, 'f', 3);
}

SourceManifest manifestOfMovies(const MovieTakePlace &place, const std::vector<MovieClip> &clips,
                                std::size_t reference)
{
    SourceManifest manifest;
    manifest.projectId = place.projectId;
    if (place.newProjectName) {
        manifest.projectName = place.newProjectName;
        manifest.projectRevision = 1;
    }
    manifest.takeId = place.takeId;
    manifest.referenceCameraId = clips[reference].cameraName;
    manifest.timelineFPS = timelineRateText(clips[reference].movie.fps);
    for (const MovieClip &clip : clips) {
        SourceClip source;
        source.cameraId = clip.cameraName;
        source.takeId = place.takeId;
        source.path = clip.movie.path;
        source.sha256 = clip.movie.sha256;
        source.anchors = clip.anchors;
        if (!clip.anchors.empty())
            source.anchorMeaning = DriftEngine::alignableMeaning.toString();
        if (!clip.movie.device.isEmpty())
            source.deviceName = clip.movie.device;
        manifest.clips.push_back(std::move(source));
    }
    return manifest;
}

QString writeMovieManifest(const SourceManifest &manifest, const QString &recordings)
{
    createFolders(recordings, FolderMode::followUmask);
    QString name = safeIdentifier(manifest.takeId);
    if (name.isEmpty())
        name = u"movies"_s;
    QString folder = recordings + u'/' + name;
    for (int number = 2; somethingExistsAt(folder); ++number)
        folder = recordings + u'/' + name + u'-' + QString::number(number);
    const std::array files{PackageFile{manifestName, jsonFromRecord(manifest)}};
    static constexpr std::array possibleNames{QLatin1StringView(manifestName)};
    try {
        writePackage(folder, files, possibleNames);
    } catch (const NotDurableError &) {
        removeFolderQuietly(folder);
        throw;
    }
    return folder + u'/' + manifestName;
}

} // namespace vorn
