// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "live/live_camera_discovery.h"
#include "preview/live_preview_store.h"
#include "probe/probe_report.h"
#include "transfer/lan_discovery.h"

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <map>

namespace vorn {

struct ProbeOptions {
    QString folder;       ///< where the pictures go; none are kept without
    QStringList selected; ///< ids of the cameras whose large pictures are wanted
    bool selectsAll = false;
    QString asked;           ///< id of the camera that is asked to share its files
    bool timesTurns = false; ///< of the event loop
};

/// Watches the cameras on the network with the program's own objects, and tells on standard output
/// what it sees. Context: UI thread.
class Probe : public QObject {
    Q_OBJECT
public:
    explicit Probe(ProbeOptions options);

    /// Prints the streams and keeps the last picture of each. False when a picture cannot be kept.
    bool finish();

private:
    void followCameras();
    void printCameras();
    void printRequest();
    void timeTurn();
    void measure(const QString &cameraID, VORNPreviewProfile profile);

    ProbeOptions m_options;
    LiveCameraDiscovery m_discovery;
    LivePreviewStore m_store;
    LANDiscovery m_servers;
    QTimer m_turns;
    MonotonicClock::time_point m_lastTurn;
    Delays m_lateTurns;
    QElapsedTimer m_clock;
    QString m_printed; ///< the table of cameras as last printed
    bool m_hasAsked = false;
    std::map<StreamKey, StreamMeasurement> m_measurements;
};

} // namespace vorn
