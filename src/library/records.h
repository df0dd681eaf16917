// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <QUuid>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

namespace vorn {

// The library's records: plain values, compared field by field. Identities of projects, takes and
// clips never change once stored.

/// One event, seen in a clip's media and in the reference camera's media.
struct TimingAnchor {
    double sourceSeconds = 0;    ///< time in the clip's media
    double referenceSeconds = 0; ///< time in the reference camera's media
    double confidence = 0;       ///< 0 to 1
    double uncertaintyMs = 0;

    bool operator==(const TimingAnchor &) const = default;
};

/// One recording of one camera.
struct VORNClip {
    QString id;
    QString cameraId;
    QString fileName;                 ///< bare file name
    std::optional<QString> localPath; ///< absolute; absent while the clip is still to be fetched
    std::optional<QString> remoteURL;
    std::optional<std::int64_t> sizeBytes;
    QString sha256; ///< hexadecimal
    std::optional<QString> anchorMeaning;
    std::vector<TimingAnchor> anchors;
    std::optional<QString> mediaKind;
    std::optional<bool> hasVideo;
    std::optional<bool> hasAudio;
    std::optional<QString> timingSidecarURL; ///< carried through, never resolved
    std::optional<QString> timingSidecarSHA256;
    std::optional<QString> deviceId;
    std::optional<QString> deviceName;
    std::optional<std::int64_t> originCatalogRevision;

    bool operator==(const VORNClip &) const = default;
};

/// The rate text of a take for which no source has stated a rate yet.
inline constexpr QStringView defaultTimelineFPS = u"30";

/// Bytes of UTF-8 of a take's id: a longer one would not fit the names that are built from it.
inline constexpr qsizetype maximumTakeIdBytes = 96;

/// What several cameras recorded together.
struct VORNTake {
    QString id;
    std::optional<QString> projectNameAtCapture;
    std::optional<std::int64_t> projectRevisionAtCapture;
    std::optional<QString> createdAt; ///< ISO 8601, kept as text
    std::optional<QString> referenceCameraId;
    QString timelineFPS = defaultTimelineFPS.toString();
    std::optional<QString> sourceManifestPath;
    /// Shared between copies, so that takes are copied, and found unchanged, without a look at
    /// clips.
    QList<VORNClip> clips;

    bool operator==(const VORNTake &) const = default;
};

struct VORNProject {
    QString id;
    QString name;
    std::optional<std::int64_t> revision; ///< rises with each change of the name
    std::vector<VORNTake> takes;

    bool operator==(const VORNProject &) const = default;
};

/// All that "library.json" holds.
struct VORNLibrary {
    std::vector<VORNProject> projects;

    bool operator==(const VORNLibrary &) const = default;
};

/// How the id begins of a project that collects the takes of one device that belong to no project.
inline constexpr QStringView unassignedProjectPrefix = u"unassigned-";

/// True for such a collection, which is not a regular project.
[[nodiscard]] inline bool isUnassignedProject(const QString &projectId)
{
    return projectId.startsWith(unassignedProjectPrefix);
}

/// A clip counts as on this computer when its verified file is known.
[[nodiscard]] inline bool isLocal(const VORNClip &clip)
{
    return clip.localPath.has_value();
}

/// The size of the clip's file, 0 while none is known.
[[nodiscard]] inline std::int64_t knownBytes(const VORNClip &clip)
{
    return std::max<std::int64_t>(0, clip.sizeBytes.value_or(0));
}

/// At least one clip, and every clip on this computer.
[[nodiscard]] inline bool isComplete(const VORNTake &take)
{
    return !take.clips.empty() && std::ranges::all_of(take.clips, isLocal);
}

/// The first record with this id, or null. Do not keep the pointer across a change of the list.
template <class List> [[nodiscard]] auto *findById(List &records, const QString &id)
{
    const auto found = std::ranges::find(records, id, &List::value_type::id);
    return found == records.end() ? nullptr : &*found;
}

// Transient records, never written to a file.

enum class TransferPhase { queued, downloading, verifying, ready, failed };

/// What the screen calls a phase.
[[nodiscard]] inline QString transferPhaseText(TransferPhase phase)
{
    switch (phase) {
    case TransferPhase::queued:
        return QStringLiteral("Queued");
    case TransferPhase::downloading:
        return QStringLiteral("Downloading");
    case TransferPhase::verifying:
        return QStringLiteral("Verifying");
    case TransferPhase::ready:
        return QStringLiteral("Ready");
    case TransferPhase::failed:
        return QStringLiteral("Failed");
    }
    Q_UNREACHABLE();
}

/// The state of one clip's transfer.
struct TransferStatus {
    QString id; ///< the clip's
    QString clipName;
    TransferPhase phase = TransferPhase::queued;
    std::int64_t completedBytes = 0;
    std::int64_t totalBytes = 0;
    QString message;

    /// 0 to 1; 0 when the total is unknown.
    [[nodiscard]] double progress() const
    {
        if (totalBytes < 1)
            return 0;
        return std::min(double(completedBytes) / double(totalBytes), 1.0);
    }

    bool operator==(const TransferStatus &) const = default;
};

/// One line of the activity log.
struct ActivityEntry {
    QUuid id;
    QDateTime date;
    QString message;
    bool isError = false;

    bool operator==(const ActivityEntry &) const = default;
};

} // namespace vorn
