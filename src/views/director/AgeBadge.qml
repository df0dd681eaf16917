// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vorn

// How old a picture is that does not move any more; nothing over one that does.
Rectangle {
    id: root

    required property string text
    property bool large

    visible: text.length > 0
    width: label.implicitWidth + 12
    height: label.implicitHeight + Theme.tight
    radius: Theme.radius - 2
    color: Theme.warning

    SmallLabel {
        id: label

        anchors.centerIn: parent
        text: root.text
        color: Theme.previewText
        font.family: Theme.mono
        font.pixelSize: root.large ? Theme.windowTitleSize : Theme.smallSize
        font.weight: Font.Bold
        Accessible.ignored: true // who shows the picture says it
    }
}
