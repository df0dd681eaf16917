// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vorn

// The number of a place of the wall, which is the key for its camera. Dark under light, so that any
// picture leaves it readable.
Rectangle {
    id: root

    required property string shortcut

    width: height
    height: 20
    radius: Theme.radius - 2
    color: Theme.window
    border.color: Theme.frame

    SmallLabel {
        anchors.centerIn: parent
        text: root.shortcut
        color: Theme.text
        font.family: Theme.mono
        font.weight: Font.Bold
        Accessible.ignored: true // the tile says it
    }
    HoverHandler {
        id: hover
    }
    HelpTip {
        open: hover.hovered
        text: qsTr("Put this camera in Preview (%1)").arg(root.shortcut)
    }
}
