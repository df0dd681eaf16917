// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "catalog_samples.h"
#include "library/records.h"

#include <QStringList>

namespace vorn {

/// A take of four recordings with ten anchors each, all of them on this computer.
[[nodiscard]] inline VORNTake takeOf(const QString &id)
{
    VORNTake take;
    take.id = id;
    take.referenceCameraId = QStringLiteral("camera-0");
    for (int c = 0; c < 4; ++c) {
        VORNClip clip;
        clip.cameraId = QStringLiteral("camera-%1").arg(c);
        clip.id = id + QStringLiteral("::") + clip.cameraId;
        clip.fileName = clip.cameraId + QStringLiteral(".mov");
        clip.localPath = QStringLiteral("/media/footage/%1/%2").arg(id, clip.fileName);
        clip.sizeBytes = 1'234'567'890;
        clip.sha256 = QString(64, u'a');
        clip.anchorMeaning = QStringLiteral("same-event-reference-media-seconds");
        for (int i = 0; i < 10; ++i)
            clip.anchors.push_back({.sourceSeconds = i * 6.1234567,
                                    .referenceSeconds = 0.25 + i * 6.1234789,
                                    .confidence = 0.95,
                                    .uncertaintyMs = 1.25});
        take.clips.push_back(clip);
    }
    return take;
}

/// So many projects of so many such takes.
[[nodiscard]] inline VORNLibrary libraryOf(int projects, int takesInProject)
{
    VORNLibrary library;
    for (int p = 0; p < projects; ++p) {
        VORNProject project{.id = QStringLiteral("project-%1").arg(p),
                            .name = QStringLiteral("Project %1").arg(p),
                            .revision = 1,
                            .takes = {}};
        for (int t = 0; t < takesInProject; ++t)
            project.takes.push_back(
                takeOf(QStringLiteral("take-%1-%2").arg(p).arg(t, 6, 10, QLatin1Char('0'))));
        library.projects.push_back(project);
    }
    return library;
}

/// What one phone has: takes of one recording with ten anchors, all in one project.
[[nodiscard]] inline DeviceCatalog catalogOf(int clips)
{
    DeviceCatalog catalog;
    catalog.deviceId = sampleUuid(0);
    catalog.deviceName = QStringLiteral("Cam 01");
    catalog.catalogRevision = 1;
    catalog.projects = {
        {.projectId = sampleUuid(1), .name = QStringLiteral("Night"), .revision = 1, .takes = {}}};
    for (int n = 0; n < clips; ++n) {
        CatalogClip clip = catalogClip(n + 2, QStringLiteral("cam-a"));
        clip.anchors.emplace();
        for (int anchor = 0; anchor < 10; ++anchor)
            clip.anchors->push_back({anchor * 1.25, anchor * 1.25 + 0.03125, 0.9, 1.5});
        catalog.projects.front().takes.push_back(catalogTake(
            QStringLiteral("take-%1").arg(n, 6, 10, QLatin1Char('0')), sampleUuid(1), {clip}));
    }
    return catalog;
}

} // namespace vorn
