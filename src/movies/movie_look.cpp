// SPDX-License-Identifier: Apache-2.0

#include "movies/movie_look.h"

#include "base/files.h"
#include "drift/drift_error.h"
#include "drift/media_info.h"
#include "sound/sound_reader.h"

using namespace Qt::StringLiterals;

namespace vorn {

QString refusalOf(const ProbedMedia &media, const QString &path)
{
    if (media.audioTracks.empty())
        return u"It has no sound, so nothing says where it belongs."_s;
    if (media.audioTracks.size() > 1)
        return u"It has %1 sound tracks, and an export takes one. Keep one of them in a copy, and "
               "import that."_s.arg(media.audioTracks.size());
    if (media.durationSeconds > longestSoundSeconds)
        return u"It is longer than eight hours. Cut it, and import the part that you need."_s;
    if (media.videoTracks.size() == 1 && media.videoTracks.front().hasVariableRate)
        return u"Its frame rate varies, which a timeline cannot follow. Convert it to a constant "
               "rate, and import that."_s;
    try {
        (void)DriftEngine::mediaInfo(media, path);
    } catch (const DriftExportError &error) {
        return QString::fromUtf8(error.what());
    }
    return {};
}

Movie lookAtMovie(const QString &path, const ByteReport &report)
{
    Movie movie;
    movie.path = path;
    try {
        const ProbedMedia media = probeMedia(path);
        movie.refusal = refusalOf(media, path);
        if (!movie.refusal.isEmpty())
            return movie;
        movie.seconds = media.durationSeconds;
        movie.fps = double{media.videoTracks.front().nominalFrameRate};
        movie.device = filmingDevice(path);
        movie.sha256 = sha256OfFile(path, report);
    } catch (const FileError &error) {
        movie.refusal = QString::fromUtf8(error.what());
    } catch (const MediaProbeError &error) {
        movie.refusal = QString::fromUtf8(error.what());
    }
    return movie;
}

} // namespace vorn
