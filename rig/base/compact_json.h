// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace vorn::rig {

[[nodiscard]] inline QByteArray compactJson(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

} // namespace vorn::rig
