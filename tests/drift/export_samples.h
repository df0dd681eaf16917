// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/digest.h"
#include "base/files.h"
#include "library/records.h"
#include "movies.h"

#include <QDir>
#include <QTemporaryDir>

#include <array>
#include <ctime>
#include <memory>

namespace vorn {

/// Movies of one take in a folder of their own, and an empty parent folder for packages.
class ExportSamples {
public:
    ExportSamples()
    {
        using namespace Qt::StringLiterals;
        makeMovie(movies(), u"wide.mov"_s, u"PICTURE:30 -f lavfi -i sine -t 10 X264"_s);
        makeMovie(movies(), u"level.mov"_s, u"PICTURE:25 -t 8 X264"_s);
        makeMovie(movies(), u"later.mov"_s, u"-i level.mov -c copy -metadata:s:v:0 rotate=90"_s);
        makeMovie(movies(), u"earlier.mov"_s, u"PICTURE:30 -f lavfi -i sine -t 12 X264"_s);
    }

    /// A new parent folder, empty.
    void renewParent() { m_parent = std::make_unique<QTemporaryDir>(); }

    [[nodiscard]] QString movies() const { return m_movies.path(); }
    [[nodiscard]] QString movie(const QString &name) const { return m_movies.filePath(name); }
    [[nodiscard]] QString parent() const { return m_parent->path(); }
    [[nodiscard]] QStringList inParent() const
    {
        return QDir(parent()).entryList(QDir::AllEntries | QDir::Hidden | QDir::System
                                        | QDir::NoDotAndDotDot);
    }

    [[nodiscard]] static VORNProject project()
    {
        return {.id = QStringLiteral("p/1"),
                .name = QStringLiteral("Night & \u6771\u4EAC"),
                .revision = 4,
                .takes = {}};
    }

    /// The reference, a camera that began 1.51 s later, and one that began 1 s earlier on a clock
    /// that runs 900 ppm slow.
    [[nodiscard]] VORNTake take() const
    {
        using namespace Qt::StringLiterals;
        VORNTake take;
        take.id = u"night/take"_s;
        take.projectNameAtCapture = u"Night"_s;
        take.projectRevisionAtCapture = 3;
        take.referenceCameraId = u"Wide"_s;
        take.timelineFPS = u"30/1"_s;
        take.clips = {clip(u"Wide"_s, u"wide.mov"_s), clip(u"Later"_s, u"later.mov"_s),
                      clip(u"Earlier"_s, u"earlier.mov"_s)};
        take.clips[0].anchorMeaning.reset(); // nobody asks the reference for anchors
        take.clips[1].anchors = anchorsOnLine(1.51, 1, 8);
        take.clips[2].anchors = anchorsOnLine(-1, 1.0009, 12);
        return take;
    }

private:
    [[nodiscard]] VORNClip clip(const QString &cameraId, const QString &fileName) const
    {
        using namespace Qt::StringLiterals;
        VORNClip clip;
        clip.id = u"clip of "_s + cameraId;
        clip.cameraId = cameraId;
        clip.fileName = fileName;
        clip.localPath = movie(fileName);
        clip.sha256 = sha256OfFile(movie(fileName));
        clip.anchorMeaning = u"same-event-reference-media-seconds"_s;
        clip.mediaKind = u"video"_s;
        clip.timingSidecarURL = u"timing.json"_s;
        clip.timingSidecarSHA256 = u"cd"_s;
        clip.deviceId = u"device"_s;
        clip.deviceName = u"Phone"_s;
        return clip;
    }

    /// One anchor a second on reference = offset + slope * source, where the reference camera runs.
    static std::vector<TimingAnchor> anchorsOnLine(double offset, double slope, int seconds)
    {
        std::vector<TimingAnchor> anchors;
        for (int second = 0; second <= seconds; ++second)
            if (const double reference = offset + slope * second; reference >= 0)
                anchors.push_back({double(second), reference, 0.9, 1.0});
        return anchors;
    }

    QTemporaryDir m_movies;
    std::unique_ptr<QTemporaryDir> m_parent;
};

/// A moment as a package's name gives it, by the C library.
inline QString localStamp(std::time_t time)
{
    std::tm parts = {};
    ::localtime_r(&time, &parts);
    std::array<char, 32> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y%m%d-%H%M%S", &parts);
    return QString::fromLatin1(text.data(), qsizetype(length));
}

} // namespace vorn
