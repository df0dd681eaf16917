// SPDX-License-Identifier: Apache-2.0

#include "base/off_thread.h"
#include "store/app_store.h"
#include "store/partial_recording.h"
#include "store/progress_report.h"
#include "transfer/transfer_protocol.h"

#include <QPointer>

#include <utility>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

/// Whether a failure says that the connection is not to be trusted or used any more.
bool concernsConnection(const std::exception &error)
{
    return dynamic_cast<const TransferProtocolError *>(&error) != nullptr
           || dynamic_cast<const TransferConnectionError *>(&error) != nullptr;
}

QString textOf(const std::exception &error)
{
    return QString::fromUtf8(error.what());
}

} // namespace

AppStore::Client AppStore::clientOf(const VORNClip &clip) const
{
    if (!clip.deviceId)
        return nullptr;
    const auto found = m_transferClients.find(*clip.deviceId);
    return found == m_transferClients.end() ? nullptr : found->second;
}

bool AppStore::canDownloadSelectedTake() const
{
    m_ui.assertCurrent();
    const VORNTake *take = selectedTake();
    return take && !std::ranges::all_of(take->clips, isLocal)
           && std::ranges::all_of(take->clips, [this](const VORNClip &clip) {
                  m_ui.assertCurrent();
                  const Client client = clientOf(clip);
                  return isLocal(clip) || (client && !client->isExpired());
              });
}

bool AppStore::isDownloadPending(const QString &clipId) const
{
    m_ui.assertCurrent();
    return std::ranges::any_of(
        m_downloads, [&](const PendingDownload &pending) { return pending.clip.id == clipId; });
}

bool AppStore::isDownloading() const
{
    m_ui.assertCurrent();
    return !m_downloads.empty();
}

QCoro::Task<> AppStore::downloadSelectedTake()
{
    m_ui.assertCurrent();
    const VORNProject *project = selectedProject();
    const VORNTake *take = selectedTake();
    if (!project || !take)
        co_return;
    const bool isRunning = !m_downloads.empty();
    for (const VORNClip &clip : take->clips) {
        if (!isLocal(clip) && !isDownloadPending(clip.id))
            m_downloads.push_back({clip, project->id, take->id});
    }
    if (isRunning) {
        countDownloads();
        co_return;
    }

    const QPointer<AppStore> self(this);
    const SleepInhibitor awake(u"Recordings are being downloaded."_s);
    std::size_t failed = 0;
    while (!m_downloads.empty()) {
        co_await fetchIfPossible(m_downloads.front());
        if (!self)
            co_return;
        const VORNClip *stored = storedClip(m_library, m_downloads.front());
        failed += stored && isLocal(*stored) ? 0 : 1;
        m_downloads.pop_front();
    }
    endProgress();
    Q_EMIT downloadsEnded(failed);
}

QCoro::Task<> AppStore::fetchIfPossible(PendingDownload pending)
{
    m_ui.assertCurrent();
    // While it waited, the phone may have moved, and the file may have come.
    if (const VORNClip *stored = storedClip(m_library, pending))
        pending.clip = *stored;
    const VORNClip &clip = pending.clip;
    if (isLocal(clip))
        co_return;
    const Client client = clientOf(clip);
    const QUrl remote(clip.remoteURL.value_or(QString()), QUrl::StrictMode);
    if (clip.sizeBytes.value_or(0) < 1 || !clip.remoteURL || !remote.isValid() || !client) {
        fail(u"%1 has no compatible range-download metadata."_s.arg(clip.fileName));
        co_return;
    }
    QUrl url;
    try {
        url = TransferProtocol::resolvedClipURL(remote.toString(QUrl::FullyEncoded), clip.id,
                                                client->catalogURL(),
                                                TransferProtocol::ClipFile::media);
    } catch (const TransferProtocolError &error) {
        fail(u"Rejected file URL for %1: %2"_s.arg(clip.fileName, textOf(error)));
        co_return;
    }
    const QPointer<AppStore> self(this);
    if (!m_downloadProgress)
        m_downloadProgress.emplace();
    m_downloadProgress->begin(clip);
    countDownloads();
    std::exception_ptr failure;
    try {
        co_await fetch(pending, client, url);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self || !failure)
        co_return;
    try {
        std::rethrow_exception(failure);
    } catch (const std::exception &error) {
        failDownload(clip, client, error);
    }
}

