// SPDX-License-Identifier: Apache-2.0

#include "library/record_json.h"

using namespace Qt::StringLiterals;

namespace vorn {

namespace {

/// "projects[2].name"; nothing for the document itself.
QString pathOf(const JsonPlace &place)
{
    if (!place.above)
        return {};
    const QString path = pathOf(*place.above);
    if (place.name.isEmpty())
        return u"%1[%2]"_s.arg(path, QString::number(place.index));
    return path.isEmpty() ? place.name.toString() : path + u'.' + place.name.toString();
}

QString documentOf(const JsonPlace &place)
{
    return place.above ? documentOf(*place.above) : place.name.toString();
}

} // namespace

void JsonReader::fail(const QJsonValue &json, const JsonPlace &place, const char *expected)
{
    const QString pattern =
        json.isUndefined() ? u"%1: %2 is missing (%3 was expected)"_s : u"%1: %2 is not %3"_s;
    throw JsonError(pattern.arg(documentOf(place), pathOf(place), QString::fromLatin1(expected)));
}

void JsonReader::read(const QJsonValue &json, const JsonPlace &place, QString &value)
{
    if (!json.isString())
        fail(json, place, "a text");
    value = json.toString();
}

void JsonReader::read(const QJsonValue &json, const JsonPlace &place, std::int64_t &value)
{
    // A number that is not a whole 64-bit one yields whatever default is asked for.
    const qint64 whole = json.toInteger(0);
    if (!json.isDouble() || whole != json.toInteger(1))
        fail(json, place, "a whole number of 64 bits");
    value = whole;
}

void JsonReader::read(const QJsonValue &json, const JsonPlace &place, double &value)
{
    if (!json.isDouble())
        fail(json, place, "a number");
    value = json.toDouble();
}

void JsonReader::read(const QJsonValue &json, const JsonPlace &place, bool &value)
{
    if (!json.isBool())
        fail(json, place, "true or false");
    value = json.toBool();
}

} // namespace vorn
