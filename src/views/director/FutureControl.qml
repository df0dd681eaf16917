// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

// A control that is still to come.
RowLayout {
    id: root

    required property string icon
    required property string title
    required property string detail

    Layout.fillWidth: true
    spacing: Theme.row
    enabled: false

    Accessible.role: Accessible.StaticText
    Accessible.name: title + ", " + detail
    Accessible.description: qsTr("Locked")

    TokenIcon {
        icon: root.icon
        color: Theme.disabled
    }
    Column {
        Layout.fillWidth: true

        TextLabel {
            width: parent.width
            text: root.title
            color: Theme.disabled
            Accessible.ignored: true
        }
        SmallLabel {
            width: parent.width
            text: root.detail
            color: Theme.disabled
            Accessible.ignored: true
        }
    }
    TokenIcon {
        icon: "lock"
        color: Theme.disabled
    }
}