QCoro::Task<> AppStore::fetch(PendingDownload pending, Client client, QUrl url)
{
    m_ui.assertCurrent();
    const QPointer<AppStore> self(this);
    const VORNClip &clip = pending.clip;
    const std::int64_t total = clip.sizeBytes.value_or(0);
    const QString path =
        recordingPath(m_recordingsDirectory, pending.projectId, pending.takeId, clip);
    if (isPlaceOfAnother(m_library, pending))
        throw FileError(u"Existing destination hash differs; move it before retrying."_s);
    const auto report =
        progressReport<std::int64_t>(m_stop.get_token(), [self](const std::int64_t &bytes) {
            if (self)
                self->setVerifiedBytes(bytes);
        });
    const bool isThere = co_await offThread(
        [path, digest = clip.sha256, report] { return isRecordingThere(path, digest, report); });
    if (!self)
        co_return;
    if (isThere) {
        updateClip(pending, path);
        setTransfer(clip, TransferPhase::ready, total, u"Verified"_s);
        co_return;
    }

    const auto partial = co_await offThread(
        [path, total] { return std::make_shared<PartialRecording>(path, total); });
    if (!self)
        co_return;
    co_await fetchRanges(pending, client, url, partial);
    if (!self)
        co_return;

    setVerifiedBytes(0);
    setTransfer(clip, TransferPhase::verifying, total, u"Checking SHA-256"_s);
    co_await offThread([partial, path, digest = clip.sha256, report] {
        if (partial->sha256FromDisk(report).compare(digest, Qt::CaseInsensitive) != 0) {
            partial->clear();
            throw TransferProtocolError::invalid(
                u"Downloaded SHA-256 does not match the phone catalog."_s);
        }
        partial->moveToDestination();
    });
    if (!self)
        co_return;
    updateClip(pending, path);
    setTransfer(clip, TransferPhase::ready, total, u"Verified"_s);
    save();
    log(u"Downloaded and verified %1."_s.arg(clip.fileName));
}

QCoro::Task<> AppStore::fetchRanges(PendingDownload pending, Client client, QUrl url,
                                    std::shared_ptr<PartialRecording> partial)
{
    m_ui.assertCurrent();
    const QPointer<AppStore> self(this);
    const VORNClip &clip = pending.clip;
    const std::int64_t total = clip.sizeBytes.value_or(0);
    std::int64_t offset = partial->size();
    changeProgress([=](DownloadProgress &progress) { progress.resumeAt(offset); });
    setTransfer(clip, TransferPhase::downloading, offset, u"Resuming"_s);
    while (offset < total) {
        const std::int64_t end = offset + std::min(TransferProtocol::chunkSize, total - offset) - 1;
        QByteArray bytes = co_await client->fetchRange(
            url, offset, end, total, clip.sha256, [self, offset](std::int64_t received) {
                if (self)
                    self->setClipBytes(offset + received);
            });
        co_await offThread([partial, bytes = std::move(bytes)]() mutable {
            partial->append(std::exchange(bytes, {})); // given back before the next range comes
        });
        if (!self)
            co_return;
        offset = end + 1;
        setTransfer(clip, TransferPhase::downloading, offset, u"Downloading"_s);
        setClipBytes(offset);
    }
}

void AppStore::failDownload(const VORNClip &clip, const Client &client, const std::exception &error)
{
    m_ui.assertCurrent();
    setTransfer(clip, TransferPhase::failed, 0, textOf(error));
    fail(u"Download failed for %1: %2"_s.arg(clip.fileName, textOf(error)));
    // Who has paired again meanwhile has another client, which did not fail.
    const Client present = clientOf(clip);
    if (!concernsConnection(error) || (present && present != client))
        return;
    // Absent when the user has ended the session, of which the phone is still being told.
    if (present)
        present->invalidate();
    removeSessions(client->deviceId());
    log(u"Secure transfer authorization was cancelled after a transport failure."_s, true);
}

void AppStore::updateClip(const PendingDownload &pending, const QString &localPath)
{
    m_ui.assertCurrent();
    VORNClip *const clip = storedClip(m_library, pending);
    if (!clip)
        return;
    clip->localPath = localPath;
    Q_EMIT libraryChanged();
}

void AppStore::setTransfer(const VORNClip &clip, TransferPhase phase, std::int64_t completed,
                           const QString &message)
{
    m_ui.assertCurrent();
    std::erase_if(m_transfers, [&](const TransferStatus &known) { return known.id == clip.id; });
    m_transfers.push_back({.id = clip.id,
                           .clipName = clip.fileName,
                           .phase = phase,
                           .completedBytes = completed,
                           .totalBytes = clip.sizeBytes.value_or(0),
                           .message = message});
    Q_EMIT transfersChanged();
}

void AppStore::changeProgress(const std::function<void(DownloadProgress &)> &change)
{
    m_ui.assertCurrent();
    if (!m_downloadProgress)
        return;
    change(*m_downloadProgress);
    Q_EMIT downloadProgressChanged();
}

void AppStore::countDownloads()
{
    m_ui.assertCurrent();
    std::vector<std::int64_t> sizes;
    sizes.reserve(m_downloads.size());
    for (const PendingDownload &waiting : m_downloads)
        sizes.push_back(knownBytes(waiting.clip));
    changeProgress([&](DownloadProgress &progress) { progress.count(sizes); });
}

void AppStore::setClipBytes(std::int64_t bytes)
{
    changeProgress([=](DownloadProgress &progress) { progress.clipBytes = bytes; });
}

void AppStore::setVerifiedBytes(std::int64_t bytes)
{
    changeProgress([=](DownloadProgress &progress) { progress.setVerifiedBytes(bytes); });
}

void AppStore::endProgress()
{
    m_ui.assertCurrent();
    if (!m_downloadProgress)
        return;
    m_downloadProgress.reset();
    Q_EMIT downloadProgressChanged();
}

} // namespace vorn
