// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

Item {
    id: root

    required property LibraryViewModel library
    signal directorRequested
    signal exportCheckRequested
    // Each button has an icon and margins beside its words. The words of the movies and of the check go first.
    readonly property real wordsWidth: labels.advanceWidth + 4 * 48 + 2 * Theme.hit + 5 * Theme.row
                                       + 2 * Theme.between
    readonly property bool compact: width < wordsWidth

    implicitHeight: 56

    Accessible.role: Accessible.ToolBar
    Accessible.name: qsTr("Take")

    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1
        color: Theme.raised
    }
    TextMetrics {
        id: labels

        font.family: Theme.sans
        font.pixelSize: Theme.bodySize
        font.weight: Font.Medium
        text: director.text + manifest.text + download.text + exporter.text
    }
    TextMetrics {
        id: checkLabel

        font: labels.font
        text: checker.text + qsTr("Import Movies…")
    }
    RowLayout {
        anchors.right: parent.right
        anchors.rightMargin: Theme.between
        anchors.verticalCenter: parent.verticalCenter
        spacing: Theme.row

        HelpedButton {
            id: director

            text: qsTr("Director")
            icon.name: "switch"
            iconOnly: root.compact
            help: qsTr("Open the live Director workspace")
            onClicked: root.directorRequested()
        }
        HelpedButton {
            id: manifest

            text: qsTr("Import Manifest")
            icon.name: "import"
            iconOnly: root.compact
            help: qsTr("Import an existing VORN source manifest")
            onClicked: root.library.chooseManifest(root.Window.window)
        }
        HelpedButton {
            text: qsTr("Import Movies…")
            icon.name: "film"
            iconOnly: root.width < root.wordsWidth + checkLabel.advanceWidth + 2 * Theme.between
            help: qsTr("Make a take of movies from any phones, by their sound")
            onClicked: root.library.movieImport.begin(root.Window.window)
        }
        HelpedButton {
            id: download

            text: qsTr("Download Take")
            icon.name: "download"
            iconOnly: root.compact
            help: qsTr("Resume and verify every pending camera recording in this take")
            available: root.library.canDownload
            obstacle: root.library.downloadObstacle
            onClicked: root.library.download()
        }
        HelpedButton {
            id: checker

            text: qsTr("Check export")
            icon.name: "search"
            iconOnly: root.width < root.wordsWidth + checkLabel.advanceWidth + 2 * Theme.between
            help: qsTr("Find out what an export would refuse, without making one")
            available: root.library.exportCheck.offered
            obstacle: root.library.exportCheck.obstacle
            onClicked: {
                root.library.exportCheck.check();
                root.exportCheckRequested();
            }
        }
        HelpedButton {
            id: exporter

            text: qsTr("Export for Resolve")
            icon.name: "export"
            iconOnly: root.compact
            prominent: true
            help: qsTr("Create a new non-destructive Resolve package")
            available: root.library.canExport
            obstacle: root.library.exportObstacle
            onClicked: root.library.chooseExportFolder(root.Window.window)
        }
    }
}
