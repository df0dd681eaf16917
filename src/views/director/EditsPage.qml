// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vorn

Item {
    id: root

    required property DirectorViewModel director
    readonly property EditsPageViewModel page: director.editsPage

    RowLayout {
        id: head

        anchors.left: parent.left
        anchors.right: parent.right

        InspectorHeading {
            title: qsTr("Edit Decisions")
            detail: root.page.countText
        }
        HelpedButton {
            text: qsTr("Copy")
            icon.name: "list"
            help: qsTr("Copy the list as a table for a spreadsheet or a note")
            available: root.page.hasEdits
            obstacle: qsTr("There are no edits yet.")
            onClicked: root.page.copy()
        }
    }
    CompactEmptyState {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: head.bottom
        anchors.topMargin: Theme.between
        visible: !root.page.hasEdits
        title: qsTr("No edits yet")
        icon: "list"
        detail: qsTr("Start a session, then CUT, FADE or add a marker.")
    }
    RowList {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: head.bottom
        anchors.bottom: problem.visible ? problem.top : parent.bottom
        anchors.topMargin: Theme.inside
        anchors.bottomMargin: problem.visible ? Theme.inside : 0
        visible: root.page.hasEdits
        label: qsTr("Edit Decisions")
        selectable: false
        model: root.page.edits
        delegate: EditRow {
            width: ListView.view.width
        }
    }
    StatusLine {
        id: problem

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        visible: root.page.problem.length > 0
        icon: "warning"
        iconColor: Theme.warning
        text: root.page.problem
    }
}
