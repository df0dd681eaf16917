// SPDX-License-Identifier: Apache-2.0

#include "director/edit_timeline_json.h"

#include <QDateTime>

#include <algorithm>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

[[noreturn]] void refuse(const QString &text, QStringView expected)
{
    throw JsonError(u"“%1” is no %2"_s.arg(text, expected));
}

template <class Values, class Value>
void readOneOf(const Values &values, const QString &written, QStringView expected, Value &value)
{
    const auto found = std::ranges::find(values, written, [](Value one) { return text(one); });
    if (found == values.end())
        refuse(written, expected);
    value = *found;
}

} // namespace

QString jsonText(WallTime time)
{
    const auto sinceEpoch =
        std::chrono::floor<std::chrono::milliseconds>(time.time_since_epoch()).count();
    return QDateTime::fromMSecsSinceEpoch(sinceEpoch, Qt::UTC).toString(Qt::ISODateWithMs);
}

QString jsonText(const QUuid &id)
{
    return id.toString(QUuid::WithoutBraces);
}

QString jsonText(DirectorTransition transition)
{
    return text(transition);
}

QString jsonText(DirectorEditEventKind kind)
{
    return text(kind);
}

void readJsonText(const QString &text, WallTime &time)
{
    // A text names years of which the clock's 64 bits of nanoseconds know nothing.
    constexpr auto latest = std::chrono::floor<std::chrono::milliseconds>(WallTime::max());
    const QDateTime date = QDateTime::fromString(text, Qt::ISODateWithMs);
    if (!date.isValid() || std::abs(date.toMSecsSinceEpoch()) > latest.time_since_epoch().count())
        refuse(text, u"ISO 8601 time");
    time = WallTime(std::chrono::milliseconds(date.toMSecsSinceEpoch()));
}

void readJsonText(const QString &text, QUuid &id)
{
    id = QUuid::fromString(text);
    if (id.isNull())
        refuse(text, u"UUID");
}

void readJsonText(const QString &text, DirectorTransition &transition)
{
    readOneOf(allDirectorTransitions, text, u"transition", transition);
}

void readJsonText(const QString &text, DirectorEditEventKind &kind)
{
    readOneOf(allDirectorEditEventKinds, text, u"kind of event", kind);
}

} // namespace vorn
