// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls.Basic
import Vorn

// CUT and FADE. The space bar belongs to CUT, wherever the focus is: see SwitchKeys.
Item {
    id: root

    property alias text: button.text
    property alias available: button.enabled
    property bool large
    property string help
    property string obstacle
    signal clicked

    AbstractButton {
        id: button

        anchors.fill: parent
        focusPolicy: Qt.StrongFocus
        hoverEnabled: true

        Accessible.role: Accessible.Button
        Accessible.name: text
        Accessible.description: enabled ? root.help : root.obstacle
        Accessible.onPressAction: if (enabled) clicked()
        Keys.onReturnPressed: clicked()
        Keys.onEnterPressed: clicked()
        onClicked: root.clicked()

        contentItem: TextLabel {
            text: button.text
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
            font.pixelSize: root.large ? Theme.windowTitleSize : Theme.panelTitleSize
            font.weight: Font.Bold
            font.letterSpacing: 1
            color: !button.enabled ? Theme.disabled : root.large ? Theme.accentText : Theme.text
            Accessible.ignored: true
        }
        background: Rectangle {
            radius: Theme.radius
            color: !button.enabled ? Theme.raised : root.large ? Theme.programFill
                 : button.hovered || button.down ? Theme.frame : Theme.raised
            opacity: button.down ? 0.8 : 1
            border.width: root.large && button.enabled ? 0 : 1
            border.color: Theme.frame

            FocusRing {
                visible: button.visualFocus
            }
        }
    }
    HoverHandler {
        id: hover
    }
    HelpTip {
        open: hover.hovered && text.length > 0
        text: button.enabled ? root.help : root.help + "\n" + root.obstacle
    }
}
