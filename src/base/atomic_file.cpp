// SPDX-License-Identifier: Apache-2.0

#include "base/atomic_file.h"

#include "base/files.h"
#include "base/off_thread.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QUuid>

#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

// Around 32 hexadecimal digits. Says whose it is, and has room beside any name.
constexpr auto temporaryPrefix = "vorn-desktop-"_L1;
constexpr auto temporarySuffix = ".tmp"_L1;

/// A file that goes away again unless it has been given its final name.
class TemporaryFile {
public:
    TemporaryFile(const QString &finalPath, FileMode mode)
        : m_finalPath(finalPath),
          m_path(nativePath(folderOf(finalPath) + u'/' + temporaryPrefix
                            + QUuid::createUuid().toString(QUuid::Id128) + temporarySuffix)),
          m_file(::open(m_path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode_t(mode)))
    {
        if (!m_file.isOpen())
            throw FileError(u"Cannot write"_s, finalPath, errno);
    }
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;
    ~TemporaryFile()
    {
        if (!m_isPlaced)
            ::unlink(m_path.constData());
    }

    /// Room for all bytes, where the file system can promise it: a full disk shows here, and the
    /// flush has no blocks to find.
    void reserve(qsizetype bytes)
    {
        if (::fallocate(m_file.get(), FALLOC_FL_KEEP_SIZE, 0, bytes) != 0 && errno == ENOSPC)
            throw FileError(u"Cannot write"_s, m_finalPath, errno);
    }

    /// Many pieces in few calls: a library of thousands of takes is thousands of pieces.
    void write(std::span<const QByteArray> pieces)
    {
        constexpr std::size_t piecesPerCall = 256; // below IOV_MAX; some 2 MiB of takes
        std::array<iovec, piecesPerCall> vectors{};
        qsizetype done = 0; // bytes of the first piece that are written already
        off_t offset = 0;
        while (!pieces.empty()) {
            const std::size_t count = std::min(pieces.size(), vectors.size());
            for (std::size_t index = 0; index < count; ++index)
                vectors[index] = {const_cast<char *>(pieces[index].constData()),
                                  std::size_t(pieces[index].size())};
            vectors[0].iov_base = static_cast<char *>(vectors[0].iov_base) + done;
            vectors[0].iov_len -= std::size_t(done);
            const ssize_t written = ::writev(m_file.get(), vectors.data(), int(count));
            if (written < 0 && errno == EINTR)
                continue;
            if (written < 0)
                throw FileError(u"Cannot write"_s, m_finalPath, errno);
            // The disk begins while the next pieces are copied; the flush reports its errors.
            ::sync_file_range(m_file.get(), offset, written, SYNC_FILE_RANGE_WRITE);
            offset += written;
            done += written;
            while (!pieces.empty() && done >= pieces.front().size()) {
                done -= pieces.front().size();
                pieces = pieces.subspan(1);
            }
        }
    }

    void place(ExistingFile existing)
    {
        // A failed flush is not tried again: the system may have dropped the bytes already.
        if (::fsync(m_file.get()) != 0)
            throw FileError(u"Cannot write"_s, m_finalPath, errno);
        if (existing == ExistingFile::keep)
            moveWithoutReplacing(QString::fromUtf8(m_path), m_finalPath, u"Cannot write"_s);
        else if (::rename(m_path.constData(), nativePath(m_finalPath).constData()) != 0)
            throw FileError(u"Cannot replace"_s, m_finalPath, errno);
        m_isPlaced = true;
    }

private:
    QString m_finalPath;
    QByteArray m_path;
    FileDescriptor m_file;
    bool m_isPlaced = false;
};

} // namespace

void writeFileAtomically(const QString &path, std::span<const QByteArray> pieces, FileMode mode,
                         ExistingFile existing)
{
    const FileDescriptor folder = openParentFolder(path, u"Cannot write"_s);
    qsizetype total = 0;
    for (const QByteArray &piece : pieces)
        total += piece.size();
    TemporaryFile file(path, mode);
    file.reserve(total);
    file.write(pieces);
    // Held while it is replaced: giving back a large file takes as long as writing one.
    FileDescriptor old(::open(nativePath(path).constData(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    file.place(existing);
    if (old.isOpen())
        releaseOffThread(std::move(old));
    flushFolder(folder, path);
}

void writeFileAtomically(const QString &path, const QByteArray &bytes, FileMode mode,
                         ExistingFile existing)
{
    writeFileAtomically(path, std::span(&bytes, 1), mode, existing);
}

void removeAbandonedWrites(const QString &folder)
{
    static const QRegularExpression ours(QRegularExpression::anchoredPattern(
        temporaryPrefix + u"[0-9a-f]{32}"_s + QRegularExpression::escape(temporarySuffix)));
    for (const QString &name : QDir(folder).entryList(QDir::Files | QDir::NoSymLinks)) {
        if (ours.match(name).hasMatch())
            QFile::remove(folder + u'/' + name);
    }
}

} // namespace vorn
