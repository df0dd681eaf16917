import QtQuick
import QtQuick.Layouts

Rectangle {
    id: root

    required property LibraryViewModel library
    readonly property bool compact: width < labelled.width + 2 * Theme.between

    implicitHeight: 56
    color: Theme.panel

    // What the buttons need with their words, whether they show them or not.
    TextMetrics {
        id: labelled

        readonly property real width: advanceWidth + 3 * 58 + 2 * Theme.row

        font.family: Theme.sans
        font.pixelSize: Theme.bodySize
        font.weight: Font.Medium
        text: manifest.text + download.text + exporter.text
    }
    RowLayout {
        anchors.right: parent.right
        anchors.rightMargin: Theme.between
        anchors.verticalCenter: parent.verticalCenter
        spacing: Theme.row

        HelpedButton {
            id: manifest

            text: qsTr("Import Manifest")
            iconName: "import"
            iconOnly: root.compact
            help: qsTr("Import an existing VORN source manifest")
            onClicked: root.library.chooseManifest(root.Window.window)
        }
        HelpedButton {
            id: download

            text: qsTr("Download Take")
            iconName: "download"
            iconOnly: root.compact
            help: qsTr("Resume and verify every pending camera recording in this take")
            available: root.library.canDownload
            obstacle: root.library.downloadObstacle
        }
        HelpedButton {
            id: exporter

            text: qsTr("Export for Resolve")
            iconName: "export"
            iconOnly: root.compact
            prominent: true
            help: qsTr("Create a new non-destructive Resolve package")
            available: root.library.canExport
            obstacle: root.library.exportObstacle
            onClicked: root.library.chooseExportFolder(root.Window.window)
        }
    }
}
