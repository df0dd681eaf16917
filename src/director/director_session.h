// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/monotonic_clock.h"
#include "base/thread_context.h"
#include "base/worker_thread.h"
#include "director/director_cameras.h"
#include "director/live_edit_timeline.h"
#include "director/session_journal_writer.h"
#include "preview/live_preview_store.h"

#include <QImage>
#include <QObject>
#include <QString>

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

class QSettings;

namespace vorn {

class AppStore;
class LiveCameraDiscovery;

enum class DirectorPlanState : std::uint8_t { idle, planned };
/// "IDLE" or "READY".
[[nodiscard]] QString text(DirectorPlanState state);

enum class DirectorInspectorTab : std::uint8_t { session, audio, camera, edits };
inline constexpr std::array allDirectorInspectorTabs{
    DirectorInspectorTab::session, DirectorInspectorTab::audio, DirectorInspectorTab::camera,
    DirectorInspectorTab::edits};
/// What the tab says, such as "Audio".
[[nodiscard]] QString text(DirectorInspectorTab tab);

/// The lengths of a fade that are offered, in seconds.
inline constexpr std::array fadeDurations{0.5, 1.0, 1.5, 2.0};

/// One opening of the Director window: all of its state, what it derives from the library, the
/// cameras and the preview frames, and what it does when they change. A window that opens again
/// gets a new one. Context: UI thread.
class DirectorSession : public QObject {
    Q_OBJECT
public:
    /// Where the user's choice of policy is kept, by its id.
    static constexpr QStringView previewNetworkPolicyKey = u"director.previewNetworkPolicy";

    /// The window appears. All three must outlive it.
    DirectorSession(AppStore &store, LiveCameraDiscovery &discovery, QSettings &settings,
                    QObject *parent = nullptr);

    [[nodiscard]] DirectorPlanState planState() const;
    /// As typed.
    [[nodiscard]] const QString &plannedTakeID() const;
    [[nodiscard]] const LiveEditTimeline &timeline() const;
    /// Of the next fade.
    [[nodiscard]] double fadeDuration() const;
    [[nodiscard]] const std::vector<AudioChannelState> &audioChannels() const;
    [[nodiscard]] DirectorInspectorTab inspectorTab() const;
    /// The user's choice; automatic when what is stored is none.
    [[nodiscard]] VORNPreviewNetworkPolicy previewNetworkPolicy() const;

    void setPlannedTakeID(const QString &id);
    void setFadeDuration(double seconds);
    void setInspectorTab(DirectorInspectorTab tab);
    void setPreviewNetworkPolicy(VORNPreviewNetworkPolicy policy);

    /// Puts a camera in Preview, whether or not it is online.
    void selectPreview(const QString &cameraID);
    [[nodiscard]] bool isSessionRunning() const;
    [[nodiscard]] bool canStartSession() const;
    /// Prepares the take and starts the edit log. When the take cannot be used, the store says why.
    void startSession();
    [[nodiscard]] bool canTake() const;
    /// Swaps Preview and Program and logs it, if canTake().
    void perform(DirectorTransition transition);
    /// Logs a marker and shows the list of edits, while a session runs.
    void addMarker();

    // From the list of cameras. Pointers into it are good until it changes.

    /// The moment at which all of this holds: of the last camerasChanged(), or of the last edit.
    [[nodiscard]] WallTime now() const;
    /// See vorn::cameraWallCameras.
    [[nodiscard]] std::vector<const LiveCamera *> cameraWallCameras() const;
    /// The online ones, in the same order.
    [[nodiscard]] std::vector<const LiveCamera *> onlineCameras() const;
    /// The camera in Preview; null when none is, or it is not listed.
    [[nodiscard]] const LiveCamera *selectedCamera() const;
    /// Which policy holds with the cameras in Preview and on Program.
    [[nodiscard]] VORNPreviewNetworkPolicy effectivePreviewPolicy() const;

