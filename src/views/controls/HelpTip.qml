// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls.Basic

// A plain text by the pointer. Made only when it is shown: lists have hundreds of rows that could.
// Not ComponentBehavior: Bound, for Qt 6.4's Loader refuses to make a bound component.
Loader {
    id: root

    required property string text
    property bool open

    active: open
    sourceComponent: ToolTip {
        parent: root.parent // qmllint disable unqualified
        visible: true
        delay: 600
        padding: Theme.row
        width: Math.min(implicitWidth, 360)
        contentItem: TextLabel {
            text: root.text // qmllint disable unqualified
            wrapMode: Text.Wrap
            elide: Text.ElideNone
            font.pixelSize: Theme.smallSize
        }
        background: Rectangle {
            color: Theme.raised
            border.color: Theme.frame
            radius: Theme.radius
        }
    }
}
