// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "library/device_catalog.h"

#include <QUrl>

namespace vorn {

/// The n-th UUID, in lower case.
[[nodiscard]] inline QString sampleUuid(int n)
{
    return QStringLiteral("00000000-0000-4000-8000-%1").arg(n, 12, 16, QLatin1Char('0'));
}

inline const QUrl sampleCatalogURL(QStringLiteral("https://cam-1.local:8443/vorn/v1/catalog"));

/// A finished recording with all that a catalog must say of it.
[[nodiscard]] inline CatalogClip catalogClip(int n, const QString &cameraId)
{
    CatalogClip clip;
    clip.clipId = sampleUuid(n);
    clip.cameraId = cameraId;
    clip.fileName = QStringLiteral("clip %1.mov").arg(n);
    clip.sizeBytes = 1000 + n;
    clip.sha256 = QString(64, u'a');
    clip.downloadURL = QStringLiteral("/vorn/v1/files/") + clip.clipId;
    clip.finalized = true;
    clip.mediaKind = QStringLiteral("video");
    clip.hasVideo = true;
    return clip;
}

[[nodiscard]] inline CatalogTake catalogTake(const QString &takeId,
                                             const std::optional<QString> &projectId,
                                             std::vector<CatalogClip> clips)
{
    CatalogTake take;
    take.takeId = takeId;
    take.projectId = projectId;
    take.clips = std::move(clips);
    return take;
}

/// Project 1, "Night", with takes "t1" (cameras A and B) and "t2"; project 2, "Day", with a take
/// "t1"; an unassigned take "t1".
[[nodiscard]] inline DeviceCatalog sampleCatalog()
{
    const QString cameraA = QStringLiteral("A");
    const QString takeId = QStringLiteral("t1");
    const QString night = sampleUuid(1);
    const QString day = sampleUuid(2);
    DeviceCatalog catalog;
    catalog.deviceId = sampleUuid(100);
    catalog.deviceName = QStringLiteral("Cam 01");
    catalog.catalogRevision = 7;
    catalog.projects = {
        {.projectId = night,
         .name = QStringLiteral("Night"),
         .revision = 3,
         .takes = {catalogTake(takeId, night,
                               {catalogClip(10, cameraA), catalogClip(11, QStringLiteral("B"))}),
                   catalogTake(QStringLiteral("t2"), night, {catalogClip(12, cameraA)})}},
        {.projectId = day,
         .name = QStringLiteral("Day"),
         .revision = 1,
         .takes = {catalogTake(takeId, day, {catalogClip(13, cameraA)})}}};
    catalog.unassignedTakes = {{catalogTake(takeId, {}, {catalogClip(14, cameraA)})}};
    return catalog;
}

} // namespace vorn
