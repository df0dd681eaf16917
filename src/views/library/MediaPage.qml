// SPDX-License-Identifier: Apache-2.0
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vorn

// Anchored, not laid out: a layout misses what changes while its page is not visible.
Item {
    id: root

    required property TakeDashboardViewModel dashboard

    LibraryPanel {
        anchors {
            left: parent.left
            right: parent.right
            top: parent.top
            bottom: transfers.top
            bottomMargin: Theme.between
        }
        title: qsTr("Cameras & recordings")
        icon: "video"

        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true

            RowList {
                id: clips

                anchors {
                    left: parent.left
                    right: parent.right
                    top: parent.top
                    bottom: check.top
                    bottomMargin: Theme.inside
                }
                visible: root.dashboard.hasClips
                label: qsTr("Cameras & recordings")
                selectable: false
                rowSpacing: Theme.row
                model: root.dashboard.clips
                madeBeyond: 4000
                delegate: ClipRow {
                    width: ListView.view.width - Theme.inside
                    onMakeReference: root.dashboard.makeReference(index)
                    onFocused: clips.reveal(index)
                }
            }
            TakeCheck {
                id: check

                anchors {
                    left: parent.left
                    right: parent.right
                    bottom: parent.bottom
                }
                visible: root.dashboard.hasClips
                check: root.dashboard.check
            }
            CompactEmptyState {
                anchors.fill: parent
                visible: !root.dashboard.hasClips
                title: qsTr("No recordings")
                icon: "video"
                detail: qsTr("Import a manifest or connect to a phone catalog.")
            }
        }
    }
    LibraryPanel {
        id: transfers

        anchors {
            left: parent.left
            right: parent.right
            bottom: parent.bottom
        }
        height: root.dashboard.hasTransfers ? root.height * 0.4 : implicitHeight
        title: qsTr("Transfers")
        icon: "download"

        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true
            implicitHeight: noTransfers.implicitHeight

            RowList {
                anchors.fill: parent
                visible: root.dashboard.hasTransfers
                label: qsTr("Transfers")
                selectable: false
                rowSpacing: Theme.row
                model: root.dashboard.transfers
                delegate: TransferRow {
                    running: root.dashboard.runningTransfer
                    width: ListView.view.width - Theme.inside
                }
            }
            CompactEmptyState {
                id: noTransfers

                anchors.fill: parent
                visible: !root.dashboard.hasTransfers
                title: qsTr("No active transfers")
                icon: "download"
                detail: qsTr("Downloads and verification progress appear here.")
            }
        }
    }
}
