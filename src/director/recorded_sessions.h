// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "director/session_journal.h"
#include "drift/director_cut.h"
#include "library/records.h"

#include <QStringList>

#include <cstddef>
#include <filesystem>
#include <map>
#include <set>

namespace vorn {

/// What the journal of a session tells of one take.
struct RecordedTake {
    std::set<QString> cameraIds; ///< that said they were recording it
    std::size_t decisions = 0;   ///< made meanwhile

    bool operator==(const RecordedTake &) const = default;
};

/// A session that has a journal; it may still run.
struct RecordedSession {
    QString path; ///< of the journal
    JournalHead head;
    std::map<QString, RecordedTake> takes; ///< by their ids

    // The journal only grows; by these it is known again.
    std::int64_t bytes = 0;
    std::filesystem::file_time_type changedAt;

    bool operator==(const RecordedSession &) const = default;
};

struct RecordedSessions {
    std::vector<RecordedSession> sessions; ///< latest first
    QStringList problems;                  ///< a sentence for each journal that cannot be read

    bool operator==(const RecordedSessions &) const = default;
};

/// Reads the journals in `folder`, which need not exist; of `known`, what was read before, only
/// those that have changed. Any thread.
[[nodiscard]] RecordedSessions readRecordedSessions(const QString &folder,
                                                    const RecordedSessions &known);

/// The sessions of a take, latest first: those whose cameras said that they were recording it.
/// Several projects may have a take of that id, and a status does not tell the project: where the
/// session's own has one that these cameras are in, it is that one's alone.
[[nodiscard]] std::vector<RecordedSession> sessionsOf(const std::vector<RecordedSession> &sessions,
                                                      const VORNLibrary &library,
                                                      const VORNProject &project,
                                                      const VORNTake &take);

/// What was decided in a session, with the places of the cameras that recorded the take.
[[nodiscard]] std::vector<CutDecision> cutDecisions(const SessionJournal &journal,
                                                    const VORNTake &take);

/// Throws FileError, also for that of a session that still runs.
void deleteSessionJournal(const QString &path);

} // namespace vorn
