// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

Item {
    id: root

    required property DirectorViewModel director
    signal libraryRequested
    signal settingsRequested
    signal helpRequested

    function focusFold() {
        fold.takeFocus();
    }

    function foldInspector() {
        director.desk.inspectorFolded = !director.desk.inspectorFolded;
    }

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
        HelpedButton {
            id: fold

            text: root.director.desk.inspectorFolded ? qsTr("Show Inspector") : qsTr("Hide Inspector")
            icon.name: "side-pane"
            iconOnly: true
            help: (root.director.desk.inspectorFolded ? qsTr("Show the inspector (%1)")
                                                      : qsTr("Hide the inspector and give its room to the pictures (%1)"))
                  .arg(KeyTable.sequence(KeyTable.FoldInspector))
            onClicked: root.foldInspector()
        }
        HelpedButton {
            text: qsTr("Settings")
            icon.name: "gear"
            iconOnly: true
            help: qsTr("Settings")
            onClicked: root.settingsRequested()
        }
        HelpedButton {
            text: qsTr("Help")
            icon.name: "help"
            iconOnly: true
            help: qsTr("Help")
            onClicked: root.helpRequested()
        }
    }

    // As the shortcut of an item it stands back while a popup is open.
    ListedShortcut {
        key: KeyTable.FoldInspector
        autoRepeat: false
        onActivated: root.foldInspector()
    }
}
