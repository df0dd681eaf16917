// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls.Basic

ScrollBar {
    id: root

    padding: 2
    minimumSize: 0.06
    policy: size < 1 ? ScrollBar.AlwaysOn : ScrollBar.AlwaysOff
    contentItem: Rectangle {
        implicitWidth: 6
        radius: 3
        color: root.pressed || root.hovered ? Theme.disabled : Theme.frame
    }
    background: null
}
