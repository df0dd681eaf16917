// SPDX-License-Identifier: Apache-2.0
import QtQuick
import Vorn

Item {
    id: root

    required property string title
    required property string statement
    required property string advice
    required property bool isGood

    height: column.implicitHeight + 2 * Theme.row

    Accessible.role: Accessible.ListItem
    Accessible.name: title + ": " + statement
    Accessible.description: (isGood ? qsTr("In order.") : qsTr("To look at.")) + (advice ? " " + advice : "")

    TokenIcon {
        id: mark

        y: Theme.row
        icon: root.isGood ? "check" : "warning"
        color: root.isGood ? Theme.ready : Theme.warning
    }
    Column {
        id: column

        anchors.left: mark.right
        anchors.leftMargin: Theme.row
        anchors.right: parent.right
        y: Theme.row
        spacing: 2

        TextLabel {
            width: parent.width
            text: root.title
            font.weight: Font.DemiBold
            Accessible.ignored: true
        }
        TextLabel {
            width: parent.width
            text: root.statement
            wrapMode: Text.Wrap
            elide: Text.ElideNone
            color: Theme.secondary
            Accessible.ignored: true
        }
        TextLabel {
            width: parent.width
            visible: text.length > 0
            text: root.advice
            wrapMode: Text.Wrap
            elide: Text.ElideNone
            color: Theme.warning
            Accessible.ignored: true
        }
    }
}
