// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <span>

namespace vorn {

enum class FileMode : std::uint32_t { followUmask = 0666, ownerOnly = 0600 };

/// What becomes of a file that is there already: `keep` refuses to write.
enum class ExistingFile { replace, keep };

/// Replaces or makes the file at `path` with the given pieces, one after the other. Readers see
/// the old file or the new one, never a part, also after a power cut; when this returns, the bytes
/// and the folder entry are on the disk. A link at `path` is replaced, not followed. Throws
/// NotDurableError when only the folder's flush failed, and otherwise FileError, which leaves the
/// old file as it was and no temporary file. Any thread.
///
/// QSaveFile is no substitute: it reports success on a full disk for small files, ignores a failed
/// flush and never flushes the folder.
void writeFileAtomically(const QString &path, std::span<const QByteArray> pieces, FileMode mode,
                         ExistingFile existing = ExistingFile::replace);
void writeFileAtomically(const QString &path, const QByteArray &bytes, FileMode mode,
                         ExistingFile existing = ExistingFile::replace);

/// Removes what writes into `folder` have left whose process was killed, told by the names of its
/// files. For who knows that nobody writes there now. What cannot be removed waits for next time.
void removeAbandonedWrites(const QString &folder);

} // namespace vorn
