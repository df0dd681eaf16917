// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

RowLayout {
    id: root

    required property string time
    required property string kind
    required property string detail
    required property bool isMarker

    height: Theme.hit
    spacing: Theme.row

    Accessible.role: Accessible.ListItem
    Accessible.name: time + ", " + kind + ", " + detail

    SmallLabel {
        text: root.time
        font.family: Theme.mono
        Accessible.ignored: true
    }
    SmallLabel {
        Layout.preferredWidth: 40
        text: root.kind
        font.weight: Font.DemiBold
        color: root.isMarker ? Theme.warning : Theme.text
        Accessible.ignored: true
    }
    TextLabel {
        Layout.fillWidth: true
        text: root.detail
        elide: Text.ElideMiddle
        maximumLineCount: 1
        Accessible.ignored: true
    }
}
