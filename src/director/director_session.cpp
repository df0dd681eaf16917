// SPDX-License-Identifier: Apache-2.0

#include "director/director_session.h"

#include "base/display_text.h"
#include "director/camera_status_text.h"
#include "live/frame_orientation.h"
#include "live/live_camera_discovery.h"
#include "store/app_store.h"

#include <QDateTime>
#include <QSettings>

#include <algorithm>
#include <ranges>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

QString offlineMark(const LiveCamera &camera, WallTime now)
{
    return camera.isOnline(now) ? QString() : u" • OFFLINE"_s;
}

} // namespace

QString text(DirectorPlanState state)
{
    switch (state) {
    case DirectorPlanState::idle:
        return u"IDLE"_s;
    case DirectorPlanState::planned:
        break;
    }
    return u"READY"_s;
}

QString text(DirectorInspectorTab tab)
{
    switch (tab) {
    case DirectorInspectorTab::session:
        return u"Session"_s;
    case DirectorInspectorTab::audio:
        return u"Audio"_s;
    case DirectorInspectorTab::camera:
        return u"Camera"_s;
    case DirectorInspectorTab::edits:
        break;
    }
    return u"Edits"_s;
}

DirectorSession::DirectorSession(AppStore &store, LiveCameraDiscovery &discovery,
                                 QSettings &settings, QObject *parent)
    : QObject(parent),
      m_store(store),
      m_discovery(discovery),
      m_settings(settings),
      m_isBefore(cameraOrder()),
      m_now(discovery.now()),
      m_plannedTakeID(u"take-"_s + QDateTime::currentDateTime().toString(u"yyyyMMdd-HHmmss"_s))
{
    m_ui.assertCurrent();
    synchronizeCameras();
    m_previews.start(m_discovery.cameras());
    synchronizePreviewProfiles();
    m_couldStartSession = canStartSession();

    const auto onCameras = &DirectorSession::followCameras;
    connect(&m_discovery, &LiveCameraDiscovery::camerasChanged, this, onCameras);
    connect(&m_discovery, &LiveCameraDiscovery::livenessTickChanged, this, onCameras);
    const auto onProjects = &DirectorSession::refreshCanStartSession;
    connect(&m_store, &AppStore::selectedProjectIDChanged, this, onProjects);
    connect(&m_store, &AppStore::libraryChanged, this, onProjects);
}

DirectorPlanState DirectorSession::planState() const
{
    return isSessionRunning() ? DirectorPlanState::planned : DirectorPlanState::idle;
}

const QString &DirectorSession::plannedTakeID() const
{
    m_ui.assertCurrent();
    return m_plannedTakeID;
}

const LiveEditTimeline &DirectorSession::timeline() const
{
    m_ui.assertCurrent();
    return m_timeline;
}

double DirectorSession::fadeDuration() const
{
    m_ui.assertCurrent();
    return m_fadeDuration;
}

const std::vector<AudioChannelState> &DirectorSession::audioChannels() const
{
    m_ui.assertCurrent();
    return m_audioChannels;
}

DirectorInspectorTab DirectorSession::inspectorTab() const
{
    m_ui.assertCurrent();
    return m_inspectorTab;
}

VORNPreviewNetworkPolicy DirectorSession::previewNetworkPolicy() const
{
    m_ui.assertCurrent();
    return vorn::previewNetworkPolicy(m_settings.value(previewNetworkPolicyKey).toString())
        .value_or(VORNPreviewNetworkPolicy::automatic);
}

void DirectorSession::setPlannedTakeID(const QString &id)
{
    m_ui.assertCurrent();
    if (std::exchange(m_plannedTakeID, id) == id)
        return;
    Q_EMIT plannedTakeIDChanged();
    refreshCanStartSession();
}

void DirectorSession::setFadeDuration(double seconds)
{
    m_ui.assertCurrent();
    if (std::exchange(m_fadeDuration, seconds) != seconds)
        Q_EMIT fadeDurationChanged();
}

void DirectorSession::setInspectorTab(DirectorInspectorTab tab)
{
    m_ui.assertCurrent();
    if (std::exchange(m_inspectorTab, tab) != tab)
        Q_EMIT inspectorTabChanged();
}

void DirectorSession::setPreviewNetworkPolicy(VORNPreviewNetworkPolicy policy)
{
    m_ui.assertCurrent();
    const VORNPreviewNetworkPolicy before = previewNetworkPolicy();
    m_settings.setValue(previewNetworkPolicyKey, id(policy));
    if (policy == before)
        return;
    synchronizePreviewProfiles();
    Q_EMIT previewNetworkPolicyChanged();
}

void DirectorSession::selectPreview(const QString &cameraID)
{
    m_ui.assertCurrent();
    if (m_timeline.previewCameraID == cameraID)
        return;
    m_timeline.selectPreview(cameraID);
    tellTimelineChanged();
}

bool DirectorSession::isSessionRunning() const
{
    m_ui.assertCurrent();
    return m_timeline.isRunning();
}

bool DirectorSession::canStartSession() const
{
    m_ui.assertCurrent();
    return m_store.selectedProject() && !m_plannedTakeID.trimmed().isEmpty() && !isSessionRunning();
}

bool DirectorSession::canTake() const
{
    m_ui.assertCurrent();
    return vorn::canTake(m_timeline, m_discovery.cameras(), m_now);
}

std::vector<const LiveCamera *> DirectorSession::cameraWallCameras() const
{
    m_ui.assertCurrent();
    return vorn::cameraWallCameras(m_discovery.cameras(), m_now, m_isBefore);
}

std::vector<const LiveCamera *> DirectorSession::onlineCameras() const
{
    auto cameras = cameraWallCameras();
    std::erase_if(cameras, [this](const LiveCamera *camera) { return !camera->isOnline(now()); });
    return cameras;
}

