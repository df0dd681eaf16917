// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls.Basic

ProgressBar {
    id: root

    required property string label

    implicitHeight: 6
    Accessible.role: Accessible.ProgressBar
    Accessible.name: label

    background: Rectangle {
        radius: 3
        color: Theme.field
    }
    contentItem: Item {
        Rectangle {
            width: root.visualPosition * parent.width
            height: parent.height
            radius: 3
            color: Theme.accent
        }
    }
}
