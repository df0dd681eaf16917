// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/sentence_error.h"
#include "library/merge_list.h"
#include "library/records.h"

#include <QByteArray>
#include <QMultiHash>
#include <QSet>

#include <optional>

namespace vorn {

/// Incoming records do not fit what the library knows. `what()` is the sentence the user sees.
class IdentityError : public SentenceError {
public:
    explicit IdentityError(const QString &sentence) : SentenceError(sentence) {}
};

/// What a source states about a take; what is absent it does not state.
struct TakeStatement {
    std::optional<QString> projectNameAtCapture;
    std::optional<std::int64_t> projectRevisionAtCapture;
    std::optional<QString> createdAt;
    std::optional<QString> referenceCameraId;
    std::optional<QString> timelineFPS;
};

/// Takes over what a source states about `take`. Throws IdentityError, and then leaves `take` as it
/// was, when that contradicts what is known of it.
void applyStatement(const TakeStatement &statement, VORNTake &take);

/// In which take of which project each clip of a library stands.
class ClipPlaces {
public:
    explicit ClipPlaces(const VORNLibrary &library);

    void add(const QString &clipId, const QString &projectId, const QString &takeId);

    /// Throws IdentityError when the clip stands in another project, or in another take of this
    /// one.
    void requireNoOther(const QString &clipId, const QString &projectId,
                        const QString &takeId) const;

private:
    struct Place {
        QString projectId;
        QString takeId;
    };
    QMultiHash<QString, Place> m_places; ///< by the clip's id
};

/// Puts clips into one take under the identity rules: a clip id stands in one take of the whole
/// library only, a take holds one clip for each camera, and a verified local file is never
/// forgotten.
class TakeMerge {
public:
    /// `take` is, or is to be, a take of the project `projectId`. `places` knows where all other
    /// clips stand, and learns of those that are put in.
    TakeMerge(VORNTake take, QString projectId, ClipPlaces &places);

    /// Throws IdentityError, and then has changed nothing.
    void mergeClip(VORNClip clip);

    [[nodiscard]] VORNTake result() &&;

private:
    VORNTake m_take; ///< with the clips it had
    QString m_projectId;
    ClipPlaces &m_places;
    MergeList<QList<VORNClip>> m_clips;
    QSet<QString> m_cameraIds;
};

/// Replaces or adds `project`, and sorts the projects by name.
void mergeProject(VORNProject project, VORNLibrary &library);

} // namespace vorn
