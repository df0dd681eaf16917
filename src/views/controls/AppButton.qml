// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls.Basic

AbstractButton {
    id: root

    property bool prominent
    property bool iconOnly
    property string help
    property string obstacle // why it is disabled

    implicitHeight: 32
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    leftPadding: iconOnly ? Theme.row : Theme.inside
    rightPadding: leftPadding
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true

    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.description: enabled ? help : obstacle
    Accessible.onPressAction: if (enabled) clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    contentItem: Item {
        implicitWidth: content.implicitWidth
        implicitHeight: content.implicitHeight

        Row {
            id: content

            anchors.centerIn: parent
            spacing: 6

            TokenIcon {
                anchors.verticalCenter: parent.verticalCenter
                visible: root.icon.name.length > 0
                icon: root.icon.name
                color: label.color
            }
            TextLabel {
                id: label

                anchors.verticalCenter: parent.verticalCenter
                visible: !root.iconOnly
                text: root.text
                elide: Text.ElideNone
                font.weight: Font.Medium
                color: !root.enabled ? Theme.disabled : root.prominent ? Theme.accentText : Theme.text
                Accessible.ignored: true
            }
        }
    }
    background: Rectangle {
        radius: Theme.radius
        color: root.prominent && root.enabled ? Theme.accentFill
             : root.enabled && (root.hovered || root.down) ? Theme.frame : Theme.raised
        opacity: root.down ? 0.8 : 1
        border.width: root.prominent && root.enabled ? 0 : 1
        border.color: Theme.frame

        FocusRing {
            visible: root.visualFocus
        }
    }
}
