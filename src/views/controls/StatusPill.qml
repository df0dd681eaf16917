// SPDX-License-Identifier: Apache-2.0
import QtQuick

Rectangle {
    id: root

    required property string text

    implicitWidth: label.implicitWidth + 20
    implicitHeight: 24
    radius: height / 2
    color: "transparent"
    border.width: 1
    border.color: label.color

    property alias textColor: label.color

    TextLabel {
        id: label

        anchors.centerIn: parent
        text: root.text
        font.pixelSize: Theme.smallSize
        font.weight: Font.DemiBold
        font.letterSpacing: 0.5
    }
}
