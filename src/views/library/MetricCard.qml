// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vorn

Rectangle {
    id: root

    required property string title
    required property string value
    required property string icon

    implicitWidth: 120
    implicitHeight: 76
    color: Theme.panel
    radius: Theme.panelRadius
    border.color: Theme.raised

    Accessible.role: Accessible.StaticText
    Accessible.name: title + ", " + value

    Row {
        anchors.left: parent.left
        anchors.top: parent.top
        anchors.margins: Theme.inside
        spacing: 6

        TokenIcon {
            icon: root.icon
        }
        SmallLabel {
            anchors.verticalCenter: parent.verticalCenter
            text: root.title
            font.weight: Font.Medium
            font.letterSpacing: 0.5
        }
    }
    TextLabel {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.margins: Theme.inside
        text: root.value
        font.family: Theme.mono
        font.pixelSize: Theme.windowTitleSize
        font.weight: Font.Medium
    }
}
