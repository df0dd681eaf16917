// SPDX-License-Identifier: Apache-2.0

#include "rig/base/switch_values.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace vorn::rig {

using namespace Qt::StringLiterals;

qint64 wholeNumber(const QString &text, qint64 least, qint64 most)
{
    bool isNumber = false;
    const qint64 value = text.toLongLong(&isNumber);
    if (!isNumber || value < least || value > most)
        throw RigError(u"a whole number from %1 to %2 is wanted"_s.arg(least).arg(most));
    return value;
}

QString keyOf(const QString &text)
{
    if (!text.contains(u' '))
        throw RigError(u"a key and a value are wanted"_s);
    return text.section(u' ', 0, 0);
}

QJsonValue jsonOf(const QString &text)
{
    // In an array, since the root of a document must be an array or an object.
    const QByteArray json = '[' + text.section(u' ', 1).toUtf8() + ']';
    const QJsonArray values = QJsonDocument::fromJson(json).array();
    if (values.size() != 1)
        throw RigError(u"a value in JSON is wanted"_s);
    return values.first();
}

QJsonValue jsonOrNone(const QString &text)
{
    return text.section(u' ', 1) == u"none" ? QJsonValue(QJsonValue::Undefined) : jsonOf(text);
}

} // namespace vorn::rig
