// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QSysInfo>

namespace vorn {

/// What a computer without a name is called.
[[nodiscard]] inline QString unnamedComputer()
{
    return QStringLiteral("VORN Mac");
}

/// This computer's name as the network knows it; what phones are shown when it introduces itself.
[[nodiscard]] inline QString hostName()
{
    const QString name = QSysInfo::machineHostName();
    return name.isEmpty() ? unnamedComputer() : name;
}

} // namespace vorn
