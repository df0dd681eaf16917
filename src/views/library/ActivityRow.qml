// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vorn

Item {
    id: root

    required property string message
    required property string time
    required property bool isError

    height: Math.max(Theme.hit, text.implicitHeight + Theme.row)

    Accessible.role: Accessible.ListItem
    Accessible.name: time + ", " + message
    Accessible.description: isError ? qsTr("Error") : ""

    TokenIcon {
        id: mark

        y: 6
        icon: root.isError ? "warning" : "check"
        color: root.isError ? Theme.failure : Theme.ready
    }
    TextLabel {
        id: text

        anchors.left: mark.right
        anchors.leftMargin: Theme.row
        anchors.right: clock.left
        anchors.rightMargin: Theme.inside
        y: 6
        text: root.message
        wrapMode: Text.Wrap
        maximumLineCount: 6
    }
    TextLabel {
        id: clock

        anchors.right: parent.right
        y: 6
        text: root.time
        font.family: Theme.mono
        font.pixelSize: Theme.smallSize
        color: Theme.secondary
    }
}
