// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import QtQuick.Templates as T
import Vorn

// Content of the Library window: projects, takes, and the selected take.
Item {
    id: root

    required property LibraryViewModel library
    property bool showNewProject
    property bool showRenameProject
    property bool showCatalog
    property string newProjectName
    property string renameProjectName
    // The lists give way before the take's own column becomes too narrow.
    readonly property int dashboardWidth: 442
    signal helpRequested
    signal settingsRequested
    signal directorRequested
    signal networkCheckRequested
    signal exportCheckRequested

    function askForNewProject() {
        showNewProject = true;
    }
    function askForRename() {
        renameProjectName = library.projects.selectedName;
        showRenameProject = true;
    }
    function createProject() {
        library.projects.create(newProjectName);
        newProjectName = "";
        showNewProject = false;
    }
    function renameProject() {
        library.projects.rename(renameProjectName);
        showRenameProject = false;
    }

    SplitView {
        anchors.fill: parent
        handle: Rectangle {
            implicitWidth: 1
            color: T.SplitHandle.hovered || T.SplitHandle.pressed ? Theme.accent : Theme.frame
            containmentMask: Item {
                x: -4
                width: 9
                height: root.height
            }
        }

        ProjectSidebar {
            id: sidebar

            SplitView.preferredWidth: 235
            SplitView.minimumWidth: 210
            SplitView.maximumWidth: Math.max(210, Math.min(420, (root.width - root.dashboardWidth) / 2))
            projects: root.library.projects
            onNewRequested: root.askForNewProject()
            onRenameRequested: root.askForRename()
            onHelpRequested: root.helpRequested()
            onSettingsRequested: root.settingsRequested()
            onConnectRequested: root.showCatalog = true
            onDirectorRequested: root.directorRequested()
        }
        TakeListView {
            SplitView.preferredWidth: 265
            SplitView.minimumWidth: 200
            SplitView.maximumWidth: Math.max(200, Math.min(480, root.width - root.dashboardWidth - sidebar.width))
            takes: root.library.takes
        }
        ColumnLayout {
            SplitView.fillWidth: true
            SplitView.minimumWidth: root.dashboardWidth - 2
            spacing: 0

            LibraryToolbar {
                Layout.fillWidth: true
                library: root.library
                onDirectorRequested: root.directorRequested()
                onExportCheckRequested: root.exportCheckRequested()
            }
            StatusLine {
                Layout.fillWidth: true
                Layout.margins: Theme.inside
                Layout.leftMargin: Theme.between
                Layout.rightMargin: Theme.between
                Layout.bottomMargin: 0
                visible: text.length > 0
                text: root.library.downloadOutlook.text
                icon: root.library.downloadOutlook.warning ? "warning" : "download"
                iconColor: root.library.downloadOutlook.warning ? Theme.warning : Theme.secondary
            }
            ProgressStrip {
                Layout.fillWidth: true
                visible: progress.running
                progress: root.library.downloadProgress
            }
            ProgressStrip {
                Layout.fillWidth: true
                visible: progress.running
                progress: root.library.exportProgress
                cancellable: true
                onCancelled: root.library.cancelExport()
            }
            ExportNotice {
                Layout.fillWidth: true
                Layout.margins: Theme.inside
                Layout.leftMargin: Theme.between
                Layout.rightMargin: Theme.between
                Layout.bottomMargin: 0
                visible: root.library.hasPackage
                library: root.library
            }
            DashboardView {
                id: dashboardView

                Layout.fillWidth: true
                Layout.fillHeight: true
                dashboard: root.library.dashboard
                activity: root.library.activity
                firstStart: root.library.firstStart
            }
        }
    }

    Later {
        wanted: root.showNewProject

        Item {
            NewProjectSheet {
                visible: root.showNewProject
                name: root.newProjectName
                onNameChanged: root.newProjectName = name
                onConfirmed: root.createProject()
                onClosed: root.showNewProject = false
            }
        }
    }
    Later {
        wanted: root.showRenameProject

        Item {
            RenameProjectSheet {
                visible: root.showRenameProject
                name: root.renameProjectName
                onNameChanged: root.renameProjectName = name
                onConfirmed: root.renameProject()
                onClosed: root.showRenameProject = false
            }
        }
    }
    Later {
        wanted: root.showCatalog

        Item {
            SecureCameraConnectView {
                visible: root.showCatalog
                connection: root.library.connection
                onNetworkCheckRequested: root.networkCheckRequested()
                onClosed: root.showCatalog = false
            }
        }
    }
    Later {
        wanted: root.library.hasError

        Item {
            ErrorAlert {
                visible: root.library.hasError
                message: root.library.errorMessage
                onClosed: root.library.dismissError()
            }
        }
    }

    ListedShortcut {
        key: KeyTable.NewProject
        onActivated: root.askForNewProject()
    }
    ListedShortcut {
        key: KeyTable.Rename
        enabled: root.library.projects.canRename
        onActivated: root.askForRename()
    }
    ListedShortcut {
        key: KeyTable.Search
        onActivated: sidebar.focusSearch()
    }
    ListedShortcut {
        key: KeyTable.ImportManifest
        onActivated: root.library.chooseManifest(root.Window.window)
    }
    ListedShortcut {
        key: KeyTable.ImportMovies
        onActivated: root.library.movieImport.begin(root.Window.window)
    }
    ListedShortcut {
        key: KeyTable.Export
        enabled: root.library.canExport
        onActivated: root.library.chooseExportFolder(root.Window.window)
    }
    ListedShortcut {
        key: KeyTable.Download
        enabled: root.library.canDownload
        onActivated: root.library.download()
    }
    ListedShortcut {
        key: KeyTable.Connect
        onActivated: root.showCatalog = true
    }
    ListedShortcut {
        key: KeyTable.OverviewTab
        onActivated: dashboardView.tab = 0
    }
    ListedShortcut {
        key: KeyTable.MediaTab
        onActivated: dashboardView.tab = 1
    }
    ListedShortcut {
        key: KeyTable.ResolveTab
        onActivated: dashboardView.tab = 2
    }
    ListedShortcut {
        key: KeyTable.ActivityTab
        onActivated: dashboardView.tab = 3
    }
}
