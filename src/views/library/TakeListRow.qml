// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vorn

SelectableRow {
    id: root

    required property string takeId
    required property string detail
    required property bool complete

    height: 48
    text: takeId + ", " + detail
    Accessible.description: complete ? qsTr("Complete") : qsTr("Media pending")

    Column {
        anchors.left: parent.left
        anchors.right: mark.left
        anchors.rightMargin: Theme.row
        anchors.verticalCenter: parent.verticalCenter
        clip: true

        TextLabel {
            id: shown

            width: parent.width
            text: root.takeId
            maximumLineCount: 1
        }
        SmallLabel {
            width: parent.width
            text: root.detail
        }
    }
    TokenIcon {
        id: mark

        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        icon: root.complete ? "check" : "film"
        color: root.complete ? Theme.ready : Theme.secondary
    }
    HelpTip {
        open: root.hovered && shown.truncated
        text: root.takeId
    }
}
