// SPDX-License-Identifier: Apache-2.0

#include "views/library/library_view_model.h"

#include "base/display_text.h"
#include "desktop/desktop_notification.h"
#include "desktop/file_reveal.h"
#include "live/live_camera_discovery.h"
#include "store/app_store.h"
#include "views/library/file_panels.h"

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPointer>

namespace vorn {

using namespace Qt::StringLiterals;

namespace {

using namespace std::chrono_literals;

/// Who waits for less looks at the window still.
constexpr auto longDownload = 10s;

template <class Progress> QString workTitle(const QString &work, const Progress &progress)
{
    return u"%1 %2  \u2022  %3 of %4"_s.arg(work, displayText(progress.cameraId),
                                            QString::number(progress.clipIndex + 1),
                                            QString::number(progress.clipCount));
}

QString exportWorkText(ExportProgress::Stage stage)
{
    switch (stage) {
    case ExportProgress::Stage::verifying:
        break;
    case ExportProgress::Stage::copying:
        return u"Making editing copy of"_s;
    case ExportProgress::Stage::listening:
        return u"Listening to"_s;
    }
    return u"Verifying"_s;
}

std::optional<WorkProgress> exportWork(const AppStore &store)
{
    const auto &progress = store.exportProgress();
    if (!progress)
        return std::nullopt;
    const bool isListening = progress->stage == ExportProgress::Stage::listening;
    return WorkProgress{workTitle(exportWorkText(progress->stage), *progress),
                        progress->completedBytes, progress->totalBytes,
                        // Each clip has its own places.
                        int(progress->stage) + (isListening ? int(progress->clipIndex) : 0),
                        isListening};
}

std::optional<WorkProgress> downloadWork(const AppStore &store)
{
    const auto &progress = store.downloadProgress();
    if (!progress)
        return std::nullopt;
    if (progress->verifiedBytes)
        return WorkProgress{workTitle(u"Verifying"_s, *progress), *progress->verifiedBytes,
                            progress->clipTotalBytes, progress->stage};
    return WorkProgress{workTitle(u"Downloading"_s, *progress), progress->allBytes(),
                        progress->allTotalBytes, progress->stage};
}

} // namespace

LibraryViewModel::LibraryViewModel(AppStore &store, LANDiscovery &discovery,
                                   LiveCameraDiscovery &live)
    : m_store(store),
      m_manifestFolder(QDir::homePath()),
      m_exportFolder(QDir::homePath()),
      m_projects(store),
      m_takes(store),
      m_dashboard(store),
      m_activity(store),
      m_connection(store, discovery, live),
      m_exportCheck(store),
      m_movieImport(store),
      m_exportProgress([&store] { return exportWork(store); }),
      m_downloadProgress([&store] { return downloadWork(store); }),
      m_downloadOutlook(store)
{
    connect(&store, &AppStore::exportProgressChanged, &m_exportProgress,
            &WorkProgressViewModel::startOrStop);
    connect(&store, &AppStore::downloadProgressChanged, &m_downloadProgress,
            &WorkProgressViewModel::startOrStop);
    connect(&store, &AppStore::downloadProgressChanged, this, &LibraryViewModel::watchDownload);
    connect(&store, &AppStore::downloadsEnded, this, &LibraryViewModel::tellOfDownload);
    connect(&m_downloadProgress, &WorkProgressViewModel::changed, this,
            &LibraryViewModel::titleChanged);
    connect(&store, &AppStore::transferSessionsChanged, this, &LibraryViewModel::changed);
    // A session runs out without a word.
    connect(&live, &LiveCameraDiscovery::livenessTickChanged, this, &LibraryViewModel::changed);
    connect(&live, &LiveCameraDiscovery::livenessTickChanged, &m_downloadOutlook,
            &DownloadOutlookViewModel::refresh);
    connect(&store, &AppStore::libraryChanged, this, &LibraryViewModel::changed);
    connect(&store, &AppStore::selectedProjectIDChanged, this, &LibraryViewModel::changed);
    connect(&store, &AppStore::selectedTakeIDChanged, this, &LibraryViewModel::changed);
    connect(&store, &AppStore::isBusyChanged, this, &LibraryViewModel::changed);
    connect(&store, &AppStore::errorMessageChanged, this, &LibraryViewModel::changed);
    connect(&store, &AppStore::exportCreated, this, &LibraryViewModel::setPackageFile);
    const auto forgetPackage = [this] { setPackageFile({}); };
    connect(&store, &AppStore::selectedProjectIDChanged, this, forgetPackage);
    connect(&store, &AppStore::selectedTakeIDChanged, this, forgetPackage);
}

QString LibraryViewModel::title() const
{
    const auto &progress = m_store.downloadProgress();
    if (!progress || progress->allTotalBytes == 0)
        return u"VORN Library"_s;
    const double part = double(progress->allBytes()) / double(progress->allTotalBytes);
    return u"VORN Library \u2014 %1 %"_s.arg(int(part * 100));
}

bool LibraryViewModel::isFirstStart() const
{
    return m_store.isNew();
}

QString LibraryViewModel::downloadObstacle() const
{
    if (m_store.isBusy())
        return u"Another operation is running."_s;
    const VORNTake *take = m_store.selectedTake();
    if (!take)
        return u"No take is selected."_s;
    if (take->clips.empty())
        return u"This take has no recordings."_s;
    if (std::ranges::all_of(take->clips, isLocal))
        return u"All recordings of this take are on this computer."_s;
    if (!m_store.canDownloadSelectedTake())
        return u"Connect to the phones that hold this take's recordings."_s;
    return {};
}

QString LibraryViewModel::exportObstacle() const
{
    if (!m_store.selectedTake())
        return u"No take is selected."_s;
    if (m_store.isBusy())
        return u"Another operation is running."_s;
    return {};
}

bool LibraryViewModel::hasError() const
{
    return m_store.errorMessage().has_value();
}

QString LibraryViewModel::errorMessage() const
{
    return displayText(m_store.errorMessage().value_or(QString()), longestMessage);
}

QString LibraryViewModel::packageText() const
{
    return u"The Resolve package is in "_s
           + displayText(QFileInfo(m_packageFile).path(), longestMessage);
}

void LibraryViewModel::chooseManifest(QWindow *window)
{
    openManifestPanel(window, m_manifestFolder, [self = QPointer(this)](const QString &path) {
        if (!self)
            return;
        self->m_manifestFolder = QFileInfo(path).path();
        self->m_store.importManifest(path);
    });
}

void LibraryViewModel::chooseExportFolder(QWindow *window)
{
    openExportPanel(window, m_exportFolder, [self = QPointer(this)](const QString &path) {
        if (!self)
            return;
        self->m_exportFolder = path;
        self->exportTo(path);
    });
}

QCoro::Task<> LibraryViewModel::exportTo(QString folder)
{
    const QPointer<LibraryViewModel> self(this);
    const auto take = m_store.selectedTakeID();
    // A session may have been recorded since the page was looked at.
    co_await m_dashboard.cut()->look();
    // The take may have gone, or another export begun, since the panel was opened.
    if (!self || !canExport() || m_store.selectedTakeID() != take)
        co_return;
    setPackageFile({});
    co_await m_store.exportSelectedTake(folder, m_dashboard.cut()->decisions(),
                                        m_dashboard.copies()->isWanted() ? EditingCopies::make
                                                                         : EditingCopies::none);
}

void LibraryViewModel::cancelExport()
{
    m_store.cancelExport();
}

void LibraryViewModel::download()
{
    if (canDownload())
        m_store.downloadSelectedTake();
}

void LibraryViewModel::showPackage()
{
    revealFile(m_packageFile);
}

void LibraryViewModel::setPackageFile(const QString &path)
{
    m_packageFile = path;
    Q_EMIT changed();
}

void LibraryViewModel::watchDownload()
{
    if (m_downloadStart || !m_store.downloadProgress())
        return;
    m_downloadStart = MonotonicClock::now();
    m_downloadOutlook.refresh();
}

void LibraryViewModel::tellOfDownload(std::size_t failed)
{
    m_downloadOutlook.refresh();
    const auto start = std::exchange(m_downloadStart, std::nullopt);
    if (!start || MonotonicClock::now() - *start < longDownload || QGuiApplication::focusWindow())
        return;
    showDesktopNotification(failed > 0 ? u"Download ended"_s : u"Download complete"_s,
                            failed > 0 ? u"Some recordings could not be downloaded."_s
                                       : u"All recordings are verified and on this computer."_s);
}

void LibraryViewModel::dismissError()
{
    m_store.clearErrorMessage();
}

} // namespace vorn
