// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

ScrollPage {
    id: root

    required property TakeDashboardViewModel dashboard

    label: qsTr("Overview")

    RowLayout {
        Layout.fillWidth: true
        spacing: Theme.between

        MetricCard {
            Layout.fillWidth: true
            title: qsTr("CAMERAS")
            value: root.dashboard.camerasValue
            icon: "video"
        }
        MetricCard {
            Layout.fillWidth: true
            title: qsTr("ON MAC")
            value: root.dashboard.onMacValue
            icon: "download"
        }
        MetricCard {
            Layout.fillWidth: true
            title: qsTr("TIMELINE")
            value: root.dashboard.timelineValue
            icon: "film"
        }
    }
    GridLayout {
        Layout.fillWidth: true
        columns: root.width < 520 ? 1 : 2
        columnSpacing: Theme.between
        rowSpacing: Theme.between

        LibraryPanel {
            Layout.fillWidth: true
            Layout.preferredWidth: 1
            Layout.alignment: Qt.AlignTop
            title: qsTr("Take readiness")
            icon: "check"

            Repeater {
                model: root.dashboard.readiness
                delegate: ReadinessRow {
                    Layout.fillWidth: true
                }
            }
        }
        LibraryPanel {
            Layout.fillWidth: true
            Layout.preferredWidth: 1
            Layout.alignment: Qt.AlignTop
            title: qsTr("Take details")
            icon: "list"

            Repeater {
                model: root.dashboard.details
                delegate: DetailRow {
                    Layout.fillWidth: true
                }
            }
        }
    }
}
