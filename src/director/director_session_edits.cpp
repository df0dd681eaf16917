// SPDX-License-Identifier: Apache-2.0

#include "director/director_session.h"
#include "director/edit_log_text.h"
#include "live/live_camera_discovery.h"
#include "store/app_store.h"

#include <algorithm>

using namespace Qt::StringLiterals;

// The decisions of a session, and their journal.
namespace vorn {
namespace {

constexpr std::size_t sessionStartEvents = 1; // the first one

} // namespace

void DirectorSession::startSession()
{
    m_ui.assertCurrent();
    if (!canStartSession() || !m_store.prepareDirectorTake(m_plannedTakeID))
        return;
    m_now = m_discovery.now();
    m_timeline.start(m_now);
    openJournal();
    m_store.log(u"Started Director edit log %1."_s.arg(m_plannedTakeID));
    tellTimelineChanged();
    refreshCanStartSession();
}

void DirectorSession::perform(DirectorTransition transition)
{
    m_ui.assertCurrent();
    // The button may still be enabled while its camera has just gone.
    m_now = m_discovery.now();
    const auto at = MonotonicClock::now();
    if (!canTake() || !m_timeline.take(transition, m_fadeDuration, m_now))
        return;
    const LiveCamera *program = findCamera(m_discovery.cameras(), m_timeline.programCameraID);
    if (program)
        m_loggedNames[program->id] = program->name;
    // One call for all arguments: a name may hold "%3".
    m_store.log(u"Director %1 to %2 at %3."_s.arg(
        text(transition), cameraName(m_timeline.programCameraID), m_plannedTakeID));
    tellTimelineChanged();
    keepLastEvent(at);
}

void DirectorSession::addMarker()
{
    m_ui.assertCurrent();
    const auto at = MonotonicClock::now();
    if (!m_timeline.addMarker(u"Edit marker"_s, m_discovery.now()))
        return;
    setInspectorTab(DirectorInspectorTab::edits);
    keepLastEvent(at);
}

std::span<const DirectorEditEvent> DirectorSession::editEvents() const
{
    m_ui.assertCurrent();
    const std::span listed = std::span(m_timeline.events).first(m_listed);
    return listed.subspan(std::min(listed.size(), sessionStartEvents));
}

const std::optional<QString> &DirectorSession::journalProblem() const
{
    m_ui.assertCurrent();
    return m_journalProblem;
}

QString DirectorSession::editLog() const
{
    m_ui.assertCurrent();
    const auto nameOf = [this](const std::optional<QString> &id) {
        m_ui.assertCurrent();
        const LiveCamera *camera = findCamera(m_discovery.cameras(), id);
        if (camera)
            return camera->name;
        const auto logged = m_loggedNames.find(id.value_or(QString()));
        return logged == m_loggedNames.end() ? cameraName(id) : logged->second;
    };
    return editLogTable(editEvents(), nameOf);
}

void DirectorSession::openJournal()
{
    const VORNProject *project = m_store.selectedProject();
    const JournalHead head{.sessionID = QUuid::createUuid(),
                           .startedAt = m_now,
                           .plannedTakeID = m_plannedTakeID.trimmed(),
                           .projectID = project->id,
                           .projectName = project->name};
    // Of a file system that hangs the window must not wait for ever.
    constexpr std::chrono::seconds patience{5};
    m_journal = std::make_unique<WorkerThread<SessionJournalWriter>>(
        u"session-journal"_s,
        [this, head, folder = sessionJournalFolder(m_store.supportDirectory())] {
            auto writer = std::make_unique<SessionJournalWriter>(folder, head);
            connect(writer.get(), &SessionJournalWriter::appended, this,
                    &DirectorSession::followJournal);
            return writer;
        },
        patience);
    m_unkept = {journalEntry(m_timeline.events.back(), m_discovery.cameras(), m_now,
                             MonotonicClock::now())};
}

void DirectorSession::keepLastEvent(MonotonicClock::time_point at)
{
    m_unkept.push_back(
        journalEntry(m_timeline.events.back(), m_discovery.cameras(), m_discovery.now(), at));
    m_journal->post([entries = std::exchange(m_unkept, {})](SessionJournalWriter &writer) {
        writer.append(entries);
    });
}

void DirectorSession::followJournal(std::size_t entries, const std::optional<QString> &problem)
{
    m_ui.assertCurrent();
    m_listed += entries;
    m_journalProblem = problem;
    if (problem && !std::exchange(m_hasToldProblem, true))
        m_store.log(u"Edit decisions are not being saved: "_s + *problem, true);
    Q_EMIT editsChanged();
}

} // namespace vorn
