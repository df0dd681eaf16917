// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vorn

SelectableRow {
    id: root

    required property string name
    required property string takesText
    required property bool isUnassigned

    height: 44
    text: name + ", " + takesText

    TokenIcon {
        id: mark

        anchors.verticalCenter: parent.verticalCenter
        icon: root.isUnassigned ? "tray" : "folder"
        color: root.isUnassigned ? Theme.warning : Theme.secondary
    }
    Column {
        anchors.left: mark.right
        anchors.leftMargin: Theme.row + 2
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        clip: true

        TextLabel {
            id: shown

            width: parent.width
            text: root.name
            maximumLineCount: 1
        }
        SmallLabel {
            width: parent.width
            text: root.takesText
        }
    }
    HelpTip {
        open: root.hovered && shown.truncated
        text: root.name
    }
}
