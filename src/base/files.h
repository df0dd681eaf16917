// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/sentence_error.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <utility>

namespace vorn {

/// A file operation of the system failed. `what()` is a sentence for the user, in UTF-8: what was
/// tried, on which path, and the system's reason.
class FileError : public SentenceError {
public:
    explicit FileError(const QString &sentence) : SentenceError(sentence) {}
    /// "<action> <path>: <the system's words for errorNumber>."
    FileError(const QString &action, const QString &path, int errorNumber);
};

/// What was asked for is done and there for everybody to see, but its folder could not be flushed:
/// a power cut may bring the old state back.
class NotDurableError : public FileError {
public:
    /// "The new state of <path> is in place but may not survive a power cut: <reason>."
    NotDurableError(const QString &path, int errorNumber);

    /// "<action> <path>: <reason>.", for who has taken the new state away again.
    [[nodiscard]] FileError undone(const QString &action) const;

private:
    QString m_path;
    int m_errorNumber;
};

/// Owns one file descriptor.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) noexcept : m_descriptor(descriptor) {}
    FileDescriptor(FileDescriptor &&other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1))
    {
    }
    FileDescriptor &operator=(FileDescriptor &&other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    FileDescriptor(const FileDescriptor &) = delete;
    FileDescriptor &operator=(const FileDescriptor &) = delete;
    ~FileDescriptor();

    [[nodiscard]] int get() const noexcept { return m_descriptor; }
    [[nodiscard]] bool isOpen() const noexcept { return m_descriptor >= 0; }

private:
    int m_descriptor = -1;
};

/// The name of `path` in the system's encoding (UTF-8). Throws FileError for a path that holds a
/// NUL character or a lone surrogate: the system would see another, shorter or different name.
[[nodiscard]] QByteArray nativePath(const QString &path);

/// `path` as seen from the folder `base`: an absolute path stands by itself; "." and ".."
/// components are removed by text alone, without a look at the disk.
[[nodiscard]] QString resolvedPath(const QString &base, const QString &path);

/// The part of `path` after its last slash, and the folder before it: "." where there is none.
[[nodiscard]] QString fileNameOf(const QString &path);
[[nodiscard]] QString folderOf(const QString &path);

/// True when anything is seen at `path`, a dangling link included.
[[nodiscard]] bool somethingExistsAt(const QString &path);

/// False when `path` leads, through links if need be, to nothing. What cannot be looked at may be
/// there: who opens it is told why it cannot be.
[[nodiscard]] bool fileExists(const QString &path);

/// Opens a regular file for reading, through links. Throws FileError for anything else: a folder,
/// a FIFO, a device or a socket is refused without blocking.
[[nodiscard]] FileDescriptor openRegularFile(const QString &path);

/// Size in bytes of an open file. Throws FileError; `path` serves its text only.
[[nodiscard]] std::int64_t fileSize(const FileDescriptor &file, const QString &path);

/// Reads a regular file whole. Throws FileError, also when it holds more than `maximumBytes`.
[[nodiscard]] QByteArray readFile(const QString &path, std::int64_t maximumBytes);

/// Opens the folder that holds `path`, to flush its entries; before they change, so that nothing
/// has been done where it cannot be opened. Throws FileError: "<action> <path>: <reason>."
[[nodiscard]] FileDescriptor openParentFolder(const QString &path, const QString &action);

/// The entries of `folder` are on the disk when it returns, that of `path` among them. A file
/// system that cannot flush a folder is left to its own ways. Throws NotDurableError.
void flushFolder(const FileDescriptor &folder, const QString &path);

enum class FolderMode : std::uint32_t { followUmask = 0777, ownerOnly = 0700 };

/// Makes one folder whose parent must exist, and flushes its entry there. Throws FileError, also
/// when the path is taken, and then has made nothing.
void createFolder(const QString &path, FolderMode mode = FolderMode::followUmask);

/// Makes `path` and what is missing above it; a folder that is there stays as it is, links to
/// folders included. `mode` holds for the folders that are made, whose entries are on the disk when
/// it returns. Throws FileError.
void createFolders(const QString &path, FolderMode mode);

/// Gives the file or folder `from` the name `to`, in the same file system, never that of something
/// that is there. Throws FileError: "<action> <to>: <reason>."
void moveWithoutReplacing(const QString &from, const QString &to, const QString &action);

/// Removes a folder with all it holds; failures are ignored. Does not follow links.
void removeFolderQuietly(const QString &path) noexcept;

} // namespace vorn
