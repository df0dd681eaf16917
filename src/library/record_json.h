// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/json_text.h"
#include "library/device_catalog.h"
#include "library/source_manifest.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QStringView>

#include <concepts>
#include <type_traits>
#include <utility>

namespace vorn {

// The JSON form of records. A record lists its fields once, in `describe(fields, record)`, in the
// order of their keys; reading and writing both follow from that list. Plain fields are required;
// an std::optional that is absent is left out, and read as absent when missing or null. Unknown
// keys are ignored.

/// A list of records, such as std::vector or QList.
template <class List>
concept recordList = requires(List list) { list.emplace_back(); };

/// Where a value stands in a document. Put into words only when the value is wrong.
struct JsonPlace {
    const JsonPlace *above = nullptr; ///< the object or list around it; null for the document
    QStringView name = {};            ///< the document's, or the key; empty for a list's element
    qsizetype index = 0;              ///< of a list's element
};

/// Reads the fields of one object. Throws JsonError that names the place.
class JsonReader {
public:
    /// Both must outlive the reader.
    JsonReader(const QJsonObject &object, const JsonPlace &place) : m_object(object), m_place(place)
    {
    }

    template <class Value> void operator()(QStringView key, Value &value) const
    {
        read(m_object.value(key), {&m_place, key}, value);
    }
    template <class Value> void operator()(QStringView key, std::optional<Value> &value) const
    {
        const QJsonValue json = m_object.value(key);
        if (json.isUndefined() || json.isNull())
            value.reset();
        else
            read(json, {&m_place, key}, value.emplace());
    }
    /// A list that counts as empty when the key is missing.
    template <recordList List> void listOrEmpty(QStringView key, List &list) const
    {
        const QJsonValue json = m_object.value(key);
        if (!json.isUndefined() && !json.isNull())
            read(json, {&m_place, key}, list);
    }

private:
    [[noreturn]] static void fail(const QJsonValue &json, const JsonPlace &place,
                                  const char *expected);

    static void read(const QJsonValue &json, const JsonPlace &place, QString &value);
    static void read(const QJsonValue &json, const JsonPlace &place, std::int64_t &value);
    static void read(const QJsonValue &json, const JsonPlace &place, double &value);
    static void read(const QJsonValue &json, const JsonPlace &place, bool &value);
    template <class Record>
    static void read(const QJsonValue &json, const JsonPlace &place, Record &record)
    {
        if (!json.isObject())
            fail(json, place, "an object");
        describe(JsonReader(json.toObject(), place), record);
    }
    template <recordList List>
    static void read(const QJsonValue &json, const JsonPlace &place, List &list)
    {
        if (!json.isArray())
            fail(json, place, "a list");
        const QJsonArray array = json.toArray();
        list.clear();
        list.reserve(decltype(list.size())(array.size()));
        for (qsizetype index = 0; index < array.size(); ++index)
            read(array.at(index), {&place, {}, index}, list.emplace_back());
    }

    const QJsonObject &m_object;
    const JsonPlace &m_place;
};

/// Appends a value's text. Fields are listed in the order of their keys, in which they are written.
class JsonWriter {
public:
    /// All in one line, or a key a line, that many tabs deep (blanks would double a large library).
    static constexpr qsizetype oneLine = -1;
    JsonWriter(QByteArray &json, qsizetype level) : m_json(json), m_level(level) {}

    template <class Value> void operator()(QStringView key, const Value &value)
    {
        Q_ASSERT(m_last < key);
        m_last = key;
        beginItem();
        appendJson(m_json, key);
        m_json.append(m_level == oneLine ? ":" : ": ");
        write(value);
    }
    template <class Value> void operator()(QStringView key, const std::optional<Value> &value)
    {
        if (value)
            (*this)(key, *value);
    }
    template <recordList List> void listOrEmpty(QStringView key, const List &list)
    {
        (*this)(key, list);
    }

