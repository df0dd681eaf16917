// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

// A phone whose transfer server has been found. Not a button of the toolkit, which would be one to
// assistive tools as well.
FocusStop {
    id: root

    required property int index
    required property string serviceName
    required property string detail
    required property bool canPair
    required property bool isSelected
    signal clicked

    implicitHeight: 48
    enabled: canPair

    Accessible.role: Accessible.RadioButton
    Accessible.name: serviceName
    Accessible.description: detail
    Accessible.checked: isSelected
    Accessible.onPressAction: if (enabled) clicked()
    Accessible.onToggleAction: if (enabled) clicked() // what assistive tools do with a radio button
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
    Keys.onSpacePressed: clicked()

    Rectangle {
        anchors.fill: parent
        radius: Theme.radius
        color: pointer.containsMouse ? Theme.frame : Theme.raised
        border.width: root.isSelected ? 2 : 1
        border.color: root.isSelected ? Theme.ready : Theme.frame

        FocusRing {
            visible: root.visualFocus
        }
    }
    RowLayout {
        anchors.fill: parent
        spacing: Theme.inside

        TokenIcon {
            Layout.leftMargin: Theme.inside
            icon: root.canPair ? "phone" : "warning"
            size: 20
            color: root.canPair ? Theme.ready : Theme.warning
        }
        ColumnLayout {
            spacing: 2

            TextLabel {
                Layout.fillWidth: true
                text: root.serviceName
                maximumLineCount: 1
                color: root.canPair ? Theme.text : Theme.secondary
                Accessible.ignored: true
            }
            SmallLabel {
                Layout.fillWidth: true
                text: root.detail
                color: root.canPair ? Theme.ready : Theme.warning
                Accessible.ignored: true
            }
        }
        TokenIcon {
            Layout.rightMargin: Theme.inside
            visible: root.isSelected
            icon: "check"
            color: Theme.ready
        }
    }
    MouseArea {
        id: pointer

        anchors.fill: parent
        hoverEnabled: true
        onPressed: root.focusByPointer()
        onClicked: root.clicked()
    }
}
