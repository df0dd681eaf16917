// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vorn

Rectangle {
    id: root

    required property ProjectListViewModel projects
    signal newRequested
    signal renameRequested
    signal settingsRequested
    signal helpRequested
    signal directorRequested
    signal connectRequested

    function focusSearch() {
        search.forceActiveFocus(Qt.ShortcutFocusReason);
        search.selectAll();
    }

    color: Theme.panel

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        ColumnLayout {
            Layout.margins: Theme.between
            Layout.topMargin: Theme.inside
            Layout.bottomMargin: Theme.inside
            spacing: 2

            TextLabel {
                text: qsTr("Library")
                font.pixelSize: Theme.windowTitleSize
                font.weight: Font.DemiBold
            }
            SmallLabel {
                Layout.fillWidth: true
                text: root.projects.countText
            }
        }
        AppTextField {
            id: search

            objectName: "projectSearch"
            Layout.fillWidth: true
            Layout.leftMargin: Theme.inside
            Layout.rightMargin: Theme.inside
            label: qsTr("Search projects")
            icon: "search"
            text: root.projects.search
            onTextChanged: root.projects.search = text
            Keys.onEscapePressed: clear()
            Keys.onDownPressed: list.forceActiveFocus()
        }
        SmallLabel {
            Layout.topMargin: Theme.between
            Layout.bottomMargin: 6
            Layout.leftMargin: Theme.between
            text: qsTr("PROJECTS")
            font.weight: Font.DemiBold
            font.letterSpacing: 0.5
        }
        RowList {
            id: list

            objectName: "projectList"
            Layout.fillWidth: true
            Layout.fillHeight: true
            label: qsTr("PROJECTS")
            model: root.projects.projects
            selectedIndex: root.projects.selectedIndex
            searchRole: "name"
            onRowRequested: row => root.projects.select(row)
            delegate: ProjectListRow {
                list: list
            }

            Connections {
                target: root.projects
                function onSelectionMoved() {
                    list.reveal(list.selectedIndex);
                }
            }
            SmallLabel {
                x: Theme.between
                y: Theme.tight
                width: parent.width - 2 * Theme.between
                visible: text.length > 0
                text: root.projects.emptyText
            }
        }
        RowLayout {
            Layout.margins: Theme.inside
            spacing: Theme.row

            HelpedButton {
                Layout.fillWidth: true
                text: qsTr("New")
                icon.name: "plus"
                onClicked: root.newRequested()
            }
            HelpedButton {
                Layout.fillWidth: true
                text: qsTr("Rename")
                icon.name: "pencil"
                available: root.projects.canRename
                obstacle: root.projects.renameObstacle
                onClicked: root.renameRequested()
            }
        }
        RowLayout {
            Layout.margins: Theme.inside
            Layout.topMargin: 0
            spacing: Theme.row

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
            HelpedButton {
                Layout.fillWidth: true
                text: qsTr("Connect")
                icon.name: "phone"
                help: qsTr("Connect to a phone media catalog")
                onClicked: root.connectRequested()
            }
        }
        RowLayout {
            Layout.margins: Theme.inside
            Layout.topMargin: 0

            HelpedButton {
                Layout.fillWidth: true
                text: qsTr("Director")
                icon.name: "switch"
                prominent: true
                help: qsTr("Open the live Director workspace")
                onClicked: root.directorRequested()
            }
        }
    }
}
