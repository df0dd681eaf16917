// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vorn

// A section of the desk under its title.
Rectangle {
    id: root

    required property string title
    required property string subtitle
    required property string icon
    default property alias content: body.data

    color: Theme.panel
    radius: Theme.panelRadius
    border.color: Theme.raised

    Accessible.role: Accessible.Grouping
    Accessible.name: title

    Row {
        id: head

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: Theme.inside
        spacing: Theme.row

        TokenIcon {
            anchors.verticalCenter: heading.verticalCenter
            icon: root.icon
        }
        TextLabel {
            id: heading

            text: root.title
            font.pixelSize: Theme.panelTitleSize
            font.weight: Font.DemiBold
        }
        SmallLabel {
            anchors.baseline: heading.baseline
            width: Math.max(0, head.width - x)
            text: root.subtitle
        }
    }
    Item {
        id: body

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: head.bottom
        anchors.bottom: parent.bottom
        anchors.margins: Theme.inside
        anchors.topMargin: Theme.row + 2
    }
}
