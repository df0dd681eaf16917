// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/thread_context.h"
#include "base/worker_thread.h"
#include "preview/preview_streams.h"

#include <QObject>

#include <map>
#include <optional>
#include <set>
#include <vector>

namespace vorn {

/// Turns the list of cameras and the user's selection into running preview streams, and holds the
/// latest frame of each. All maps go by camera id and hold only cameras that may stream, as of
/// the last list. Context: UI thread.
class LivePreviewStore : public QObject {
    Q_OBJECT
public:
    /// Its end ends all streams, and waits until they have ended.
    explicit LivePreviewStore(PreviewOptions options = {}, QObject *parent = nullptr);

    /// Streams from now on. Frames of before stay until new ones come.
    void start(const std::vector<LiveCamera> &cameras);
    /// To be called whenever the list changes, and once a second: cameras only age out here.
    void update(const std::vector<LiveCamera> &cameras);
    /// The cameras of which large frames are wanted too.
    void select(const std::set<QString> &cameraIDs);
    /// Ends all streams. The frames stay.
    void stop();

    [[nodiscard]] const std::map<QString, PreviewFrame> &wallFrames() const;
    [[nodiscard]] const std::map<QString, PreviewFrame> &selectedFrames() const;
    /// The latest of that camera and profile; null when there is none. Good until the next one.
    [[nodiscard]] const PreviewFrame *frame(const QString &cameraID,
                                            VORNPreviewProfile profile) const;
    /// Why a stream that has shown no frame yet fails.
    [[nodiscard]] const std::map<QString, QString> &errors() const;
    /// When the last frame of either profile was published.
    [[nodiscard]] const std::map<QString, WallTime> &frameTimes() const;
    /// How the last frame came; none without a frame.
    [[nodiscard]] std::optional<Transport> transport(const QString &cameraID,
                                                     VORNPreviewProfile profile) const;
    /// As of the last frame that was published.
    [[nodiscard]] const std::map<StreamKey, StreamStatistics> &statistics() const;

Q_SIGNALS:
    /// A new frame of that camera and profile, or none any more.
    void frameChanged(const QString &cameraID, vorn::VORNPreviewProfile profile);
    /// Who shows the latest frame of that stream raises `pixels` to how many it draws it wide, so
    /// that the next ones are decoded no larger than needed.
    void shownWidthAsked(const vorn::StreamKey &key, int &pixels) const;
    void transportChanged(const QString &cameraID, vorn::VORNPreviewProfile profile);
    void errorChanged(const QString &cameraID);

private:
    using Frames = std::map<QString, PreviewFrame>;

    void publish(const StreamKey &key, const PreviewFrame &frame,
                 const StreamStatistics &statistics);
    void fail(const StreamKey &key, const QString &error);
    void keepOnly(const std::set<QString> &cameraIDs);
    [[nodiscard]] Frames &framesOf(VORNPreviewProfile profile) VORN_RUNS_ON(m_ui);

    ThreadContext m_ui;
    Frames m_wallFrames VORN_OWNED_BY(m_ui);
    Frames m_selectedFrames VORN_OWNED_BY(m_ui);
    std::map<QString, QString> m_errors VORN_OWNED_BY(m_ui);
    std::map<QString, WallTime> m_frameTimes VORN_OWNED_BY(m_ui);
    std::map<StreamKey, StreamStatistics> m_statistics VORN_OWNED_BY(m_ui);
    WorkerThread<PreviewStreams> m_streams; ///< last: ends before what it reports to
};

} // namespace vorn
