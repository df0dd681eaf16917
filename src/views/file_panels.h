#pragma once

#include <functional>

#include <QString>

class QWindow;

namespace vorn {

/// Called with the absolute path that the user confirmed; never when the panel is cancelled or
/// answers with something that is no local path.
using PathChosen = std::function<void(const QString &path)>;

/// Opens the panel for one source manifest over `window`, and returns at once.
void openManifestPanel(QWindow *window, const PathChosen &chosen);
/// Opens the panel for the folder that will hold an export package, and returns at once.
void openExportPanel(QWindow *window, const PathChosen &chosen);

} // namespace vorn
