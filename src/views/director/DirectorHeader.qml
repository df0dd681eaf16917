// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

Item {
    id: root

    required property DirectorViewModel director
    signal libraryRequested

    implicitHeight: 56

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.between
        anchors.rightMargin: Theme.between
        spacing: Theme.row

        Column {
            TextLabel {
                text: qsTr("VORN DIRECTOR")
                font.pixelSize: Theme.windowTitleSize
                font.weight: Font.DemiBold
            }
            SmallLabel {
                text: qsTr("Live production workspace")
            }
        }
        Item {
            Layout.fillWidth: true
        }
        StatusPill {
            text: root.director.cameraCountText
            textColor: root.director.hasOnlineCamera ? Theme.ready : Theme.secondary
        }
        StatusPill {
            Layout.rightMargin: Theme.between
            text: root.director.planText
            textColor: root.director.planned ? Theme.ready : Theme.secondary
        }
        HelpedButton {
            text: qsTr("Scan")
            icon.name: "search"
            help: qsTr("Scan the local network for VORN cameras")
            onClicked: root.director.scan()
        }
        HelpedButton {
            text: qsTr("Library")
            icon.name: "tray"
            help: qsTr("Open the library of projects and takes")
            onClicked: root.libraryRequested()
        }
    }
}
