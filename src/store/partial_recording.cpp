// SPDX-License-Identifier: Apache-2.0

#include "store/partial_recording.h"

#include "library/safe_identifier.h"

#include <QUuid>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <optional>
#include <span>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

// What a power cut may cost of a long download.
constexpr std::int64_t bytesBetweenFlushes = 64 << 20;

// Of one write. Larger ones make some kernels cache the file in large pieces of memory that is
// cold: measured on Linux 6.18 with ext4, 8 MiB at once cost three times the processor time.
constexpr qsizetype bytesOfWrite = 64 << 10;

constexpr QLatin1String partialSuffix(".part");

FileError notOurs(const QString &path)
{
    return FileError(u"%1 is not a file that VORN made; move it before retrying."_s.arg(path));
}

/// Bytes that a file's name may have in `folder`.
qsizetype longestName(const QString &folder)
{
    // Absent while there is no folder. Some file systems count letters and claim more than they do.
    const long bytes = ::pathconf(nativePath(folder).constData(), _PC_NAME_MAX);
    return bytes > 0 ? std::min<long>(bytes, NAME_MAX) : NAME_MAX;
}

QString partialPath(const QString &destination)
{
    const QString name = fileNameOf(destination);
    const QByteArray native = nativePath(name);
    const QString folder = destination.chopped(name.size());
    if (native.size() + partialSuffix.size() <= longestName(folder))
        return destination + partialSuffix;
    // With the ending twice it is no other recording's: none may be called "<digest>.part".
    Sha256 digest;
    digest.add(std::as_bytes(std::span(native)));
    return folder + digest.finish() + partialSuffix + partialSuffix;
}

FileDescriptor openPartial(const QString &path, int moreFlags)
{
    // Non-blocking: opening a FIFO would otherwise wait for a reader.
    constexpr int flags = O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    constexpr mode_t mode = 0666; // less the umask
    return FileDescriptor(::open(nativePath(path).constData(), flags | moreFlags, mode));
}

struct stat statusOf(const FileDescriptor &file, const QString &path)
{
    struct stat status = {};
    if (::fstat(file.get(), &status) != 0)
        throw FileError(u"Cannot write"_s, path, errno);
    return status;
}

/// Who owns what this program makes in `folder`: not always its user, since some shares give all
/// files to one owner.
std::optional<uid_t> ownerOfNewFiles(const QString &folder)
{
    const QString path =
        folder + QUuid::createUuid().toString(QUuid::Id128) + partialSuffix; // nobody's
    const FileDescriptor file = openPartial(path, O_CREAT | O_EXCL);
    if (!file.isOpen())
        return std::nullopt;
    ::unlink(nativePath(path).constData());
    return statusOf(file, path).st_uid;
}

/// Opens the file, made if need be. Throws FileError for one that was there and is not this
/// program's: what is behind a link, or has a second name, or another user may still write to.
FileDescriptor openedPartial(const QString &path)
{
    FileDescriptor made = openPartial(path, O_CREAT | O_EXCL);
    if (made.isOpen())
        return made;
    if (errno != EEXIST)
        throw FileError(u"Cannot write"_s, path, errno);
    FileDescriptor found = openPartial(path, 0);
    if (!found.isOpen())
        throw FileError(u"Cannot write"_s, path, errno);
    const struct stat status = statusOf(found, path);
    const QString folder = path.chopped(fileNameOf(path).size());
    if (!S_ISREG(status.st_mode) || status.st_nlink > 1
        || (status.st_uid != ::geteuid() && status.st_uid != ownerOfNewFiles(folder)))
        throw notOurs(path);
    return found;
}

void flushFile(const FileDescriptor &file, const QString &path)
{
    if (::fsync(file.get()) != 0)
        throw FileError(u"Cannot write"_s, path, errno);
}

} // namespace

