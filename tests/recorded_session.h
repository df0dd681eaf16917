// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "director/session_journal_writer.h"
#include "support.h"

#include <QDir>

#include <utility>

namespace vorn {

/// Camera and the take that it says it records.
using Recording = std::pair<QString, QString>;

/// Two cuts with a fade and a marker between them, a second apart, while these cameras record since
/// five seconds before it.
inline SessionJournal recordedSession(const QString &projectID, std::chrono::seconds start,
                                      const std::vector<Recording> &recordings)
{
    using namespace Qt::StringLiterals;
    using namespace std::chrono_literals;
    const WallTime begin{start};
    LiveEditTimeline timeline;
    timeline.selectPreview(u"cam-a"_s);
    timeline.start(begin);
    (void)timeline.take(DirectorTransition::cut, 0, begin + 1s);
    timeline.selectPreview(u"cam-b"_s);
    (void)timeline.take(DirectorTransition::fade, 1.5, begin + 2s);
    (void)timeline.addMarker(u"Edit marker"_s, begin + 3s);
    (void)timeline.take(DirectorTransition::cut, 0, begin + 4s);
    SessionJournal journal{.head = {.sessionID = QUuid::createUuid(),
                                    .startedAt = begin,
                                    .plannedTakeID = u"planned"_s,
                                    .projectID = projectID,
                                    .projectName = u"Night"_s},
                           .entries = {}};
    for (const DirectorEditEvent &event : timeline.events) {
        JournalEntry &entry = journal.entries.emplace_back();
        entry.event = event;
        for (const auto &[camera, take] : recordings)
            entry.cameras.push_back({.id = camera,
                                     .takeId = take,
                                     .recordingSeconds = event.elapsedSeconds + 5,
                                     .uncertaintySeconds = 0.02});
    }
    return journal;
}

/// Gives the journal's path.
inline QString writeJournal(const QString &folder, const SessionJournal &journal)
{
    QByteArray lines = journalLine(journal.head);
    for (const JournalEntry &entry : journal.entries)
        lines += journalLine(entry);
    const QString path = SessionJournalWriter::path(folder, journal.head.sessionID);
    if (!QDir().mkpath(folder))
        qFatal("no folder for a journal");
    writePlain(path, lines);
    return path;
}

} // namespace vorn
