// SPDX-License-Identifier: Apache-2.0
import QtQuick

// The same notice, small, inside a panel.
Item {
    id: root

    required property string title
    required property string icon
    required property string detail

    implicitHeight: column.implicitHeight + 2 * Theme.row

    Column {
        id: column

        anchors.centerIn: parent
        width: parent.width - 2 * Theme.row
        spacing: Theme.tight

        TokenIcon {
            anchors.horizontalCenter: parent.horizontalCenter
            icon: root.icon
            size: 20
            color: Theme.disabled
        }
        TextLabel {
            width: parent.width
            text: root.title
            horizontalAlignment: Text.AlignHCenter
            font.weight: Font.Medium
        }
        SmallLabel {
            width: parent.width
            text: root.detail
            wrapMode: Text.Wrap
            elide: Text.ElideNone
            horizontalAlignment: Text.AlignHCenter
        }
    }
}
