// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

LibraryPanel {
    id: root

    required property ActivityViewModel activity

    title: qsTr("Recent activity")
    icon: "list"

    Item {
        Layout.fillWidth: true
        Layout.fillHeight: true

        RowList {
            anchors.fill: parent
            visible: root.activity.hasEntries
            label: qsTr("Recent activity")
            selectable: false
            model: root.activity.entries
            delegate: ActivityRow {
                width: ListView.view.width - Theme.inside
            }
        }
        CompactEmptyState {
            anchors.fill: parent
            visible: !root.activity.hasEntries
            title: qsTr("No activity yet")
            icon: "list"
            detail: qsTr("Imports, downloads and exports appear here.")
        }
    }
}