QString recordingPath(const QString &recordingsFolder, const QString &projectId,
                      const QString &takeId, const VORNClip &clip)
{
    if (clip.fileName.isEmpty() || clip.fileName.contains(u'/') || clip.fileName == u"."
        || clip.fileName == u"..")
        throw FileError(u"%1 is no file name."_s.arg(clip.fileName));
    // Another recording's partial file could be this one.
    if (clip.fileName.endsWith(partialSuffix))
        throw FileError(u"%1 is the name of an unfinished download."_s.arg(clip.fileName));
    QString path = recordingsFolder;
    for (const QString &id : {projectId, takeId, clip.cameraId, clip.id})
        path += u'/' + safeIdentifier(id);
    return path + u'/' + clip.fileName;
}

bool isRecordingThere(const QString &destination, const QString &sha256, const ByteReport &report)
{
    struct stat status = {};
    if (::lstat(nativePath(destination).constData(), &status) != 0) {
        if (errno == ENOENT)
            return false;
        throw FileError(u"Cannot open"_s, destination, errno);
    }
    if (!S_ISREG(status.st_mode))
        throw notOurs(destination);
    // Who moved it there may have ended before it was on the disk.
    flushFile(openRegularFile(destination), destination);
    if (sha256OnDisk(destination, report).compare(sha256, Qt::CaseInsensitive) != 0)
        throw FileError(u"Existing destination hash differs; move it before retrying."_s);
    flushFolder(openParentFolder(destination, u"Cannot write"_s), destination);
    return true;
}

std::int64_t partialBytes(const QString &destination)
{
    struct stat status = {};
    const bool isThere = ::lstat(nativePath(partialPath(destination)).constData(), &status) == 0;
    return isThere && S_ISREG(status.st_mode) ? status.st_size : 0;
}

PartialRecording::PartialRecording(const QString &destination, std::int64_t expectedBytes)
    : m_destination(destination)
{
    createFolders(destination.first(destination.lastIndexOf(u'/')), FolderMode::followUmask);
    m_path = partialPath(destination);
    m_file = openedPartial(m_path);
    m_size = fileSize(m_file, m_path);
    if (m_size > expectedBytes)
        throw FileError(u"Partial file is larger than catalog size."_s);
    if (::lseek(m_file.get(), 0, SEEK_END) != m_size)
        throw FileError(u"Cannot write"_s, m_path, errno);
}

void PartialRecording::append(const QByteArray &bytes)
{
    qsizetype written = 0;
    while (written < bytes.size()) {
        const ssize_t count = ::write(m_file.get(), bytes.constData() + written,
                                      std::size_t(std::min(bytes.size() - written, bytesOfWrite)));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            throw FileError(u"Cannot write"_s, m_path, errno);
        written += count;
        m_size += count;
    }
    // The disk begins while the next range is fetched, so that a flush finds little to wait for.
    // Whether it does shows nowhere but in the time.
    ::sync_file_range(m_file.get(), m_size - written, written, SYNC_FILE_RANGE_WRITE);
    m_unflushed += written;
    if (m_unflushed >= bytesBetweenFlushes)
        flush();
}

void PartialRecording::flush()
{
    flushFile(m_file, m_path);
    m_unflushed = 0;
}

QString PartialRecording::sha256FromDisk(const ByteReport &report) const
{
    flushFile(m_file, m_path);
    return sha256OnDisk(m_path, report);
}

void PartialRecording::clear()
{
    if (::ftruncate(m_file.get(), 0) != 0 || ::lseek(m_file.get(), 0, SEEK_SET) != 0)
        throw FileError(u"Cannot write"_s, m_path, errno);
    m_size = 0;
    flush();
}

void PartialRecording::moveToDestination()
{
    const FileDescriptor folder = openParentFolder(m_destination, u"Cannot write"_s);
    moveWithoutReplacing(m_path, m_destination, u"Cannot move the verified recording to"_s);
    flushFolder(folder, m_destination);
}

} // namespace vorn
