// SPDX-License-Identifier: Apache-2.0
import QtQuick

// A large notice in the middle of an empty column.
Item {
    id: root

    required property string title
    required property string icon
    required property string detail

    implicitHeight: column.implicitHeight

    Column {
        id: column

        anchors.centerIn: parent
        width: Math.min(root.width - 2 * Theme.between, 320)
        spacing: Theme.row

        TokenIcon {
            anchors.horizontalCenter: parent.horizontalCenter
            icon: root.icon
            size: 40
            color: Theme.disabled
        }
        TextLabel {
            width: parent.width
            text: root.title
            horizontalAlignment: Text.AlignHCenter
            font.pixelSize: Theme.panelTitleSize
            font.weight: Font.DemiBold
        }
        TextLabel {
            width: parent.width
            visible: text.length > 0
            text: root.detail
            wrapMode: Text.Wrap
            elide: Text.ElideNone
            horizontalAlignment: Text.AlignHCenter
            color: Theme.secondary
        }
    }
}
