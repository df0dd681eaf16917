// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vorn

// "PVW" or "PGM", or nothing.
Rectangle {
    id: root

    required property bool isPreview
    required property bool isProgram

    visible: isPreview || isProgram
    width: label.implicitWidth + 12
    height: 20
    radius: Theme.radius - 2
    color: isProgram ? Theme.programFill : Theme.preview

    SmallLabel {
        id: label

        anchors.centerIn: parent
        text: root.isProgram ? qsTr("PGM") : qsTr("PVW")
        color: root.isProgram ? Theme.accentText : Theme.previewText
        font.weight: Font.Bold
    }
}
