// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

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
void writePackage(const QString &path, std::span<const PackageFile> files,
                  std::span<const QLatin1StringView> possibleNames);

} // namespace vorn
