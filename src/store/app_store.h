// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/atomic_file.h"
#include "base/thread_context.h"
#include "desktop/sleep_inhibitor.h"
#include "drift/export_check.h"
#include "drift/export_package.h"
#include "library/records.h"
#include "store/download_progress.h"
#include "store/library_file.h"
#include "store/pending_download.h"
#include "store/recording_check.h"
#include "transfer/authenticated_transfer_client.h"
#include "transfer/discovered_device.h"

#include <QCoroTask>
#include <QObject>

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

namespace vorn {

struct DeviceCatalog;
struct SourceManifest;
class PartialRecording;

/// What takes its time and lets nothing of its kind begin beside it.
enum class LongWork { pairing, exporting, checkingExport, verifying, savingChecksums };

/// What was last done with the recordings of a take, and what came of it.
struct TakeOutcome {
    QString projectId;
    QString takeId;
    QString text;
    std::vector<RecordingCheck> checks; ///< empty where nothing was compared
};

/// What an export of a take would have come to, and of what that was said.
struct ExportCheckOutcome {
    QString projectId;
    QString projectName;
    VORNTake take;
    ExportCheck check;
};

/// Owns the library and everything the windows show of it, and is the only writer of the library
/// file. Every change of the library is on the disk when the operation that made it returns.
/// Operations report failures in `errorMessage` and the activity log, not to their caller.
/// Context: UI thread.
class AppStore : public QObject {
    Q_OBJECT
public:
    /// The folders are the user's own unless given; a given folder is used as it stands.
    explicit AppStore(std::optional<QString> storageRoot = {},
                      std::optional<QString> recordingsRoot = {}, QObject *parent = nullptr);
    /// Ends what runs: an export leaves nothing behind, a download what it has.
    ~AppStore() override;

    [[nodiscard]] const VORNLibrary &library() const;
    /// Nothing is in the library, and none has been found that could not be read.
    [[nodiscard]] bool isNew() const;
    [[nodiscard]] const std::optional<QString> &selectedProjectID() const;
    [[nodiscard]] const std::optional<QString> &selectedTakeID() const;
    [[nodiscard]] const std::vector<TransferStatus> &transfers() const;
    /// Newest first, at most 100.
    [[nodiscard]] const std::vector<ActivityEntry> &activities() const;
    [[nodiscard]] bool isBusy() const { return longWork().has_value(); }
    [[nodiscard]] std::optional<LongWork> longWork() const;
    /// The latest failure; stays until a view clears it.
    [[nodiscard]] const std::optional<QString> &errorMessage() const;
    /// The phones that are paired, by name.
    [[nodiscard]] const std::vector<TransferSessionSummary> &transferSessions() const;
    /// Finer than transfers(), whose entries change with each chunk; absent when nothing is
    /// fetched.
    [[nodiscard]] const std::optional<DownloadProgress> &downloadProgress() const;
    /// How far the running export is, or the check of one; absent when none runs.
    [[nodiscard]] const std::optional<ExportProgress> &exportProgress() const;
    /// How far the reading of a take's recordings is; absent when none are read.
    [[nodiscard]] const std::optional<CheckProgress> &checkProgress() const;
    /// Absent while nothing has been done, or something is being done.
    [[nodiscard]] const std::optional<TakeOutcome> &takeOutcome() const;
    /// Null where that is of another take.
    [[nodiscard]] const TakeOutcome *selectedTakeOutcome() const;

    /// Null where the selected take has not been checked, or is no longer what was.
    [[nodiscard]] const ExportCheck *selectedExportCheck() const;

    /// Another project's first take is selected with it, if it has one.
    void setSelectedProjectID(std::optional<QString> id);
    void setSelectedTakeID(std::optional<QString> id);
    void clearErrorMessage();

    /// Null when nothing is selected or the selection matches nothing. Valid until the library
    /// changes.
    [[nodiscard]] const VORNProject *selectedProject() const;
    [[nodiscard]] const VORNTake *selectedTake() const;

    /// This computer's lasting identity, a UUID in lower case.
    [[nodiscard]] const QString &collectorIdentity() const;
    [[nodiscard]] const QString &supportDirectory() const;
    [[nodiscard]] const QString &recordingsDirectory() const;

