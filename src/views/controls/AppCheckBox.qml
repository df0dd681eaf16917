// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls.Basic

// A statement that is confirmed or not.
AbstractButton {
    id: root

    checkable: true
    implicitHeight: Math.max(Theme.hit, label.implicitHeight + 2 * Theme.tight)
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true

    Accessible.role: Accessible.CheckBox
    Accessible.name: text
    Accessible.checkable: true
    Accessible.checked: checked
    function press() {
        toggle();
        toggled();
    }
    Accessible.onPressAction: if (enabled) press()
    Accessible.onToggleAction: if (enabled) press()
    Keys.onReturnPressed: press()
    Keys.onEnterPressed: press()

    indicator: Rectangle {
        anchors.verticalCenter: parent.verticalCenter
        width: 20
        height: 20
        radius: 4
        color: root.checked ? Theme.accentFill : Theme.field
        border.width: root.checked ? 0 : 1
        border.color: root.hovered ? Theme.secondary : Theme.disabled

        TokenIcon {
            anchors.centerIn: parent
            visible: root.checked
            icon: "check"
            color: Theme.accentText
        }
    }
    contentItem: TextLabel {
        id: label

        leftPadding: 20 + Theme.row
        text: root.text
        wrapMode: Text.Wrap
        elide: Text.ElideNone
        verticalAlignment: Text.AlignVCenter
        Accessible.ignored: true
    }
    FocusRing {
        visible: root.visualFocus
        inset: -4
    }
}
