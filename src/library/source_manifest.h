// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "library/records.h"

namespace vorn {

/// One recording as a source manifest describes it.
struct SourceClip {
    std::optional<QString> clipId;
    QString cameraId;
    QString takeId; ///< read, and not compared with the manifest's
    QString path;   ///< absolute, or relative to the manifest's folder
    QString sha256;
    std::optional<QString> anchorMeaning;
    std::vector<TimingAnchor> anchors;
    std::optional<QString> mediaKind;
    std::optional<QString> timingSidecarPath;
    std::optional<QString> timingSidecarSHA256;
    std::optional<QString> deviceId;
    std::optional<QString> deviceName;

    bool operator==(const SourceClip &) const = default;
};

/// A take whose media lies on this computer already. Read by import, written into each package.
struct SourceManifest {
    std::int64_t schemaVersion = 1;
    QString projectId;
    std::optional<QString> projectName;
    std::optional<std::int64_t> projectRevision;
    std::optional<QString> projectNameAtCapture;
    std::optional<std::int64_t> projectRevisionAtCapture;
    QString takeId;
    QString referenceCameraId;
    std::optional<QString> timelineFPS;
    std::vector<SourceClip> clips;

    bool operator==(const SourceManifest &) const = default;
};

} // namespace vorn