    void log(const QString &message, bool error = false);

    /// Removes what saves of killed processes have left in the library's folder. Only for who holds
    /// its lock: the files could be another process's that is writing them.
    void removeAbandonedSaves();

    /// A blank name does nothing. The new project is selected.
    void createProject(const QString &name);
    /// Raises the project's revision. Nothing happens for a blank or the same name, or where no
    /// regular project is selected.
    void renameSelectedProject(const QString &name);
    /// Selects the take of this id in the selected project, made new if need be; false, with a
    /// message, when it cannot be used.
    [[nodiscard]] bool prepareDirectorTake(const QString &id);
    void setReferenceCamera(const QString &cameraId);
    /// Brings in the take that the manifest file at `path` describes; true when it is in. All or
    /// nothing.
    QCoro::Task<bool> importManifest(QString path);
    /// Brings in a take of movies by a manifest that is written into a folder of its own under the
    /// recordings; true when it is in. Nothing is left otherwise.
    QCoro::Task<bool> createMovieTake(SourceManifest manifest);
    /// Exports the selected take into a new folder under `parentFolder` and shows it. The decisions
    /// of its director's cut are what `readDecisions` gives, on another thread; what it throws ends
    /// the export.
    QCoro::Task<>
    exportSelectedTake(QString parentFolder,
                       std::function<std::vector<CutDecision>(const VORNTake &)> readDecisions = {},
                       EditingCopies copies = EditingCopies::none);
    /// Finds out what an export of the selected take would come to, without making one.
    QCoro::Task<> checkSelectedTake();
    /// Ends the running export, which leaves nothing behind, or the check of one, which then has no
    /// result. Without one nothing happens.
    void cancelExport();
    /// Reads the recordings of the selected take that are on this computer anew and says which no
    /// longer match. The library stays as it is.
    QCoro::Task<> verifySelectedTake();
    /// Writes the checksums of a take's recordings that are on this computer into a file at `path`,
    /// for `sha256sum --check`.
    QCoro::Task<> saveChecksums(QString projectId, QString takeId, QString path,
                                ExistingFile existing);

    /// Pairs with the phone and merges its catalog into the library; true when both succeeded.
    /// Whatever fails, the library is as it was and no session is listed.
    QCoro::Task<bool> pairAndConnect(DiscoveredDevice device, QString pairingCode,
                                     bool fingerprintConfirmed);
    /// Tells the phone, after the session has gone from the list.
    QCoro::Task<> endTransferSession(QString deviceId);
    QCoro::Task<> endAllTransferSessions();

    /// True when some of the selected take's recordings are to be fetched, and all of those can be.
    [[nodiscard]] bool canDownloadSelectedTake() const;
    /// True while a recording is fetched or waits for its turn.
    [[nodiscard]] bool isDownloadPending(const QString &clipId) const;
    /// True while any recording is fetched or waits for its turn.
    [[nodiscard]] bool isDownloading() const;
    /// Fetches the recordings of the selected take that are not on this computer, one after the
    /// other, and verifies each. While a download runs, further ones wait for their turn, and the
    /// call returns at once.
    QCoro::Task<> downloadSelectedTake();

Q_SIGNALS:
    void libraryChanged();
    void selectedProjectIDChanged();
    void selectedTakeIDChanged();
    void transfersChanged();
    void activitiesChanged();
    void isBusyChanged();
    void errorMessageChanged();
    void exportProgressChanged();
    void checkProgressChanged();
    void takeOutcomeChanged();
    void exportCheckChanged();
    void transferSessionsChanged();
    void downloadProgressChanged();
    /// Nothing waits any more; of what was asked for since, `failed` recordings are not here.
    void downloadsEnded(std::size_t failed);
    /// An export has succeeded; `path` is its timeline document, to be shown to the user.
    void exportCreated(const QString &path);

private:
    void load();
    /// Encodes the library on another thread, so that its first save is as quick as the next ones.
    QCoro::Task<> prepareSaves();
    /// Changes the library as `change` says, which runs on another thread, and again if the library
    /// has changed meanwhile; what it throws leaves the library as it is. Saves nothing. False when
    /// the store has ended.
    QCoro::Task<bool> changeLibrary(std::function<VORNLibrary(VORNLibrary)> change);
    void save();
    /// errorMessage and the activity log.
    void fail(const QString &message);
    void setLongWork(std::optional<LongWork> work);
    void setExportProgress(std::optional<ExportProgress> progress);
    void setCheckProgress(std::optional<CheckProgress> progress);
    void setTakeOutcome(std::optional<TakeOutcome> outcome);
    void setExportCheck(std::optional<ExportCheckOutcome> outcome);
    [[nodiscard]] CheckReport checkReport();
    /// True when there is no failure to tell.
    bool endCheck(const QString &failure);
    void tellOfChecks(TakeOutcome outcome);
    [[nodiscard]] VORNProject *selectedProjectForChange() VORN_RUNS_ON(m_ui);

