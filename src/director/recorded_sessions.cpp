// SPDX-License-Identifier: Apache-2.0

#include "director/recorded_sessions.h"

#include "base/files.h"
#include "base/json_text.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <system_error>
#include <tuple>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

bool isDecision(const DirectorEditEvent &event)
{
    return event.kind != DirectorEditEventKind::sessionStarted;
}

std::map<QString, RecordedTake> takesOf(const SessionJournal &journal)
{
    std::map<QString, RecordedTake> takes;
    for (const JournalEntry &entry : journal.entries) {
        std::set<QString> recorded;
        for (const JournalCamera &camera : entry.cameras) {
            if (!camera.takeId)
                continue;
            takes[*camera.takeId].cameraIds.insert(camera.id);
            recorded.insert(*camera.takeId);
        }
        for (const QString &take : recorded)
            takes[take].decisions += isDecision(entry.event);
    }
    return takes;
}

/// Absent when it has gone since the folder was listed.
std::optional<RecordedSession> readSession(const std::filesystem::directory_entry &file,
                                           const RecordedSessions &known)
{
    RecordedSession session;
    session.path = QString::fromStdString(file.path().string());
    std::error_code failure;
    session.bytes = std::int64_t(file.file_size(failure));
    if (!failure)
        session.changedAt = file.last_write_time(failure);
    if (failure == std::errc::no_such_file_or_directory)
        return std::nullopt;
    if (failure)
        throw FileError(u"Cannot read"_s, session.path, failure.value());
    const auto before = std::ranges::find(known.sessions, session.path, &RecordedSession::path);
    if (before != known.sessions.end() && before->bytes == session.bytes
        && before->changedAt == session.changedAt)
        return *before;
    const SessionJournal journal = readSessionJournal(session.path);
    session.head = journal.head;
    session.takes = takesOf(journal);
    return session;
}

/// Cameras of that session are in that take.
bool hasFilmed(const RecordedSession &session, const VORNTake &take)
{
    const auto recorded = session.takes.find(take.id);
    return recorded != session.takes.end()
           && std::ranges::any_of(take.clips, [&](const VORNClip &clip) {
                  return recorded->second.cameraIds.contains(clip.cameraId);
              });
}

bool isOf(const RecordedSession &session, const VORNLibrary &library, const VORNProject &project,
          const VORNTake &take)
{
    if (!hasFilmed(session, take))
        return false;
    const auto own = std::ranges::find(library.projects, session.head.projectID, &VORNProject::id);
    return own == library.projects.end() || own->id == project.id
           || std::ranges::none_of(own->takes, [&](const VORNTake &other) {
                  return other.id == take.id && hasFilmed(session, other);
              });
}

CutDecision cutDecision(const JournalEntry &entry, const VORNTake &take)
{
    const DirectorEditEvent &event = entry.event;
    CutDecision decision;
    if (event.kind == DirectorEditEventKind::marker)
        decision.kind = CutDecision::Kind::marker;
    else if (event.transition == DirectorTransition::fade)
        decision.kind = CutDecision::Kind::fade;
    decision.sessionSeconds = event.elapsedSeconds;
    decision.cameraId = event.toCameraID.value_or(QString());
    decision.fadeSeconds = event.durationSeconds.value_or(0);
    decision.label = event.label.value_or(QString());
    for (const JournalCamera &camera : entry.cameras)
        if (camera.takeId == take.id && camera.recordingSeconds && camera.uncertaintySeconds)
            decision.then.push_back({.cameraId = camera.id,
                                     .seconds = *camera.recordingSeconds,
                                     .uncertaintySeconds = *camera.uncertaintySeconds});
    return decision;
}

} // namespace

RecordedSessions readRecordedSessions(const QString &folder, const RecordedSessions &known)
{
    RecordedSessions result;
    std::error_code failure;
    std::filesystem::directory_iterator files(nativePath(folder).toStdString(), failure);
    if (failure && failure != std::errc::no_such_file_or_directory)
        result.problems += QString::fromUtf8(
            FileError(u"Cannot read the folder"_s, folder, failure.value()).what());
    for (; !failure && files != std::filesystem::directory_iterator(); files.increment(failure)) {
        if (files->path().extension() != ".jsonl")
            continue;
        try {
            if (auto session = readSession(*files, known))
                result.sessions.push_back(*std::move(session));
        } catch (const std::exception &error) {
            result.problems += QString::fromUtf8(error.what());
        }
    }
    result.problems.sort();
    std::ranges::sort(result.sessions, [](const RecordedSession &one,
                                          const RecordedSession &other) {
        return std::tie(other.head.startedAt, other.path) < std::tie(one.head.startedAt, one.path);
    });
    return result;
}

std::vector<RecordedSession> sessionsOf(const std::vector<RecordedSession> &sessions,
                                        const VORNLibrary &library, const VORNProject &project,
                                        const VORNTake &take)
{
    std::vector<RecordedSession> result;
    std::ranges::copy_if(sessions, std::back_inserter(result), [&](const RecordedSession &session) {
        return isOf(session, library, project, take);
    });
    return result;
}

std::vector<CutDecision> cutDecisions(const SessionJournal &journal, const VORNTake &take)
{
    std::vector<CutDecision> decisions;
    for (const JournalEntry &entry : journal.entries)
        if (isDecision(entry.event))
            decisions.push_back(cutDecision(entry, take));
    return decisions;
}

void deleteSessionJournal(const QString &path)
{
    const QString action = u"Cannot delete"_s;
    const FileDescriptor folder = openParentFolder(path, action);
    const FileDescriptor file = openRegularFile(path);
    // Where there are no locks nobody can tell.
    if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
        throw FileError(u"The session is still running. It can be deleted when it has ended."_s);
    if (::unlink(nativePath(path).constData()) != 0)
        throw FileError(action, path, errno);
    flushFolder(folder, path);
}

} // namespace vorn
