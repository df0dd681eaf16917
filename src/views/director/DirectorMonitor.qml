// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vorn

// One of the two large monitors.
Item {
    id: root

    required property DirectorViewModel director
    required property DirectorMonitorViewModel monitor
    required property string title
    required property bool isProgram
    signal windowRequested
    readonly property real surround: heading.height + camera.height + 4 * Theme.tight // what is not picture

    Accessible.role: Accessible.Grouping
    Accessible.name: title + ", " + monitor.cameraText
    Accessible.description: well.ageText

    TextLabel {
        id: heading

        height: 20 // beside what the button needs
        verticalAlignment: Text.AlignVCenter
        text: root.title
        font.weight: Font.DemiBold
        color: root.isProgram ? Theme.failure : Theme.preview
    }
    HelpedButton {
        anchors.right: parent.right
        anchors.verticalCenter: heading.verticalCenter
        height: Theme.hit
        visible: root.isProgram
        text: qsTr("Open Program")
        icon.name: "screen"
        iconOnly: true
        help: qsTr("Show Program in a window of its own, for another display (%1)")
              .arg(KeyTable.sequence(KeyTable.OpenProgram))
        onClicked: root.windowRequested()
    }
    FrameWell {
        id: well

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: heading.bottom
        anchors.bottom: camera.top
        anchors.topMargin: Theme.tight
        anchors.bottomMargin: Theme.tight
        director: root.director
        cameraID: root.monitor.cameraID
        monitor: true
        isPreview: !root.isProgram
        isProgram: root.isProgram
        notice: root.monitor.notice

        RecordingBadge {
            anchors.right: parent.right
            visible: root.monitor.recording
        }
    }
    TextLabel {
        id: camera

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        text: root.monitor.cameraText
        elide: Text.ElideMiddle // the end says when it is offline
        maximumLineCount: 1
        color: root.monitor.hasCamera ? Theme.text : Theme.secondary
    }
}
