// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "views/connect/secure_connect_view_model.h"
#include "views/library/activity_view_model.h"
#include "views/library/download_outlook_view_model.h"
#include "views/library/export_check_view_model.h"
#include "views/library/movie_import_view_model.h"
#include "views/library/project_list_view_model.h"
#include "views/library/take_dashboard_view_model.h"
#include "views/library/take_list_view_model.h"
#include "views/library/work_progress_view_model.h"

#include <QWindow>

namespace vorn {

/// All that the Library window shows and can do. Context: UI thread.
class LibraryViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the program.")
    Q_PROPERTY(vorn::ProjectListViewModel *projects READ projects CONSTANT)
    Q_PROPERTY(vorn::TakeListViewModel *takes READ takes CONSTANT)
    Q_PROPERTY(vorn::TakeDashboardViewModel *dashboard READ dashboard CONSTANT)
    Q_PROPERTY(vorn::ActivityViewModel *activity READ activity CONSTANT)
    Q_PROPERTY(vorn::SecureConnectViewModel *connection READ connection CONSTANT)
    Q_PROPERTY(vorn::ExportCheckViewModel *exportCheck READ exportCheck CONSTANT)
    Q_PROPERTY(vorn::MovieImportViewModel *movieImport READ movieImport CONSTANT)
    Q_PROPERTY(vorn::WorkProgressViewModel *exportProgress READ exportProgress CONSTANT)
    Q_PROPERTY(vorn::WorkProgressViewModel *downloadProgress READ downloadProgress CONSTANT)
    Q_PROPERTY(vorn::DownloadOutlookViewModel *downloadOutlook READ downloadOutlook CONSTANT)
    Q_PROPERTY(QString title READ title NOTIFY titleChanged)
    Q_PROPERTY(bool firstStart READ isFirstStart NOTIFY changed)
    Q_PROPERTY(bool canDownload READ canDownload NOTIFY changed)
    Q_PROPERTY(QString downloadObstacle READ downloadObstacle NOTIFY changed)
    Q_PROPERTY(bool canExport READ canExport NOTIFY changed)
    Q_PROPERTY(QString exportObstacle READ exportObstacle NOTIFY changed)
    Q_PROPERTY(bool hasError READ hasError NOTIFY changed)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY changed)
    Q_PROPERTY(bool hasPackage READ hasPackage NOTIFY changed)
    Q_PROPERTY(QString packageText READ packageText NOTIFY changed)
public:
    /// All must outlive it.
    LibraryViewModel(AppStore &store, LANDiscovery &discovery, LiveCameraDiscovery &live);

    [[nodiscard]] ProjectListViewModel *projects() { return &m_projects; }
    [[nodiscard]] TakeListViewModel *takes() { return &m_takes; }
    [[nodiscard]] TakeDashboardViewModel *dashboard() { return &m_dashboard; }
    [[nodiscard]] ActivityViewModel *activity() { return &m_activity; }
    [[nodiscard]] SecureConnectViewModel *connection() { return &m_connection; }
    [[nodiscard]] ExportCheckViewModel *exportCheck() { return &m_exportCheck; }
    [[nodiscard]] MovieImportViewModel *movieImport() { return &m_movieImport; }
    /// Of an export or of the check of one.
    [[nodiscard]] WorkProgressViewModel *exportProgress() { return &m_exportProgress; }
    [[nodiscard]] WorkProgressViewModel *downloadProgress() { return &m_downloadProgress; }
    [[nodiscard]] DownloadOutlookViewModel *downloadOutlook() { return &m_downloadOutlook; }

    /// The window's, with how far a download is.
    [[nodiscard]] QString title() const;
    /// Nobody has worked with the program yet.
    [[nodiscard]] bool isFirstStart() const;
    [[nodiscard]] bool canDownload() const { return downloadObstacle().isEmpty(); }
    /// Why nothing can be downloaded; empty when something can.
    [[nodiscard]] QString downloadObstacle() const;
    [[nodiscard]] bool canExport() const { return exportObstacle().isEmpty(); }
    /// Why no export can start; empty when one can.
    [[nodiscard]] QString exportObstacle() const;
    [[nodiscard]] bool hasError() const;
    [[nodiscard]] QString errorMessage() const;
    /// An export has ended well, and neither another one has begun nor another take been selected.
    [[nodiscard]] bool hasPackage() const { return !m_packageFile.isEmpty(); }
    /// Where it lies.
    [[nodiscard]] QString packageText() const;

    /// Opens the panel that asks for a manifest; what the user confirms is imported.
    Q_INVOKABLE void chooseManifest(QWindow *window);
    /// Opens the panel that asks for a folder; the selected take is exported into what the user
    /// confirms.
    Q_INVOKABLE void chooseExportFolder(QWindow *window);
    Q_INVOKABLE void cancelExport();
    /// Starts the download of the selected take.
    Q_INVOKABLE void download();
    /// Asks the desktop to show the package.
    Q_INVOKABLE void showPackage();
    Q_INVOKABLE void dismissError();

Q_SIGNALS:
    void changed();
    void titleChanged();

private:
    QCoro::Task<> exportTo(QString folder);
    void setPackageFile(const QString &path);
    void watchDownload();
    /// Tells the desktop when a long download is over and nobody looks.
    void tellOfDownload(std::size_t failed);

    AppStore &m_store;
    QString m_manifestFolder; ///< where the panels were left; lasts as long as the program
    QString m_exportFolder;
    QString m_packageFile; ///< the timeline in it
    ProjectListViewModel m_projects;
    TakeListViewModel m_takes;
    TakeDashboardViewModel m_dashboard;
    ActivityViewModel m_activity;
    SecureConnectViewModel m_connection;
    ExportCheckViewModel m_exportCheck;
    MovieImportViewModel m_movieImport;
    WorkProgressViewModel m_exportProgress;
    WorkProgressViewModel m_downloadProgress;
    DownloadOutlookViewModel m_downloadOutlook;
    std::optional<MonotonicClock::time_point> m_downloadStart;
};

} // namespace vorn
