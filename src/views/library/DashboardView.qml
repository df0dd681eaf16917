// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Layouts
import Vorn

Item {
    id: root

    required property TakeDashboardViewModel dashboard
    required property ActivityViewModel activity
    required property bool firstStart
    property alias tab: tabs.current

    Column {
        anchors.centerIn: parent
        width: parent.width
        visible: !root.dashboard.hasTake
        spacing: 2 * Theme.between

        EmptyStateView {
            width: parent.width
            title: qsTr("Select a Take")
            icon: "film"
            detail: qsTr("Choose a project and take, or import a source manifest.")
        }
        FirstSteps {
            anchors.horizontalCenter: parent.horizontalCenter
            width: Math.min(parent.width - 2 * Theme.between, 360)
            visible: root.firstStart
            steps: [
                qsTr("Press New and name a project."),
                qsTr("Press Connect, ask a phone to share its files, and its takes appear here."),
                qsTr("Or press Import Manifest and choose the manifest that lies beside a take's movies."),
                qsTr("Or drop movies of one moment here, from any phones: their sound tells how they belong together.")
            ]
        }
    }
    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.between
        visible: root.dashboard.hasTake
        spacing: Theme.between

        RowLayout {
            spacing: Theme.inside

            ColumnLayout {
                Layout.fillWidth: true
                spacing: 2

                TextLabel {
                    Layout.fillWidth: true
                    text: root.dashboard.projectName
                    font.pixelSize: Theme.windowTitleSize
                    font.weight: Font.DemiBold
                    maximumLineCount: 1
                }
                TextLabel {
                    Layout.fillWidth: true
                    text: root.dashboard.takeTitle
                    color: Theme.secondary
                    maximumLineCount: 1
                }
            }
            StatusPill {
                text: root.dashboard.statusText
                textColor: root.dashboard.complete ? Theme.ready : Theme.warning
            }
        }
        SegmentedTabs {
            id: tabs

            label: qsTr("Take view")
            titles: root.dashboard.tabTitles
        }
        StackLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            currentIndex: tabs.current

            OverviewPage {
                dashboard: root.dashboard
            }
            MediaPage {
                dashboard: root.dashboard
            }
            ResolvePage {
                dashboard: root.dashboard
            }
            ActivityPage {
                activity: root.activity
            }
        }
    }
}
