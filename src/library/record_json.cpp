#include "library/record_json.h"

using namespace Qt::StringLiterals;

namespace vorn {

QString JsonReader::placeOf(const QString &key) const
{
    return m_place.isEmpty() ? key : m_place + u'.' + key;
}

void JsonReader::fail(const QJsonValue &json, const QString &place, const char *expected) const
{
    const QString pattern =
        json.isUndefined() ? u"%1: %2 is missing (%3 was expected)"_s : u"%1: %2 is not %3"_s;
    throw JsonError(pattern.arg(m_document, place, QString::fromLatin1(expected)));
}

void JsonReader::read(const QJsonValue &json, const QString &place, QString &value) const
{
    if (!json.isString())
        fail(json, place, "a text");
    value = json.toString();
}

void JsonReader::read(const QJsonValue &json, const QString &place, std::int64_t &value) const
{
    // A number that is not a whole 64-bit one yields whatever default is asked for.
    const qint64 whole = json.toInteger(0);
    if (!json.isDouble() || whole != json.toInteger(1))
        fail(json, place, "a whole number of 64 bits");
    value = whole;
}

void JsonReader::read(const QJsonValue &json, const QString &place, double &value) const
{
    if (!json.isDouble())
        fail(json, place, "a number");
    value = json.toDouble();
}

void JsonReader::read(const QJsonValue &json, const QString &place, bool &value) const
{
    if (!json.isBool())
        fail(json, place, "true or false");
    value = json.toBool();
}

} // namespace vorn
