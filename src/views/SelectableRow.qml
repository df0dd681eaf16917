import QtQuick
import QtQuick.Controls.Basic

// One row of a RowList that can be selected.
AbstractButton {
    id: root

    required property int index
    required property RowList list
    readonly property bool selected: index === list.selectedIndex

    width: ListView.view ? ListView.view.width : implicitWidth
    leftPadding: Theme.row + 4
    rightPadding: Theme.row + 4
    focusPolicy: Qt.NoFocus
    hoverEnabled: true
    onPressed: list.forceActiveFocus(Qt.MouseFocusReason)
    onClicked: list.rowRequested(index)

    Accessible.role: Accessible.ListItem
    Accessible.name: text
    Accessible.selectable: true
    Accessible.selected: selected
    Accessible.onPressAction: clicked()

    background: Item {
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
    }
}
