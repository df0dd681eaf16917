// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "store/app_store.h"

#include <QStringList>

namespace vorn {

/// The activity log, oldest first, errors with "! " in front; `from` skips.
[[nodiscard]] inline QStringList messages(const AppStore &store, qsizetype from = 0)
{
    QStringList texts;
    for (const ActivityEntry &entry : store.activities())
        texts.prepend((entry.isError ? QStringLiteral("! ") : QString()) + entry.message);
    return texts.mid(from);
}

} // namespace vorn
