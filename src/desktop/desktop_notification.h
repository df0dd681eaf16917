// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace vorn {

/// Shows a notification of the desktop (org.freedesktop.Notifications), where there is such a
/// service. The texts are the program's own words: services may take them for markup.
void showDesktopNotification(const QString &summary, const QString &body);

} // namespace vorn
