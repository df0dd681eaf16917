// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vorn

// "REC" with a filled dot.
Rectangle {
    id: root

    width: row.implicitWidth + 12
    height: 20
    radius: Theme.radius - 2
    color: Theme.programFill

    Accessible.role: Accessible.StaticText
    Accessible.name: qsTr("REC")
    Accessible.description: qsTr("Camera recording")

    Row {
        id: row

        anchors.centerIn: parent
        spacing: 5

        Rectangle {
            anchors.verticalCenter: parent.verticalCenter
            width: 8
            height: 8
            radius: 4
            color: Theme.accentText
        }
        SmallLabel {
            text: qsTr("REC")
            color: Theme.accentText
            font.weight: Font.DemiBold
            Accessible.ignored: true
        }
    }
    HoverHandler {
        id: hover
    }
    HelpTip {
        open: hover.hovered
        text: qsTr("Camera recording")
    }
}
