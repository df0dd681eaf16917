// SPDX-License-Identifier: Apache-2.0

#include "views/director/director_view_model.h"

#include "base/display_text.h"
#include "live/live_camera_discovery.h"
#include "store/app_store.h"
#include "transfer/lan_discovery.h"

#include <algorithm>

namespace vorn {

using namespace Qt::StringLiterals;

DirectorMonitorViewModel::DirectorMonitorViewModel(DirectorSession &session, Choice camera)
    : m_session(session), m_camera(camera)
{
    connect(&session, &DirectorSession::camerasChanged, this, &DirectorMonitorViewModel::changed);
    connect(&session, &DirectorSession::timelineChanged, this, &DirectorMonitorViewModel::changed);
}

const std::optional<QString> &DirectorMonitorViewModel::camera() const
{
    return m_session.timeline().*m_camera;
}

QString DirectorMonitorViewModel::cameraID() const
{
    return camera().value_or(QString());
}

QString DirectorMonitorViewModel::cameraText() const
{
    return m_session.shownCameraName(camera());
}

QString DirectorMonitorViewModel::notice() const
{
    return camera() && !m_session.cameraIsOnline(camera()) ? u"OFFLINE"_s : QString();
}

bool DirectorMonitorViewModel::isRecording() const
{
    return m_session.cameraIsRecording(camera());
}

DirectorViewModel::DirectorViewModel(AppStore &store, LANDiscovery &catalogs,
                                     LiveCameraDiscovery &discovery, QSettings &settings)
    : m_store(store),
      m_catalogs(catalogs),
      m_discovery(discovery),
      m_session(store, discovery, settings),
      m_wall(m_session, discovery),
      m_desk(m_session, m_wall, settings),
      m_previewMonitor(m_session, &LiveEditTimeline::previewCameraID),
      m_programMonitor(m_session, &LiveEditTimeline::programCameraID),
      m_sessionPage(m_session, store),
      m_audioPage(m_session, discovery),
      m_cameraPage(m_session),
      m_editsPage(m_session)
{
    connect(&m_session, &DirectorSession::camerasChanged, this, &DirectorViewModel::camerasChanged);
    connect(&m_session, &DirectorSession::timelineChanged, this, [this] {
        Q_EMIT camerasChanged();
        Q_EMIT timelineChanged();
    });
    connect(&m_session, &DirectorSession::previewNetworkPolicyChanged, this,
            &DirectorViewModel::camerasChanged);
    connect(&catalogs, &LANDiscovery::devicesChanged, this, &DirectorViewModel::catalogsChanged);
    connect(&discovery, &LiveCameraDiscovery::errorMessageChanged, this,
            &DirectorViewModel::camerasChanged);
    connect(&m_session, &DirectorSession::fadeDurationChanged, this,
            &DirectorViewModel::fadeIndexChanged);
    connect(&m_session, &DirectorSession::inspectorTabChanged, this,
            &DirectorViewModel::inspectorIndexChanged);
    connect(&store, &AppStore::libraryChanged, this, &DirectorViewModel::projectChanged);
    connect(&store, &AppStore::selectedProjectIDChanged, this, &DirectorViewModel::projectChanged);
    connect(&store, &AppStore::errorMessageChanged, this, &DirectorViewModel::errorChanged);
}

QString DirectorViewModel::cameraCountText() const
{
    return u"%1 CAMERAS"_s.arg(m_session.onlineCameras().size());
}

bool DirectorViewModel::hasOnlineCamera() const
{
    return !m_session.onlineCameras().empty();
}

QString DirectorViewModel::networkText() const
{
    return hasOnlineCamera() ? u"Live network active"_s : u"Waiting for cameras"_s;
}

bool DirectorViewModel::isSilent() const
{
    return m_discovery.isSilent();
}

QString DirectorViewModel::networkProblem() const
{
    return m_discovery.errorMessage().value_or(QString());
}

QString DirectorViewModel::planText() const
{
    return text(m_session.planState());
}

bool DirectorViewModel::isPlanned() const
{
    return m_session.planState() == DirectorPlanState::planned;
}

QString DirectorViewModel::projectText() const
{
    const VORNProject *project = m_store.selectedProject();
    return project ? displayText(project->name) : u"No project selected"_s;
}

bool DirectorViewModel::isFirstStart() const
{
    return m_store.isNew();
}

QString DirectorViewModel::policyText() const
{
    return u"JPEG \u2022 "_s + title(m_session.effectivePreviewPolicy());
}

QString DirectorViewModel::catalogsText() const
{
    return u"%1 catalogs"_s.arg(m_catalogs.devices().size());
}

QString DirectorViewModel::takeObstacle() const
{
    if (canTake())
        return {};
    if (!isSessionRunning())
        return u"Start a Director session first."_s;
    if (!m_session.cameraIsOnline(m_session.timeline().previewCameraID))
        return u"Choose a camera that is online for Preview."_s;
    return u"The Preview camera is on Program already."_s;
}

QStringList DirectorViewModel::fadeTitles()
{
    QStringList titles;
    for (const double seconds : fadeDurations)
        titles.append(u"%1 s"_s.arg(seconds, 0, 'f', 1));
    return titles;
}

int DirectorViewModel::fadeIndex() const
{
    return int(std::ranges::find(fadeDurations, m_session.fadeDuration()) - fadeDurations.begin());
}

void DirectorViewModel::setFadeIndex(int index)
{
    if (index >= 0 && std::size_t(index) < fadeDurations.size())
        m_session.setFadeDuration(fadeDurations[std::size_t(index)]);
}

QStringList DirectorViewModel::inspectorTitles()
{
    QStringList titles;
    for (const DirectorInspectorTab tab : allDirectorInspectorTabs)
        titles.append(text(tab));
    return titles;
}

int DirectorViewModel::inspectorIndex() const
{
    return int(m_session.inspectorTab());
}

void DirectorViewModel::setInspectorIndex(int index)
{
    if (index >= 0 && std::size_t(index) < allDirectorInspectorTabs.size())
        m_session.setInspectorTab(allDirectorInspectorTabs[std::size_t(index)]);
}

bool DirectorViewModel::hasError() const
{
    return m_store.errorMessage().has_value();
}

QString DirectorViewModel::errorMessage() const
{
    return displayText(m_store.errorMessage().value_or(QString()), longestMessage);
}

void DirectorViewModel::scan()
{
    m_discovery.rescan();
}

void DirectorViewModel::cut()
{
    m_session.perform(DirectorTransition::cut);
}

void DirectorViewModel::fade()
{
    m_session.perform(DirectorTransition::fade);
}

void DirectorViewModel::addMarker()
{
    m_session.addMarker();
}

void DirectorViewModel::dismissError()
{
    m_store.clearErrorMessage();
}

} // namespace vorn
