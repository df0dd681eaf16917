// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

Column {
    id: root

    required property string title
    required property string detail

    Layout.fillWidth: true
    spacing: 2

    TextLabel {
        width: parent.width
        text: root.title
        font.pixelSize: Theme.panelTitleSize
        font.weight: Font.DemiBold
    }
    SmallLabel {
        width: parent.width
        text: root.detail
    }
}
