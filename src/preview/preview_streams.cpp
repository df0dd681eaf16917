// SPDX-License-Identifier: Apache-2.0

#include "preview/preview_streams.h"

#include <QTimer>

#include <system_error>
#include <utility>

namespace vorn {

PreviewStreams::PreviewStreams(PreviewOptions options)
    : m_options(options), m_reconciler(options.pace)
{
}

PreviewStreams::~PreviewStreams()
{
    m_state.assertCurrent();
    // All at once, then one after the other.
    for (const auto &[token, worker] : m_workers)
        worker->stop();
}

void PreviewStreams::start(std::vector<LiveCamera> cameras)
{
    m_state.assertCurrent();
    apply(m_reconciler.start(std::move(cameras), PreviewMoment::now()));
}

void PreviewStreams::update(std::vector<LiveCamera> cameras)
{
    m_state.assertCurrent();
    apply(m_reconciler.update(std::move(cameras), PreviewMoment::now()));
}

void PreviewStreams::select(std::set<QString> cameraIDs)
{
    m_state.assertCurrent();
    apply(m_reconciler.select(std::move(cameraIDs), PreviewMoment::now()));
}

void PreviewStreams::stop()
{
    m_state.assertCurrent();
    apply(m_reconciler.stop());
    for (auto &[key, mailbox] : m_mailboxes)
        mailbox.clear();
}

void PreviewStreams::apply(const StreamChanges &changes)
{
    for (const StreamRun &run : changes.stopped) {
        // None for a run that could not start.
        if (const auto worker = m_workers.find(run.token); worker != m_workers.end())
            worker->second->stop();
        m_mailboxes[run.key].clear();
    }
    if (m_eligibleIDs != m_reconciler.eligibleIDs()) {
        m_eligibleIDs = m_reconciler.eligibleIDs();
        const auto hasLeft = [this](const auto &entry) VORN_RUNS_ON(m_state) {
            return !m_eligibleIDs.contains(entry.first.cameraID);
        };
        std::erase_if(m_mailboxes, hasLeft);
        std::erase_if(m_shownWidths, hasLeft);
        Q_EMIT eligibleIDsChanged(m_eligibleIDs);
    }
    for (const StreamRun &run : changes.started)
        startWorker(run);
}

void PreviewStreams::startWorker(const StreamRun &run)
{
    const auto end = [this, run](std::optional<Transport> transport, const QString &error) {
        QMetaObject::invokeMethod(
            this, [this, run, transport, error] { endRun(run, transport, error); },
            Qt::QueuedConnection);
    };
    const auto receive = [this, run](const PreviewFrame &frame) {
        QMetaObject::invokeMethod(
            this, [this, run, frame] { receiveFrame(run, frame); }, Qt::QueuedConnection);
    };
    std::shared_ptr<std::atomic<int>> &shownWidth = m_shownWidths[run.key];
    if (!shownWidth)
        shownWidth = std::make_shared<std::atomic<int>>(0);
    try {
        m_workers[run.token] = std::make_unique<StreamWorker>(
            StreamWorker::Request{.camera = {.host = run.host,
                                             .serverPort = m_options.serverPort,
                                             .limits = m_options.limits,
                                             .shownWidth = shownWidth},
                                  .profile = run.key.profile,
                                  .prefersLegacy = run.prefersLegacy},
            StreamWorker::Handlers{.onFrame = receive, .onEnd = end});
    } catch (const std::system_error &) {
        m_workers.erase(run.token);
        // No descriptor or thread is left; there may be later.
        const VORNPreviewError error(VORNPreviewError::Case::connectionFailed);
        end(std::nullopt, QString::fromUtf8(error.what()));
    }
}

void PreviewStreams::receiveFrame(const StreamRun &run, const PreviewFrame &frame)
{
    m_state.assertCurrent();
    if (m_reconciler.publish(run, frame.transport))
        publish(run.key, m_mailboxes[run.key].put(frame));
}

void PreviewStreams::frameTaken(const StreamKey &key, int shownWidth)
{
    m_state.assertCurrent();
    const auto width = m_shownWidths.find(key);
    if (width != m_shownWidths.end() && shownWidth > 0)
        width->second->store(shownWidth);
    const auto mailbox = m_mailboxes.find(key);
    if (mailbox != m_mailboxes.end())
        publish(key, mailbox->second.taken());
}

void PreviewStreams::publish(const StreamKey &key, const std::optional<PreviewFrame> &frame)
{
    if (frame)
        Q_EMIT published(key, *frame, m_mailboxes[key].statistics());
}

void PreviewStreams::endRun(const StreamRun &run, std::optional<Transport> transport,
                            const QString &error)
{
    m_state.assertCurrent();
    m_workers.erase(run.token);
    const auto [retry, changes] = m_reconciler.end(run, transport, PreviewMoment::now());
    if (retry) {
        if (!transport)
            Q_EMIT failed(run.key, error);
        QTimer::singleShot(retry->delay, Qt::PreciseTimer, this, [this, run] {
            m_state.assertCurrent();
            apply(m_reconciler.retry(run, PreviewMoment::now()));
        });
    }
    apply(changes);
}

} // namespace vorn