    void write(const QString &value) { appendJson(m_json, value); }
    void write(std::int64_t value) { m_json += QByteArray::number(qint64{value}); }
    void write(double value) { appendJson(m_json, value); }
    void write(bool value) { m_json += value ? "true" : "false"; }
    template <class Record> void write(const Record &record)
    {
        m_json += '{';
        JsonWriter fields(m_json, inner());
        describe(fields, record);
        newLine(m_level);
        m_json += '}';
    }
    template <recordList List> void write(const List &list)
    {
        m_json += '[';
        JsonWriter items(m_json, inner());
        for (const auto &item : list) {
            items.beginItem();
            items.write(item);
        }
        newLine(m_level);
        m_json += ']';
    }

private:
    [[nodiscard]] qsizetype inner() const { return m_level == oneLine ? oneLine : m_level + 1; }
    void newLine(qsizetype level)
    {
        if (m_level != oneLine)
            m_json.append('\n').append(level, '\t');
    }
    void beginItem()
    {
        if (std::exchange(m_hasItems, true))
            m_json += ',';
        newLine(m_level);
    }

    QByteArray &m_json;
    qsizetype m_level;
    bool m_hasItems = false;
    QStringView m_last; ///< key, to see the order of the list
};

/// `Type` is `Record`, or const as a writer sees it.
template <class Type, class Record>
concept recordOf = std::same_as<std::remove_const_t<Type>, Record>;

template <class Fields, recordOf<TimingAnchor> Record>
void describe(Fields &&fields, Record &anchor)
{
    fields(u"confidence", anchor.confidence);
    fields(u"reference_seconds", anchor.referenceSeconds);
    fields(u"source_seconds", anchor.sourceSeconds);
    fields(u"uncertainty_ms", anchor.uncertaintyMs);
}

template <class Fields, recordOf<VORNClip> Record> void describe(Fields &&fields, Record &clip)
{
    fields(u"anchorMeaning", clip.anchorMeaning);
    fields(u"anchors", clip.anchors);
    fields(u"cameraId", clip.cameraId);
    fields(u"deviceId", clip.deviceId);
    fields(u"deviceName", clip.deviceName);
    fields(u"fileName", clip.fileName);
    fields(u"hasAudio", clip.hasAudio);
    fields(u"hasVideo", clip.hasVideo);
    fields(u"id", clip.id);
    fields(u"localPath", clip.localPath);
    fields(u"mediaKind", clip.mediaKind);
    fields(u"originCatalogRevision", clip.originCatalogRevision);
    fields(u"remoteURL", clip.remoteURL);
    fields(u"sha256", clip.sha256);
    fields(u"sizeBytes", clip.sizeBytes);
    fields(u"timingSidecarSHA256", clip.timingSidecarSHA256);
    fields(u"timingSidecarURL", clip.timingSidecarURL);
}

template <class Fields, recordOf<VORNTake> Record> void describe(Fields &&fields, Record &take)
{
    fields(u"clips", take.clips);
    fields(u"createdAt", take.createdAt);
    fields(u"id", take.id);
    fields(u"projectNameAtCapture", take.projectNameAtCapture);
    fields(u"projectRevisionAtCapture", take.projectRevisionAtCapture);
    fields(u"referenceCameraId", take.referenceCameraId);
    fields(u"sourceManifestPath", take.sourceManifestPath);
    fields(u"timelineFPS", take.timelineFPS);
}

template <class Fields, recordOf<VORNProject> Record>
void describe(Fields &&fields, Record &project)
{
    fields(u"id", project.id);
    fields(u"name", project.name);
    fields(u"revision", project.revision);
    fields(u"takes", project.takes);
}

template <class Fields, recordOf<VORNLibrary> Record>
void describe(Fields &&fields, Record &library)
{
    fields(u"projects", library.projects);
}

template <class Fields, recordOf<SourceClip> Record> void describe(Fields &&fields, Record &clip)
{
    fields(u"anchorMeaning", clip.anchorMeaning);
    fields.listOrEmpty(u"anchors", clip.anchors);
    fields(u"cameraId", clip.cameraId);
    fields(u"clipId", clip.clipId);
    fields(u"deviceId", clip.deviceId);
    fields(u"deviceName", clip.deviceName);
    fields(u"mediaKind", clip.mediaKind);
    fields(u"path", clip.path);
    fields(u"sha256", clip.sha256);
    fields(u"takeId", clip.takeId);
    fields(u"timingSidecarPath", clip.timingSidecarPath);
    fields(u"timingSidecarSHA256", clip.timingSidecarSHA256);
}

template <class Fields, recordOf<SourceManifest> Record>
void describe(Fields &&fields, Record &manifest)
{
    fields(u"clips", manifest.clips);
    fields(u"projectId", manifest.projectId);
    fields(u"projectName", manifest.projectName);
    fields(u"projectNameAtCapture", manifest.projectNameAtCapture);
    fields(u"projectRevision", manifest.projectRevision);
    fields(u"projectRevisionAtCapture", manifest.projectRevisionAtCapture);
    fields(u"referenceCameraId", manifest.referenceCameraId);
    fields(u"schemaVersion", manifest.schemaVersion);
    fields(u"takeId", manifest.takeId);
    fields(u"timelineFPS", manifest.timelineFPS);
}

template <class Fields, recordOf<CatalogClip> Record> void describe(Fields &&fields, Record &clip)
{
    fields(u"anchorMeaning", clip.anchorMeaning);
    fields(u"anchors", clip.anchors);
    fields(u"cameraId", clip.cameraId);
    fields(u"clipId", clip.clipId);
    fields(u"downloadURL", clip.downloadURL);
    fields(u"fileName", clip.fileName);
    fields(u"finalized", clip.finalized);
    fields(u"hasAudio", clip.hasAudio);
    fields(u"hasVideo", clip.hasVideo);
    fields(u"mediaKind", clip.mediaKind);
    fields(u"sha256", clip.sha256);
    fields(u"sizeBytes", clip.sizeBytes);
    fields(u"timingSidecarSHA256", clip.timingSidecarSHA256);
    fields(u"timingSidecarURL", clip.timingSidecarURL);
}

template <class Fields, recordOf<CatalogTake> Record> void describe(Fields &&fields, Record &take)
{
    fields(u"clips", take.clips);
    fields(u"createdAt", take.createdAt);
    fields(u"projectId", take.projectId);
    fields(u"projectNameAtCapture", take.projectNameAtCapture);
    fields(u"projectRevisionAtCapture", take.projectRevisionAtCapture);
    fields(u"referenceCameraId", take.referenceCameraId);
    fields(u"takeId", take.takeId);
    fields(u"timelineFPS", take.timelineFPS);
}

template <class Fields, recordOf<CatalogProject> Record>
void describe(Fields &&fields, Record &project)
{
    fields(u"name", project.name);
    fields(u"projectId", project.projectId);
    fields(u"revision", project.revision);
    fields(u"takes", project.takes);
}

template <class Fields, recordOf<DeviceCatalog> Record>
void describe(Fields &&fields, Record &catalog)
{
    fields(u"catalogRevision", catalog.catalogRevision);
    fields(u"deviceId", catalog.deviceId);
    fields(u"deviceName", catalog.deviceName);
    fields(u"generatedAt", catalog.generatedAt);
    fields(u"projects", catalog.projects);
    fields(u"schemaVersion", catalog.schemaVersion);
    fields(u"unassignedTakes", catalog.unassignedTakes);
}

/// Reads a record from the text of a JSON document; `document` is what errors call the file.
/// Throws JsonError.
template <class Record>
[[nodiscard]] Record recordFromJson(const QByteArray &text, const QString &document)
{
    Record record;
    const JsonPlace root{.name = document};
    describe(JsonReader(parseJsonObject(text, document), root), record);
    return record;
}

/// The text of a record in the lines of another text, `level` tabs deep: keys in order, one a line,
/// without the last line's end.
template <class Record>
[[nodiscard]] QByteArray nestedJsonFromRecord(const Record &record, qsizetype level)
{
    QByteArray json;
    JsonWriter(json, level).write(record);
    return json;
}

/// The text of a document that holds a record, with its last line's end.
template <class Record> [[nodiscard]] QByteArray jsonFromRecord(const Record &record)
{
    return nestedJsonFromRecord(record, 0) + '\n';
}

/// The text of a record in one line, without its end.
template <class Record> [[nodiscard]] QByteArray lineFromRecord(const Record &record)
{
    return nestedJsonFromRecord(record, JsonWriter::oneLine);
}

} // namespace vorn
