// SPDX-License-Identifier: Apache-2.0

// Usage: export_timing FOLDER [MEGABYTES]
// An export of four movies beside one run of "openssl dgst" over the same files, both from the page
// cache. The files have MEGABYTES each, or less where the disk or the memory does not hold them.

#include "base/digest.h"
#include "drift/export_package.h"
#include "drift/media_info.h"
#include "paired.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QStorageInfo>
#include <QTemporaryDir>
#include <QtEndian>

#include <cstdio>
#include <stdexcept>

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

constexpr int clipCount = 4;
constexpr int rounds = 7;
constexpr std::int64_t megabyte = 1'000'000;
constexpr double mebibyte = 1024.0 * 1024.0;

void run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, arguments);
    if (!process.waitForFinished(-1) || process.exitCode() != 0)
        throw std::runtime_error(program.toStdString() + " failed.");
}

/// One line of a file of /proc, "MemAvailable:   1234 kB", in bytes.
std::int64_t procBytes(const QString &path, const QByteArray &field)
{
    QFile file(path);
    if (file.open(QIODevice::ReadOnly)) {
        for (const QByteArray &line : file.readAll().split('\n')) {
            if (line.startsWith(field + ':'))
                return line.simplified().split(' ').value(1).toLongLong() * 1024;
        }
    }
    throw std::runtime_error("The system does not tell its memory.");
}

/// The wanted size of a file, halved until all of them fit with a gigabyte to spare.
std::int64_t affordableBytes(std::int64_t wanted, const QString &folder)
{
    const std::int64_t room = std::min(procBytes(u"/proc/meminfo"_s, "MemAvailable"),
                                       std::int64_t(QStorageInfo(folder).bytesAvailable()));
    std::int64_t bytes = wanted;
    while (bytes > megabyte && clipCount * bytes > room - 1000 * megabyte)
        bytes /= 2;
    if (bytes != wanted)
        std::fprintf(stderr, "Files of %lld MB only: more does not fit here.\n",
                     static_cast<long long>(bytes / megabyte));
    return bytes;
}

/// Appends a box of no meaning (ISO/IEC 14496-12 8.1.2) so that the movie has `size` bytes.
void padMovie(const QString &path, std::int64_t size, quint32 seed)
{
    QFile file(path);
    if (!file.open(QIODevice::Append))
        throw std::runtime_error("Cannot pad a movie.");
    std::int64_t left = size - file.size();
    if (left < 8)
        return;
    QByteArray header(8, '\0');
    qToBigEndian(quint32(left), header.data());
    header.replace(4, 4, "free");
    file.write(header);
    left -= header.size();
    std::vector<quint32> block(1 << 20);
    QRandomGenerator random(seed);
    random.fillRange(block.data(), qsizetype(block.size()));
    for (; left > 0; ++block.front()) {
        const std::int64_t count = std::min(left, std::int64_t(block.size() * sizeof(quint32)));
        if (file.write(reinterpret_cast<const char *>(block.data()), count) != count)
            throw std::runtime_error("Cannot pad a movie.");
        left -= count;
    }
}

VORNClip clipOf(const QString &path, int index)
{
    VORNClip clip;
    clip.id = u"clip-%1"_s.arg(index);
    clip.cameraId = u"camera-%1"_s.arg(index);
    clip.fileName = QFileInfo(path).fileName();
    clip.localPath = path;
    clip.sha256 = sha256OfFile(path);
    clip.anchorMeaning = u"same-event-reference-media-seconds"_s;
    const double duration = probeMedia(path).durationSeconds;
    for (int i = 0; i < 10; ++i) {
        const double source = duration * (i + 0.5) / 10;
        clip.anchors.push_back({.sourceSeconds = source,
                                .referenceSeconds = source + index * 0.1,
                                .confidence = 0.95,
                                .uncertaintyMs = 1});
    }
    return clip;
}

VORNTake makeTake(const QString &folder, std::int64_t bytes)
{
    VORNTake take;
    take.id = u"take"_s;
    take.referenceCameraId = u"camera-0"_s;
    const QString movie = folder + u"/movie.mov"_s;
    run(u"ffmpeg"_s, u"-v error -f lavfi -i testsrc2=size=1280x720:rate=30 -f lavfi -i sine -t 4 "
                     "-c:v mpeg4 -pix_fmt yuv420p -c:a aac"_s.split(u' ')
                         << movie);
    for (int index = 0; index < clipCount; ++index) {
        const QString path = folder + u"/camera-%1.mov"_s.arg(index);
        QFile::copy(movie, path);
        padMovie(path, bytes, quint32(index));
        take.clips.push_back(clipOf(path, index));
    }
    return take;
}

void measure(const QString &folder, std::int64_t bytes)
{
    const std::int64_t idle = procBytes(u"/proc/self/status"_s, "VmRSS");
    const VORNTake take = makeTake(folder, bytes);
    VORNProject project;
    project.id = u"project"_s;
    project.name = u"Project"_s;
    project.takes = {take};
    QStringList arguments{u"dgst"_s, u"-sha256"_s};
    for (const VORNClip &clip : take.clips)
        arguments << clip.localPath.value_or(QString());

    // A folder for each package: two of one second would have the same name.
    int packages = 0;
    const auto exportTake = [&] {
        const QString parent = folder + u"/%1"_s.arg(++packages);
        QDir().mkdir(parent);
        return secondsOf([&] { (void)DriftEngine::exportPackage(project, take, parent); });
    };
    const auto digest = [&] { return secondsOf([&] { run(u"openssl"_s, arguments); }); };

    QFile peak(u"/proc/self/clear_refs"_s);
    if (!peak.open(QIODevice::WriteOnly | QIODevice::Unbuffered) || peak.write("5") != 1)
        throw std::runtime_error("The system does not measure peaks of memory.");
    exportTake();
    const std::int64_t used = procBytes(u"/proc/self/status"_s, "VmHWM") - idle;

    const QString size = u"4 files of %1 MB"_s.arg(bytes / megabyte);
    printRow(u"export of %1"_s.arg(size), pairedTimes(rounds, exportTake, digest), u"<= 1.05"_s);
    printRow(u"memory of that export"_s, u"%1 MiB"_s.arg(double(used) / mebibyte, 0, 'f', 1),
             u"-"_s, u"-"_s, u"<= 40 MiB"_s);
}

} // namespace

int main(int argumentCount, char *arguments[])
{
    if (argumentCount < 2 || argumentCount > 3) {
        std::fprintf(stderr, "Usage: %s FOLDER [MEGABYTES]\n", arguments[0]);
        return 2;
    }
    const QTemporaryDir folder(QString::fromLocal8Bit(arguments[1]) + u"/export-XXXXXX"_s);
    const std::int64_t wanted = argumentCount == 3 ? QByteArray(arguments[2]).toLongLong() : 1000;
    try {
        measure(folder.path(), affordableBytes(wanted * megabyte, folder.path()));
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
