// SPDX-License-Identifier: Apache-2.0
import QtQuick

// One row of a RowList that can be selected. An item of its own rather than a button, so that it is
// a list item to assistive tools too.
Item {
    id: root

    required property int index
    required property RowList list
    required property string text
    readonly property bool selected: index === list.selectedIndex
    readonly property bool hovered: pointer.containsMouse
    default property alias content: content.data

    width: ListView.view ? ListView.view.width : implicitWidth

    Accessible.role: Accessible.ListItem
    Accessible.name: text
    Accessible.selectable: true
    Accessible.selected: selected
    Accessible.onPressAction: list.rowRequested(index)

    Rectangle {
        anchors.fill: parent
        anchors.leftMargin: 4
        anchors.rightMargin: 4
        radius: Theme.radius
        color: root.selected ? Theme.selection : root.hovered ? Theme.raised : "transparent"

        FocusRing {
            visible: root.selected && root.list.visualFocus
            inset: 0
        }
    }
    Item {
        id: content

        anchors.fill: parent
        anchors.leftMargin: Theme.between
        anchors.rightMargin: Theme.between
    }
    MouseArea {
        id: pointer

        anchors.fill: parent
        hoverEnabled: true
        onPressed: root.list.focusByPointer()
        onClicked: root.list.rowRequested(root.index)
    }
}
