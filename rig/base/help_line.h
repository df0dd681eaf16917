// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace vorn::rig {

/// One line of help: what to type, and in a second column what it does.
[[nodiscard]] inline QString helpLine(const QString &typed, QStringView about)
{
    constexpr int column = 34;
    QString text = QStringLiteral("  ") + typed;
    const bool fits = text.size() < column;
    text += fits ? QString(column - text.size(), u' ') : u'\n' + QString(column, u' ');
    return text.append(about).append(u'\n');
}

} // namespace vorn::rig
