// SPDX-License-Identifier: Apache-2.0

#include "store/recording_check.h"

#include "base/byte_sum.h"
#include "base/files.h"
#include "transfer/transfer_protocol.h"

#include <QDir>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

// Where disks that come and go have their folders (Filesystem Hierarchy Standard 3.0, 3.11, 3.12),
// and where desktops mount them.
constexpr std::array diskFolders{"/media"_L1, "/mnt"_L1, "/run/media"_L1};

std::optional<dev_t> deviceOf(const QString &path)
{
    struct stat status = {};
    if (::stat(nativePath(path).constData(), &status) != 0)
        return std::nullopt;
    return status.st_dev;
}

/// The first part of `path`, behind links, that is not there. Only for a path that leads nowhere.
QString missingPart(QString path)
{
    constexpr int mostLinks = 40; // as many as the system follows
    for (int links = 0; links < mostLinks; ++links) {
        qsizetype end = path.indexOf(u'/', 1);
        while (end >= 0 && fileExists(path.first(end)))
            end = path.indexOf(u'/', end + 1);
        const QString part = end < 0 ? path : path.first(end);
        const QFileInfo info(part);
        if (!info.isSymLink())
            return part;
        path = resolvedPath(folderOf(part), info.symLinkTarget()) + path.sliced(part.size());
    }
    return path;
}

/// True when `missing` lies where disks are mounted, and what is there of its path is no disk.
bool isOfAbsentDisk(const QString &missing)
{
    return std::ranges::any_of(diskFolders, [&](QLatin1StringView folder) {
        return (missing + u'/').startsWith(folder + u'/')
               && deviceOf(folderOf(missing)) == deviceOf(folderOf(folder));
    });
}

/// Why nothing is there; empty when something is, or when that cannot be told.
QString absenceOf(const QString &path)
{
    struct stat status = {};
    if (::stat(nativePath(path).constData(), &status) == 0 || errno != ENOENT)
        return {};
    const QString missing = missingPart(path);
    return isOfAbsentDisk(missing) ? u"The disk that %1 lies on is not connected."_s.arg(missing)
                                   : u"%1 is not there."_s.arg(missing);
}

/// What was written is on the disk, as far as it can be.
void flushAsFarAsPossible(const FileDescriptor &file, const QString &path)
{
    // A file system that cannot flush a file, or is read-only, has its own ways; an error of the
    // disk means that the file is not what was read.
    if (::fsync(file.get()) != 0 && errno != EINVAL && errno != EROFS && errno != ENOTSUP
        && errno != ENOSYS)
        throw FileError(u"Cannot read"_s, path, errno);
}

/// Empty when the file is what the library says it is.
QString faultOf(const VORNClip &clip, const QString &digest, const ByteReport &report)
{
    const QString path = localPathOf(clip);
    if (const QString absence = absenceOf(path); !absence.isEmpty())
        return absence;
    const FileDescriptor file = openRegularFile(path);
    const std::int64_t bytes = fileSize(file, path);
    if (clip.sizeBytes && bytes != *clip.sizeBytes)
        return u"%1 has %2 bytes instead of %3."_s.arg(path, QString::number(bytes),
                                                       QString::number(*clip.sizeBytes));
    if (digest.isEmpty())
        return {};
    flushAsFarAsPossible(file, path);
    if (sha256OnDisk(path, report) != digest)
        return u"%1 has changed: its checksum is another one."_s.arg(path);
    return {};
}

RecordingCheck checkOf(const VORNClip &clip, const ByteReport &report)
{
    using State = RecordingCheck::State;
    const QString digest = knownDigest(clip);
    QString sentence;
    try {
        sentence = faultOf(clip, digest, report);
    } catch (const FileError &error) {
        sentence = QString::fromUtf8(error.what());
    }
    if (!sentence.isEmpty())
        return {clip.id, clip.cameraId, State::fault, sentence};
    if (digest.isEmpty())
        return {clip.id, clip.cameraId, State::incomparable,
                u"No checksum of it is known: there is nothing to compare with."_s};
    return {clip.id, clip.cameraId, State::matches, {}};
}

} // namespace

QList<VORNClip> localClips(const VORNTake &take)
{
    QList<VORNClip> clips;
    std::ranges::copy_if(take.clips, std::back_inserter(clips), isLocal);
    return clips;
}

QString localPathOf(const VORNClip &clip)
{
    const QString path = clip.localPath.value_or(QString());
    return path.startsWith(u'/') ? path : QDir::currentPath() + u'/' + path;
}

QString knownDigest(const VORNClip &clip)
{
    return TransferProtocol::isValidSHA256(clip.sha256)
               ? TransferProtocol::normalizedSHA256(clip.sha256)
               : QString();
}

void readInTurn(const QString &takeId, const QList<VORNClip> &clips, const CheckReport &report,
                const std::function<void(const VORNClip &, const ByteReport &)> &work)
{
    CheckProgress progress;
    progress.takeId = takeId;
    progress.clipCount = std::size_t(clips.size());
    std::vector<std::int64_t> sizes;
    for (const VORNClip &clip : clips) {
        sizes.push_back(QFileInfo(localPathOf(clip)).size()); // 0 for what is not there
        progress.totalBytes = byteSum(progress.totalBytes, sizes.back());
    }
    for (const std::int64_t size : sizes) {
        const VORNClip &clip = clips[qsizetype(progress.clipIndex)];
        const std::int64_t before = progress.completedBytes;
        progress.cameraId = clip.cameraId;
        report(progress);
        work(clip, [&](std::int64_t bytes) {
            progress.completedBytes = byteSum(before, bytes);
            report(progress);
        });
        progress.totalBytes += progress.completedBytes - before - size;
        progress.clipIndex += 1;
    }
}

std::vector<RecordingCheck> checkRecordings(const VORNTake &take, const CheckReport &report)
{
    std::vector<RecordingCheck> checks;
    readInTurn(take.id, localClips(take), report,
               [&](const VORNClip &clip, const ByteReport &onBytes) {
                   checks.push_back(checkOf(clip, onBytes));
               });
    return checks;
}

bool hasFault(const std::vector<RecordingCheck> &checks)
{
    return std::ranges::count(checks, RecordingCheck::State::fault, &RecordingCheck::state) > 0;
}

QString summaryOf(const VORNTake &take, const std::vector<RecordingCheck> &checks)
{
    using enum RecordingCheck::State;
    const auto count = [&](RecordingCheck::State state) {
        return std::ranges::count(checks, state, &RecordingCheck::state);
    };
    QString text =
        u"Verified take %1. Matching: %2."_s.arg(take.id, QString::number(count(matches)));
    QStringList cameras;
    for (const RecordingCheck &check : checks) {
        if (check.state == fault)
            cameras += check.cameraId;
    }
    if (!cameras.isEmpty())
        text += u" Failed: %1 (%2)."_s.arg(QString::number(cameras.size()), cameras.join(u", "_s));
    if (count(incomparable) > 0)
        text += u" Without a checksum to compare with: %1."_s.arg(count(incomparable));
    if (const auto absent = take.clips.size() - qsizetype(checks.size()); absent > 0)
        text += u" Not on this computer: %1."_s.arg(absent);
    return text;
}

} // namespace vorn
