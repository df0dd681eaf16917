// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vorn

// A live camera that can be asked to share its files.
AbstractButton {
    id: root

    required property int index
    required property string name
    required property bool canBeAsked

    implicitHeight: 52
    enabled: canBeAsked
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true

    Accessible.role: Accessible.Button
    Accessible.name: name
    Accessible.description: enabled ? qsTr("Ask to share files") : qsTr("It is recording.")
    Accessible.onPressAction: if (enabled) clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    contentItem: RowLayout {
        spacing: Theme.row

        TokenIcon {
            Layout.leftMargin: Theme.inside
            icon: "phone"
            size: 20
            color: root.enabled ? Theme.secondary : Theme.disabled
        }
        ColumnLayout {
            Layout.rightMargin: Theme.row
            spacing: 2

            TextLabel {
                Layout.fillWidth: true
                text: root.name
                maximumLineCount: 1
                color: root.enabled ? Theme.text : Theme.disabled
                Accessible.ignored: true
            }
            SmallLabel {
                Layout.fillWidth: true
                text: qsTr("Ask to share files")
                color: root.enabled ? Theme.accent : Theme.disabled
                Accessible.ignored: true
            }
        }
    }
    background: Rectangle {
        radius: Theme.radius
        color: root.hovered && root.enabled ? Theme.frame : Theme.raised
        border.color: Theme.frame

        FocusRing {
            visible: root.visualFocus
        }
    }
    HoverHandler {
        id: hover
    }
    HelpTip {
        open: hover.hovered && !root.enabled
        text: qsTr("It is recording.")
    }
}
