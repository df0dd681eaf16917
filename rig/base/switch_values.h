// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/base/rig_error.h"

#include <QJsonValue>
#include <QString>
#include <QStringList>

#include <initializer_list>
#include <utility>

/// Reads what comes after the name of a switch. All throw RigError for anything else.
namespace vorn::rig {

[[nodiscard]] qint64 wholeNumber(const QString &text, qint64 least, qint64 most);

/// The key of "battery 12".
[[nodiscard]] QString keyOf(const QString &text);

/// The value of "battery 12", which may be any JSON.
[[nodiscard]] QJsonValue jsonOf(const QString &text);

/// jsonOf(), or no value at all for the word none.
[[nodiscard]] QJsonValue jsonOrNone(const QString &text);

/// The choice of that name.
template <class Choice>
[[nodiscard]] Choice choice(const QString &text,
                            std::initializer_list<std::pair<QStringView, Choice>> choices)
{
    QStringList names;
    for (const auto &[name, value] : choices) {
        if (name == text)
            return value;
        names += name.toString();
    }
    throw RigError(QStringLiteral("one of these is wanted: ") + names.join(QStringLiteral(", ")));
}

} // namespace vorn::rig
