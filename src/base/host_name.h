#pragma once

#include <QString>
#include <QSysInfo>

namespace vorn {

/// This computer's name as the network knows it; what phones are shown when it introduces itself.
/// May be empty.
[[nodiscard]] inline QString hostName()
{
    return QSysInfo::machineHostName();
}

} // namespace vorn
