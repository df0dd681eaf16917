// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/thread_context.h"
#include "preview/frame_mailbox.h"
#include "preview/stream_reconciler.h"
#include "preview/stream_worker.h"

#include <QObject>

#include <atomic>
#include <map>
#include <memory>
#include <set>
#include <vector>

namespace vorn {

struct PreviewOptions {
    std::uint16_t serverPort = VORNPreviewClient::port;
    VORNPreviewClient::Limits limits = {};
    StreamPace pace = {};
};

/// Keeps the preview streams of LivePreviewStore running: does what the reconciler decides, with
/// one worker for each run. Context: the preview state thread.
class PreviewStreams : public QObject {
    Q_OBJECT
public:
    explicit PreviewStreams(PreviewOptions options);
    /// Ends all workers.
    ~PreviewStreams() override;

    void start(std::vector<LiveCamera> cameras);
    void update(std::vector<LiveCamera> cameras);
    void select(std::set<QString> cameraIDs);
    void stop();
    /// The frame that was last published for the stream has been taken, and is shown so many pixels
    /// wide; nowhere for 0, and then the next ones come as they did.
    void frameTaken(const StreamKey &key, int shownWidth);

Q_SIGNALS:
    /// The newest frame of a stream. The next one comes after frameTaken.
    void published(const vorn::StreamKey &key, const vorn::PreviewFrame &frame,
                   const vorn::StreamStatistics &statistics);
    void failed(const vorn::StreamKey &key, const QString &error);
    /// Other cameras may stream than before.
    void eligibleIDsChanged(const std::set<QString> &ids);

private:
    void apply(const StreamChanges &changes) VORN_RUNS_ON(m_state);
    void startWorker(const StreamRun &run) VORN_RUNS_ON(m_state);
    void receiveFrame(const StreamRun &run, const PreviewFrame &frame);
    void endRun(const StreamRun &run, std::optional<Transport> transport, const QString &error);
    void publish(const StreamKey &key, const std::optional<PreviewFrame> &frame)
        VORN_RUNS_ON(m_state);

    ThreadContext m_state;
    PreviewOptions m_options;
    StreamReconciler m_reconciler VORN_OWNED_BY(m_state);
    std::set<QString> m_eligibleIDs VORN_OWNED_BY(m_state); ///< as last told
    std::map<StreamKey, FrameMailbox> m_mailboxes VORN_OWNED_BY(m_state);
    /// The workers read the values.
    std::map<StreamKey, std::shared_ptr<std::atomic<int>>> m_shownWidths VORN_OWNED_BY(m_state);
    /// Last, so that no worker outlives what it reports to.
    std::map<StreamToken, std::unique_ptr<StreamWorker>> m_workers VORN_OWNED_BY(m_state);
};

} // namespace vorn
