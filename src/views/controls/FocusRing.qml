// SPDX-License-Identifier: Apache-2.0
import QtQuick

// Drawn around its parent while the keyboard's focus is there.
Rectangle {
    property real inset: -Theme.ring - 1

    anchors.fill: parent
    anchors.margins: inset
    radius: Theme.radius - inset
    color: "transparent"
    border.width: Theme.ring
    border.color: Theme.accent
}
