#include "views/download_outlook_view_model.h"

#include "platform/off_thread.h"
#include "store/app_store.h"

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
    result.freeBytes = m_freeBytes;
    if (!m_store.canDownloadSelectedTake() || m_store.downloadProgress())
        return result;
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (const VORNClip &clip : m_store.selectedTake()->clips) {
        if (isLocal(clip))
            continue;
        ++result.recordings;
        result.bytes += clip.sizeBytes.value_or(0);
        for (const TransferSessionSummary &session : m_store.transferSessions()) {
            if (session.deviceId != clip.deviceId)
                continue;
            const std::chrono::seconds left(now.secsTo(session.expiresAt));
            result.timeLeft = std::min(result.timeLeft.value_or(left), left);
        }
    }
    return result;
}

QCoro::Task<> DownloadOutlookViewModel::measure()
{
    const QPointer<DownloadOutlookViewModel> self(this);
    m_isMeasuring = true;
    const auto bytes = co_await offThread(
        [folder = m_store.recordingsDirectory()] { return freeBytesAt(folder); });
    if (!self)
        co_return;
    m_isMeasuring = false;
    m_freeBytes = bytes;
    show();
}

} // namespace vorn