    using Client = std::shared_ptr<AuthenticatedTransferClient>;
    [[nodiscard]] Client clientOf(const VORNClip &clip) const VORN_RUNS_ON(m_ui);
    void addSession(const Client &client);
    void removeSessions(const QString &deviceId);
    QCoro::Task<> takeInCatalog(std::shared_ptr<const DeviceCatalog> catalog, Client client);
    void finishPairing(const DeviceCatalog &catalog, const Client &client);
    QCoro::Task<> fetchIfPossible(PendingDownload pending);
    QCoro::Task<> fetch(PendingDownload pending, Client client, QUrl url);
    /// Fetches what is missing of the partial file.
    QCoro::Task<> fetchRanges(PendingDownload pending, Client client, QUrl url,
                              std::shared_ptr<PartialRecording> partial);
    void updateClip(const PendingDownload &pending, const QString &localPath);
    void setTransfer(const VORNClip &clip, TransferPhase phase, std::int64_t completed,
                     const QString &message);
    void failDownload(const VORNClip &clip, const Client &client, const std::exception &error);
    /// Changes the progress, if there is one: who reports may come too late.
    void changeProgress(const std::function<void(DownloadProgress &)> &change);
    /// What the first one of the queue and those behind it come to.
    void countDownloads();
    void setClipBytes(std::int64_t bytes);
    void setVerifiedBytes(std::int64_t bytes);
    void endProgress();

    ThreadContext m_ui;
    QString m_supportDirectory;
    QString m_recordingsDirectory;
    QString m_collectorID;
    VORNLibrary m_library VORN_OWNED_BY(m_ui);
    LibraryFile m_file VORN_OWNED_BY(m_ui);
    bool m_couldLoad VORN_OWNED_BY(m_ui) = true;
    std::optional<QString> m_selectedProjectID VORN_OWNED_BY(m_ui);
    std::optional<QString> m_selectedTakeID VORN_OWNED_BY(m_ui);
    std::vector<TransferStatus> m_transfers VORN_OWNED_BY(m_ui);
    std::vector<ActivityEntry> m_activities VORN_OWNED_BY(m_ui);
    std::optional<LongWork> m_longWork VORN_OWNED_BY(m_ui);
    std::optional<QString> m_errorMessage VORN_OWNED_BY(m_ui);
    std::optional<ExportProgress> m_exportProgress VORN_OWNED_BY(m_ui);
    std::optional<CheckProgress> m_checkProgress VORN_OWNED_BY(m_ui);
    std::optional<TakeOutcome> m_takeOutcome VORN_OWNED_BY(m_ui);
    std::optional<ExportCheckOutcome> m_exportCheck VORN_OWNED_BY(m_ui);
    /// By device id. Never written to a file.
    std::map<QString, Client> m_transferClients VORN_OWNED_BY(m_ui);
    std::vector<TransferSessionSummary> m_transferSessions VORN_OWNED_BY(m_ui);
    /// Clips that wait for their turn; the first one is being fetched.
    std::deque<PendingDownload> m_downloads VORN_OWNED_BY(m_ui);
    std::optional<DownloadProgress> m_downloadProgress VORN_OWNED_BY(m_ui);
    /// Asked when the store ends: sessions close, and what runs on other threads stops.
    std::stop_source m_stop;
    /// Of the running export, or the check of one, alone; asked when the store ends, too.
    std::stop_source m_exportStop;
};

} // namespace vorn
