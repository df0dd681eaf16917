// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "director/director_session.h"
#include "views/director/camera_wall_view_model.h"
#include "views/director/desk_view_model.h"
#include "views/director/frame_pacer.h"
#include "views/director/inspector_view_models.h"

#include <QObject>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

class QSettings;

namespace vorn {

class AppStore;
class LANDiscovery;
class LiveCameraDiscovery;

/// One of the two monitors, as shown. Context: UI thread.
class DirectorMonitorViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Part of the director view model.")
    Q_PROPERTY(QString cameraID READ cameraID NOTIFY changed)
    Q_PROPERTY(bool hasCamera READ hasCamera NOTIFY changed)
    Q_PROPERTY(QString cameraText READ cameraText NOTIFY changed)
    Q_PROPERTY(QString notice READ notice NOTIFY changed)
    Q_PROPERTY(bool recording READ isRecording NOTIFY changed)
public:
    /// Which of the two cameras of a timeline the monitor shows.
    using Choice = std::optional<QString> LiveEditTimeline::*;

    DirectorMonitorViewModel(DirectorSession &session, Choice camera);

    /// Empty when there is none.
    [[nodiscard]] QString cameraID() const;
    [[nodiscard]] bool hasCamera() const { return camera().has_value(); }
    [[nodiscard]] QString cameraText() const;
    /// What stands there without a frame; empty when there is nothing to say.
    [[nodiscard]] QString notice() const;
    [[nodiscard]] bool isRecording() const;

Q_SIGNALS:
    void changed();

private:
    [[nodiscard]] const std::optional<QString> &camera() const;

    DirectorSession &m_session;
    Choice m_camera;
};

/// All that one opening of the Director window shows and can do. Context: UI thread.
class DirectorViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made when the window opens.")
    Q_PROPERTY(QString cameraCountText READ cameraCountText NOTIFY camerasChanged)
    Q_PROPERTY(bool hasOnlineCamera READ hasOnlineCamera NOTIFY camerasChanged)
    Q_PROPERTY(QString networkText READ networkText NOTIFY camerasChanged)
    Q_PROPERTY(bool silent READ isSilent NOTIFY camerasChanged)
    Q_PROPERTY(QString networkProblem READ networkProblem NOTIFY camerasChanged)
    Q_PROPERTY(QString planText READ planText NOTIFY timelineChanged)
    Q_PROPERTY(bool planned READ isPlanned NOTIFY timelineChanged)
    Q_PROPERTY(QString projectText READ projectText NOTIFY projectChanged)
    Q_PROPERTY(bool firstStart READ isFirstStart NOTIFY projectChanged)
    Q_PROPERTY(QString policyText READ policyText NOTIFY camerasChanged)
    Q_PROPERTY(QString catalogsText READ catalogsText NOTIFY catalogsChanged)
    Q_PROPERTY(vorn::CameraWallViewModel *wall READ wall CONSTANT)
    Q_PROPERTY(vorn::DeskViewModel *desk READ desk CONSTANT)
    Q_PROPERTY(vorn::DirectorMonitorViewModel *previewMonitor READ previewMonitor CONSTANT)
    Q_PROPERTY(vorn::DirectorMonitorViewModel *programMonitor READ programMonitor CONSTANT)
    Q_PROPERTY(vorn::SessionPageViewModel *sessionPage READ sessionPage CONSTANT)
    Q_PROPERTY(vorn::AudioPageViewModel *audioPage READ audioPage CONSTANT)
    Q_PROPERTY(vorn::CameraPageViewModel *cameraPage READ cameraPage CONSTANT)
    Q_PROPERTY(vorn::EditsPageViewModel *editsPage READ editsPage CONSTANT)
    Q_PROPERTY(bool sessionRunning READ isSessionRunning NOTIFY timelineChanged)
    Q_PROPERTY(bool canTake READ canTake NOTIFY camerasChanged)
    Q_PROPERTY(QString takeObstacle READ takeObstacle NOTIFY camerasChanged)
    Q_PROPERTY(QList<QString> fadeTitles READ fadeTitles CONSTANT)
    Q_PROPERTY(int fadeIndex READ fadeIndex WRITE setFadeIndex NOTIFY fadeIndexChanged)
    Q_PROPERTY(QList<QString> inspectorTitles READ inspectorTitles CONSTANT)
    Q_PROPERTY(
        int inspectorIndex READ inspectorIndex WRITE setInspectorIndex NOTIFY inspectorIndexChanged)
    Q_PROPERTY(bool hasError READ hasError NOTIFY errorChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorChanged)
