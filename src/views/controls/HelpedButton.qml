// SPDX-License-Identifier: Apache-2.0
import QtQuick

// A button that explains itself under the pointer, also while it is disabled.
Item {
    id: root

    property alias text: button.text
    property alias icon: button.icon
    property alias iconOnly: button.iconOnly
    property alias help: button.help
    property alias obstacle: button.obstacle
    property alias prominent: button.prominent
    property alias available: button.enabled
    signal clicked

    function takeFocus() {
        button.forceActiveFocus(Qt.ShortcutFocusReason);
    }

    implicitWidth: button.implicitWidth
    implicitHeight: button.implicitHeight

    AppButton {
        id: button

        anchors.fill: parent
        onClicked: root.clicked()
    }
    HoverHandler {
        id: hover
    }
    HelpTip {
        open: hover.hovered && text.length > 0
        readonly property string reason: button.enabled ? "" : button.obstacle
        text: button.help && reason ? button.help + "\n" + reason : button.help + reason
    }
}
