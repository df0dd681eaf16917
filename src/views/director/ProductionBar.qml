// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

// What holds for the whole production, on one line.
Rectangle {
    id: root

    required property DirectorViewModel director

    implicitHeight: 32
    color: Theme.panel

    component Fact: SmallLabel {
        Layout.minimumWidth: implicitWidth
    }
    // What a name or a system says, at any length: gives way to the others.
    component LongFact: SmallLabel {
        id: fact

        Layout.fillWidth: true
        Layout.maximumWidth: implicitWidth + 1

        HoverHandler {
            id: hover
        }
        HelpTip {
            open: hover.hovered && fact.truncated
            text: fact.text
        }
    }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.between
        anchors.rightMargin: Theme.between
        spacing: 24

        Row {
            spacing: Theme.row

            Rectangle {
                anchors.verticalCenter: parent.verticalCenter
                width: 8
                height: 8
                radius: 4
                color: root.director.hasOnlineCamera ? Theme.ready : "transparent"
                border.color: root.director.hasOnlineCamera ? Theme.ready : Theme.secondary
            }
            SmallLabel {
                text: root.director.networkText
                color: root.director.hasOnlineCamera ? Theme.text : Theme.secondary
            }
        }
        LongFact {
            visible: text.length > 0
            text: root.director.networkProblem
            color: Theme.warning
        }
        LongFact {
            text: root.director.projectText
        }
        Fact {
            text: root.director.policyText
        }
        Fact {
            text: qsTr("Audio meters only")
        }
        Fact {
            text: root.director.catalogsText
        }
        Item {
            Layout.fillWidth: true
        }
    }
}
