// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "director/live_edit_timeline.h"
#include "library/record_json.h"

namespace vorn {

// The JSON form of a timeline, by jsonFromRecord and recordFromJson. Times and identities are text:
// ISO 8601 in UTC, to the millisecond, and RFC 9562.

[[nodiscard]] QString jsonText(WallTime time);
[[nodiscard]] QString jsonText(const QUuid &id);
[[nodiscard]] QString jsonText(DirectorTransition transition);
[[nodiscard]] QString jsonText(DirectorEditEventKind kind);
// Each throws JsonError when the text is no such value.
void readJsonText(const QString &text, WallTime &time);
void readJsonText(const QString &text, QUuid &id);
void readJsonText(const QString &text, DirectorTransition &transition);
void readJsonText(const QString &text, DirectorEditEventKind &kind);

/// A field whose value is text in JSON.
template <class Fields, class Value>
void describeAsText(Fields &fields, const QString &key, Value &value)
{
    if constexpr (std::is_const_v<Value>) {
        fields(key, jsonText(value));
    } else {
        QString text;
        fields(key, text);
        readJsonText(text, value);
    }
}
template <class Fields, class Value>
void describeAsText(Fields &fields, const QString &key, const std::optional<Value> &value)
{
    if (value)
        fields(key, jsonText(*value));
}
template <class Fields, class Value>
void describeAsText(Fields &fields, const QString &key, std::optional<Value> &value)
{
    std::optional<QString> text;
    fields(key, text);
    value.reset();
    if (text)
        readJsonText(*text, value.emplace());
}

template <class Fields, recordOf<DirectorEditEvent> Record>
void describe(Fields &&fields, Record &event)
{
    describeAsText(fields, QStringLiteral("id"), event.id);
    describeAsText(fields, QStringLiteral("kind"), event.kind);
    fields(QStringLiteral("elapsedSeconds"), event.elapsedSeconds);
    fields(QStringLiteral("fromCameraID"), event.fromCameraID);
    fields(QStringLiteral("toCameraID"), event.toCameraID);
    describeAsText(fields, QStringLiteral("transition"), event.transition);
    fields(QStringLiteral("durationSeconds"), event.durationSeconds);
    fields(QStringLiteral("label"), event.label);
}

template <class Fields, recordOf<LiveEditTimeline> Record>
void describe(Fields &&fields, Record &timeline)
{
    describeAsText(fields, QStringLiteral("startedAt"), timeline.startedAt);
    fields(QStringLiteral("previewCameraID"), timeline.previewCameraID);
    fields(QStringLiteral("programCameraID"), timeline.programCameraID);
    fields(QStringLiteral("events"), timeline.events);
}

} // namespace vorn
