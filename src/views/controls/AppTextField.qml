// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls.Basic

TextField {
    id: root

    required property string label
    property string icon

    implicitHeight: 32
    leftPadding: icon ? 32 : Theme.row + 2
    rightPadding: Theme.row + 2
    topPadding: 0
    bottomPadding: 0
    verticalAlignment: TextInput.AlignVCenter
    horizontalAlignment: TextInput.AlignLeft
    placeholderText: label
    placeholderTextColor: Theme.secondary
    color: Theme.text
    selectionColor: Theme.accentFill
    selectedTextColor: Theme.accentText
    selectByMouse: true
    font.family: Theme.sans
    font.pixelSize: Theme.bodySize

    Accessible.role: Accessible.EditableText
    Accessible.name: label

    background: Rectangle {
        radius: Theme.radius
        color: Theme.field
        border.width: root.activeFocus ? Theme.ring : 1
        border.color: root.activeFocus ? Theme.accent : Theme.frame

        TokenIcon {
            anchors.left: parent.left
            anchors.leftMargin: 10
            anchors.verticalCenter: parent.verticalCenter
            visible: root.icon.length > 0
            icon: root.icon
        }
    }
}
