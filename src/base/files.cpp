// SPDX-License-Identifier: Apache-2.0

#include "base/files.h"

#include <QDir>
#include <QStringEncoder>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <system_error>

using namespace Qt::StringLiterals;

namespace vorn {

namespace {

QString reasonOf(int errorNumber)
{
    return QString::fromStdString(std::generic_category().message(errorNumber));
}

} // namespace

FileError::FileError(const QString &action, const QString &path, int errorNumber)
    : FileError(u"%1 %2: %3."_s.arg(action, path, reasonOf(errorNumber)))
{
}

NotDurableError::NotDurableError(const QString &path, int errorNumber)
    : FileError(u"The new state of %1 is in place but may not survive a power cut: %2."_s.arg(
          path, reasonOf(errorNumber))),
      m_path(path),
      m_errorNumber(errorNumber)
{
}

FileError NotDurableError::undone(const QString &action) const
{
    return {action, m_path, m_errorNumber};
}

FileDescriptor::~FileDescriptor()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

QByteArray nativePath(const QString &path)
{
    // Stateless: a surrogate at the end is an error too, not the start of more.
    QStringEncoder encoder(QStringEncoder::Utf8, QStringEncoder::Flag::Stateless);
    const QByteArray encoded = encoder.encode(path);
    if (encoder.hasError() || encoded.contains('\0'))
        throw FileError(u"The path %1 holds characters that no file name can have."_s.arg(
            QString(path).replace(QChar(u'\0'), u"\u2400"_s)));
    return encoded;
}

QString resolvedPath(const QString &base, const QString &path)
{
    const QString joined = path.startsWith(u'/') ? path : base + u'/' + path;
    QString clean = QDir::cleanPath(joined);
    // The root is its own parent.
    while (clean.startsWith(u"/../"_s))
        clean.remove(0, 3);
    return clean;
}

QString fileNameOf(const QString &path)
{
    return path.sliced(path.lastIndexOf(u'/') + 1);
}

QString folderOf(const QString &path)
{
    const qsizetype slash = path.lastIndexOf(u'/');
    return slash > 0 ? path.first(slash) : slash == 0 ? u"/"_s : u"."_s;
}

namespace {

// A path that cannot name anything names nothing.
std::optional<QByteArray> possiblePath(const QString &path)
{
    try {
        return nativePath(path);
    } catch (const FileError &) {
        return std::nullopt;
    }
}

/// Of an answer to a look; others say that nobody can look.
bool saysNothingIsThere(int errorNumber)
{
    return errorNumber == ENOENT || errorNumber == ENOTDIR || errorNumber == ENAMETOOLONG;
}

bool isFolder(const QString &path)
{
    struct stat status = {};
    return ::stat(nativePath(path).constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

bool somethingExistsAt(const QString &path)
{
    struct stat status = {};
    const auto native = possiblePath(path);
    return native && ::lstat(native->constData(), &status) == 0;
}

bool fileExists(const QString &path)
{
    struct stat status = {};
    const auto native = possiblePath(path);
    return native && (::stat(native->constData(), &status) == 0 || !saysNothingIsThere(errno));
}

FileDescriptor openRegularFile(const QString &path)
{
    // Non-blocking: opening a FIFO would otherwise wait for a writer.
    FileDescriptor file(::open(nativePath(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file.isOpen())
        throw FileError(u"Cannot open"_s, path, errno);
    struct stat status = {};
    if (::fstat(file.get(), &status) != 0)
        throw FileError(u"Cannot open"_s, path, errno);
    if (!S_ISREG(status.st_mode))
        throw FileError(u"%1 is not a regular file."_s.arg(path));
    return file;
}

std::int64_t fileSize(const FileDescriptor &file, const QString &path)
{
    struct stat status = {};
    if (::fstat(file.get(), &status) != 0)
        throw FileError(u"Cannot read"_s, path, errno);
    return status.st_size;
}

QByteArray readFile(const QString &path, std::int64_t maximumBytes)
{
    const FileDescriptor file = openRegularFile(path);
    const std::int64_t size = fileSize(file, path);
    if (size > maximumBytes)
        throw FileError(u"%1 is too large (%2 bytes; at most %3 are read)."_s.arg(
            path, QString::number(size), QString::number(maximumBytes)));
    QByteArray bytes(size, Qt::Uninitialized);
    qsizetype filled = 0;
    while (filled < bytes.size()) {
        const ssize_t got =
            ::read(file.get(), bytes.data() + filled, std::size_t(bytes.size() - filled));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            throw FileError(u"Cannot read"_s, path, errno);
        if (got == 0)
            break; // shorter now than when its size was taken
        filled += got;
    }
    bytes.truncate(filled);
    return bytes;
}

FileDescriptor openParentFolder(const QString &path, const QString &action)
{
    FileDescriptor folder(
        ::open(nativePath(folderOf(path)).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.isOpen())
        throw FileError(action, path, errno);
    return folder;
}

void flushFolder(const FileDescriptor &folder, const QString &path)
{
    if (::fsync(folder.get()) == 0)
        return;
    // What file systems answer that know no such flush, network ones above all.
    if (errno != EINVAL && errno != ENOTSUP && errno != ENOSYS)
        throw NotDurableError(path, errno);
}

void createFolder(const QString &path, FolderMode mode)
{
    const QString action = u"Cannot create the folder"_s;
    const FileDescriptor parent = openParentFolder(path, action);
    const QByteArray native = nativePath(path);
    if (::mkdir(native.constData(), mode_t(mode)) != 0)
        throw FileError(action, path, errno);
    try {
        flushFolder(parent, path);
    } catch (const NotDurableError &error) {
        ::rmdir(native.constData());
        throw error.undone(action);
    }
}

void createFolders(const QString &path, FolderMode mode)
{
    const QString action = u"Cannot create the folder"_s;
    struct stat status = {};
    if (::stat(nativePath(path).constData(), &status) == 0) {
        if (!S_ISDIR(status.st_mode))
            throw FileError(action, path, ENOTDIR);
        return;
    }
    if (!saysNothingIsThere(errno))
        throw FileError(action, path, errno);
    const qsizetype slash = path.lastIndexOf(u'/');
    if (slash > 0)
        createFolders(path.first(slash), mode);
    try {
        createFolder(path, mode);
    } catch (const FileError &) {
        if (!isFolder(path)) // otherwise another process has made it meanwhile
            throw;
    }
}

void moveWithoutReplacing(const QString &from, const QString &to, const QString &action)
{
    const QByteArray source = nativePath(from);
    const QByteArray target = nativePath(to);
    if (::renameat2(AT_FDCWD, source.constData(), AT_FDCWD, target.constData(), RENAME_NOREPLACE)
        == 0)
        return;
    // Some network file systems do not know the flag.
    if (errno != EINVAL && errno != ENOSYS)
        throw FileError(action, to, errno);
    if (isFolder(from)) {
        // Of what may come in between, a folder takes the place of nothing but an empty folder.
        if (somethingExistsAt(to))
            throw FileError(action, to, EEXIST);
        if (::rename(source.constData(), target.constData()) != 0)
            throw FileError(action, to, errno);
        return;
    }
    // A second name is never put over another.
    if (::link(source.constData(), target.constData()) != 0)
        throw FileError(action, to, errno);
    if (::unlink(source.constData()) != 0)
        throw FileError(u"Cannot remove"_s, from, errno);
}

void removeFolderQuietly(const QString &path) noexcept
{
    try {
        std::error_code ignored;
        std::filesystem::remove_all(nativePath(path).toStdString(), ignored);
    } catch (const std::exception &) { // NOLINT(bugprone-empty-catch): best effort, as promised
    }
}

} // namespace vorn
