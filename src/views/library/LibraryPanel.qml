// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

// A titled panel around its content.
Rectangle {
    id: root

    required property string title
    required property string icon
    property color iconColor: Theme.secondary
    default property alias content: body.data

    implicitWidth: 240
    implicitHeight: column.implicitHeight + 2 * Theme.inside
    color: Theme.panel
    radius: Theme.panelRadius
    border.color: Theme.raised

    Accessible.role: Accessible.Grouping
    Accessible.name: title

    ColumnLayout {
        id: column

        anchors.fill: parent
        anchors.margins: Theme.inside
        spacing: Theme.row + 2

        RowLayout {
            spacing: Theme.row

            TokenIcon {
                icon: root.icon
                color: root.iconColor
            }
            TextLabel {
                Layout.fillWidth: true
                text: root.title
                font.pixelSize: Theme.panelTitleSize
                font.weight: Font.DemiBold
            }
        }
        ColumnLayout {
            id: body

            spacing: Theme.row
        }
    }
}
