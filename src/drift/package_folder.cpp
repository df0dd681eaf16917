// SPDX-License-Identifier: Apache-2.0

#include "drift/package_folder.h"

#include "base/atomic_file.h"
#include "base/files.h"
#include "drift/editing_copy.h"

#include <QDir>
#include <QRegularExpression>
#include <QUuid>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

// Of a package that is not whole, with 32 hexadecimal digits behind it. Hidden, since it is nothing
// to work with.
constexpr auto unfinishedPrefix = ".vorn-export-"_L1;

FileDescriptor openFolder(const QString &path, int base = AT_FDCWD)
{
    return FileDescriptor(::openat(base, nativePath(path).constData(),
                                   O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

/// Makes the folder of the copies, and flushes their entries.
void addMediaFolder(const QString &package, const std::function<void(const QString &)> &addMedia)
{
    const QString media = package + u'/' + mediaFolderName;
    createFolder(media);
    addMedia(media);
    flushFolder(openFolder(media), media);
}

void clearMediaFolder(const FileDescriptor &package, const QString &path)
{
    const FileDescriptor media = openFolder(mediaFolderName, package.get());
    if (!media.isOpen())
        return;
    const QStringList names =
        QDir(path + u'/' + mediaFolderName).entryList(QDir::Files | QDir::NoSymLinks);
    for (const QString &name : names) // in the folder held, whatever path names now
        if (EditingCopy::isFileName(name))
            ::unlinkat(media.get(), nativePath(name).constData(), 0);
    ::unlinkat(package.get(), mediaFolderName.data(), AT_REMOVEDIR);
}

/// A folder for a package that is being written; goes away unless it is moved. Its lock tells other
/// programs that it is in use.
class UnfinishedPackage {
public:
    UnfinishedPackage(const QString &path, const QString &action) : UnfinishedPackage(path)
    {
        do {
            createFolder(path);
            m_folder = openFolder(path);
            if (!m_folder.isOpen() && errno != ENOENT)
                throw FileError(action, path, errno);
        } while (!isHeld(action));
    }
    UnfinishedPackage(const UnfinishedPackage &) = delete;
    UnfinishedPackage &operator=(const UnfinishedPackage &) = delete;
    ~UnfinishedPackage()
    {
        if (!m_isPlaced)
            removeFolderQuietly(m_path);
    }

    /// Removes what killed programs have left beside it: folders of such a name and of its owner,
    /// which nobody holds, and in them the files of a package and nothing else.
    void clearOthers(std::span<const QLatin1StringView> names) const
    {
        static const QRegularExpression form(
            QRegularExpression::anchoredPattern(unfinishedPrefix + u"[0-9a-f]{32}"_s));
        const QString parent = m_path.first(m_path.lastIndexOf(u'/') + 1);
        const QStringList folders = QDir(parent).entryList(
            {unfinishedPrefix + u"*"_s}, QDir::Dirs | QDir::Hidden | QDir::NoSymLinks);
        for (const QString &name : folders) {
            if (parent + name == m_path) // its lock may have failed
                continue;
            const FileDescriptor folder = openFolder(parent + name);
            if (form.match(name).hasMatch() && ownerOf(folder) == ownerOf(m_folder)
                && ::flock(folder.get(), LOCK_EX | LOCK_NB) == 0)
                clear(folder, parent + name, names);
        }
    }

    void moveTo(const QString &path, const QString &action)
    {
        moveWithoutReplacing(m_path, path, action);
        m_isPlaced = true;
    }

private:
    explicit UnfinishedPackage(const QString &path) : m_path(path) {}

    /// False when another program has taken it for a left one, in the moment before it was locked.
    /// Where there are no locks nobody clears anything.
    [[nodiscard]] bool isHeld(const QString &action) const
    {
        if (!m_folder.isOpen()
            || (::flock(m_folder.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK))
            return false;
        struct stat status = {};
        if (::fstat(m_folder.get(), &status) != 0)
            throw FileError(action, m_path, errno);
        return status.st_nlink > 0;
    }

    static std::optional<uid_t> ownerOf(const FileDescriptor &folder)
    {
        struct stat status = {};
        return ::fstat(folder.get(), &status) == 0 ? std::optional(status.st_uid) : std::nullopt;
    }

    static void clear(const FileDescriptor &folder, const QString &path,
                      std::span<const QLatin1StringView> names)
    {
        removeAbandonedWrites(path);
        for (const QLatin1StringView name : names) // in the folder held, whatever path names now
            ::unlinkat(folder.get(), name.data(), 0);
        clearMediaFolder(folder, path);
        ::rmdir(nativePath(path).constData()); // fails where something else is left
    }

    QString m_path;
    FileDescriptor m_folder;
    bool m_isPlaced = false;
};

} // namespace

void writePackage(const QString &path, std::span<const PackageFile> files,
                  std::span<const QLatin1StringView> possibleNames,
                  const std::function<void(const QString &)> &addMedia)
{
    const QString action = u"Cannot create the folder"_s;
    const FileDescriptor parent = openParentFolder(path, action);
    const QString unfinished = path.first(path.lastIndexOf(u'/') + 1) + unfinishedPrefix
                               + QUuid::createUuid().toString(QUuid::Id128);
    // The user knows the one name only.
    const auto shown = [&](const FileError &error) {
        return QString::fromUtf8(error.what()).replace(unfinished, path);
    };
    try {
        UnfinishedPackage package(unfinished, action);
        package.clearOthers(possibleNames);
        for (const PackageFile &file : files)
            writeFileAtomically(unfinished + u'/' + file.name, file.bytes, FileMode::followUmask);
        if (addMedia)
            addMediaFolder(unfinished, addMedia);
        package.moveTo(path, action);
    } catch (const NotDurableError &error) {
        throw FileError(shown(error.undone(u"Cannot write"_s)));
    } catch (const FileError &error) {
        throw FileError(shown(error));
    }
    flushFolder(parent, path);
}

} // namespace vorn
