// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "drift/media_info.h"
#include "drift/movie_timing.h"

#include <QStringList>

#include <functional>

namespace vorn {

/// A recording of which a copy for editors is to be made.
struct EditingCopySource {
    QString cameraId;
    QString path; ///< absolute
    MediaInfo media;
    MovieTiming timing;
    std::int64_t bytes = 0; ///< which the copy will have, about
};

/// Copies that every editor reads: DNxHR and PCM in a MOV file, made by ffmpeg in a process of its
/// own. Any thread; all of it blocks.
namespace EditingCopy {

/// Of the process: for pictures of eight thousand lines, their references and the copy's buffers.
constexpr std::int64_t maximumMemoryBytes = std::int64_t(6) << 30;

/// Path of the program that makes them. Throws DriftExportError where it is missing.
[[nodiscard]] QString maker();

/// Reads the headers. Throws DriftExportError where no copy can be made, FileError and
/// MediaProbeError.
[[nodiscard]] EditingCopySource source(const QString &cameraId, const QString &path,
                                       const MediaInfo &media);

/// Of the copy of the clip with this number, from 1: safe in every file system.
[[nodiscard]] QString fileName(std::size_t number, const QString &cameraId);
/// A file of a package's media folder that may have been made here.
[[nodiscard]] bool isFileName(const QString &name);

/// What is read and how it is coded, for all of it up to the name of what is written.
[[nodiscard]] QStringList codingArguments(const EditingCopySource &source);

/// The last whole number of this name in the lines of progress that it writes.
[[nodiscard]] std::optional<std::int64_t> lastNumber(const QByteArray &progress,
                                                     QByteArrayView name);

/// Makes the copy in a new file, on the disk when it returns: every picture that the recording
/// shows, once, at its own time, turned as it is, and its sound in its place. All of that is then
/// read from the copy's headers and compared. `onBytes` hears several times a second how many there
/// are; what it throws ends the work. Throws DriftExportError and FileError; what is there of the
/// file then is the caller's to remove.
void make(const EditingCopySource &source, const QString &target,
          const std::function<void(std::int64_t)> &onBytes);

} // namespace EditingCopy
} // namespace vorn
