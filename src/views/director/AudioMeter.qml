// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vorn

// A level in dB, from -60 to 0.
Rectangle {
    id: root

    required property real value

    implicitHeight: 5
    implicitWidth: 48
    radius: 2
    color: Theme.field

    Accessible.ignored: true

    Rectangle {
        width: parent.width * Math.max(0, Math.min(1, (root.value + 60) / 60))
        height: parent.height
        radius: 2
        color: root.value > -6 ? Theme.failure : root.value > -18 ? Theme.warning : Theme.preview
    }
}
