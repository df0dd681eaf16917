// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/json_text.h"
#include "library/device_catalog.h"
#include "library/source_manifest.h"

#include <QJsonArray>
#include <QJsonObject>

#include <concepts>
#include <type_traits>

namespace vorn {

// The JSON form of records. A record lists its fields once, in `describe(fields, record)`; reading
// and writing both follow from that list. Plain fields are required; an std::optional that is
// absent is left out, and read as absent when missing or null. Unknown keys are ignored.

/// A list of records, such as std::vector or QList.
template <class List>
concept recordList = requires(List list) { list.emplace_back(); };

/// Where a value stands in a document. Put into words only when the value is wrong.
struct JsonPlace {
    const JsonPlace *above = nullptr; ///< the object or list around it; null for the document
    QString name = {};                ///< the document's, or the key; empty for a list's element
    qsizetype index = 0;              ///< of a list's element
};

/// Reads the fields of one object. Throws JsonError that names the place.
class JsonReader {
public:
    /// Both must outlive the reader.
    JsonReader(const QJsonObject &object, const JsonPlace &place) : m_object(object), m_place(place)
    {
    }

    template <class Value> void operator()(const QString &key, Value &value) const
    {
        read(m_object.value(key), {&m_place, key}, value);
    }
    template <class Value> void operator()(const QString &key, std::optional<Value> &value) const
    {
        const QJsonValue json = m_object.value(key);
        if (json.isUndefined() || json.isNull())
            value.reset();
        else
            read(json, {&m_place, key}, value.emplace());
    }
    /// A list that counts as empty when the key is missing.
    template <recordList List> void listOrEmpty(const QString &key, List &list) const
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

/// Collects the fields of one record into an object.
class JsonWriter {
public:
    template <class Value> void operator()(const QString &key, const Value &value)
    {
        m_object.insert(key, json(value));
    }
    template <class Value> void operator()(const QString &key, const std::optional<Value> &value)
    {
        if (value)
            m_object.insert(key, json(*value));
    }
    template <recordList List> void listOrEmpty(const QString &key, const List &list)
    {
        (*this)(key, list);
    }

    [[nodiscard]] const QJsonObject &object() const { return m_object; }

private:
    static QJsonValue json(const QString &value) { return value; }
    static QJsonValue json(std::int64_t value) { return qint64{value}; }
    static QJsonValue json(double value) { return value; }
    static QJsonValue json(bool value) { return value; }
    template <class Record> static QJsonValue json(const Record &record)
    {
        JsonWriter writer;
        describe(writer, record);
        return writer.m_object;
    }
    template <recordList List> static QJsonValue json(const List &list)
    {
        QJsonArray array;
        for (const auto &record : list)
            array.append(json(record));
        return array;
    }

