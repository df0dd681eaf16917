// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import Vorn

ProgramWindow {
    id: root

    required property LibraryViewModel library
    property string endingWork // what would end with the program, while that is asked
    signal exportCheckRequested
    signal endConfirmed
    signal endDeclined

    title: library.title
    width: 1180
    height: 760
    minimumWidth: 900
    minimumHeight: 560
    visible: true

    RootView {
        anchors.fill: parent
        library: root.library
        onHelpRequested: root.helpRequested()
        onSettingsRequested: root.settingsRequested()
        onDirectorRequested: root.directorRequested()
        onNetworkCheckRequested: root.networkCheckRequested()
        onExportCheckRequested: root.exportCheckRequested()
    }
    DropArea {
        anchors.fill: parent
        keys: ["text/uri-list"]
        onDropped: drop => {
            drop.accept(Qt.CopyAction);
            root.library.movieImport.addFiles(drop.urls);
        }
    }
    Later {
        wanted: root.endingWork.length > 0

        Item {
            EndWorkSheet {
                work: root.endingWork
                onConfirmed: root.endConfirmed()
                onClosed: if (root.endingWork) root.endDeclined()
            }
        }
    }
}
