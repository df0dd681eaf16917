// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Vorn

// One of several texts. The owner keeps what is chosen. The list has the keyboard while it is open,
// however it was opened, and gives it back to who had it before.
ComboBox {
    id: root

    required property string label
    required property list<string> titles
    required property int current
    property bool fixedWidthDigits
    property Item focusBefore: null // while the list is open
    signal chosen(int index)

    implicitHeight: 32
    model: titles
    currentIndex: current
    onActivated: index => {
        chosen(index);
        // What the owner says holds, also when it stays as it was.
        currentIndex = Qt.binding(() => root.current);
    }
    onModelChanged: currentIndex = Qt.binding(() => root.current)

    Accessible.role: Accessible.ComboBox
    Accessible.name: label + ", " + displayText
    Accessible.onPressAction: popup.open()
    focusPolicy: Qt.TabFocus
    // An open list takes Return when it is released, and so does what opens it. The space bar opens
    // none: a shortcut takes only its press.
    Keys.onReleased: event => {
        event.accepted = !popup.visible;
        if ((event.key === Qt.Key_Return || event.key === Qt.Key_Enter) && event.accepted)
            popup.open();
    }

    contentItem: TextLabel {
        leftPadding: Theme.row + 2
        text: root.displayText
        verticalAlignment: Text.AlignVCenter
        font.family: root.fixedWidthDigits ? Theme.mono : Theme.sans
        color: root.enabled ? Theme.text : Theme.disabled
        Accessible.ignored: true
    }
    indicator: TokenIcon {
        x: root.width - width - Theme.row
        y: (root.height - height) / 2
        icon: "chevron"
    }
    background: Rectangle {
        radius: Theme.radius
        color: root.hovered || root.popup.visible ? Theme.frame : Theme.raised
        border.color: Theme.frame

        FocusRing {
            visible: root.visualFocus
        }
    }
    delegate: ItemDelegate {
        id: entry

        required property int index
        required property string modelData

        width: ListView.view.width
        height: Theme.hit
        highlighted: root.highlightedIndex === index

        Accessible.role: Accessible.ListItem
        Accessible.name: modelData
        Accessible.selectable: true
        Accessible.selected: highlighted
        Accessible.onPressAction: {
            root.popup.close();
            root.activated(index);
        }

        contentItem: TextLabel {
            text: entry.modelData
            verticalAlignment: Text.AlignVCenter
            font.family: root.fixedWidthDigits ? Theme.mono : Theme.sans
            font.weight: entry.index === root.currentIndex ? Font.DemiBold : Font.Normal
            Accessible.ignored: true
        }
        background: Rectangle {
            radius: Theme.radius - 2
            color: entry.highlighted ? Theme.frame : "transparent"
        }
    }
    popup: Popup {
        y: root.height + 2
        width: root.width
        height: Math.min(contentItem.implicitHeight + 2 * padding, 320)
        padding: 4
        onAboutToShow: {
            root.focusBefore = root.Window.activeFocusItem;
            root.forceActiveFocus(Qt.PopupFocusReason);
        }
        onClosed: {
            if (root.activeFocus && root.focusBefore !== root) {
                root.focus = false;
                if (root.focusBefore?.visible && root.focusBefore.enabled)
                    root.focusBefore.forceActiveFocus(Qt.PopupFocusReason);
            }
            root.focusBefore = null;
        }

        contentItem: ListView {
            id: entries

            clip: true
            implicitHeight: contentHeight
            model: root.popup.visible ? root.delegateModel : null
            currentIndex: root.highlightedIndex
            boundsBehavior: Flickable.StopAtBounds
            ScrollBar.vertical: SlimScrollBar {}

            ReadingOrder {
                of: entries.contentItem
            }
        }
        background: Rectangle {
            radius: Theme.radius
            color: Theme.panel
            border.color: Theme.frame
        }
    }
}
