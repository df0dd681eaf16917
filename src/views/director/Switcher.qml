import QtQuick
import QtQuick.Layouts
import Vorn

// Preview and Program, and the controls that switch between them.
StudioPanel {
    id: root

    required property DirectorViewModel director
    readonly property bool pickerOpen: fadeLength.open
    // The monitors stand beside each other until the panel is too narrow for that.
    readonly property bool stacked: width < 520 && height > width

    title: qsTr("SWITCHER")
    subtitle: qsTr("Preview and Program")
    icon: "switch"

    GridLayout {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.bottom: controls.top
        anchors.bottomMargin: Theme.inside
        columns: root.stacked ? 1 : 2
        columnSpacing: Theme.inside
        rowSpacing: Theme.inside
        uniformCellWidths: true

        DirectorMonitor {
            Layout.fillWidth: true
            Layout.fillHeight: true
            director: root.director
            monitor: root.director.previewMonitor
            title: qsTr("PREVIEW")
            tally: "PVW"
        }
        DirectorMonitor {
            Layout.fillWidth: true
            Layout.fillHeight: true
            director: root.director
            monitor: root.director.programMonitor
            title: qsTr("PROGRAM")
            tally: "PGM"
        }
    }
    RowLayout {
        id: controls

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        spacing: Theme.row

        SwitchButton {
            Layout.preferredWidth: 132
            Layout.preferredHeight: 52
            text: qsTr("CUT")
            large: true
            help: qsTr("Put the Preview camera on Program immediately and log the edit")
            available: root.director.canTake
            obstacle: root.director.takeObstacle
            onClicked: root.director.cut()
        }
        SwitchButton {
            Layout.preferredWidth: 84
            Layout.preferredHeight: 40
            text: qsTr("FADE")
            help: qsTr("Fade from Program to Preview using the selected duration and log the edit")
            available: root.director.canTake
            obstacle: root.director.takeObstacle
            onClicked: root.director.fade()
        }
        AppPicker {
            id: fadeLength

            Layout.preferredWidth: 88
            label: qsTr("Fade duration")
            titles: root.director.fadeTitles
            current: root.director.fadeIndex
            fixedWidthDigits: true
            onChosen: index => root.director.fadeIndex = index
        }
        HelpedButton {
            text: qsTr("Marker")
            iconName: "flag"
            help: qsTr("Add a timestamped marker to the Director edit log")
            available: root.director.sessionRunning
            obstacle: qsTr("Start a Director session first.")
            onClicked: root.director.addMarker()
        }
        Item {
            Layout.fillWidth: true
        }
        SmallLabel {
            Layout.maximumWidth: implicitWidth
            Layout.fillWidth: true
            text: qsTr("Monitor only")
        }
    }
}
