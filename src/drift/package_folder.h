// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

#include <functional>
#include <span>

namespace vorn {

struct PackageFile {
    QString name;
    QByteArray bytes;
};

/// Makes the folder `path` with these files, all of them or nothing, also when the program is
/// killed: they are written into a folder of another name beside it, which gets its own, never that
/// of something that is there, when all of it is on the disk. What a killed program has left in the
/// parent goes away first. Throws FileError; NotDurableError when the package is there
/// nevertheless. `possibleNames` are those of any package's files, which may be left over.
/// `addMedia`, if given, makes editing copies in the folder that it is given, flushed each, and may
/// take its time; what it throws leaves nothing.
void writePackage(const QString &path, std::span<const PackageFile> files,
                  std::span<const QLatin1StringView> possibleNames,
                  const std::function<void(const QString &folder)> &addMedia = {});

/// Of the editing copies, in a package.
inline constexpr QLatin1StringView mediaFolderName("media");

} // namespace vorn
