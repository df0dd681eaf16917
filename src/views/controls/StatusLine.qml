// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts

// A mark and the sentence it stands for.
RowLayout {
    id: root

    required property string text
    required property string icon
    property color iconColor: Theme.secondary
    property color textColor: Theme.text

    spacing: Theme.row

    TokenIcon {
        Layout.alignment: Qt.AlignTop
        icon: root.icon
        color: root.iconColor
    }
    TextLabel {
        Layout.fillWidth: true
        text: root.text
        color: root.textColor
        wrapMode: Text.Wrap
        elide: Text.ElideNone
    }
}
