// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

// How far long work is, under the buttons that start it. Each number grows away from its edge, so that nothing else moves.
Rectangle {
    id: root

    required property WorkProgressViewModel progress
    property int inset: Theme.between
    property bool cancellable
    signal cancelled

    implicitHeight: 72
    color: Theme.panel

    component Number: TextLabel {
        font.family: Theme.mono
        font.pixelSize: Theme.smallSize
        color: Theme.secondary
        elide: Text.ElideNone
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.leftMargin: root.inset
        anchors.rightMargin: root.inset + (cancel.visible ? cancel.width + Theme.between : 0)
        anchors.topMargin: Theme.row
        anchors.bottomMargin: Theme.row + 2
        spacing: Theme.row

        RowLayout {
            spacing: Theme.between

            TextLabel {
                Layout.fillWidth: true
                text: root.progress.title
                elide: Text.ElideMiddle
            }
            Number {
                text: root.progress.timeLeftText
            }
        }
        FlatProgressBar {
            Layout.fillWidth: true
            value: root.progress.fraction
            label: root.progress.title
        }
        RowLayout {
            Number {
                Layout.fillWidth: true
                horizontalAlignment: Text.AlignLeft
                text: root.progress.bytesText
            }
            Number {
                text: root.progress.rateText
            }
        }
    }
    HelpedButton {
        id: cancel

        anchors.right: parent.right
        anchors.rightMargin: root.inset
        anchors.verticalCenter: parent.verticalCenter
        visible: root.cancellable
        text: qsTr("Cancel")
        help: qsTr("Stop and leave nothing behind")
        onClicked: root.cancelled()
    }
}