    /// The camera's name; it says when the camera is offline.
    [[nodiscard]] QString cameraName(const std::optional<QString> &id) const;
    /// The same for showing: see displayText, which does not cut what is said of the camera.
    [[nodiscard]] QString shownCameraName(const std::optional<QString> &id) const;
    /// The frame of the selected profile while that stream runs, otherwise the latest of either;
    /// null when there is nothing to show.
    [[nodiscard]] const PreviewFrame *previewFrame(const std::optional<QString> &id) const;
    /// Its picture.
    [[nodiscard]] QImage previewImage(const std::optional<QString> &id) const;
    /// Degrees, as advertised.
    [[nodiscard]] std::int64_t previewRotation(const std::optional<QString> &id) const;
    [[nodiscard]] QString previewAspect(const std::optional<QString> &id) const;
    /// By how many degrees, clockwise, a frame of that camera and size is turned to stand upright.
    [[nodiscard]] int frameRotation(const QString &id, const QSize &frame) const;
    [[nodiscard]] bool cameraIsOnline(const std::optional<QString> &id) const;
    [[nodiscard]] bool cameraIsRecording(const std::optional<QString> &id) const;
    /// How the frames of the camera in Preview come. The other status rows are functions of
    /// selectedCamera(), in camera_status_text.h.
    [[nodiscard]] QString transportStatus(VORNPreviewProfile profile) const;

    /// The edits without the session's start, oldest first, once they are kept on the disk, or
    /// journalProblem() says that they are not. Good until the next edit.
    [[nodiscard]] std::span<const DirectorEditEvent> editEvents() const;
    /// See editLogTable. Knows the names of cameras that have left since.
    [[nodiscard]] QString editLog() const;

    /// Why the last edits are not on the disk; absent when they are.
    [[nodiscard]] const std::optional<QString> &journalProblem() const;

    /// The frames, with signals of their own.
    [[nodiscard]] const LivePreviewStore &previews() const { return m_previews; }

Q_SIGNALS:
    /// Whatever is derived from the cameras, or from the time that has passed since they were
    /// heard: comes about once a second at least.
    void camerasChanged();
    /// Preview, Program or the session's state.
    void timelineChanged();
    /// The edits, or whether they are kept.
    void editsChanged();
    void audioChannelsChanged();
    void plannedTakeIDChanged();
    void canStartSessionChanged();
    void fadeDurationChanged();
    void inspectorTabChanged();
    void previewNetworkPolicyChanged();

private:
    void followCameras();
    void synchronizeCameras() VORN_RUNS_ON(m_ui);
    void synchronizePreviewProfiles() VORN_RUNS_ON(m_ui);
    void refreshCanStartSession();
    void tellTimelineChanged() VORN_RUNS_ON(m_ui);
    void openJournal() VORN_RUNS_ON(m_ui);
    void keepLastEvent(MonotonicClock::time_point at) VORN_RUNS_ON(m_ui);
    void followJournal(std::size_t entries, const std::optional<QString> &problem);

    ThreadContext m_ui;
    AppStore &m_store;
    LiveCameraDiscovery &m_discovery;
    QSettings &m_settings;
    LivePreviewStore m_previews;
    CameraOrder m_isBefore;
    WallTime m_now VORN_OWNED_BY(m_ui);
    QString m_plannedTakeID VORN_OWNED_BY(m_ui);
    LiveEditTimeline m_timeline VORN_OWNED_BY(m_ui);
    double m_fadeDuration VORN_OWNED_BY(m_ui) = 1.0;
    std::vector<AudioChannelState> m_audioChannels VORN_OWNED_BY(m_ui);
    DirectorInspectorTab m_inspectorTab VORN_OWNED_BY(m_ui) = DirectorInspectorTab::session;
    /// Id and isDirector of each camera when they were last synchronized.
    std::vector<std::pair<QString, bool>> m_knownCameras VORN_OWNED_BY(m_ui);
    /// The cameras that the previews have as selected, and since when.
    std::map<QString, MonotonicClock::time_point> m_selectedSince VORN_OWNED_BY(m_ui);
    /// Of the cameras in the log; phones are switched off before the log is used.
    std::map<QString, QString> m_loggedNames VORN_OWNED_BY(m_ui);
    bool m_couldStartSession VORN_OWNED_BY(m_ui) = false;
    /// What waits for the first decision.
    std::vector<JournalEntry> m_unkept VORN_OWNED_BY(m_ui);
    std::size_t m_listed VORN_OWNED_BY(m_ui) = 0; ///< events that the journal has answered for
    std::optional<QString> m_journalProblem VORN_OWNED_BY(m_ui);
    bool m_hasToldProblem VORN_OWNED_BY(m_ui) = false;
    /// While a session runs. Last: ends before what it reports to.
    std::unique_ptr<WorkerThread<SessionJournalWriter>> m_journal VORN_OWNED_BY(m_ui);
};

} // namespace vorn