public:
    /// All must outlive it.
    DirectorViewModel(AppStore &store, LANDiscovery &catalogs, LiveCameraDiscovery &discovery,
                      QSettings &settings);

    [[nodiscard]] const DirectorSession &session() const { return m_session; }
    [[nodiscard]] FramePacer &pacer() { return m_pacer; }

    [[nodiscard]] QString cameraCountText() const;
    [[nodiscard]] bool hasOnlineCamera() const;
    [[nodiscard]] QString networkText() const;
    /// Whether no camera has been seen for some time.
    [[nodiscard]] bool isSilent() const;
    /// Why nothing is heard; empty when the program listens.
    [[nodiscard]] QString networkProblem() const;
    [[nodiscard]] QString planText() const;
    [[nodiscard]] bool isPlanned() const;
    [[nodiscard]] QString projectText() const;
    /// Nobody has worked with the program yet.
    [[nodiscard]] bool isFirstStart() const;
    [[nodiscard]] QString policyText() const;
    [[nodiscard]] QString catalogsText() const;
    [[nodiscard]] CameraWallViewModel *wall() { return &m_wall; }
    [[nodiscard]] DeskViewModel *desk() { return &m_desk; }
    [[nodiscard]] DirectorMonitorViewModel *previewMonitor() { return &m_previewMonitor; }
    [[nodiscard]] DirectorMonitorViewModel *programMonitor() { return &m_programMonitor; }
    [[nodiscard]] SessionPageViewModel *sessionPage() { return &m_sessionPage; }
    [[nodiscard]] AudioPageViewModel *audioPage() { return &m_audioPage; }
    [[nodiscard]] CameraPageViewModel *cameraPage() { return &m_cameraPage; }
    [[nodiscard]] EditsPageViewModel *editsPage() { return &m_editsPage; }
    [[nodiscard]] bool isSessionRunning() const { return m_session.isSessionRunning(); }
    [[nodiscard]] bool canTake() const { return m_session.canTake(); }
    /// Why CUT and FADE are disabled; empty when they are not.
    [[nodiscard]] QString takeObstacle() const;
    [[nodiscard]] static QStringList fadeTitles();
    [[nodiscard]] int fadeIndex() const;
    void setFadeIndex(int index);
    [[nodiscard]] static QStringList inspectorTitles();
    [[nodiscard]] int inspectorIndex() const;
    void setInspectorIndex(int index);
    [[nodiscard]] bool hasError() const;
    [[nodiscard]] QString errorMessage() const;

    Q_INVOKABLE void scan();
    Q_INVOKABLE void cut();
    Q_INVOKABLE void fade();
    Q_INVOKABLE void addMarker();
    Q_INVOKABLE void dismissError();

Q_SIGNALS:
    /// Whatever hangs on cameras, on the time since they were heard, or on the timeline.
    void camerasChanged();
    void catalogsChanged();
    void timelineChanged();
    void projectChanged();
    void fadeIndexChanged();
    void inspectorIndexChanged();
    void errorChanged();

private:
    AppStore &m_store;
    LANDiscovery &m_catalogs;
    LiveCameraDiscovery &m_discovery;
    DirectorSession m_session;
    FramePacer m_pacer;
    CameraWallViewModel m_wall;
    DeskViewModel m_desk;
    DirectorMonitorViewModel m_previewMonitor;
    DirectorMonitorViewModel m_programMonitor;
    SessionPageViewModel m_sessionPage;
    AudioPageViewModel m_audioPage;
    CameraPageViewModel m_cameraPage;
    EditsPageViewModel m_editsPage;
};

} // namespace vorn
