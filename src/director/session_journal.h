// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "director/live_edit_timeline.h"

#include <QByteArray>
#include <QString>
#include <QUuid>

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace vorn {

// What is kept of a session on the disk: a line for the session, then a line for each event, each
// a JSON object with a line feed behind it.

/// Where the journals are, each in a file of its own.
[[nodiscard]] QString sessionJournalFolder(const QString &supportDirectory);

/// Which session it is.
struct JournalHead {
    static constexpr std::int64_t currentVersion = 1;

    std::int64_t version = currentVersion;
    QUuid sessionID;
    WallTime startedAt; ///< to the millisecond
    QString plannedTakeID;
    QString projectID;
    QString projectName;

    bool operator==(const JournalHead &) const = default;
};

/// What was known of a camera that recorded at the moment of an event.
struct JournalCamera {
    QString id;
    std::optional<QString> takeId; ///< as it said; absent when it said none that a take could have
    /// Where it was in its recording; see RecordingPlace. Both absent where that cannot be told.
    std::optional<double> recordingSeconds;
    std::optional<double> uncertaintySeconds;

    bool operator==(const JournalCamera &) const = default;
};

struct JournalEntry {
    DirectorEditEvent event;
    std::vector<JournalCamera> cameras;

    bool operator==(const JournalEntry &) const = default;
};

struct SessionJournal {
    JournalHead head;
    std::vector<JournalEntry> entries; ///< oldest first; the first is the session's start

    bool operator==(const SessionJournal &) const = default;
};

/// An event of this moment with what is known of the cameras that record; other desks are none.
[[nodiscard]] JournalEntry journalEntry(const DirectorEditEvent &event,
                                        const std::vector<LiveCamera> &cameras, WallTime now,
                                        MonotonicClock::time_point clock);

[[nodiscard]] QByteArray journalLine(const JournalHead &head);
[[nodiscard]] QByteArray journalLine(const JournalEntry &entry);

/// Reads a journal, which may be damaged or anybody's making; `name` is what errors call it. What
/// stands behind the last line feed is the rest of a write that was cut short, and is left out.
/// Throws JsonError when anything else is not as a Director writes it.
[[nodiscard]] SessionJournal sessionJournalFromText(const QByteArray &text, const QString &name);

/// The same of a file. Throws FileError as well.
[[nodiscard]] SessionJournal readSessionJournal(const QString &path);

} // namespace vorn
