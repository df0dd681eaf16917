// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vorn

// A camera's frame within a border: green with Preview, red with Program.
Rectangle {
    id: root

    required property DirectorViewModel director
    required property string cameraID
    required property bool isPreview
    required property bool isProgram
    required property string notice
    property bool monitor
    readonly property alias ageText: frame.ageText
    // What there is to say of the picture.
    readonly property string condition: frame.hasFrame ? frame.ageText : notice
    default property alias content: over.data

    color: Theme.field
    radius: Theme.radius
    border.width: isProgram ? 3 : isPreview ? 2 : 1
    border.color: isProgram ? Theme.failure : isPreview ? Theme.preview : Theme.frame

    CameraFrameImage {
        id: frame

        anchors.fill: parent
        anchors.margins: Theme.tight
        clip: true
        director: root.director
        cameraID: root.cameraID
        monitor: root.monitor
    }
    Item {
        id: over

        anchors.fill: parent
        anchors.margins: Theme.row
    }
    AgeBadge {
        anchors.left: over.left
        anchors.bottom: over.bottom
        text: frame.ageText
    }
    Column {
        anchors.centerIn: parent
        width: parent.width - 2 * Theme.between
        visible: !frame.hasFrame
        spacing: Theme.tight

        TokenIcon {
            anchors.horizontalCenter: parent.horizontalCenter
            icon: "video"
            size: 20
            color: Theme.disabled
        }
        TextLabel {
            width: parent.width
            visible: text.length > 0
            text: root.notice
            color: Theme.secondary
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
        }
    }
}
