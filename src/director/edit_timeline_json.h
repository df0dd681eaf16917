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
void describeAsText(Fields &fields, QStringView key, Value &value)
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
void describeAsText(Fields &fields, QStringView key, const std::optional<Value> &value)
{
    if (value)
        fields(key, jsonText(*value));
}
template <class Fields, class Value>
void describeAsText(Fields &fields, QStringView key, std::optional<Value> &value)
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
    fields(u"durationSeconds", event.durationSeconds);
    fields(u"elapsedSeconds", event.elapsedSeconds);
    fields(u"fromCameraID", event.fromCameraID);
    describeAsText(fields, u"id", event.id);
    describeAsText(fields, u"kind", event.kind);
    fields(u"label", event.label);
    fields(u"toCameraID", event.toCameraID);
    describeAsText(fields, u"transition", event.transition);
}

template <class Fields, recordOf<LiveEditTimeline> Record>
void describe(Fields &&fields, Record &timeline)
{
    fields(u"events", timeline.events);
    fields(u"previewCameraID", timeline.previewCameraID);
    fields(u"programCameraID", timeline.programCameraID);
    describeAsText(fields, u"startedAt", timeline.startedAt);
}

} // namespace vorn