    QJsonObject m_object;
};

/// `Type` is `Record`, or const as a writer sees it.
template <class Type, class Record>
concept recordOf = std::same_as<std::remove_const_t<Type>, Record>;

template <class Fields, recordOf<TimingAnchor> Record>
void describe(Fields &&fields, Record &anchor)
{
    fields(QStringLiteral("source_seconds"), anchor.sourceSeconds);
    fields(QStringLiteral("reference_seconds"), anchor.referenceSeconds);
    fields(QStringLiteral("confidence"), anchor.confidence);
    fields(QStringLiteral("uncertainty_ms"), anchor.uncertaintyMs);
}

template <class Fields, recordOf<VORNClip> Record> void describe(Fields &&fields, Record &clip)
{
    fields(QStringLiteral("id"), clip.id);
    fields(QStringLiteral("cameraId"), clip.cameraId);
    fields(QStringLiteral("fileName"), clip.fileName);
    fields(QStringLiteral("localPath"), clip.localPath);
    fields(QStringLiteral("remoteURL"), clip.remoteURL);
    fields(QStringLiteral("sizeBytes"), clip.sizeBytes);
    fields(QStringLiteral("sha256"), clip.sha256);
    fields(QStringLiteral("anchorMeaning"), clip.anchorMeaning);
    fields(QStringLiteral("anchors"), clip.anchors);
    fields(QStringLiteral("mediaKind"), clip.mediaKind);
    fields(QStringLiteral("hasVideo"), clip.hasVideo);
    fields(QStringLiteral("hasAudio"), clip.hasAudio);
    fields(QStringLiteral("timingSidecarURL"), clip.timingSidecarURL);
    fields(QStringLiteral("timingSidecarSHA256"), clip.timingSidecarSHA256);
    fields(QStringLiteral("deviceId"), clip.deviceId);
    fields(QStringLiteral("deviceName"), clip.deviceName);
    fields(QStringLiteral("originCatalogRevision"), clip.originCatalogRevision);
}

template <class Fields, recordOf<VORNTake> Record> void describe(Fields &&fields, Record &take)
{
    fields(QStringLiteral("id"), take.id);
    fields(QStringLiteral("projectNameAtCapture"), take.projectNameAtCapture);
    fields(QStringLiteral("projectRevisionAtCapture"), take.projectRevisionAtCapture);
    fields(QStringLiteral("createdAt"), take.createdAt);
    fields(QStringLiteral("referenceCameraId"), take.referenceCameraId);
    fields(QStringLiteral("timelineFPS"), take.timelineFPS);
    fields(QStringLiteral("sourceManifestPath"), take.sourceManifestPath);
    fields(QStringLiteral("clips"), take.clips);
}

template <class Fields, recordOf<VORNProject> Record>
void describe(Fields &&fields, Record &project)
{
    fields(QStringLiteral("id"), project.id);
    fields(QStringLiteral("name"), project.name);
    fields(QStringLiteral("revision"), project.revision);
    fields(QStringLiteral("takes"), project.takes);
}

template <class Fields, recordOf<VORNLibrary> Record>
void describe(Fields &&fields, Record &library)
{
    fields(QStringLiteral("projects"), library.projects);
}

template <class Fields, recordOf<SourceClip> Record> void describe(Fields &&fields, Record &clip)
{
    fields(QStringLiteral("clipId"), clip.clipId);
    fields(QStringLiteral("cameraId"), clip.cameraId);
    fields(QStringLiteral("takeId"), clip.takeId);
    fields(QStringLiteral("path"), clip.path);
    fields(QStringLiteral("sha256"), clip.sha256);
    fields(QStringLiteral("anchorMeaning"), clip.anchorMeaning);
    fields.listOrEmpty(QStringLiteral("anchors"), clip.anchors);
    fields(QStringLiteral("mediaKind"), clip.mediaKind);
    fields(QStringLiteral("timingSidecarPath"), clip.timingSidecarPath);
    fields(QStringLiteral("timingSidecarSHA256"), clip.timingSidecarSHA256);
    fields(QStringLiteral("deviceId"), clip.deviceId);
    fields(QStringLiteral("deviceName"), clip.deviceName);
}

template <class Fields, recordOf<SourceManifest> Record>
void describe(Fields &&fields, Record &manifest)
{
    fields(QStringLiteral("schemaVersion"), manifest.schemaVersion);
    fields(QStringLiteral("projectId"), manifest.projectId);
    fields(QStringLiteral("projectName"), manifest.projectName);
    fields(QStringLiteral("projectRevision"), manifest.projectRevision);
    fields(QStringLiteral("projectNameAtCapture"), manifest.projectNameAtCapture);
    fields(QStringLiteral("projectRevisionAtCapture"), manifest.projectRevisionAtCapture);
    fields(QStringLiteral("takeId"), manifest.takeId);
    fields(QStringLiteral("referenceCameraId"), manifest.referenceCameraId);
    fields(QStringLiteral("timelineFPS"), manifest.timelineFPS);
    fields(QStringLiteral("clips"), manifest.clips);
}

template <class Fields, recordOf<CatalogClip> Record> void describe(Fields &&fields, Record &clip)
{
    fields(QStringLiteral("clipId"), clip.clipId);
    fields(QStringLiteral("cameraId"), clip.cameraId);
    fields(QStringLiteral("fileName"), clip.fileName);
    fields(QStringLiteral("sizeBytes"), clip.sizeBytes);
    fields(QStringLiteral("sha256"), clip.sha256);
    fields(QStringLiteral("downloadURL"), clip.downloadURL);
    fields(QStringLiteral("finalized"), clip.finalized);
    fields(QStringLiteral("mediaKind"), clip.mediaKind);
    fields(QStringLiteral("hasVideo"), clip.hasVideo);
    fields(QStringLiteral("hasAudio"), clip.hasAudio);
    fields(QStringLiteral("timingSidecarURL"), clip.timingSidecarURL);
    fields(QStringLiteral("timingSidecarSHA256"), clip.timingSidecarSHA256);
    fields(QStringLiteral("anchorMeaning"), clip.anchorMeaning);
    fields(QStringLiteral("anchors"), clip.anchors);
}

template <class Fields, recordOf<CatalogTake> Record> void describe(Fields &&fields, Record &take)
{
    fields(QStringLiteral("takeId"), take.takeId);
    fields(QStringLiteral("projectId"), take.projectId);
    fields(QStringLiteral("projectNameAtCapture"), take.projectNameAtCapture);
    fields(QStringLiteral("projectRevisionAtCapture"), take.projectRevisionAtCapture);
    fields(QStringLiteral("createdAt"), take.createdAt);
    fields(QStringLiteral("referenceCameraId"), take.referenceCameraId);
    fields(QStringLiteral("timelineFPS"), take.timelineFPS);
    fields(QStringLiteral("clips"), take.clips);
}

template <class Fields, recordOf<CatalogProject> Record>
void describe(Fields &&fields, Record &project)
{
    fields(QStringLiteral("projectId"), project.projectId);
    fields(QStringLiteral("name"), project.name);
    fields(QStringLiteral("revision"), project.revision);
    fields(QStringLiteral("takes"), project.takes);
}

template <class Fields, recordOf<DeviceCatalog> Record>
void describe(Fields &&fields, Record &catalog)
{
    fields(QStringLiteral("schemaVersion"), catalog.schemaVersion);
    fields(QStringLiteral("deviceId"), catalog.deviceId);
    fields(QStringLiteral("deviceName"), catalog.deviceName);
    fields(QStringLiteral("catalogRevision"), catalog.catalogRevision);
    fields(QStringLiteral("generatedAt"), catalog.generatedAt);
    fields(QStringLiteral("projects"), catalog.projects);
    fields(QStringLiteral("unassignedTakes"), catalog.unassignedTakes);
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

/// The JSON object of a record.
template <class Record> [[nodiscard]] QJsonObject jsonFromRecord(const Record &record)
{
    JsonWriter writer;
    describe(writer, record);
    return writer.object();
}

} // namespace vorn