const LiveCamera *DirectorSession::selectedCamera() const
{
    m_ui.assertCurrent();
    return findCamera(m_discovery.cameras(), m_timeline.previewCameraID);
}

VORNPreviewNetworkPolicy DirectorSession::effectivePreviewPolicy() const
{
    m_ui.assertCurrent();
    return vorn::effectivePreviewPolicy(previewNetworkPolicy(), m_timeline, m_discovery.cameras(),
                                        m_now);
}

QString DirectorSession::cameraName(const std::optional<QString> &id) const
{
    if (!id)
        return u"No camera selected"_s;
    const LiveCamera *camera = findCamera(m_discovery.cameras(), id);
    return camera ? camera->name + offlineMark(*camera, now()) : *id;
}

QString DirectorSession::shownCameraName(const std::optional<QString> &id) const
{
    const LiveCamera *camera = findCamera(m_discovery.cameras(), id);
    return camera ? displayText(camera->name) + offlineMark(*camera, now())
                  : displayText(cameraName(id));
}

const PreviewFrame *DirectorSession::previewFrame(const std::optional<QString> &id) const
{
    m_ui.assertCurrent();
    const LiveCamera *camera = findCamera(m_discovery.cameras(), id);
    if (!camera || !camera->isOnline(m_now))
        return nullptr;
    const PreviewFrame *wall = m_previews.frame(camera->id, VORNPreviewProfile::wall);
    const PreviewFrame *selected = m_previews.frame(camera->id, VORNPreviewProfile::selected);
    if (!selected)
        return wall;
    // What a stream that is closed by now left behind counts only until the wall has a newer one.
    const auto since = m_selectedSince.find(camera->id);
    const bool isOfThisSelection =
        since != m_selectedSince.end() && selected->receivedAt >= since->second;
    return isOfThisSelection || !wall || selected->receivedAt >= wall->receivedAt ? selected : wall;
}

QImage DirectorSession::previewImage(const std::optional<QString> &id) const
{
    const PreviewFrame *frame = previewFrame(id);
    return frame ? frame->image : QImage();
}

std::int64_t DirectorSession::previewRotation(const std::optional<QString> &id) const
{
    const LiveCamera *camera = findCamera(m_discovery.cameras(), id);
    return camera ? camera->previewRotation : 0;
}

QString DirectorSession::previewAspect(const std::optional<QString> &id) const
{
    const LiveCamera *camera = findCamera(m_discovery.cameras(), id);
    return camera ? camera->aspect : u"16:9"_s;
}

int DirectorSession::frameRotation(const QString &id, const QSize &frame) const
{
    return int(CameraFrameOrientation::effectiveRotation(frame.width(), frame.height(),
                                                         previewAspect(id), previewRotation(id)));
}

WallTime DirectorSession::now() const
{
    m_ui.assertCurrent();
    return m_now;
}

bool DirectorSession::cameraIsOnline(const std::optional<QString> &id) const
{
    const LiveCamera *camera = findCamera(m_discovery.cameras(), id);
    return camera && camera->isOnline(now());
}

bool DirectorSession::cameraIsRecording(const std::optional<QString> &id) const
{
    const LiveCamera *camera = findCamera(m_discovery.cameras(), id);
    return camera && camera->displaysRecording(now());
}

QString DirectorSession::transportStatus(VORNPreviewProfile profile) const
{
    const LiveCamera *camera = selectedCamera();
    return vorn::transportStatus(profile, camera,
                                 camera ? m_previews.transport(camera->id, profile) : std::nullopt);
}

void DirectorSession::followCameras()
{
    m_ui.assertCurrent();
    m_now = m_discovery.now();
    const bool isSameList =
        std::ranges::equal(m_discovery.cameras(), m_knownCameras, {}, [](const LiveCamera &camera) {
            return std::pair(camera.id, camera.isDirector());
        });
    if (!isSameList)
        synchronizeCameras();
    m_previews.update(m_discovery.cameras());
    synchronizePreviewProfiles();
    Q_EMIT camerasChanged();
}

void DirectorSession::synchronizeCameras()
{
    const std::vector<LiveCamera> &cameras = m_discovery.cameras();
    m_knownCameras.clear();
    for (const LiveCamera &camera : cameras)
        m_knownCameras.emplace_back(camera.id, camera.isDirector());

    auto channels = vorn::audioChannels(m_audioChannels, cameras);
    const bool channelsDiffer = channels != m_audioChannels;
    m_audioChannels = std::move(channels);

    const LiveCamera *online = firstOnlineCamera(cameras, m_now);
    const bool fillsPreview = !m_timeline.previewCameraID && online;
    if (fillsPreview)
        m_timeline.selectPreview(online->id);

    if (channelsDiffer)
        Q_EMIT audioChannelsChanged();
    if (fillsPreview)
        tellTimelineChanged();
}

void DirectorSession::synchronizePreviewProfiles()
{
    const auto selected = selectedProfileCameraIDs(m_timeline, effectivePreviewPolicy());
    if (std::ranges::equal(selected, m_selectedSince | std::views::keys))
        return;
    std::erase_if(m_selectedSince,
                  [&selected](const auto &entry) { return !selected.contains(entry.first); });
    for (const QString &id : selected)
        m_selectedSince.try_emplace(id, MonotonicClock::now());
    m_previews.select(selected);
}

void DirectorSession::refreshCanStartSession()
{
    m_ui.assertCurrent();
    const bool can = canStartSession();
    if (std::exchange(m_couldStartSession, can) != can)
        Q_EMIT canStartSessionChanged();
}

void DirectorSession::tellTimelineChanged()
{
    synchronizePreviewProfiles();
    Q_EMIT timelineChanged();
}

} // namespace vorn
