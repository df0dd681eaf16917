// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/digest.h"
#include "base/files.h"
#include "library/records.h"

#include <QByteArray>
#include <QString>

#include <cstdint>

namespace vorn {

/// Where a clip's verified file lies under `recordingsFolder`. Ids become folder-safe names; the
/// file's own name stays as it is. Throws FileError for a name that is more than a name.
[[nodiscard]] QString recordingPath(const QString &recordingsFolder, const QString &projectId,
                                    const QString &takeId, const VORNClip &clip);

/// True when the verified file is at `destination` already; its name and bytes are on the disk
/// then, and the digest was taken from there. Throws FileError when something else is there. Blocks
/// until the file is read.
[[nodiscard]] bool isRecordingThere(const QString &destination, const QString &sha256,
                                    const ByteReport &report);

/// Bytes that a broken-off download has left there; 0 when there are none. Blocks.
[[nodiscard]] std::int64_t partialBytes(const QString &destination);

/// A recording on its way to the disk: "<destination>.part", or a shorter name where the file
/// system takes no such one, grows, is flushed and checked, and only then gets its final name. It
/// survives whatever ends the program, and the next one goes on at its end. Blocks; any thread, one
/// at a time.
class PartialRecording {
public:
    /// Goes on with the file that is there, or makes it and the folders above it. Throws FileError:
    /// for a link, a folder or anything else that is no plain file of this program's, and for a
    /// file of more than `expectedBytes`.
    PartialRecording(const QString &destination, std::int64_t expectedBytes);

    /// Bytes that are there.
    [[nodiscard]] std::int64_t size() const { return m_size; }

    /// Throws FileError; what was written then stays.
    void append(const QByteArray &bytes);
    /// Of the whole file, 64 lower-case hexadecimal characters. The bytes are on the disk then, and
    /// what was hashed has come from there. Throws FileError.
    [[nodiscard]] QString sha256FromDisk(const ByteReport &report) const;
    /// Starts over at nothing. Throws FileError.
    void clear();
    /// Gives the file its final name, never that of a file that is there. Name and bytes are on the
    /// disk when it returns. Throws FileError; NotDurableError when it has the name nevertheless.
    void moveToDestination();

private:
    void flush();

    QString m_destination;
    QString m_path;
    FileDescriptor m_file;
    std::int64_t m_size = 0;
    std::int64_t m_unflushed = 0;
};

} // namespace vorn
