// SPDX-License-Identifier: Apache-2.0

#include "library/manifest_import.h"

#include "base/files.h"
#include "library/identity_merge.h"
#include "library/record_json.h"

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

// A manifest of 10,000 clips with a hundred anchors each is below this.
constexpr std::int64_t maximumManifestBytes = std::int64_t{256} * 1024 * 1024;

/// The project that the manifest belongs to, with the name and revision it has afterwards.
VORNProject reconciledProject(const SourceManifest &manifest, const VORNLibrary &library)
{
    const QString name = manifest.projectName.value_or(manifest.projectId);
    const VORNProject *known = findById(library.projects, manifest.projectId);
    VORNProject project = known ? *known
                                : VORNProject{.id = manifest.projectId,
                                              .name = name,
                                              .revision = manifest.projectRevision,
                                              .takes = {}};
    if (manifest.projectRevision && project.revision.value_or(0) < *manifest.projectRevision) {
        project.name = name;
        project.revision = manifest.projectRevision;
    } else if (manifest.projectName && *manifest.projectName != project.name
               && (!manifest.projectRevision || manifest.projectRevision == project.revision)) {
        throw IdentityError(
            u"Project ID %1 has conflicting names at the same revision."_s.arg(manifest.projectId));
    }
    return project;
}

VORNClip mappedClip(const SourceClip &source, const SourceManifest &manifest, const QString &base)
{
    const QString path = resolvedPath(base, source.path);
    VORNClip clip;
    clip.id = source.clipId.value_or(manifest.takeId + u"::"_s + source.cameraId);
    clip.cameraId = source.cameraId;
    clip.fileName = fileNameOf(path);
    clip.localPath = path;
    clip.sha256 = source.sha256;
    clip.anchorMeaning = source.anchorMeaning;
    clip.anchors = source.anchors;
    clip.mediaKind = source.mediaKind;
    clip.timingSidecarURL = source.timingSidecarPath;
    clip.timingSidecarSHA256 = source.timingSidecarSHA256;
    clip.deviceId = source.deviceId;
    clip.deviceName = source.deviceName;
    return clip;
}

} // namespace

SourceManifest readSourceManifest(const QString &path)
{
    return recordFromJson<SourceManifest>(readFile(path, maximumManifestBytes), fileNameOf(path));
}

ImportedTake importedTake(const SourceManifest &manifest, const QString &manifestPath,
                          const VORNLibrary &library)
{
    if (manifest.schemaVersion != 1)
        throw IdentityError(u"Unsupported source manifest version."_s);
    VORNProject project = reconciledProject(manifest, library);

    const VORNTake *known = findById(project.takes, manifest.takeId);
    VORNTake take = known ? *known : VORNTake{};
    take.id = manifest.takeId;
    applyStatement({.projectNameAtCapture = manifest.projectNameAtCapture,
                    .projectRevisionAtCapture = manifest.projectRevisionAtCapture,
                    .createdAt = {},
                    .referenceCameraId = manifest.referenceCameraId,
                    .timelineFPS = manifest.timelineFPS},
                   take);
    take.sourceManifestPath = manifestPath;

    const QString base = manifestPath.first(manifestPath.lastIndexOf(u'/') + 1);
    ClipPlaces places(library);
    TakeMerge merge(std::move(take), project.id, places);
    for (const SourceClip &source : manifest.clips)
        merge.mergeClip(mappedClip(source, manifest, base));

    std::erase_if(project.takes, [&](const VORNTake &old) { return old.id == manifest.takeId; });
    project.takes.push_back(std::move(merge).result());
    return {std::move(project), manifest.takeId, manifest.clips.size()};
}

} // namespace vorn
