// SPDX-License-Identifier: Apache-2.0

#include "views/director/inspector_view_models.h"

#include "base/display_text.h"
#include "director/camera_status_text.h"
#include "director/director_session.h"
#include "live/live_camera_discovery.h"
#include "store/app_store.h"

#include <QClipboard>
#include <QGuiApplication>

#include <algorithm>

namespace vorn {

using namespace Qt::StringLiterals;

SessionPageViewModel::SessionPageViewModel(DirectorSession &session, AppStore &store)
    : m_session(session), m_store(store)
{
    connect(&store, &AppStore::libraryChanged, this, &SessionPageViewModel::changed);
    connect(&store, &AppStore::selectedProjectIDChanged, this, &SessionPageViewModel::changed);
    connect(&session, &DirectorSession::canStartSessionChanged, this,
            &SessionPageViewModel::changed);
    connect(&session, &DirectorSession::timelineChanged, this, &SessionPageViewModel::changed);
    connect(&session, &DirectorSession::plannedTakeIDChanged, this,
            &SessionPageViewModel::plannedTakeIDChanged);
}

std::vector<QString> SessionPageViewModel::projectIds() const
{
    std::vector<QString> ids;
    for (const VORNProject &project : m_store.library().projects) { // kept by name
        if (!isUnassignedProject(project.id))
            ids.push_back(project.id);
    }
    return ids;
}

QStringList SessionPageViewModel::projectTitles() const
{
    QStringList titles{u"Choose\u2026"_s};
    for (const VORNProject &project : m_store.library().projects) {
        if (!isUnassignedProject(project.id))
            titles.append(displayText(project.name));
    }
    return titles;
}

int SessionPageViewModel::projectIndex() const
{
    const auto &selected = m_store.selectedProjectID();
    const std::vector<QString> ids = projectIds();
    const auto found = selected ? std::ranges::find(ids, *selected) : ids.end();
    return found == ids.end() ? 0 : int(found - ids.begin()) + 1;
}

QString SessionPageViewModel::plannedTakeID() const
{
    return m_session.plannedTakeID();
}

void SessionPageViewModel::setPlannedTakeID(const QString &id)
{
    m_session.setPlannedTakeID(id);
}

bool SessionPageViewModel::canStart() const
{
    return m_session.canStartSession();
}

QString SessionPageViewModel::startTitle() const
{
    return m_session.isSessionRunning() ? u"Session Running"_s : u"Start Director Session"_s;
}

QString SessionPageViewModel::startObstacle() const
{
    if (canStart())
        return {};
    if (m_session.isSessionRunning())
        return u"A session runs until the window is closed."_s;
    return m_store.selectedProject() ? u"Name the take first."_s : u"Choose a project first."_s;
}

void SessionPageViewModel::chooseProject(int index)
{
    const std::vector<QString> ids = projectIds();
    if (index == 0)
        m_store.setSelectedProjectID(std::nullopt);
    else if (index > 0 && std::size_t(index) <= ids.size())
        m_store.setSelectedProjectID(ids[std::size_t(index) - 1]);
}

void SessionPageViewModel::start()
{
    if (canStart())
        m_session.startSession();
}

AudioPageViewModel::AudioPageViewModel(DirectorSession &session, LiveCameraDiscovery &discovery)
    : m_session(session),
      m_discovery(discovery),
      m_rows({{"name", &AudioStripRow::name},
              {"levelText", &AudioStripRow::levelText},
              {"leftDB", &AudioStripRow::leftDB},
              {"rightDB", &AudioStripRow::rightDB},
              {"gain", &AudioStripRow::gain},
              {"muted", &AudioStripRow::muted},
              {"solo", &AudioStripRow::solo}})
{
    connect(&session, &DirectorSession::camerasChanged, this, &AudioPageViewModel::refresh);
    connect(&session, &DirectorSession::audioChannelsChanged, this, &AudioPageViewModel::refresh);
    refresh();
}

void AudioPageViewModel::refresh()
{
    const WallTime now = m_session.now();
    std::vector<AudioStripRow> rows;
    for (const AudioChannelState &channel : m_session.audioChannels()) {
        const LiveCamera *camera = findCamera(m_discovery.cameras(), channel.id);
        const bool isOnline = camera && camera->isOnline(now);
        rows.push_back({.key = channel.id,
                        .name = displayText(channel.name),
                        .levelText = isOnline
                                         ? u"L %1  R %2 dB"_s.arg(fixedText(camera->leftDB, 0),
                                                                  fixedText(camera->rightDB, 0))
                                         : u"OFFLINE"_s,
                        .leftDB = isOnline ? camera->leftDB : silenceDB,
                        .rightDB = isOnline ? camera->rightDB : silenceDB,
                        .gain = channel.gain,
                        .muted = channel.muted,
                        .solo = channel.solo});
    }
    m_rows.setRows(std::move(rows));
    Q_EMIT changed();
}

CameraPageViewModel::CameraPageViewModel(DirectorSession &session)
    : m_session(session), m_rows({{"label", &StatusRow::key}, {"value", &StatusRow::value}})
{
    connect(&session, &DirectorSession::camerasChanged, this, &CameraPageViewModel::refresh);
    connect(&session, &DirectorSession::timelineChanged, this, &CameraPageViewModel::refresh);
    connect(&session, &DirectorSession::previewNetworkPolicyChanged, this, [this] {
        refresh();
        Q_EMIT policyIndexChanged();
    });
    connect(&session.previews(), &LivePreviewStore::transportChanged, this,
            &CameraPageViewModel::refresh);
    refresh();
}

QStringList CameraPageViewModel::policyTitles()
{
    QStringList titles;
    for (const VORNPreviewNetworkPolicy policy : allPreviewNetworkPolicies)
        titles.append(title(policy));
    return titles;
}

int CameraPageViewModel::policyIndex() const
{
    return int(std::ranges::find(allPreviewNetworkPolicies, m_session.previewNetworkPolicy())
               - allPreviewNetworkPolicies.begin());
}

void CameraPageViewModel::setPolicyIndex(int index)
{
    if (index >= 0 && std::size_t(index) < allPreviewNetworkPolicies.size())
        m_session.setPreviewNetworkPolicy(allPreviewNetworkPolicies[std::size_t(index)]);
}

void CameraPageViewModel::refresh()
{
    const WallTime now = m_session.now();
    const LiveCamera *camera = m_session.selectedCamera();
    const VORNPreviewNetworkPolicy policy = m_session.effectivePreviewPolicy();
    std::vector<StatusRow> rows{
        {u"Active"_s, title(policy)},
        {u"Budget"_s, target(policy)},
        {u"Link"_s, selectedLinkStatus(camera, now)},
        {u"Camera"_s, advertisedTransportStatus(camera, now)},
        {u"Health"_s, previewHealthStatus(camera, now)},
        {u"Wall"_s, m_session.transportStatus(VORNPreviewProfile::wall)},
        {u"Selected"_s, m_session.transportStatus(VORNPreviewProfile::selected)},
        {u"H.264"_s, h264Status(camera, now)},
        {u"4K stream"_s, fullStream4KStatus(camera, now)},
    };
    for (StatusRow &row : rows)
        row.value = displayText(row.value, longestMessage);
    m_rows.setRows(std::move(rows));
}

EditsPageViewModel::EditsPageViewModel(DirectorSession &session)
    : m_session(session), m_edits(session)
{
    connect(&session, &DirectorSession::editsChanged, this, &EditsPageViewModel::changed);
}

QString EditsPageViewModel::countText() const
{
    return u"%1 events in this session"_s.arg(m_edits.rowCount());
}

QString EditsPageViewModel::problem() const
{
    const std::optional<QString> &problem = m_session.journalProblem();
    return problem ? u"Not saved. "_s + displayText(*problem, longestMessage) : QString();
}

QString EditsPageViewModel::closingText() const
{
    return m_session.journalProblem()
               ? u"The last edits are not saved. Copy the list on the Edits page to keep them."_s
               : u"The list closes with this window. Its edits stay on the disk, for the export of the take."_s;
}

void EditsPageViewModel::copy()
{
    QGuiApplication::clipboard()->setText(m_session.editLog());
}

} // namespace vorn
