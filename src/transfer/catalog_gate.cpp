// SPDX-License-Identifier: Apache-2.0

#include "transfer/catalog_gate.h"

#include "base/text_form.h"
#include "transfer/transfer_protocol.h"

#include <QSet>

using namespace Qt::StringLiterals;

namespace vorn::TransferProtocol {
namespace {

// Bytes of UTF-8.
constexpr qsizetype maximumDeviceNameBytes = 128;
constexpr qsizetype maximumProjectNameBytes = 256;
constexpr qsizetype maximumCameraIdBytes = 128;
constexpr qsizetype maximumFileNameBytes = 255; // what file systems hold, NAME_MAX

/// True when `text` was not in the set, and now is.
bool insertNew(QSet<QString> &set, const QString &text)
{
    const qsizetype before = set.size();
    set.insert(text);
    return set.size() > before;
}

/// A lone surrogate has no UTF-8 form: written to the library file it would become another text.
bool isStorableText(const QString &text, qsizetype maximumBytes)
{
    return isBoundedText(text, maximumBytes) && text.isValidUtf16();
}

bool isUuid(const QString &text)
{
    return canonicalUuid(text).has_value();
}

bool isBareFileName(const QString &name)
{
    // The system would end the name at a NUL.
    return isStorableText(name, maximumFileNameBytes) && name != u"." && name != u".."
           && !name.contains(u'/') && !name.contains(QChar::Null);
}

/// What one catalog has shown so far.
class CatalogGate {
public:
    explicit CatalogGate(const QUrl &baseURL) : m_baseURL(baseURL) {}

    void validateTake(const CatalogTake &take, const std::optional<QString> &expectedProjectID)
    {
        require(isStorableText(take.takeId, maximumTakeIdBytes)
                    && take.projectId == expectedProjectID,
                u"Authenticated catalog take identity is invalid."_s);
        QSet<QString> cameraIds;
        for (const CatalogClip &clip : take.clips) {
            validateRecording(clip, cameraIds);
            (void)resolvedClipURL(clip.downloadURL, clip.clipId, m_baseURL, ClipFile::media);
            validateTimingSidecar(clip);
        }
    }

private:
    void validateRecording(const CatalogClip &clip, QSet<QString> &cameraIds)
    {
        require(isUuid(clip.clipId) && clip.finalized && clip.hasVideo && clip.sizeBytes >= 1
                    && isValidSHA256(clip.sha256)
                    && isStorableText(clip.cameraId, maximumCameraIdBytes)
                    && insertNew(cameraIds, clip.cameraId) && insertNew(m_clipIds, clip.clipId)
                    && isBareFileName(clip.fileName),
                u"Authenticated catalog clip metadata is invalid."_s);
    }

    void validateTimingSidecar(const CatalogClip &clip) const
    {
        if (!clip.timingSidecarURL) {
            require(!clip.timingSidecarSHA256, u"Timing sidecar digest has no matching URL."_s);
            return;
        }
        require(clip.timingSidecarSHA256 && isValidSHA256(*clip.timingSidecarSHA256),
                u"Timing sidecar identity is incomplete."_s);
        (void)resolvedClipURL(*clip.timingSidecarURL, clip.clipId, m_baseURL,
                              ClipFile::timingSidecar);
    }

    const QUrl &m_baseURL;
    QSet<QString> m_clipIds; ///< of the whole catalog
};

} // namespace

void validateAuthenticatedCatalog(const DeviceCatalog &catalog, const QUrl &baseURL)
{
    require(isUuid(catalog.deviceId) && isStorableText(catalog.deviceName, maximumDeviceNameBytes)
                && catalog.catalogRevision >= 0,
            u"Authenticated catalog device metadata is invalid."_s);
    CatalogGate gate(baseURL);
    QSet<QString> projectIds;
    for (const CatalogProject &project : catalog.projects) {
        require(isUuid(project.projectId) && insertNew(projectIds, project.projectId)
                    && isStorableText(project.name, maximumProjectNameBytes)
                    && project.revision >= 1,
                u"Authenticated catalog project metadata is invalid."_s);
        QSet<QString> takeIds;
        for (const CatalogTake &take : project.takes) {
            require(insertNew(takeIds, take.takeId), u"Authenticated catalog repeats a take ID."_s);
            gate.validateTake(take, project.projectId);
        }
    }
    if (!catalog.unassignedTakes)
        return;
    QSet<QString> takeIds;
    for (const CatalogTake &take : *catalog.unassignedTakes) {
        require(insertNew(takeIds, take.takeId),
                u"Authenticated catalog repeats an unassigned take ID."_s);
        gate.validateTake(take, std::nullopt);
    }
}

} // namespace vorn::TransferProtocol
