// SPDX-License-Identifier: Apache-2.0

#include "library/catalog_merge.h"

#include "base/resolved_url.h"
#include "base/text_order.h"
#include "library/identity_merge.h"
#include "library/safe_identifier.h"

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

/// Name and revision of a project after the catalog's word. An older catalog does not roll a
/// project back.
void reconcileProject(const CatalogProject &source, VORNProject &project)
{
    const std::int64_t known = project.revision.value_or(0);
    if (known < source.revision) {
        project.name = source.name;
        project.revision = source.revision;
    } else if (known == source.revision && project.name != source.name) {
        throw IdentityError(u"Project ID %1 has conflicting names at revision %2."_s.arg(
            source.projectId, QString::number(source.revision)));
    }
}

/// One catalog on its way into one library.
class CatalogMerge {
public:
    CatalogMerge(const DeviceCatalog &catalog, const QUrl &baseURL, VORNLibrary library)
        : m_catalog(catalog),
          m_baseURL(baseURL),
          m_places(library),
          m_projects(std::move(library.projects))
    {
    }

    void mergeProject(const CatalogProject &source)
    {
        if (source.projectId.isEmpty() || source.name.isEmpty())
            throw IdentityError(u"Catalog project identity is missing."_s);
        VORNProject project = knownOr({.id = source.projectId,
                                       .name = source.name,
                                       .revision = source.revision,
                                       .takes = {}});
        reconcileProject(source, project);
        mergeTakes(source.takes, std::move(project), [&](const CatalogTake &take) {
            if (take.projectId && *take.projectId != source.projectId)
                throw IdentityError(u"Take %1 carries the wrong project ID."_s.arg(take.takeId));
        });
    }

    void mergeUnassignedTakes(const std::vector<CatalogTake> &takes)
    {
        VORNProject project =
            knownOr({.id = unassignedProjectPrefix.toString() + safeIdentifier(m_catalog.deviceId),
                     .name = u"Unassigned \u2014 "_s + m_catalog.deviceName,
                     .revision = 1,
                     .takes = {}});
        mergeTakes(takes, std::move(project), [](const CatalogTake &take) {
            if (take.projectId)
                throw IdentityError(u"An unassigned take unexpectedly carries a project ID."_s);
        });
    }

    [[nodiscard]] VORNLibrary result() &&
    {
        VORNLibrary library{std::move(m_projects).take()};
        sort(library.projects, &VORNProject::name);
        return library;
    }

private:
    [[nodiscard]] VORNProject knownOr(VORNProject fresh) const
    {
        const VORNProject *known = m_projects.find(fresh.id);
        return known ? *known : fresh;
    }

    template <class Check>
    void mergeTakes(const std::vector<CatalogTake> &sources, VORNProject project,
                    const Check &requireOwner)
    {
        MergeList takes(std::move(project.takes));
        for (const CatalogTake &source : sources) {
            requireOwner(source);
            takes.put(mergedTake(source, takes.find(source.takeId), project.id));
        }
        project.takes = std::move(takes).take();
        if (!sources.empty())
            sort(project.takes, &VORNTake::id);
        m_projects.put(std::move(project));
    }

    [[nodiscard]] VORNTake mergedTake(const CatalogTake &source, const VORNTake *known,
                                      const QString &projectId)
    {
        if (source.takeId.isEmpty())
            throw IdentityError(u"Catalog take ID is missing."_s);
        VORNTake take = known ? *known : VORNTake{};
        take.id = source.takeId;
        applyStatement({.projectNameAtCapture = source.projectNameAtCapture,
                        .projectRevisionAtCapture = source.projectRevisionAtCapture,
                        .createdAt = source.createdAt,
                        .referenceCameraId = source.referenceCameraId,
                        .timelineFPS = source.timelineFPS},
                       take);
        TakeMerge merge(std::move(take), projectId, m_places);
        for (const CatalogClip &clip : source.clips) {
            if (!clip.finalized || !clip.hasVideo)
                throw IdentityError(
                    u"Catalog clip %1 is not finalized video media."_s.arg(clip.clipId));
            merge.mergeClip(mappedClip(clip));
        }
        VORNTake merged = std::move(merge).result();
        sort(merged.clips, &VORNClip::cameraId);
        return merged;
    }

    [[nodiscard]] VORNClip mappedClip(const CatalogClip &source) const
    {
        VORNClip clip;
        clip.id = source.clipId;
        clip.cameraId = source.cameraId;
        clip.fileName = source.fileName;
        if (const auto url = resolvedUrl(source.downloadURL, m_baseURL))
            clip.remoteURL = url->toString(QUrl::FullyEncoded);
        clip.sizeBytes = source.sizeBytes;
        clip.sha256 = source.sha256;
        clip.anchorMeaning = source.anchorMeaning;
        if (source.anchors)
            clip.anchors = *source.anchors;
        clip.mediaKind = source.mediaKind;
        clip.hasVideo = true;
        clip.hasAudio = source.hasAudio;
        clip.timingSidecarURL = source.timingSidecarURL;
        clip.timingSidecarSHA256 = source.timingSidecarSHA256;
        clip.deviceId = m_catalog.deviceId;
        clip.deviceName = m_catalog.deviceName;
        clip.originCatalogRevision = m_catalog.catalogRevision;
        return clip;
    }

    /// With one collator for all lists: there may be as many as takes.
    template <class List> void sort(List &records, QString List::value_type::*text) const
    {
        if (records.size() > 1)
            std::ranges::stable_sort(records, m_less, text);
    }

    const DeviceCatalog &m_catalog;
    const QUrl &m_baseURL;
    ClipPlaces m_places;
    MergeList<std::vector<VORNProject>> m_projects;
    const std::function<bool(const QString &, const QString &)> m_less = localizedLess();
};

} // namespace

VORNLibrary mergeCatalog(const DeviceCatalog &catalog, const QUrl &baseURL, VORNLibrary library)
{
    if (catalog.deviceId.isEmpty() || catalog.deviceName.isEmpty())
        throw IdentityError(u"Catalog device identity is missing."_s);
    const bool hasUnassigned = catalog.unassignedTakes && !catalog.unassignedTakes->empty();
    if (catalog.projects.empty() && !hasUnassigned)
        return library;
    CatalogMerge merge(catalog, baseURL, std::move(library));
    for (const CatalogProject &project : catalog.projects)
        merge.mergeProject(project);
    if (hasUnassigned)
        merge.mergeUnassignedTakes(*catalog.unassignedTakes);
    return std::move(merge).result();
}

} // namespace vorn
