// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vorn

Item {
    id: root

    required property TakeListViewModel takes

    EmptyStateView {
        anchors.fill: parent
        visible: !root.takes.hasProject
        title: qsTr("No Project")
        icon: "folder"
        detail: qsTr("Create a project or connect to a phone catalog.")
    }
    ColumnLayout {
        anchors.fill: parent
        visible: root.takes.hasProject
        spacing: 0

        ColumnLayout {
            Layout.margins: Theme.between
            Layout.topMargin: Theme.inside
            Layout.bottomMargin: Theme.inside
            spacing: 2

            TextLabel {
                Layout.fillWidth: true
                text: root.takes.projectName
                font.pixelSize: Theme.panelTitleSize
                font.weight: Font.DemiBold
                maximumLineCount: 1
            }
            SmallLabel {
                Layout.fillWidth: true
                text: root.takes.countText
            }
        }
        RowList {
            id: list

            objectName: "takeList"
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: root.takes.hasTakes
            label: qsTr("Takes")
            model: root.takes.takes
            selectedIndex: root.takes.selectedIndex
            searchRole: "takeId"
            onRowRequested: row => root.takes.select(row)
            delegate: TakeListRow {
                list: list
            }

            Connections {
                target: root.takes
                function onSelectionMoved() {
                    list.reveal(list.selectedIndex);
                }
            }
        }
        EmptyStateView {
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: !root.takes.hasTakes
            title: qsTr("No takes yet")
            icon: "film"
            detail: ""
        }
    }
}
