// SPDX-License-Identifier: Apache-2.0

#include "views/library/download_outlook_view_model.h"

#include "base/byte_sum.h"
#include "base/off_thread.h"
#include "store/app_store.h"
#include "store/partial_recording.h"

#include <QDir>
#include <QFileInfo>
#include <QPointer>
#include <QStorageInfo>

namespace vorn {

namespace {

/// Bytes that this user may write on the disk of `folder`, which need not be there yet.
std::optional<std::int64_t> freeBytesAt(const QString &folder)
{
    QDir place(folder);
    while (!place.exists() && !place.isRoot())
        place = QDir(QFileInfo(place.path()).path());
    const QStorageInfo storage(place);
    if (!storage.isValid())
        return std::nullopt;
    return storage.bytesAvailable();
}

} // namespace

DownloadOutlookViewModel::DownloadOutlookViewModel(AppStore &store) : m_store(store)
{
    connect(&store, &AppStore::libraryChanged, this, &DownloadOutlookViewModel::refresh);
    connect(&store, &AppStore::selectedTakeIDChanged, this, &DownloadOutlookViewModel::refresh);
    connect(&store, &AppStore::selectedProjectIDChanged, this, &DownloadOutlookViewModel::refresh);
    connect(&store, &AppStore::transferSessionsChanged, this, &DownloadOutlookViewModel::refresh);
    refresh();
}

void DownloadOutlookViewModel::refresh()
{
    show();
    if (!m_notice.text.isEmpty() && !m_isMeasuring)
        measure();
}

void DownloadOutlookViewModel::show()
{
    DownloadNotice notice = downloadNotice(outlook());
    if (notice.text == m_notice.text && notice.isWarning == m_notice.isWarning)
        return;
    m_notice = std::move(notice);
    Q_EMIT changed();
}

DownloadOutlook DownloadOutlookViewModel::outlook() const
{
    DownloadOutlook result;
    result.freeBytes = m_disk.freeBytes;
    if (!m_store.canDownloadSelectedTake())
        return result;
    if (const auto &running = m_store.downloadProgress())
        result.bytesAhead = running->allTotalBytes - running->allBytes();
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (const VORNClip &clip : clipsToFetch()) {
        ++result.recordings;
        result.bytes = byteSum(result.bytes, knownBytes(clip));
        for (const TransferSessionSummary &session : m_store.transferSessions()) {
            if (session.deviceId != clip.deviceId)
                continue;
            const std::chrono::seconds left(now.secsTo(session.expiresAt));
            result.timeLeft = std::min(result.timeLeft.value_or(left), left);
        }
    }
    if (hasMeasured())
        result.bytes -= std::min(m_disk.presentBytes, result.bytes);
    return result;
}

QList<VORNClip> DownloadOutlookViewModel::clipsToFetch() const
{
    QList<VORNClip> clips = m_store.selectedTake()->clips;
    clips.removeIf([this](const VORNClip &clip) {
        return isLocal(clip) || m_store.isDownloadPending(clip.id);
    });
    return clips;
}

DownloadOutlookViewModel::DiskState
DownloadOutlookViewModel::diskState(const QString &folder, const QString &projectId,
                                    const QString &takeId, const QList<VORNClip> &clips)
{
    DiskState state{projectId, takeId, freeBytesAt(folder), 0};
    for (const VORNClip &clip : clips) {
        try {
            state.presentBytes = byteSum(
                state.presentBytes, partialBytes(recordingPath(folder, projectId, takeId, clip)));
        } catch (const FileError &) {
            continue; // a name that the download refuses
        }
    }
    return state;
}

bool DownloadOutlookViewModel::hasMeasured() const
{
    return m_disk.projectId == m_store.selectedProjectID()
           && m_disk.takeId == m_store.selectedTakeID();
}

QCoro::Task<> DownloadOutlookViewModel::measure()
{
    const QPointer<DownloadOutlookViewModel> self(this);
    m_isMeasuring = true;
    // Again when another take was selected meanwhile.
    do {
        DiskState disk = co_await offThread(
            [folder = m_store.recordingsDirectory(), projectId = m_store.selectedProject()->id,
             takeId = m_store.selectedTake()->id,
             clips = clipsToFetch()] { return diskState(folder, projectId, takeId, clips); });
        if (!self)
            co_return;
        m_disk = std::move(disk);
    } while (m_store.selectedTake() && !hasMeasured());
    m_isMeasuring = false;
    show();
}

} // namespace vorn
