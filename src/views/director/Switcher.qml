// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

// Preview and Program, and the controls that switch between them.
StudioPanel {
    id: root

    required property DirectorViewModel director
    readonly property real ratio: director.desk.pictureRatio
    // As wide as a picture can be with the monitors above each other, or beside each other.
    readonly property real stackedWidth: ratio * ((monitors.height - monitors.rowSpacing) / 2 - preview.surround)
    readonly property real besideWidth: Math.min(ratio * (monitors.height - preview.surround),
                                                 (monitors.width - monitors.columnSpacing) / 2 - 2 * Theme.tight)
    // Whichever makes pictures larger.
    readonly property bool stacked: Math.min(stackedWidth, monitors.width - 2 * Theme.tight) > besideWidth
    // As wide as it has use for with the monitors above each other.
    readonly property real useful: Math.ceil(stackedWidth) + 2 * Theme.tight + 2 * Theme.inside

    signal programRequested

    title: qsTr("SWITCHER")
    subtitle: qsTr("Preview and Program")
    icon: "switch"

    GridLayout {
        id: monitors

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.bottom: controls.top
        anchors.bottomMargin: Theme.inside
        columns: root.stacked ? 1 : 2
        columnSpacing: Theme.inside
        rowSpacing: Theme.inside

        DirectorMonitor {
            id: preview

            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.preferredWidth: 1 // both the same
            Layout.preferredHeight: 1
            director: root.director
            monitor: root.director.previewMonitor
            title: qsTr("PREVIEW")
            isProgram: false
        }
        DirectorMonitor {
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.preferredWidth: 1 // both the same
            Layout.preferredHeight: 1
            director: root.director
            monitor: root.director.programMonitor
            title: qsTr("PROGRAM")
            isProgram: true
            onWindowRequested: root.programRequested()
        }
    }
    RowLayout {
        id: controls

        anchors.left: parent.left
        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.between
        spacing: Theme.row

        SwitchButton {
            Layout.preferredWidth: 124
            Layout.preferredHeight: 52
            text: qsTr("CUT")
            large: true
            help: qsTr("Put the Preview camera on Program immediately and log the edit")
            available: root.director.canTake
            obstacle: root.director.takeObstacle
            onClicked: root.director.cut()
        }
        SwitchButton {
            Layout.preferredWidth: 80
            Layout.preferredHeight: 40
            text: qsTr("FADE")
            help: qsTr("Fade from Program to Preview using the selected duration and log the edit")
            available: root.director.canTake
            obstacle: root.director.takeObstacle
            onClicked: root.director.fade()
        }
        AppPicker {
            Layout.preferredWidth: 84
            label: qsTr("Fade duration")
            titles: root.director.fadeTitles
            current: root.director.fadeIndex
            fixedWidthDigits: true
            onChosen: index => root.director.fadeIndex = index
        }
        HelpedButton {
            text: qsTr("Marker")
            icon.name: "flag"
            help: qsTr("Add a timestamped marker to the Director edit log")
            available: root.director.sessionRunning
            obstacle: qsTr("Start a Director session first.")
            onClicked: root.director.addMarker()
        }
    }
    SmallLabel {
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        text: qsTr("Monitor only")
    }
    SwitchKeys {
        director: root.director
    }
    ListedShortcut {
        key: KeyTable.OpenProgram
        autoRepeat: false
        onActivated: root.programRequested()
    }
}
