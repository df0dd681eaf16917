// SPDX-License-Identifier: Apache-2.0

#include "base/folders.h"

#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace vorn {

QString applicationSupportFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + u"/VORN"_s;
}

QString recordingsFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::MoviesLocation) + u"/VORN"_s;
}

} // namespace vorn
