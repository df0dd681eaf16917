// SPDX-License-Identifier: Apache-2.0

#include "rig/transfer/media.h"

#include "base/digest.h"
#include "base/files.h"
#include "base/json_text.h"
#include "rig/base/cast.h"
#include "rig/base/compact_json.h"
#include "rig/base/rig_error.h"
#include "rig/transfer/made_content.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QJsonArray>
#include <QUuid>

#include <unistd.h>

#include <algorithm>
#include <memory>

namespace vorn::rig {

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 maximumManifestBytes = 1 << 20;
constexpr qint64 secondsBetweenTakes = 600;

// Names the rig's projects and clips (RFC 9562 section 5.5); any fixed value does.
const QUuid mediaNamespace(u"a4f0c8d2-1b7e-4f5a-8e63-0d9c2b7a5e14"_s);

QString idOf(const QString &name)
{
    return QUuid::createUuidV5(mediaNamespace, name).toString(QUuid::WithoutBraces);
}

// The bytes of a movie. What cannot be read comes as zeros, and its digest tells.
ServedFile movie(const QString &path, const QString &sha256)
{
    const auto file = std::make_shared<const FileDescriptor>(openRegularFile(path));
    return {"video/quicktime", sha256, fileSize(*file, path),
            [file](qint64 offset, std::span<char> into) {
                std::size_t done = 0;
                while (done < into.size()) {
                    const ssize_t got = ::pread(file->get(), into.data() + done, into.size() - done,
                                                offset + qint64(done));
                    if (got <= 0)
                        break;
                    done += std::size_t(got);
                }
                std::ranges::fill(into.subspan(done), '\0');
            }};
}

// One phone's shelf, as it fills.
class Shelf {
public:
    explicit Shelf(int castIndex) : m_castIndex(castIndex), m_member(castMember(castIndex)) {}

    void addRecordings(const QString &folder)
    {
        int number = 0;
        QStringList takeIds;
        for (const QString &take : takeFolders(folder)) {
            const QJsonObject manifest =
                parseJsonObject(readFile(take + u"/manifest.json"_s, maximumManifestBytes), take);
            const QString takeId = manifest[u"takeId"_s].toString();
            if (takeIds.contains(takeId))
                throw RigError(
                    u"%1 holds two takes %2; give each its --number."_s.arg(folder, takeId));
            takeIds += takeId;
            addRecording(take, manifest, number++);
        }
        addProject(u"night-shoot"_s, u"Night Shoot"_s);
    }

    void addSynthetic(int clips, qint64 bytes)
    {
        const QString name = u"Synthetic Clips"_s;
        for (int number = 0; number < clips; ++number) {
            QJsonObject take =
                takeFacts(u"synthetic-%1"_s.arg(number + 1, 5, 10, QChar(u'0')), number);
            take.insert(u"projectId"_s, idOf(u"synthetic"_s));
            take.insert(u"projectNameAtCapture"_s, name);
            take.insert(u"projectRevisionAtCapture"_s, 1);
            m_takes.append(withSynthetic(take, bytes, number));
        }
        addProject(u"synthetic"_s, name);
    }

    void addUnassigned(qint64 bytes)
    {
        // A content that no clip of a project has.
        m_unassigned.append(withSynthetic(takeFacts(u"unassigned-0001"_s, 0), bytes, -1));
    }

    PhoneMedia take()
    {
        m_media.catalog = QJsonObject{{u"schemaVersion"_s, 1},
                                      {u"deviceId"_s, m_member.deviceId},
                                      {u"deviceName"_s, m_member.deviceName},
                                      {u"catalogRevision"_s, 1},
                                      {u"generatedAt"_s, timeText(QDateTime::currentDateTimeUtc())},
                                      {u"projects"_s, m_projects}};
        if (!m_unassigned.isEmpty())
            m_media.catalog.insert(u"unassignedTakes"_s, m_unassigned);
        return std::move(m_media);
    }

private:
    static QString timeText(const QDateTime &time) { return time.toString(Qt::ISODate); }

    static QStringList takeFolders(const QString &folder)
    {
        const QDir root(folder);
        if (root.exists(u"manifest.json"_s))
            return {folder};
        QStringList found;
        for (const QString &name : root.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name))
            if (root.exists(name + u"/manifest.json"_s))
                found += root.filePath(name);
        if (found.isEmpty())
            throw RigError(u"%1 holds no take of vorn-rig take."_s.arg(folder));
        return found;
    }

