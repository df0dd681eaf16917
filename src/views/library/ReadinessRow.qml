// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

RowLayout {
    id: root

    required property string label
    required property bool ready

    spacing: Theme.row

    Accessible.role: Accessible.ListItem
    Accessible.name: root.label + ", " + state.text

    TextLabel {
        Layout.fillWidth: true
        text: root.label
    }
    TokenIcon {
        icon: root.ready ? "check" : "dashed-circle"
        color: root.ready ? Theme.ready : Theme.warning
    }
    TextLabel {
        id: state

        Layout.preferredWidth: 52
        text: root.ready ? qsTr("Ready") : qsTr("Pending")
        color: Theme.secondary
    }
}
