// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "library/records.h"

namespace vorn {

// What a phone says of the recordings it serves. The text of a catalog is foreign: none of it holds
// until TransferProtocol::validateAuthenticatedCatalog has passed it.

struct CatalogClip {
    QString clipId; ///< UUID text, immutable identity of the recording
    QString cameraId;
    QString fileName; ///< bare file name
    std::int64_t sizeBytes = 0;
    QString sha256;         ///< hexadecimal
    QString downloadURL;    ///< absolute, or relative to the catalog's address
    bool finalized = false; ///< the recording is closed
    QString mediaKind;
    bool hasVideo = false;
    bool hasAudio = false;
    std::optional<QString> timingSidecarURL;
    std::optional<QString> timingSidecarSHA256;
    std::optional<QString> anchorMeaning;
    std::optional<std::vector<TimingAnchor>> anchors;

    bool operator==(const CatalogClip &) const = default;
};

struct CatalogTake {
    QString takeId;                   ///< any text
    std::optional<QString> projectId; ///< the owning project's; absent on an unassigned take
    std::optional<QString> projectNameAtCapture;
    std::optional<std::int64_t> projectRevisionAtCapture;
    std::optional<QString> createdAt;
    std::optional<QString> referenceCameraId;
    std::optional<QString> timelineFPS;
    std::vector<CatalogClip> clips;

    bool operator==(const CatalogTake &) const = default;
};

struct CatalogProject {
    QString projectId; ///< UUID text
    QString name;
    std::int64_t revision = 0; ///< at least 1
    std::vector<CatalogTake> takes;

    bool operator==(const CatalogProject &) const = default;
};

struct DeviceCatalog {
    std::int64_t schemaVersion = 1;
    QString deviceId; ///< UUID text
    QString deviceName;
    std::int64_t catalogRevision = 0;
    std::optional<QString> generatedAt;
    std::vector<CatalogProject> projects;
    std::optional<std::vector<CatalogTake>> unassignedTakes; ///< of no project

    bool operator==(const DeviceCatalog &) const = default;
};

} // namespace vorn