    static QJsonObject takeFacts(const QString &takeId, int number)
    {
        const QDateTime first(QDate(2026, 5, 1), QTime(19, 0), Qt::UTC);
        return {{u"takeId"_s, takeId},
                {u"createdAt"_s, timeText(first.addSecs(number * secondsBetweenTakes))},
                {u"timelineFPS"_s, u"30"_s},
                {u"referenceCameraId"_s, castMember(0).cameraId}};
    }

    void addRecording(const QString &folder, const QJsonObject &manifest, int number)
    {
        QJsonObject take = takeFacts(manifest[u"takeId"_s].toString(), number);
        take.insert(u"projectId"_s, idOf(manifest[u"projectId"_s].toString()));
        for (const QString &key : {u"projectNameAtCapture"_s, u"projectRevisionAtCapture"_s,
                                   u"timelineFPS"_s, u"referenceCameraId"_s})
            take.insert(key, manifest[key]);
        for (const QJsonValue recorded : manifest[u"clips"_s].toArray())
            if (recorded[u"cameraId"_s] == m_member.cameraId) {
                take.insert(u"clips"_s, QJsonArray{recordedClip(folder, recorded.toObject())});
                m_takes.append(take);
            }
    }

    QJsonObject recordedClip(const QString &folder, const QJsonObject &recorded)
    {
        const QString sha256 = recorded[u"sha256"_s].toString();
        const QString fileName = recorded[u"path"_s].toString();
        // The same clip of a take that was made anew is another recording.
        const QString clipId = idOf(recorded[u"clipId"_s].toString() + sha256);
        QJsonObject clip = put(clipId, fileName, movie(folder + u'/' + fileName, sha256));
        if (recorded.contains(u"anchors"_s))
            addTiming(clip, recorded);
        return clip;
    }

    void addTiming(QJsonObject &clip, const QJsonObject &recorded)
    {
        QJsonObject timing{{u"clipId"_s, clip[u"clipId"_s]}};
        for (const QString &key : {u"anchorMeaning"_s, u"anchors"_s}) {
            clip.insert(key, recorded[key]);
            timing.insert(key, recorded[key]);
        }
        const QByteArray text = compactJson(timing);
        const QString address = clip[u"downloadURL"_s].toString() + u".timing.json"_s;
        const QString digest =
            QString::fromLatin1(QCryptographicHash::hash(text, QCryptographicHash::Sha256).toHex());
        m_media.files[address.toLatin1()] = {"application/json", digest, text.size(),
                                             contentOf(text)};
        clip.insert(u"timingSidecarURL"_s, address);
        clip.insert(u"timingSidecarSHA256"_s, digest);
    }

    QJsonObject withSynthetic(QJsonObject take, qint64 bytes, int number)
    {
        const QString takeId = take[u"takeId"_s].toString();
        const ContentReader content = madeContent(m_castIndex, number);
        take.insert(u"clips"_s,
                    QJsonArray{put(idOf(takeId + m_member.cameraId + QString::number(bytes)),
                                   takeId + u'-' + m_member.cameraId + u".mov"_s,
                                   {"video/quicktime", sha256Of(content, bytes), bytes, content})});
        return take;
    }

    // Puts the file where clients find it, and gives the clip of the catalog.
    QJsonObject put(const QString &clipId, const QString &fileName, const ServedFile &file)
    {
        const QString address = u"/vorn/v1/files/"_s + clipId;
        m_media.files[address.toLatin1()] = file;
        return {{u"clipId"_s, clipId},      {u"cameraId"_s, m_member.cameraId},
                {u"fileName"_s, fileName},  {u"sizeBytes"_s, file.size},
                {u"sha256"_s, file.sha256}, {u"downloadURL"_s, address},
                {u"finalized"_s, true},     {u"mediaKind"_s, u"video"_s},
                {u"hasVideo"_s, true},      {u"hasAudio"_s, true}};
    }

    void addProject(const QString &name, const QString &shownName)
    {
        m_projects.append(QJsonObject{{u"projectId"_s, idOf(name)},
                                      {u"name"_s, shownName},
                                      {u"revision"_s, 1},
                                      {u"takes"_s, std::exchange(m_takes, {})}});
    }

    int m_castIndex;
    CastMember m_member;
    PhoneMedia m_media;
    QJsonArray m_projects;
    QJsonArray m_takes; ///< of the next project
    QJsonArray m_unassigned;
};

} // namespace

PhoneMedia phoneMedia(const MediaOptions &options, int castIndex)
{
    Shelf shelf(castIndex);
    if (!options.folder.isEmpty())
        shelf.addRecordings(options.folder);
    if (options.clips > 0)
        shelf.addSynthetic(options.clips, options.clipBytes);
    if (options.unassignedOf == castMember(castIndex).cameraId)
        shelf.addUnassigned(options.clipBytes);
    return shelf.take();
}

} // namespace vorn::rig
