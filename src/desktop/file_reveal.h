// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace vorn {

/// Asks the desktop's file browser to show the file at `path` and select it. Where no browser
/// answers on the session bus, the folder is opened instead; where nothing can, nothing happens.
/// Returns at once. UI thread.
void revealFile(const QString &path);

/// Asks the desktop to open a folder, in the same way.
void openFolder(const QString &path);

} // namespace vorn
