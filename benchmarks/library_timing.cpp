// SPDX-License-Identifier: Apache-2.0

// Usage: library_timing FOLDER
// Loading and saving a large library, each beside plain reading or writing of the same bytes.

#include "base/files.h"
#include "paired.h"
#include "store/library_file.h"

#include <QTemporaryDir>

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

constexpr int projectCount = 20;
constexpr int takesInProject = 100;
constexpr int clipsInTake = 4;
constexpr int anchorsInClip = 10;
constexpr int rounds = 9;

VORNClip clipOf(const QString &takeId, int index)
{
    VORNClip clip;
    clip.id = u"%1::camera-%2"_s.arg(takeId).arg(index);
    clip.cameraId = u"camera-%1"_s.arg(index);
    clip.fileName = clip.cameraId + u".mov"_s;
    clip.localPath = u"/media/footage/%1/%2"_s.arg(takeId, clip.fileName);
    clip.sizeBytes = 1'234'567'890;
    clip.sha256 = QString(64, u'a');
    clip.anchorMeaning = u"same-event-reference-media-seconds"_s;
    for (int i = 0; i < anchorsInClip; ++i)
        clip.anchors.push_back({.sourceSeconds = i * 6.1234567,
                                .referenceSeconds = 0.25 + i * 6.1234789,
                                .confidence = 0.95,
                                .uncertaintyMs = 1.25});
    return clip;
}

VORNLibrary largeLibrary()
{
    VORNLibrary library;
    for (int p = 0; p < projectCount; ++p) {
        VORNProject project{.id = u"project-%1"_s.arg(p),
                            .name = u"Project %1"_s.arg(p),
                            .revision = 1,
                            .takes = {}};
        for (int t = 0; t < takesInProject; ++t) {
            VORNTake take;
            take.id = u"take-%1-%2"_s.arg(p).arg(t);
            take.referenceCameraId = u"camera-0"_s;
            for (int c = 0; c < clipsInTake; ++c)
                take.clips.push_back(clipOf(take.id, c));
            project.takes.push_back(take);
        }
        library.projects.push_back(project);
    }
    return library;
}

void writeAndFlush(const QString &path, const QByteArray &bytes)
{
    const FileDescriptor file(
        ::open(nativePath(path).constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (::write(file.get(), bytes.constData(), std::size_t(bytes.size())) != bytes.size()
        || ::fsync(file.get()) != 0)
        throw std::runtime_error("Cannot write the yardstick's file.");
}

void measure(const QString &folder)
{
    VORNLibrary library = largeLibrary();
    LibraryFile(folder).save(library);
    const QString path = folder + u"/library.json"_s;
    const QByteArray bytes = readFile(path, 1 << 30);
    const QString size = u"%1 takes, %2 MB"_s.arg(projectCount * takesInProject)
                             .arg(double(bytes.size()) / 1e6, 0, 'f', 1);

    const auto read = [&] { return secondsOf([&] { (void)readFile(path, 1 << 30); }); };
    const auto write = [&] {
        return secondsOf([&] { writeAndFlush(folder + u"/yardstick"_s, bytes); });
    };
    printRow(
        u"load of %1"_s.arg(size),
        pairedTimes(
            rounds, [&] { return secondsOf([&] { (void)LibraryFile(folder).load(); }); }, read),
        u"-"_s);
    printRow(u"first save of %1"_s.arg(size),
             pairedTimes(
                 rounds,
                 [&] {
                     LibraryFile fresh(folder);
                     return secondsOf([&] { fresh.save(library); });
                 },
                 write),
             u"-"_s);

    LibraryFile file(folder);
    file.save(library);
    int change = 0;
    printRow(u"save after a change, %1"_s.arg(size),
             pairedTimes(
                 rounds,
                 [&] {
                     library.projects[3].takes[7].referenceCameraId =
                         u"camera-%1"_s.arg(++change % clipsInTake);
                     return secondsOf([&] { file.save(library); });
                 },
                 write),
             u"-"_s);
}

} // namespace

int main(int argumentCount, char *arguments[])
{
    if (argumentCount != 2) {
        std::fprintf(stderr, "Usage: %s FOLDER\n", arguments[0]);
        return 2;
    }
    const QTemporaryDir folder(QString::fromLocal8Bit(arguments[1]) + u"/library-XXXXXX"_s);
    try {
        measure(folder.path());
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
