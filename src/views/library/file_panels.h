// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>

#include <functional>

class QWindow;

namespace vorn {

/// Called with the absolute path that the user confirmed; never when the panel is cancelled or
/// answers with something that is no local path.
using PathChosen = std::function<void(const QString &path)>;

/// Opens the panel for one source manifest over `window`, first showing `folder`, and returns at
/// once.
void openManifestPanel(QWindow *window, const QString &folder, const PathChosen &chosen);
/// Opens the panel for the folder that will hold an export package, likewise.
void openExportPanel(QWindow *window, const QString &folder, const PathChosen &chosen);
/// Opens the panel for the file that will hold checksums, first showing `path`, likewise. It asks
/// about a file that is there.
void openChecksumPanel(QWindow *window, const QString &path, const PathChosen &chosen);

/// Opens the panel for movies, any number of them, likewise.
void openMoviePanel(QWindow *window, const QString &folder,
                    const std::function<void(const QStringList &paths)> &chosen);

} // namespace vorn
